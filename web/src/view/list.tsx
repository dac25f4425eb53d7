import { useEffect, useState } from "preact/hooks";
import { Problem } from "../api/problem";
import type { PictureType } from "../api/client";
import { bytesOf, save } from "../files/files";
import { distinctNames, zip, type Entry } from "../files/zip";
import { queryOf, valueOf } from "../state/options";
import type { Photo } from "../state/reducer";
import { held } from "../work/held";
import { useStudio, type Studio } from "../work/studio";
import { fileName } from "./download";
import { Icon, type IconName } from "./icons";
import { PhotoButton } from "./pick";

function stateOf(photo: Photo, { text }: Studio): { word: string; icon: IconName; kind: string } | { word: string } {
  if (photo.phase === "failed") return { word: text.say("list.failed"), icon: "fail", kind: "fail" };
  if (photo.phase !== "ready") return { word: text.say(`list.${photo.phase}`) };
  if (!photo.verdict) return { word: text.say("list.ready") };
  const { failed, remarks, problem } = photo.verdict;
  if (problem) return { word: text.say("list.failed"), icon: "fail", kind: "fail" };
  if (failed > 0) return { word: text.say("list.toMend", { count: failed }), icon: "fail", kind: "fail" };
  if (remarks > 0) return { word: text.say("list.toLook", { count: remarks }), icon: "look", kind: "look" };
  return { word: text.say("list.passed"), icon: "pass", kind: "pass" };
}

function Item({ photo }: { photo: Photo }) {
  const studio = useStudio();
  const { state, dispatch, client, text } = studio;
  const [url, setUrl] = useState("");
  useEffect(() => {
    const address = URL.createObjectURL(photo.file);
    setUrl(address);
    return () => URL.revokeObjectURL(address);
  }, [photo.file]);
  const shown = stateOf(photo, studio);
  const remove = (): void => {
    if (photo.kept) client.forget(photo.kept.id).catch(() => undefined);
    dispatch({ do: "remove", key: photo.key });
  };
  return (
    <li>
      <button type="button" class="item" aria-current={photo.key === state.current ? "true" : undefined}
        onClick={() => dispatch({ do: "show", key: photo.key })}>
        <span class="thumb">{url && <img src={url} alt="" onError={() => setUrl("")} />}</span>
        <span class="name">{photo.name}</span>
        <span class={`word ${"kind" in shown ? shown.kind : ""}`}>{"icon" in shown && <Icon name={shown.icon} />}{shown.word}</span>
      </button>
      <button type="button" class="quiet" aria-label={text.say("list.remove", { name: photo.name })} onClick={remove}><Icon name="close" /></button>
    </li>
  );
}

/** Makes every photograph of the list, one after the other, and packs what could be made. */
async function packAll({ state, dispatch, client, presets }: Studio, onDone: (done: number) => void): Promise<{ entries: Entry[]; failed: number }> {
  const made: Entry[] = [];
  let failed = 0;
  for (const photo of state.photos) {
    const settings = photo.history.present;
    const preset = presets.find((one) => one.name === settings.preset);
    try {
      if (!photo.kept || !preset) throw new Problem(0, "other", "");
      const type = valueOf<PictureType>(settings, "type");
      const picture = await held(client, dispatch, photo, (id) => client.picture(id, queryOf(settings, preset), type));
      made.push({ name: fileName(photo.name, preset, type), bytes: await bytesOf(picture) });
    } catch {
      ++failed;
    }
    onDone(made.length + failed);
  }
  const names = distinctNames(made.map((entry) => entry.name));
  return { entries: made.map(({ bytes }, index) => ({ name: names[index]!, bytes })), failed };
}

/** Several photographs with their states, and all of them as one file. */
export function PhotoList() {
  const studio = useStudio();
  const { state, dispatch, text } = studio;
  const [word, setWord] = useState("");
  const [busy, setBusy] = useState(false);
  const count = state.photos.length;
  const settled = state.photos.every((photo) => photo.phase === "ready" || photo.phase === "failed");
  const pack = async (): Promise<void> => {
    setBusy(true);
    const { entries, failed } = await packAll(studio, (done) => setWord(text.say("list.zipping", { done, count })));
    setBusy(false);
    setWord(text.say("list.zipped", { done: entries.length, failed }));
    if (entries.length > 0) save(zip(entries), "photographs.zip");
  };
  return (
    <section class={count > 1 ? "list" : "list single"} aria-labelledby="list-title">
      <header><h2 id="list-title">{text.say("list.title")}</h2><PhotoButton label={text.say("list.add")} icon="add" /></header>
      <ul>{state.photos.map((photo) => <Item key={photo.key} photo={photo} />)}</ul>
      {count > 1 && (
        <div class="row">
          <button type="button" onClick={() => dispatch({ do: "likeThis" })}>{text.say("list.likeThis")}</button>
          <button type="button" disabled={!settled || busy} onClick={() => void pack()}>{text.say("list.zip")}</button>
        </div>
      )}
      <p class="soft" role="status">{word}</p>
    </section>
  );
}
