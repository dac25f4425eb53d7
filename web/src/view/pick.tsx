import { useEffect, useRef, useState } from "preact/hooks";
import { chosen, dropped } from "../files/files";
import { useStudio } from "../work/studio";
import { Icon, type IconName } from "./icons";

interface PickProps { label: string; icon?: IconName; primary?: boolean; folder?: boolean }

/** A label around a file input: it looks like a button, and the keyboard and screen readers find the input. */
function Pick({ label, icon = "photo", primary, folder }: PickProps) {
  const { dispatch } = useStudio();
  const input = useRef<HTMLInputElement>(null);
  useEffect(() => { input.current?.toggleAttribute("webkitdirectory", !!folder); }, [folder]);
  return (
    <label class={primary ? "button primary" : "button"}>
      <Icon name={folder ? "folder" : icon} />
      <span>{label}</span>
      <input ref={input} type="file" class="unseen" multiple accept={folder ? undefined : "image/*,.heic,.heif"}
        onKeyDown={(event) => {
          // It looks like a button, so it is pressed like one; browsers open the dialogue by the space bar alone.
          if (event.key !== "Enter") return;
          event.preventDefault();
          event.currentTarget.click();
        }}
        onChange={(event) => {
          dispatch({ do: "add", files: chosen(event.currentTarget.files) });
          // The same file again is a change too.
          event.currentTarget.value = "";
        }} />
    </label>
  );
}

export const PhotoButton = (props: Omit<PickProps, "folder">) => <Pick {...props} />;
export const FolderButton = (props: Omit<PickProps, "folder">) => <Pick {...props} folder />;

/** The whole window takes files that are dropped or pasted. */
export function DropAnywhere() {
  const { dispatch, text } = useStudio();
  const [over, setOver] = useState(false);
  useEffect(() => {
    const wanted = (event: DragEvent): boolean => !!event.dataTransfer?.types.includes("Files");
    const onOver = (event: DragEvent): void => {
      if (!wanted(event)) return;
      event.preventDefault();
      setOver(true);
    };
    const onLeave = (event: DragEvent): void => { if (!event.relatedTarget) setOver(false); };
    const onDrop = async (event: DragEvent): Promise<void> => {
      setOver(false);
      if (!event.dataTransfer || !wanted(event)) return;
      event.preventDefault();
      dispatch({ do: "add", files: await dropped(event.dataTransfer) });
    };
    const onPaste = (event: ClipboardEvent): void => {
      const files = chosen(event.clipboardData?.files);
      if (files.length > 0) dispatch({ do: "add", files });
    };
    addEventListener("dragover", onOver);
    addEventListener("dragleave", onLeave);
    addEventListener("drop", onDrop);
    addEventListener("paste", onPaste);
    return () => {
      removeEventListener("dragover", onOver);
      removeEventListener("dragleave", onLeave);
      removeEventListener("drop", onDrop);
      removeEventListener("paste", onPaste);
    };
  }, []);
  return <div class="drop-here" hidden={!over}><p>{text.say("start.drop")}</p></div>;
}
