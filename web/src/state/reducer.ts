import type { Problem } from "../api/problem";
import type { Check, Kept } from "../api/types";
import { advance, begin, redo, settle, undo, type History } from "./history";
import { sameSettings, withValue, type Settings, type Value } from "./options";

export type Phase = "waiting" | "reading" | "ready" | "failed";

/** One photograph of the list. */
export interface Photo {
  key: number;
  name: string;
  file: Blob;
  phase: Phase;
  kept?: Kept;
  problem?: Problem;
  /** How the last check of it ended; with a problem where there was nothing to check. */
  verdict?: { failed: number; remarks: number; problem?: Problem };
  history: History<Settings>;
}

export interface State {
  photos: readonly Photo[];
  /** Key of the photograph that is shown. */
  current: number | null;
  nextKey: number;
  /** What the next photograph starts with. */
  start: Settings;
  online: boolean;
  /** Counts how often the connection came back: what failed for the lack of it is asked for again. */
  returns: number;
}

export type Action =
  | { do: "add"; files: readonly { name: string; file: Blob }[] }
  | { do: "reading"; key: number }
  | { do: "ready"; key: number; kept: Kept }
  | { do: "failed"; key: number; problem: Problem }
  | { do: "lost"; key: number }
  | { do: "checked"; key: number; check: Check; settings: Settings }
  | { do: "refused"; key: number; problem: Problem; settings: Settings }
  | { do: "show"; key: number }
  | { do: "remove"; key: number }
  | { do: "set"; name: string; value: Value; gesture?: boolean }
  | { do: "setAll"; values: Readonly<Record<string, Value>>; gesture?: string }
  | { do: "document"; preset: string }
  | { do: "likeThis" }
  | { do: "settle" }
  | { do: "undo" }
  | { do: "redo" }
  | { do: "reset" }
  | { do: "online"; online: boolean };

export const empty: State = { photos: [], current: null, nextKey: 1, start: {}, online: true, returns: 0 };

export function currentPhoto(state: State): Photo | undefined {
  return state.photos.find((photo) => photo.key === state.current);
}

/** The settings on the screen: those of the photograph shown, or what the next one starts with. */
export function currentSettings(state: State): Settings {
  return currentPhoto(state)?.history.present ?? state.start;
}

function change(state: State, key: number | null, edit: (photo: Photo) => Photo): State {
  return { ...state, photos: state.photos.map((photo) => (photo.key === key ? edit(photo) : photo)) };
}

function changeHistory(state: State, edit: (history: History<Settings>) => History<Settings>): State {
  return change(state, state.current, (photo) => ({ ...photo, history: edit(photo.history) }));
}

function add(state: State, files: readonly { name: string; file: Blob }[]): State {
  const added = files.map((file, index): Photo => ({
    ...file, key: state.nextKey + index, phase: "waiting", history: begin(state.start),
  }));
  const first = added[0];
  if (!first) return state;
  return {
    ...state, photos: [...state.photos, ...added], nextKey: state.nextKey + added.length, current: first.key,
  };
}

/** A verdict on settings that were changed meanwhile is none. */
function judge(state: State, { key, settings }: { key: number; settings: Settings }, verdict: Photo["verdict"]): State {
  return change(state, key, (photo) => (sameSettings(photo.history.present, settings) ? { ...photo, verdict } : photo));
}

function remove(state: State, key: number): State {
  const index = state.photos.findIndex((photo) => photo.key === key);
  const photos = state.photos.filter((photo) => photo.key !== key);
  const neighbour = photos[Math.min(index, photos.length - 1)];
  return { ...state, photos, current: state.current === key ? (neighbour?.key ?? null) : state.current };
}

function setAll(state: State, values: Readonly<Record<string, Value>>, gesture: string | null): State {
  const edit = (settings: Settings): Settings =>
    Object.entries(values).reduce((sum, [name, value]) => withValue(sum, name, value), settings);
  if (!currentPhoto(state)) return { ...state, start: edit(state.start) };
  return changeHistory(state, (history) => advance(history, edit(history.present), gesture));
}

/** A document is chosen for all photographs: a pile is seldom made for several. */
function chooseDocument(state: State, preset: string): State {
  const edit = (settings: Settings): Settings => withValue(withValue(settings, "background", ""), "preset", preset);
  return {
    ...state,
    start: edit(state.start),
    photos: state.photos.map(({ history, ...photo }) => {
      if (history.present["preset"] === preset) return { ...photo, history };
      const next = edit(history.present);
      // The first document is no step to take back: there is no picture without one.
      return { ...photo, verdict: undefined, history: history.present["preset"] ? advance(history, next) : begin(next) };
    }),
  };
}

/** Gives the look of the photograph shown to all others; where a person stands stays each photograph's own. */
function likeThis(state: State): State {
  const own = new Set(["person", "pair", "zoom", "offset-x", "offset-y", "turn"]);
  const pick = (settings: Settings, ofOwn: boolean): Settings =>
    Object.fromEntries(Object.entries(settings).filter(([name]) => own.has(name) === ofOwn));
  const look = pick(currentSettings(state), false);
  return {
    ...state,
    photos: state.photos.map((photo) => photo.key === state.current ? photo : {
      ...photo, verdict: undefined, history: advance(photo.history, { ...look, ...pick(photo.history.present, true) }),
    }),
  };
}

function reset(state: State): State {
  return changeHistory(state, (history) => {
    const { preset, type } = history.present;
    return advance(history, { ...(preset !== undefined && { preset }), ...(type !== undefined && { type }) });
  });
}

export function reduce(state: State, action: Action): State {
  switch (action.do) {
    case "add": return add(state, action.files);
    case "reading": return change(state, action.key, (photo) => ({ ...photo, phase: "reading", problem: undefined }));
    case "ready": return change(state, action.key, (photo) => ({ ...photo, phase: "ready", kept: action.kept }));
    case "failed":
      return change(state, action.key, (photo) => ({ ...photo, phase: "failed", problem: action.problem }));
    case "lost": return change(state, action.key, (photo) => ({ ...photo, phase: "waiting", kept: undefined }));
    case "checked": {
      const { failed, remarks } = action.check.summary;
      return judge(state, action, { failed, remarks });
    }
    case "refused": return judge(state, action, { failed: 1, remarks: 0, problem: action.problem });
    case "show": return { ...state, current: action.key };
    case "remove": return remove(state, action.key);
    case "set": return setAll(state, { [action.name]: action.value }, action.gesture ? action.name : null);
    case "setAll": return setAll(state, action.values, action.gesture ?? null);
    case "document": return chooseDocument(state, action.preset);
    case "likeThis": return likeThis(state);
    case "settle": return changeHistory(state, settle);
    case "undo": return changeHistory(state, undo);
    case "redo": return changeHistory(state, redo);
    case "reset": return reset(state);
    case "online":
      return { ...state, online: action.online, returns: state.returns + Number(action.online && !state.online) };
  }
}
