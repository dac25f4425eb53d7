import { useEffect, useRef, useState } from "preact/hooks";
import { useStudio } from "../work/studio";
import { Dialog } from "./dialog";
import { Icon } from "./icons";

/** Takes a photograph with the camera, with an oval that helps to keep the distance. */
export function Camera({ onClose }: { onClose: () => void }) {
  const { dispatch, text } = useStudio();
  const video = useRef<HTMLVideoElement>(null);
  const [problem, setProblem] = useState("");
  const [running, setRunning] = useState(false);
  useEffect(() => {
    let stream: MediaStream | undefined;
    let gone = false;
    const wanted = { video: { facingMode: "user", width: { ideal: 3840 }, height: { ideal: 2160 } } };
    const open = async (): Promise<void> => {
      stream = await navigator.mediaDevices.getUserMedia(wanted);
      if (gone || !video.current) return stream.getTracks().forEach((track) => track.stop());
      video.current.srcObject = stream;
      await video.current.play();
      setRunning(true);
    };
    open().catch((reason: unknown) => { if (!gone) setProblem(reason instanceof Error ? reason.message : String(reason)); });
    return () => {
      gone = true;
      stream?.getTracks().forEach((track) => track.stop());
    };
  }, []);

  const shoot = (): void => {
    const source = video.current!;
    const canvas = document.createElement("canvas");
    canvas.width = source.videoWidth;
    canvas.height = source.videoHeight;
    canvas.getContext("2d")!.drawImage(source, 0, 0);
    // The best quality: the picture is compressed a second time at the end.
    canvas.toBlob((file) => {
      if (file) dispatch({ do: "add", files: [{ name: "camera.jpg", file }] });
      onClose();
    }, "image/jpeg", 1);
  };

  return (
    <Dialog title={text.say("camera.title")} onClose={onClose}>
      {problem
        ? <p class="problem" role="alert">{text.say("camera.none", { detail: problem })}</p>
        : <div class="viewfinder">
            <video ref={video} muted playsInline />
            <svg viewBox="0 0 160 90" aria-hidden="true"><ellipse cx="80" cy="42" rx="20" ry="27" /></svg>
          </div>}
      <p class="soft">{text.say("camera.hint")}</p>
      <button type="button" class="primary" disabled={!running} onClick={shoot}>
        <Icon name="camera" />{text.say("camera.shoot")}
      </button>
    </Dialog>
  );
}
