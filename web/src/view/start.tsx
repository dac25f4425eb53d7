import { useStudio } from "../work/studio";
import { Icon } from "./icons";
import { FolderButton, PhotoButton } from "./pick";

/** The empty page: one large place for the first photograph. */
export function Start({ onCamera }: { onCamera: () => void }) {
  const { text } = useStudio();
  return (
    <section class="start" aria-labelledby="start-title">
      <svg class="sample" viewBox="0 0 70 90" aria-hidden="true">
        <rect width="70" height="90" rx="5" />
        <path d="M9 90c0-14 7-19.5 20-22V50h12v18c13 2.5 20 8 20 22z" />
        <path d="M35 18c-10 0-15.5 8-15.5 18.5C19.5 49 27 58 35 58s15.5-9 15.5-21.5C50.5 26 45 18 35 18Z" />
        <path class="rule" d="M0 18h70M0 58h70" />
      </svg>
      <h1 id="start-title">{text.say("start.title")}</h1>
      <p class="lead">{text.say("start.lead")}</p>
      <div class="ways">
        <PhotoButton label={text.say("start.choose")} primary />
        <FolderButton label={text.say("start.folder")} />
        <button type="button" onClick={onCamera}><Icon name="camera" />{text.say("start.camera")}</button>
      </div>
      <p class="soft">{text.say("start.paste")}</p>
      <p class="private"><Icon name="lock" />{text.say("start.private")}</p>
    </section>
  );
}
