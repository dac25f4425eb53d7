import type { Check, CheckLine, Measure, Report } from "../api/types";
import type { Text } from "../text/text";
import { useStudio } from "../work/studio";
import type { Result } from "../work/use_result";
import { Fold } from "./fields";
import { Icon } from "./icons";

/** What a look can tell and no measure does; the other measures that are not judged only fill the page. */
const byEye = new Set(["EyesVisible", "MouthOcclusionPrevention", "FaceOcclusionPrevention", "NoHeadCoverings", "DarkGlasses"]);

function boundsOf(line: CheckLine, text: Text): string {
  const { min, max } = line;
  if (min !== undefined && max !== undefined)
    return min === max ? text.number(min) : text.say("checks.range", { min, max });
  return min !== undefined ? text.say("checks.least", { min }) : max !== undefined ? text.say("checks.most", { max }) : "";
}

function valueText(line: CheckLine, text: Text): string {
  const unit = line.unit === "degrees" ? "°" : line.unit ? ` ${line.unit}` : "";
  const value = line.value === null || line.value === undefined ? "–" : text.number(line.value) + unit;
  const bounds = boundsOf(line, text);
  return bounds ? text.say("checks.wanted", { value, bounds }) : value;
}

function lineName(line: CheckLine, text: Text): string {
  const key = `length.${line.name}`;
  return text.has(key) ? text.say(key) : line.name;
}

function MeasureItem({ measure, kind }: { measure: Measure; kind: "fail" | "look" }) {
  const { text } = useStudio();
  return <li class={kind}><Icon name={kind} /><div><strong>{text.measureTitle(measure)}</strong> {text.advice(measure)}</div></li>;
}

function LineItem({ line }: { line: CheckLine }) {
  const { text } = useStudio();
  return <li class="fail"><Icon name="fail" /><div><strong>{lineName(line, text)}</strong> {valueText(line, text)}</div></li>;
}

/** Faults of the photograph itself that the finished picture no longer shows; too few pixels are told as such. */
function faultsOfSource(report: Report, check: Check): Measure[] {
  const told = new Set(check.measures.filter((one) => one.state === "failed" || one.state === "remark").map((one) => one.id));
  const reasons = new Set(report.reasons.filter((id) => !told.has(id) && id !== "InterEyeDistance"));
  return check.measures.filter((one) => reasons.delete(one.id));
}

function Remarks({ report, check }: { report: Report | null; check: Check }) {
  const { text } = useStudio();
  if (!report) return null;
  const turned = Math.abs(report.straightened_degrees ?? 0);
  const enlarged = report.enlargement ?? 1;
  return (
    <>
      {faultsOfSource(report, check).map((one) => <MeasureItem key={one.id} measure={one} kind="look" />)}
      {text.remarks(report.remarks).map((one) => <li key={one} class="look"><Icon name="look" /><div>{one}</div></li>)}
      {enlarged > 1.5 && <li class="look"><Icon name="look" /><div>{text.say("checks.enlarged", { times: enlarged })}</div></li>}
      {turned >= 0.5 && <li class="note"><Icon name="pass" /><div>{text.say("checks.straightened", { degrees: turned })}</div></li>}
    </>
  );
}

function Details({ check }: { check: Check }) {
  const { text } = useStudio();
  const yourself = check.measures.filter((one) => one.state === "not assessed" && byEye.has(one.id));
  const fine = check.measures.filter((one) => one.state === "passed");
  return (
    <div class="more">
      <Fold title={text.say("checks.sizes")}>
        <table><tbody>
          {check.checks.map((line) => (
            <tr key={line.name} class={line.passed === false ? "fail" : undefined}>
              <th scope="row">{lineName(line, text)}</th><td>{valueText(line, text)}</td>
            </tr>
          ))}
        </tbody></table>
      </Fold>
      <Fold title={text.say("checks.fine", { count: fine.length })}>
        <ul class="findings">{fine.map((one) => <li key={one.id} class="pass"><Icon name="pass" /><div>{text.measureTitle(one)}</div></li>)}</ul>
      </Fold>
      <Fold title={text.say("checks.yourself")}>
        <p class="soft">{text.say("checks.yourselfHint")}</p>
        <ul class="findings">{yourself.map((one) => <li key={one.id} class="look"><Icon name="look" /><div>{text.measureTitle(one)}</div></li>)}</ul>
      </Fold>
    </div>
  );
}

/** The checks in words: what is to be put right first, then what is to be looked at, all else folded away. */
export function ChecksPanel({ result }: { result: Result }) {
  const { text } = useStudio();
  const { check, report } = result;
  const failed = check?.measures.filter((one) => one.state === "failed") ?? [];
  const remarks = check?.measures.filter((one) => one.state === "remark") ?? [];
  const lines = check?.checks.filter((line) => line.passed === false) ?? [];
  const toMend = failed.length + lines.length;
  const state = toMend > 0 ? "fail" : remarks.length > 0 ? "look" : "pass";
  const word = toMend > 0 ? text.say("checks.toMend", { count: toMend })
    : remarks.length > 0 ? text.say("checks.toLook", { count: remarks.length }) : text.say("checks.passed");
  return (
    <section class="checks" aria-labelledby="checks-title" aria-busy={!result.settled}>
      <h2 id="checks-title">{text.say("checks.title")}</h2>
      {!check ? <p class="soft">{text.say("checks.waiting")}</p> : (
        <>
          <p class={`verdict ${state}`} role="status"><Icon name={state} />{word}</p>
          <ul class="findings">
            {lines.map((line) => <LineItem key={line.name} line={line} />)}
            {failed.map((one) => <MeasureItem key={one.id} measure={one} kind="fail" />)}
            {remarks.map((one) => <MeasureItem key={one.id} measure={one} kind="look" />)}
            <Remarks report={report} check={check} />
          </ul>
          <Details check={check} />
        </>
      )}
    </section>
  );
}
