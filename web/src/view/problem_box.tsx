import type { Problem } from "../api/problem";
import { currentSettings, type Photo } from "../state/reducer";
import { useStudio } from "../work/studio";
import { Icon } from "./icons";

export const atDocumentsPlace = { zoom: 100, "offset-x": 0, "offset-y": 0, turn: 0 };

/** Whether the person was moved from where the document's bounds place it. */
export function useMoved(): boolean {
  const settings = currentSettings(useStudio().state);
  return Object.keys(atDocumentsPlace).some((name) => settings[name] !== undefined);
}

/** Why there is no picture, and what can be done about it. `over`: it lies over the last picture that there was. */
export function ProblemBox({ problem, photo, over }: { problem: Problem; photo: Photo; over: boolean }) {
  const { dispatch, text } = useStudio();
  const moved = useMoved();
  const again = photo.phase === "failed" && problem.status >= 500;
  const misfit = problem.code === "no_fit";
  const movedOut = misfit && problem.has("moved");
  const word = !movedOut ? text.problem(problem) : text.say(problem.has("nearest") ? "problem.moved_out" : "problem.cannot_move");
  return (
    <div class={over ? "problem over" : "problem"} role="alert">
      <Icon name="fail" />
      <div>
        <p>{word}</p>
        {misfit && <ul>{text.misses(problem).map((miss) => <li key={miss}>{miss}</li>)}</ul>}
        <div class="row">
          {again && <button type="button" onClick={() => dispatch({ do: "lost", key: photo.key })}>{text.say("problem.retry")}</button>}
          {misfit && moved && (
            <button type="button" onClick={() => dispatch({ do: "setAll", values: atDocumentsPlace })}>{text.say("position.centre")}</button>
          )}
          {misfit && problem.has("nearest") && (
            <button type="button" onClick={() => dispatch({ do: "set", name: "relax", value: true })}>{text.say(movedOut ? "problem.allow" : "problem.relax")}</button>
          )}
        </div>
      </div>
    </div>
  );
}
