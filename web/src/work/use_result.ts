import { useEffect, useMemo, useRef, useState } from "preact/hooks";
import { queryString, type PictureType, type Query } from "../api/client";
import { isAbort, Problem } from "../api/problem";
import type { Check, Preset, Report } from "../api/types";
import { currentPhoto, currentSettings } from "../state/reducer";
import { queryBefore, queryOf, sameSettings, valueOf, type Settings } from "../state/options";
import { Latest } from "./latest";
import type { Studio } from "./studio";

export interface Shown {
  blob: Blob;
  url: string;
  /** The settings that the picture was made with, and the photograph it was made of. */
  settings: Settings;
  key: number;
  /** Whether these are the bytes of the finished file, not of a preview. */
  finished: boolean;
}

/** What is known of the finished picture of the current photograph. */
export interface Result {
  shown: Shown | null;
  check: Check | null;
  report: Report | null;
  /** The settings of the picture that was checked. */
  measured: Settings;
  problem: Problem | null;
  busy: boolean;
  /** Whether picture and check are those of the settings as they are. */
  settled: boolean;
}

interface Question { key: number; id: string; query: Query; type: PictureType; settings: Settings; preview: boolean }

const nothing: Result = { shown: null, check: null, report: null, measured: {}, problem: null, busy: false, settled: false };

/** Keeps the picture of the current photograph and its checks up to date with the settings. */
export function useResult(studio: Studio, preset: Preset | undefined): Result {
  const { state, dispatch, client } = studio;
  const [result, setResult] = useState<Result>(nothing);
  const checks = useRef<AbortController | null>(null);
  /** Photographs handed over anew since their last picture: once is a mend, twice would be a circle. */
  const handedOver = useRef(new Set<number>());

  const photo = currentPhoto(state);
  const settings = currentSettings(state);
  const type = valueOf<PictureType>(settings, "type");
  const query = queryOf(settings, preset);
  const moving = photo?.history.gesture != null;

  const fail = (reason: unknown, question: Question): void => {
    if (isAbort(reason)) return;
    const problem = reason instanceof Problem ? reason : new Problem(0, "other", String(reason));
    if (problem.code === "unreachable") dispatch({ do: "online", online: false });
    // The service was started anew or let the photograph go: it gets it once more.
    else if (problem.status === 404 && !handedOver.current.has(question.key)) {
      handedOver.current.add(question.key);
      return dispatch({ do: "lost", key: question.key });
    }
    if (!problem.unreachable && !question.preview) dispatch({ do: "refused", key: question.key, problem, settings: question.settings });
    // While it is moved, the bounds of the last picture stay in sight: they tell the way back.
    const known = question.preview ? {} : { check: null, report: null };
    setResult((old) => ({ ...old, ...known, problem: problem.unreachable ? old.problem : problem, busy: false }));
  };

  const lookInto = (question: Question): void => {
    const controller = new AbortController();
    checks.current = controller;
    const { id, query: asked, key } = question;
    Promise.all([client.check(id, asked, controller.signal), client.report(id, asked, controller.signal)]).then(
      ([check, report]) => {
        if (controller.signal.aborted) return;
        setResult((old) => ({ ...old, check, report, measured: question.settings }));
        dispatch({ do: "checked", key, check, settings: question.settings });
      }, (reason: unknown) => fail(reason, question));
  };

  const latest = useMemo(() => new Latest<Question, Blob>(
    (question, signal) => question.preview
      ? client.preview(question.id, question.query.filter(([name]) => name !== "format"), signal)
      : client.picture(question.id, question.query, question.type, signal),
    (blob, question) => {
      const { settings: used, key, preview } = question;
      handedOver.current.delete(key);
      const shown = { blob, url: URL.createObjectURL(blob), settings: used, key, finished: !preview };
      setResult((old) => {
        if (old.shown) URL.revokeObjectURL(old.shown.url);
        return { ...old, shown, problem: null, busy: false };
      });
      if (!preview) lookInto(question);
    }, fail), [client]);

  // A picture of another photograph must not stand under this one's name.
  useEffect(() => setResult((old) => (old.shown?.key === photo?.key ? old : nothing)), [photo?.key]);

  // Lines that were measured for another document would stand in the wrong places.
  useEffect(() => setResult((old) => ({ ...old, check: null, report: null })), [preset?.name]);

  useEffect(() => {
    checks.current?.abort();
    if (!photo?.kept || !preset || !state.online) return latest.cancel();
    setResult((old) => ({ ...old, busy: true }));
    latest.post({ key: photo.key, id: photo.kept.id, query, type, settings, preview: moving }, moving);
  }, [photo?.kept?.id, queryString(query), type, moving, state.returns, preset?.name]);

  return { ...result, settled: !!result.check && !result.busy && sameSettings(result.measured, settings) };
}

/** Whether two pictures show the head at the same place, so that a divider between them tears no face. */
function sameCut(one: Report, two: Report): boolean {
  const near = (a?: number, b?: number): boolean => a !== undefined && b !== undefined && Math.abs(a - b) <= 0.1;
  return near(one.top_mm, two.top_mm) && near(one.eyes_mm, two.eyes_mm) && near(one.head_mm, two.head_mm);
}

/** The picture before everything but its cut, while it is wanted; the address of its bytes. */
export function useBefore(studio: Studio, preset: Preset | undefined, report: Report | null): string | null {
  const [url, setUrl] = useState<string | null>(null);
  const photo = currentPhoto(studio.state);
  const query = queryBefore(currentSettings(studio.state), preset, true);
  const plain = queryBefore(currentSettings(studio.state), preset, false);
  const id = photo?.kept?.id;
  useEffect(() => {
    if (!report || !id) return;
    const controller = new AbortController();
    const { client } = studio;
    // Where the photograph ends within the cut, its own background cannot be shown, or only in another cut.
    client.report(id, query, controller.signal)
      .then((kept) => client.preview(id, sameCut(kept, report) ? query : plain, controller.signal))
      .catch(() => client.preview(id, plain, controller.signal))
      .then((blob) => setUrl(URL.createObjectURL(blob)), () => undefined);
    return () => controller.abort();
  }, [report, id, queryString(query), queryString(plain)]);
  useEffect(() => () => { if (url) URL.revokeObjectURL(url); }, [url]);
  return url;
}
