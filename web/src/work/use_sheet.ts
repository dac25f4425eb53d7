import { useEffect, useRef, useState } from "preact/hooks";
import type { SheetItem } from "../api/client";
import { isAbort, Problem } from "../api/problem";
import { queryOf, withValue, type Settings } from "../state/options";
import { held } from "./held";
import { useStudio, type Studio } from "./studio";

/** One kind of picture on the sheet: a photograph as one document; 0 copies fill the sheet. */
export interface Kind { photo: number; preset: string; copies: number }

/** Margin and gap in millimetres. */
export interface SheetOrder { kinds: readonly Kind[]; paper: string; margin: number; gap: number }

export interface SheetPicture { blob: Blob; url: string }

/** The settings for another document than the one they were made for: where the person stands was for that one. */
function settingsFor(settings: Settings, preset: string): Settings {
  if (settings["preset"] === preset) return settings;
  const others = Object.entries(settings).filter(([name]) => !["background", "zoom", "offset-x", "offset-y", "max-kb"].includes(name));
  return { ...Object.fromEntries(others), preset };
}

async function finish({ state, dispatch, client, presets }: Studio, kind: Kind, made: Map<string, Blob>, signal: AbortSignal): Promise<SheetItem> {
  const name = `${kind.photo} ${kind.preset}`;
  const photo = state.photos.find((one) => one.key === kind.photo);
  const settings = withValue(settingsFor(photo?.history.present ?? {}, kind.preset), "type", "image/jpeg");
  const query = queryOf(settings, presets.find((one) => one.name === kind.preset));
  if (!photo) throw new Problem(0, "other", "");
  const picture = made.get(name) ?? await held(client, dispatch, photo, (id) => client.picture(id, query, "image/jpeg", signal));
  made.set(name, picture);
  return { picture, copies: kind.copies };
}

interface Answer { order: string; sheet: SheetPicture | null; problem: Problem | null }

/** The sheet as it is ordered; the one before is there until it comes, but `busy`. */
export function useSheet(order: SheetOrder): Omit<Answer, "order"> & { busy: boolean } {
  const studio = useStudio();
  const [answer, setAnswer] = useState<Answer>({ order: "", sheet: null, problem: null });
  const made = useRef(new Map<string, Blob>());
  const wanted = JSON.stringify(order);
  useEffect(() => {
    const controller = new AbortController();
    const query = [["paper", order.paper], ["margin", `${order.margin}mm`], ["gap", `${order.gap}mm`]] as const;
    Promise.all(order.kinds.map((kind) => finish(studio, kind, made.current, controller.signal)))
      .then((items) => studio.client.sheet(items, query, controller.signal))
      .then((blob) => setAnswer({ order: wanted, sheet: { blob, url: URL.createObjectURL(blob) }, problem: null }),
        (reason: unknown) => {
          if (!isAbort(reason)) setAnswer({ order: wanted, sheet: null, problem: reason as Problem });
        });
    return () => controller.abort();
  }, [wanted]);
  const { sheet, problem } = answer;
  useEffect(() => () => { if (sheet) URL.revokeObjectURL(sheet.url); }, [sheet]);
  return { sheet, problem, busy: answer.order !== wanted };
}
