/** A value with the values before and after it. */
export interface History<T> {
  past: readonly T[];
  present: T;
  future: readonly T[];
  /** The gesture that is under way, such as a slider being moved: all its steps are undone at once. */
  gesture: string | null;
}

/** More steps than anybody takes back; it bounds the memory of a long session. */
const kMostSteps = 200;

export function begin<T>(present: T): History<T> {
  return { past: [], present, future: [], gesture: null };
}

/** Goes on to `next`. Steps of one gesture follow each other without a place of their own to come back to. */
export function advance<T>(history: History<T>, next: T, gesture: string | null = null): History<T> {
  if (gesture !== null && history.gesture === gesture) return { ...history, present: next, future: [] };
  return { past: [...history.past, history.present].slice(-kMostSteps), present: next, future: [], gesture };
}

export function settle<T>(history: History<T>): History<T> {
  return history.gesture === null ? history : { ...history, gesture: null };
}

export function undo<T>(history: History<T>): History<T> {
  const last = history.past.at(-1);
  if (last === undefined) return settle(history);
  return { past: history.past.slice(0, -1), present: last, future: [history.present, ...history.future], gesture: null };
}

export function redo<T>(history: History<T>): History<T> {
  const [next, ...future] = history.future;
  if (next === undefined) return settle(history);
  return { past: [...history.past, history.present], present: next, future, gesture: null };
}
