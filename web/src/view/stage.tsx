import { useEffect, useRef, useState } from "preact/hooks";
import type { Preset } from "../api/types";
import { marksOf } from "../state/marks";
import { valueOf, type Settings } from "../state/options";
import { currentPhoto, currentSettings } from "../state/reducer";
import type { Key } from "../text/english";
import { useStudio } from "../work/studio";
import { useBefore, type Result } from "../work/use_result";
import { Icon, type IconName } from "./icons";
import { Measures } from "./measures";
import { usePlacing } from "./placing";
import { ProblemBox } from "./problem_box";

const kPlacing = new Set(["drag", "wheel", "keys", "zoom", "offset-x", "offset-y", "turn"]);
/** After a move its measures stay for so long, so that they can be read. */
const kLingerMs = 1500;

/** True while the person is being placed, and for a moment after. */
function usePlacingNow(gesture: string | null): boolean {
  const placing = gesture !== null && kPlacing.has(gesture);
  const [shown, setShown] = useState(false);
  useEffect(() => {
    if (placing) return setShown(true);
    const timer = setTimeout(() => setShown(false), kLingerMs);
    return () => clearTimeout(timer);
  }, [placing]);
  return shown;
}

/** Where the picture will be once the service has drawn it: shown at once while it is dragged. */
function placeNow(shown: Settings, now: Settings): string | undefined {
  const difference = (name: string): number => valueOf<number>(now, name) - valueOf<number>(shown, name);
  const scale = valueOf<number>(now, "zoom") / valueOf<number>(shown, "zoom");
  const [x, y, turn] = [difference("offset-x"), difference("offset-y"), difference("turn")];
  if (!x && !y && !turn && scale === 1) return undefined;
  return `translate(${x}%, ${y}%) rotate(${turn}deg) scale(${scale})`;
}

interface ToggleProps { icon: IconName; label: Key; on: boolean; onChange: (on: boolean) => void; className?: string }

function Toggle({ icon, label, on, onChange, className = "" }: ToggleProps) {
  const { text } = useStudio();
  return (
    <button type="button" class={`toggle ${className}`} aria-pressed={on} onClick={() => onChange(!on)}>
      <Icon name={icon} /><span>{text.say(label)}</span>
    </button>
  );
}

function Compare({ before, after, divide, onDivide }: { before: string; after: string; divide: number; onDivide: (to: number) => void }) {
  const { text } = useStudio();
  return (
    <>
      <img src={after} alt={text.say("stage.afterShort")} draggable={false} />
      <img class="before" src={before} alt={text.say("stage.before")} draggable={false} style={{ clipPath: `inset(0 ${100 - divide}% 0 0)` }} />
      <div class="divider" style={{ left: `${divide}%` }} aria-hidden="true" />
      <span class="tag first" aria-hidden="true">{text.say("stage.beforeShort")}</span>
      <span class="tag last" aria-hidden="true">{text.say("stage.afterShort")}</span>
      <input type="range" min="0" max="100" value={divide} aria-label={text.say("stage.divider")}
        onInput={(event) => onDivide(event.currentTarget.valueAsNumber)} />
    </>
  );
}

/** The finished picture, as large as there is room for, with what can be laid over it. */
export function Stage({ result, preset }: { result: Result; preset: Preset | undefined }) {
  const studio = useStudio();
  const { state, text } = studio;
  const photo = currentPhoto(state);
  const settings = currentSettings(state);
  const frame = useRef<HTMLDivElement>(null);
  const [measures, setMeasures] = useState(false);
  const [compare, setCompare] = useState(false);
  const [move, setMove] = useState(false);
  const [divide, setDivide] = useState(50);
  const before = useBefore(studio, preset, compare ? result.report : null);
  const placed = usePlacingNow(photo?.history.gesture ?? null);
  const placing = usePlacing(frame, !compare && !!result.shown);
  useEffect(() => setCompare(false), [photo?.key]);

  const shape = preset ? preset.width_px / preset.height_px : 35 / 45;
  const status = photo?.phase === "reading" || photo?.phase === "waiting" ? text.say("stage.reading")
    : result.busy && photo?.history.gesture == null ? text.say("stage.busy") : "";
  const problem = photo?.problem ?? result.problem;
  // What a moved picture leaves free shows what will be there.
  const ground = valueOf<string>(settings, "background") || (preset?.background_change_allowed ? preset.backgrounds[0] : "");
  const style = { aspectRatio: String(shape), backgroundColor: result.shown && ground !== "keep" ? ground : "", width: `min(100%, calc(var(--stage-height) * ${shape}))` };
  return (
    <section class="stage" id="stage" aria-labelledby="stage-title">
      <h1 id="stage-title" class="unseen">{text.say("stage.alt", { name: photo?.name ?? "" })}</h1>
      <div class="place">
        <div ref={frame} class={move ? "frame moving" : "frame"} style={style} tabIndex={0} role="group" aria-label={text.say("stage.label")}
          aria-busy={status !== ""} {...placing}>
          {result.shown && (compare && before
            ? <Compare before={before} after={result.shown.url} divide={divide} onDivide={setDivide} />
            : <img src={result.shown.url} alt={text.say("stage.alt", { name: photo?.name ?? "" })} draggable={false}
                style={{ transform: placeNow(result.shown.settings, settings) ?? "" }} />)}
          {preset && result.shown && result.check && (measures || move || placed) && (
            <Measures marks={marksOf(result.check, preset)}
              moved={valueOf<number>(settings, "offset-y") - valueOf<number>(result.measured, "offset-y")} />
          )}
          {!result.shown && !problem && <div class="placeholder" />}
          <p class="status" role="status">{status}</p>
        </div>
        {problem && photo && <ProblemBox problem={problem} photo={photo} over={!!result.shown} />}
      </div>
      <div class="toggles">
        <Toggle icon="measures" label="stage.measures" on={measures} onChange={setMeasures} />
        <Toggle icon="compare" label="stage.compare" on={compare} onChange={setCompare} />
        <Toggle icon="move" label="stage.move" on={move} onChange={setMove} className="by-touch" />
      </div>
      <p class="soft hint">{text.say("stage.moveHint")}</p>
    </section>
  );
}
