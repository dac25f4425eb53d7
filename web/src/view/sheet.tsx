import { useEffect, useMemo, useState } from "preact/hooks";
import type { SheetItem } from "../api/client";
import { isAbort, Problem } from "../api/problem";
import type { Preset } from "../api/types";
import { bytesOf, save } from "../files/files";
import { pdfOf } from "../files/pdf";
import { queryOf, withValue, type Settings } from "../state/options";
import type { Photo } from "../state/reducer";
import type { Key } from "../text/english";
import type { Text } from "../text/text";
import { printPicture } from "../work/printing";
import { useStudio } from "../work/studio";
import { Dialog } from "./dialog";
import { Icon } from "./icons";

const papers = ["4x6", "5x7", "3.5x5", "6x8", "8x10", "10x15cm", "13x18cm", "A6", "A5", "A4", "letter"];

function paperName(paper: string, text: Text): string {
  const size = paper.replace("x", " × ").replace("cm", " cm");
  return /^[\d.]+x[\d.]+$/.test(paper) ? text.say("sheet.inches", { size }) : size === "letter" ? "Letter" : size;
}

/** One kind of picture on the sheet: a photograph as one document; 0 copies fill the sheet. */
interface Kind { photo: number; preset: string; copies: number }

/** As many different pictures as the service takes on one sheet. */
const kMostKinds = 16;

/** The settings for another document than the one they were made for: where the person stands was for that one. */
function settingsFor(settings: Settings, preset: string): Settings {
  if (settings["preset"] === preset) return settings;
  const others = Object.entries(settings).filter(([name]) => !["background", "zoom", "offset-x", "offset-y", "max-kb"].includes(name));
  return { ...Object.fromEntries(others), preset };
}

/** The finished pictures on the sheet, made when they are wanted. */
function useItems(kinds: readonly Kind[]): { items: SheetItem[]; problem: Problem | null } {
  const { state, client, presets } = useStudio();
  const [made, setMade] = useState<{ items: SheetItem[]; problem: Problem | null }>({ items: [], problem: null });
  useEffect(() => {
    const controller = new AbortController();
    Promise.all(kinds.map(async ({ photo: key, preset: name, copies }): Promise<SheetItem> => {
      const photo = state.photos.find((one) => one.key === key);
      const settings = withValue(settingsFor(photo?.history.present ?? {}, name), "type", "image/jpeg");
      const query = queryOf(settings, presets.find((one) => one.name === name));
      return { picture: await client.picture(photo?.kept?.id ?? "", query, "image/jpeg", controller.signal), copies };
    })).then((items) => setMade({ items, problem: null }), (reason: unknown) => {
      if (!isAbort(reason)) setMade({ items: [], problem: reason as Problem });
    });
    return () => controller.abort();
  }, [kinds]);
  return made;
}

interface SheetPicture { blob: Blob; url: string }

function useSheet(items: readonly SheetItem[], paper: string, margin: number, gap: number) {
  const { client } = useStudio();
  const [sheet, setSheet] = useState<SheetPicture | null>(null);
  const [problem, setProblem] = useState<Problem | null>(null);
  useEffect(() => {
    if (items.length === 0) return;
    const controller = new AbortController();
    const query = [["paper", paper], ["margin", `${margin}mm`], ["gap", `${gap}mm`]] as const;
    client.sheet(items, query, controller.signal).then((blob) => {
      setProblem(null);
      setSheet({ blob, url: URL.createObjectURL(blob) });
    }, (reason: unknown) => {
      if (isAbort(reason)) return;
      setSheet(null);
      setProblem(reason as Problem);
    });
    return () => controller.abort();
  }, [items, paper, margin, gap]);
  useEffect(() => () => { if (sheet) URL.revokeObjectURL(sheet.url); }, [sheet]);
  return { sheet, problem };
}

interface KindRowProps { kind: Kind; number: number; alone: boolean; onChange: (kind: Kind) => void; onRemove: () => void }

