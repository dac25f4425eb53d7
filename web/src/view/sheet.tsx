import { useEffect, useState } from "preact/hooks";
import type { SheetItem } from "../api/client";
import { isAbort, Problem } from "../api/problem";
import type { Preset } from "../api/types";
import { bytesOf, save } from "../files/files";
import { pdfOf } from "../files/pdf";
import { queryOf } from "../state/options";
import type { Photo } from "../state/reducer";
import type { Text } from "../text/text";
import { printPicture } from "../work/printing";
import { useStudio } from "../work/studio";
import { Dialog } from "./dialog";

const papers = ["4x6", "5x7", "3.5x5", "6x8", "8x10", "10x15cm", "13x18cm", "A6", "A5", "A4", "letter"];

function paperName(paper: string, text: Text): string {
  const size = paper.replace("x", " × ").replace("cm", " cm");
  return /^[\d.]+x[\d.]+$/.test(paper) ? text.say("sheet.inches", { size }) : size === "letter" ? "Letter" : size;
}

/** The finished pictures of the photographs on the sheet, made when they are wanted. */
function useItems(copies: ReadonlyMap<number, number>): { items: SheetItem[]; problem: Problem | null } {
  const { state, client, presets } = useStudio();
  const [made, setMade] = useState<{ items: SheetItem[]; problem: Problem | null }>({ items: [], problem: null });
  useEffect(() => {
    const controller = new AbortController();
    const wanted = state.photos.filter((photo) => copies.has(photo.key) && photo.kept);
    Promise.all(wanted.map(async (photo): Promise<SheetItem> => {
      const settings = photo.history.present;
      const preset = presets.find((one) => one.name === settings.preset);
      const picture = await client.picture(photo.kept!.id, queryOf(settings, preset), "image/jpeg", controller.signal);
      return { picture, copies: copies.get(photo.key) ?? 0 };
    })).then((items) => setMade({ items, problem: null }), (reason: unknown) => {
      if (!isAbort(reason)) setMade({ items: [], problem: reason as Problem });
    });
    return () => controller.abort();
  }, [copies]);
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

function Copies({ photo, value, onChange }: { photo: Photo; value: number | undefined; onChange: (copies: number | undefined) => void }) {
  const { text } = useStudio();
  return (
    <div class="copies">
      <label class="switch"><input type="checkbox" checked={value !== undefined}
        onChange={(event) => onChange(event.currentTarget.checked ? 0 : undefined)} /><span>{photo.name}</span></label>
      <input type="number" min="0" max="100" value={value ?? 0} disabled={value === undefined} aria-label={text.say("sheet.copies", { name: photo.name })}
        onInput={(event) => onChange(Math.max(0, event.currentTarget.valueAsNumber || 0))} />
    </div>
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
  const { state, text } = useStudio();
  const [paper, setPaper] = useState("4x6");
  const [margin, setMargin] = useState(3);
  const [gap, setGap] = useState(2);
  const [copies, setCopies] = useState<ReadonlyMap<number, number>>(new Map([[photo.key, 0]]));
  const made = useItems(copies);
  const { sheet, problem } = useSheet(made.items, paper, margin, gap);
  const fault = made.problem ?? problem;
  const change = (key: number, value: number | undefined): void => {
    const next = new Map(copies);
    if (value === undefined) next.delete(key);
    else next.set(key, value);
    setCopies(next);
  };
  const name = `${preset.name}-${paper}`;
  const pdf = async (): Promise<void> => { if (sheet) save(pdfOf(await bytesOf(sheet.blob)), `${name}.pdf`); };
  return (
    <Dialog title={text.say("sheet.title")} onClose={onClose}>
      <div class="sheet">
        <div class="paper">
          {sheet && <img src={sheet.url} alt={text.say("sheet.alt")} />}
          {fault && <p class="problem" role="alert">{text.problem(fault)}</p>}
        </div>
        <div class="sheet-settings">
          <label class="number"><span>{text.say("sheet.paper")}</span>
            <select value={paper} onChange={(event) => setPaper(event.currentTarget.value)}>
              {papers.map((one) => <option key={one} value={one}>{paperName(one, text)}</option>)}
            </select>
          </label>
          <Millimetres label={text.say("sheet.margin")} value={margin} onChange={setMargin} />
          <Millimetres label={text.say("sheet.gap")} value={gap} onChange={setGap} />
          {state.photos.filter((one) => one.kept).map((one) => (
            <Copies key={one.key} photo={one} value={copies.get(one.key)} onChange={(value) => change(one.key, value)} />
          ))}
          <p class="soft">{text.say("sheet.fill")} {text.say("sheet.hint")}</p>
          <button type="button" class="primary" disabled={!sheet} onClick={() => sheet && void printPicture(sheet.blob)}>{text.say("sheet.print")}</button>
          <button type="button" disabled={!sheet} onClick={() => void pdf()}>{text.say("sheet.pdf")}</button>
          <button type="button" disabled={!sheet} onClick={() => sheet && save(sheet.blob, `${name}.jpg`)}>{text.say("sheet.picture")}</button>
        </div>
      </div>
    </Dialog>
  );
}
