import { useEffect, useId, useState } from "preact/hooks";
import type { Preset } from "../api/types";
import { valueOf } from "../state/options";
import { currentPhoto, currentSettings } from "../state/reducer";
import { useStudio } from "../work/studio";
import { Switch } from "./fields";

/** Where a photograph shows several persons: whose picture it is to be. */
export function PersonPanel({ preset }: { preset: Preset | undefined }) {
  const { state, dispatch, text } = useStudio();
  const id = useId();
  const photo = currentPhoto(state);
  const [url, setUrl] = useState("");
  const several = (photo?.kept?.faces.length ?? 0) > 1;
  useEffect(() => {
    if (!photo || !several) return;
    const address = URL.createObjectURL(photo.file);
    setUrl(address);
    return () => URL.revokeObjectURL(address);
  }, [photo?.key, several]);
  if (!photo?.kept || !several) return null;
  const { faces, width, height } = photo.kept;
  const settings = currentSettings(state);
  const person = valueOf<number>(settings, "person");
  const pair = valueOf<boolean>(settings, "pair") || preset?.persons === 2;
  const set = (value: number): void => dispatch({ do: "set", name: "person", value });
  return (
    <section class="person" aria-labelledby="person-title">
      <h2 id="person-title">{text.say("person.title")}</h2>
      {preset?.persons !== 2 && <Switch name="pair" label="person.pair" />}
      {!pair && (
        <fieldset>
          <legend>{text.say("person.hint", { count: faces.length })}</legend>
          <div class="faces">
            {[0, ...faces.map((face) => face.face)].map((number) => (
              <label key={number}>
                <input type="radio" name={id} checked={person === number} onChange={() => set(number)} />
                <span>{number === 0 ? text.say("person.largest") : <><span class="unseen">{text.say("person.title")} </span>{number}</>}</span>
              </label>
            ))}
          </div>
          {url && (
            <svg class="original" viewBox={`0 0 ${width} ${height}`} role="img" aria-label={text.say("person.original")}>
              <image href={url} width={width} height={height} />
              {faces.map(({ face, corners }) => (
                <g key={face} class={face === person ? "chosen" : undefined} onClick={() => set(face)}>
                  <polygon points={[0, 1, 3, 2].map((at) => corners[at]?.join(",")).join(" ")} />
                  <text x={corners[0]?.[0]} y={(corners[0]?.[1] ?? 0) - height / 50} font-size={height / 14}>{face}</text>
                </g>
              ))}
            </svg>
          )}
        </fieldset>
      )}
    </section>
  );
}
