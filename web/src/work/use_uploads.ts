import { useEffect } from "preact/hooks";
import type { Client } from "../api/client";
import { Problem } from "../api/problem";
import type { Action, Photo, State } from "../state/reducer";

/**
 * The photograph to hand over next: the one that is looked at, then the others in the order of the list, each once the one
 * before has its verdict. The service keeps few at a time, so one handed over long before its turn would be gone again.
 */
export function nextUpload({ photos, current }: State): Photo | undefined {
  const shown = photos.find((photo) => photo.key === current);
  if (shown?.phase === "waiting") return shown;
  const underWay = photos.some((photo) => photo.phase === "reading" || (photo.phase === "ready" && !photo.verdict));
  return underWay ? undefined : photos.find((photo) => photo.phase === "waiting");
}

/** Hands waiting photographs to the service. */
export function useUploads(state: State, dispatch: (action: Action) => void, client: Client): void {
  useEffect(() => {
    const photo = state.online ? nextUpload(state) : undefined;
    if (!photo) return;
    const { key } = photo;
    dispatch({ do: "reading", key });
    client.keep(photo.file).then(
      (kept) => dispatch({ do: "ready", key, kept }),
      (reason: unknown) => {
        const problem = reason instanceof Problem ? reason : new Problem(0, "other", String(reason));
        if (problem.code !== "unreachable") return dispatch({ do: "failed", key, problem });
        dispatch({ do: "lost", key });
        dispatch({ do: "online", online: false });
      });
  }, [state.photos, state.current, state.online]);
}

/** While the service is away, asks now and then whether it is back. */
export function useConnection(online: boolean, dispatch: (action: Action) => void, client: Client): void {
  useEffect(() => {
    if (online) return;
    const timer = setInterval(async () => {
      if (await client.alive()) dispatch({ do: "online", online: true });
    }, 1500);
    return () => clearInterval(timer);
  }, [online]);
}
