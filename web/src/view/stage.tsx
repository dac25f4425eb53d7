import { useEffect, useRef, useState } from "preact/hooks";
import type { Preset } from "../api/types";
import { marksOf } from "../state/marks";
import { valueOf, type Settings } from "../state/options";
import { currentPhoto, currentSettings } from "../state/reducer";
import type { Key } from "../text/english";
import { useStudio } from "../work/studio";
import { useBefore, type Result } from "../work/use_result";
import { Icon, type IconName } from "./icons";
import { usePlacing } from "./placing";
import { ProblemBox } from "./problem_box";

/** Lines and bands over the picture, at its own proportions. */
function Marks({ result, preset }: { result: Result; preset: Preset }) {
  const { text } = useStudio();
  if (!result.check) return null;
  const { lines, bands } = marksOf(result.check, preset);
  const percent = (part: number): string => `${(part * 100).toFixed(2)}%`;
  return (
    <svg class="marks" aria-hidden="true">
      {bands.map((band) => (
        <g key={band.name} class={band.name}>
          <rect class="reach" width="100%" y={percent(band.from)} height={percent(band.to - band.from)} />
          <rect class="edge" x="100%" width="8" transform="translate(-8)" y={percent(band.from)} height={percent(band.to - band.from)} />
        </g>
      ))}
      {lines.map((line) => (
        <g key={line.name} class={line.passed ? undefined : "fail"}>
          <line x1="0" x2="100%" y1={percent(line.y)} y2={percent(line.y)} />
          <text class={line.name} x={line.name === "top" ? "100%" : "0"} y={percent(line.y)} dx={line.name === "top" ? -14 : 8} dy="-5">{text.say(`measure.${line.name}`)}</text>
        </g>
      ))}
    </svg>
  );
}

/** Where the picture will be once the service has drawn it: shown at once while it is dragged. */
function placeNow(shown: Settings, now: Settings): string | undefined {
  const difference = (name: string): number => valueOf<number>(now, name) - valueOf<number>(shown, name);
  const scale = valueOf<number>(now, "zoom") / valueOf<number>(shown, "zoom");
  const [x, y, turn] = [difference("offset-x"), difference("offset-y"), difference("turn")];
  if (!x && !y && !turn && scale === 1) return undefined;
  return `translate(${x}%, ${y}%) rotate(${turn}deg) scale(${scale})`;
}

function Toggle({ icon, label, on, onChange }: { icon: IconName; label: Key; on: boolean; onChange: (on: boolean) => void }) {
  const { text } = useStudio();
  return (
    <button type="button" class="toggle" aria-pressed={on} onClick={() => onChange(!on)}>
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
  const placing = usePlacing(frame, !compare && !!result.shown);
  useEffect(() => setCompare(false), [photo?.key]);

  const shape = result.shown && preset ? preset.width_px / preset.height_px : 35 / 45;
  const status = photo?.phase === "reading" || photo?.phase === "waiting" ? text.say("stage.reading")
    : result.busy ? text.say("stage.busy") : "";
  const problem = photo?.problem ?? result.problem;
  const style = { aspectRatio: String(shape), width: `min(100%, calc(var(--stage-height) * ${shape}))` };
  return (
    <section class="stage" id="stage" aria-labelledby="stage-title">
      <h1 id="stage-title" class="unseen">{text.say("stage.alt", { name: photo?.name ?? "" })}</h1>
      <div ref={frame} class={move ? "frame moving" : "frame"} style={style} tabIndex={0} role="group" aria-label={text.say("stage.label")}
        aria-busy={status !== ""} {...placing}>
        {result.shown && (compare && before
          ? <Compare before={before} after={result.shown.url} divide={divide} onDivide={setDivide} />
          : <img src={result.shown.url} alt={text.say("stage.alt", { name: photo?.name ?? "" })} draggable={false}
              style={{ transform: placeNow(result.shown.settings, settings) ?? "" }} />)}
        {preset && result.shown && (measures || move) && <Marks result={result} preset={preset} />}
        {!result.shown && !problem && <div class="placeholder" />}
        <p class="status" role="status">{status}</p>
      </div>
      {problem && photo && <ProblemBox problem={problem} photo={photo} />}
      <div class="toggles">
        <Toggle icon="measures" label="stage.measures" on={measures} onChange={setMeasures} />
        <Toggle icon="compare" label="stage.compare" on={compare} onChange={setCompare} />
        <Toggle icon="move" label="stage.move" on={move} onChange={setMove} />
      </div>
      {move && <p class="soft">{text.say("stage.moveHint")}</p>}
    </section>
  );
}
