import { useMemo, useState } from "preact/hooks";
import type { Preset } from "../api/types";
import { bytesOf, save } from "../files/files";
import { pdfOf } from "../files/pdf";
import type { Photo } from "../state/reducer";
import type { Key } from "../text/english";
import type { Text } from "../text/text";
import { printPicture } from "../work/printing";
import { useStudio } from "../work/studio";
import { useSheet, type Kind } from "../work/use_sheet";
import { Dialog } from "./dialog";
import { Icon } from "./icons";

const papers = ["4x6", "5x7", "3.5x5", "6x8", "8x10", "10x15cm", "13x18cm", "A6", "A5", "A4", "letter"];

function paperName(paper: string, text: Text): string {
  const size = paper.replace("x", " × ").replace("cm", " cm");
  return /^[\d.]+x[\d.]+$/.test(paper) ? text.say("sheet.inches", { size }) : size === "letter" ? "Letter" : size;
}

/** As many different pictures as the service takes on one sheet. */
const kMostKinds = 16;

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
  const { sheet, problem, busy } = useSheet({ kinds, paper, margin, gap });
  const name = `${preset.name}-${paper}`;
  const pdf = async (): Promise<void> => { if (sheet) save(pdfOf(await bytesOf(sheet.blob)), `${name}.pdf`); };
  return (
    <Dialog title={text.say("sheet.title")} onClose={onClose}>
      <div class="sheet">
        <div class="paper" aria-busy={busy}>
          {sheet && <img src={sheet.url} alt={text.say("sheet.alt")} />}
          {problem && <p class="problem" role="alert">{text.problem(problem)}</p>}
          <p class="soft">{text.say("sheet.hint")}</p>
        </div>
        <div class="sheet-settings">
          <label class="number"><span>{text.say("sheet.paper")}</span>
            <select value={paper} onChange={(event) => setPaper(event.currentTarget.value)}>
              {papers.map((one) => <option key={one} value={one}>{paperName(one, text)}</option>)}
            </select>
          </label>
          <div class="row">
            <Millimetres label={text.say("sheet.margin")} value={margin} onChange={setMargin} />
            <Millimetres label={text.say("sheet.gap")} value={gap} onChange={setGap} />
          </div>
          <Kinds kinds={kinds} onChange={setKinds} />
          <button type="button" class="primary" disabled={!sheet || busy} onClick={() => sheet && void printPicture(sheet.blob)}>{text.say("sheet.print")}</button>
          <button type="button" disabled={!sheet || busy} onClick={() => void pdf()}>{text.say("sheet.pdf")}</button>
          <button type="button" disabled={!sheet || busy} onClick={() => sheet && save(sheet.blob, `${name}.jpg`)}>{text.say("sheet.picture")}</button>
        </div>
      </div>
    </Dialog>
  );
}
