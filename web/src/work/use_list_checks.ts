import { useEffect, useRef } from "preact/hooks";
import { Problem } from "../api/problem";
import { queryOf } from "../state/options";
import { held } from "./held";
import type { Studio } from "./studio";

/** Checks the photographs of the list that are not shown, one after the other, so that each has its verdict. */
export function useListChecks({ state, dispatch, client, presets }: Studio): void {
  const running = useRef(false);
  useEffect(() => {
    const shown = state.photos.find((photo) => photo.key === state.current);
    // What is looked at comes first.
    if (!state.online || running.current || presets.length === 0 || (shown?.phase === "ready" && !shown.verdict)) return;
    const photo = state.photos.find((one) => one.phase === "ready" && !one.verdict && one.key !== state.current);
    if (!photo) return;
    const settings = photo.history.present;
    const query = queryOf(settings, presets.find((one) => one.name === settings["preset"]));
    const done = (action: Parameters<typeof dispatch>[0]): void => {
      running.current = false;
      dispatch(action);
    };
    running.current = true;
    held(client, dispatch, photo, (id) => client.check(id, query)).then(
      (check) => done({ do: "checked", key: photo.key, check, settings }),
      (reason: unknown) => {
        const problem = reason instanceof Problem ? reason : new Problem(0, "other", String(reason));
        done(problem.code === "unreachable" ? { do: "online", online: false } : { do: "refused", key: photo.key, problem, settings });
      });
  }, [state.photos, state.current, state.online, presets]);
}
