import type { Preset } from "../api/types";
import { save, stem } from "../files/files";
import { valueOf } from "../state/options";
import { currentPhoto, currentSettings } from "../state/reducer";
import { useStudio } from "../work/studio";
import type { Result } from "../work/use_result";
import { Choice, NumberField } from "./fields";
import { Icon } from "./icons";

export function fileName(photo: string, preset: Preset, type: string): string {
  return `${stem(photo)}-${preset.name}.${type === "image/png" ? "png" : "jpg"}`;
}

interface DownloadProps { result: Result; preset: Preset | undefined; onSheet: () => void }

/** The finished file: its kind, its size, and the way to the print sheet. */
export function DownloadPanel({ result, preset, onSheet }: DownloadProps) {
  const { state, text } = useStudio();
  const photo = currentPhoto(state);
  const type = valueOf<string>(currentSettings(state), "type");
  const { shown } = result;
  // Of the finished file; a preview's size would only flicker.
  const kb = shown?.finished ? text.number(shown.blob.size / 1000) : "…";
  const ready = !!shown?.finished && !result.busy && !result.problem && !!photo && !!preset;
  return (
    <section class="download" aria-labelledby="download-title">
      <h2 id="download-title">{text.say("download.title")}</h2>
      <p class="soft facts-line">
        {preset && text.say("download.facts", { width: String(preset.width_px), height: String(preset.height_px), dpi: String(preset.dpi), kb })}
      </p>
      <div class="row">
        <Choice name="type" label="download.format" values={[["image/jpeg", "JPEG"], ["image/png", "PNG"]]} />
        {type === "image/jpeg" && <NumberField name="max-kb" label="download.maxKb" least={1} most={50000} placeholder={preset?.max_kb} />}
      </div>
      <div class="finish">
        <button type="button" class="primary" disabled={!ready}
          onClick={() => { if (shown && photo && preset) save(shown.blob, fileName(photo.name, preset, type)); }}>
          <Icon name="download" />{text.say("download.picture")}
        </button>
        <button type="button" disabled={!ready} onClick={onSheet}>{text.say("download.sheet")}</button>
      </div>
    </section>
  );
}
