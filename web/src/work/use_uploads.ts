import { useEffect } from "preact/hooks";
import type { Client } from "../api/client";
import { Problem } from "../api/problem";
import type { Action, State } from "../state/reducer";

/** Uploads at a time: the next photograph travels while one is computed. */
const kAtOnce = 2;

/** Hands waiting photographs to the service, a few at a time, in the order of the list. */
export function useUploads(state: State, dispatch: (action: Action) => void, client: Client): void {
  useEffect(() => {
    if (!state.online) return;
    const free = kAtOnce - state.photos.filter((photo) => photo.phase === "reading").length;
    for (const photo of state.photos.filter((one) => one.phase === "waiting").slice(0, Math.max(0, free))) {
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
    }
  }, [state.photos, state.online]);
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
