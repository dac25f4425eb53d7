import type { Marks } from "../state/marks";
import { useStudio } from "../work/studio";

const percent = (part: number): string => `${(part * 100).toFixed(2)}%`;

function Band({ band }: { band: Marks["bands"][number] }) {
  return (
    <g class={band.name}>
      <rect class="reach" width="100%" y={percent(band.from)} height={percent(band.to - band.from)} />
      <rect class="edge" x="100%" width="8" transform="translate(-8)" y={percent(band.from)} height={percent(band.to - band.from)} />
    </g>
  );
}

/** Lines and bands over the picture, at its own proportions. What belongs to the head goes down with it by `moved`. */
export function Measures({ marks: { lines, bands }, moved }: { marks: Marks; moved: number }) {
  const { text } = useStudio();
  return (
    <svg class="marks" aria-hidden="true">
      {bands.filter((band) => band.name === "eyes").map((band) => <Band key={band.name} band={band} />)}
      <svg y={`${moved.toFixed(2)}%`} overflow="visible">
        {bands.filter((band) => band.name === "head").map((band) => <Band key={band.name} band={band} />)}
        {lines.map((line) => (
          <g key={line.name} class={line.passed ? undefined : "fail"}>
            <line x1="0" x2="100%" y1={percent(line.y)} y2={percent(line.y)} />
            <text class={line.name} x={line.name === "top" ? "100%" : "0"} y={percent(line.y)} dx={line.name === "top" ? -14 : 8} dy="-5">{text.say(`measure.${line.name}`)}</text>
          </g>
        ))}
      </svg>
    </svg>
  );
}