function KindRow({ kind, number, alone, onChange, onRemove }: KindRowProps) {
  const { state, presets, text } = useStudio();
  const photos = state.photos.filter((one) => one.kept);
  const named = useMemo(() => presets.map((one) => ({ name: one.name, title: text.documentName(one) }))
    .sort((one, two) => one.title.localeCompare(two.title, text.language)), [presets, text]);
  const label = (key: Key): string => `${text.say(key)} ${number}`;
  return (
    <div class="kind">
      {photos.length > 1 && (
        <select aria-label={label("sheet.photo")} value={kind.photo} onChange={(event) => onChange({ ...kind, photo: Number(event.currentTarget.value) })}>
          {photos.map((one) => <option key={one.key} value={one.key}>{one.name}</option>)}
        </select>
      )}
      <select aria-label={label("sheet.document")} value={kind.preset} onChange={(event) => onChange({ ...kind, preset: event.currentTarget.value })}>
        {named.map(({ name, title }) => <option key={name} value={name}>{title}</option>)}
      </select>
      <label class="copies"><span>{text.say("sheet.copies")}</span>
        <input type="number" min="0" max="100" value={kind.copies} aria-label={label("sheet.copies")}
          onInput={(event) => onChange({ ...kind, copies: Math.max(0, Math.round(event.currentTarget.valueAsNumber || 0)) })} /></label>
      {!alone && <button type="button" class="quiet" aria-label={text.say("sheet.remove", { number })} onClick={onRemove}><Icon name="close" /></button>}
    </div>
  );
}

function Kinds({ kinds, onChange }: { kinds: readonly Kind[]; onChange: (kinds: readonly Kind[]) => void }) {
  const { text } = useStudio();
  const add = (): void => {
    const last = kinds[kinds.length - 1]!;
    // Beside one that fills the sheet there is room for nothing else.
    onChange([...kinds.map((kind) => ({ ...kind, copies: kind.copies || 2 })), { ...last, copies: 2 }]);
  };
  return (
    <fieldset class="kinds">
      <legend>{text.say("sheet.kinds")}</legend>
      {kinds.map((kind, index) => (
        <KindRow key={index} kind={kind} number={index + 1} alone={kinds.length === 1}
          onChange={(next) => onChange(kinds.map((one, at) => (at === index ? next : one)))}
          onRemove={() => onChange(kinds.filter((_, at) => at !== index))} />
      ))}
      <p class="soft">{text.say("sheet.fill")}</p>
      {kinds.length < kMostKinds && <button type="button" class="quiet" onClick={add}><Icon name="add" />{text.say("sheet.add")}</button>}
    </fieldset>
  );
}

function Millimetres({ label, value, onChange }: { label: string; value: number; onChange: (value: number) => void }) {
  return (
    <label class="number"><span>{label}</span>
      <input type="number" min="0" max="30" step="0.5" value={value} onInput={(event) => onChange(event.currentTarget.valueAsNumber || 0)} />
    </label>
  );
}

/** A sheet of photo paper with the finished pictures, to print or to save. */
export function Sheet({ photo, preset, onClose }: { photo: Photo; preset: Preset; onClose: () => void }) {
  const { text } = useStudio();
  const [paper, setPaper] = useState("4x6");
  const [margin, setMargin] = useState(3);
  const [gap, setGap] = useState(2);
  const [kinds, setKinds] = useState<readonly Kind[]>([{ photo: photo.key, preset: preset.name, copies: 0 }]);
  const made = useItems(kinds);
  const { sheet, problem } = useSheet(made.items, paper, margin, gap);
  const fault = made.problem ?? problem;
  const name = `${preset.name}-${paper}`;
  const pdf = async (): Promise<void> => { if (sheet) save(pdfOf(await bytesOf(sheet.blob)), `${name}.pdf`); };
  return (
    <Dialog title={text.say("sheet.title")} onClose={onClose}>
      <div class="sheet">
        <div class="paper">
          {sheet && <img src={sheet.url} alt={text.say("sheet.alt")} />}
          {fault && <p class="problem" role="alert">{text.problem(fault)}</p>}
          <p class="soft">{text.say("sheet.hint")}</p>
        </div>
        <div class="sheet-settings">
          <label class="number"><span>{text.say("sheet.paper")}</span>
            <select value={paper} onChange={(event) => setPaper(event.currentTarget.value)}>
              {papers.map((one) => <option key={one} value={one}>{paperName(one, text)}</option>)}
            </select>
          </label>
          <Millimetres label={text.say("sheet.margin")} value={margin} onChange={setMargin} />
          <Millimetres label={text.say("sheet.gap")} value={gap} onChange={setGap} />
          <Kinds kinds={kinds} onChange={setKinds} />
          <button type="button" class="primary" disabled={!sheet} onClick={() => sheet && void printPicture(sheet.blob)}>{text.say("sheet.print")}</button>
          <button type="button" disabled={!sheet} onClick={() => void pdf()}>{text.say("sheet.pdf")}</button>
          <button type="button" disabled={!sheet} onClick={() => sheet && save(sheet.blob, `${name}.jpg`)}>{text.say("sheet.picture")}</button>
        </div>
      </div>
    </Dialog>
  );
}
