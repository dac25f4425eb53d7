import type { Problem } from "../api/problem";
import type { Photo } from "../state/reducer";
import { useStudio } from "../work/studio";
import { Icon } from "./icons";

/** Why there is no picture, and what can be done about it. */
export function ProblemBox({ problem, photo }: { problem: Problem; photo: Photo }) {
  const { dispatch, text } = useStudio();
  const again = photo.phase === "failed" && problem.status >= 500;
  return (
    <div class="problem" role="alert">
      <Icon name="fail" />
      <div>
        <p>{text.problem(problem)}</p>
        {again && <button type="button" onClick={() => dispatch({ do: "lost", key: photo.key })}>{text.say("problem.retry")}</button>}
        {problem.code === "no_fit" && (
          <button type="button" onClick={() => dispatch({ do: "set", name: "relax", value: true })}>{text.say("problem.relax")}</button>
        )}
      </div>
    </div>
  );
}
