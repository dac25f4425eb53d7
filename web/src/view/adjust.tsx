import { useId } from "preact/hooks";
import type { Preset } from "../api/types";
import { ranges, valueOf, type Group } from "../state/options";
import { currentSettings } from "../state/reducer";
import { useStudio } from "../work/studio";
import { Choice, Fold, Slider, Switch } from "./fields";
import { atDocumentsPlace, useMoved } from "./problem_box";
import { Swatch } from "./swatch";

function Sliders({ group, without }: { group: Group; without?: string }) {
  return <>{ranges.filter((option) => option.group === group && option.name !== without).map((option) => <Slider key={option.name} name={option.name} />)}</>;
}

/** The two ends of `gradient:TOP-BOTTOM`, or null where another background is set. */
function gradientOf(background: string): [string, string] | null {
  const match = /^gradient:(#\w{6})-(#\w{6})$/.exec(background);
  return match ? [match[1]!, match[2]!] : null;
}

function capital(word: string): string {
  return word.charAt(0).toUpperCase() + word.slice(1);
}

function ColourField({ label, value, onChange }: { label: string; value: string; onChange: (colour: string) => void }) {
  return (
    <label class="colour"><span>{label}</span>
      <input type="color" value={value} onInput={(event) => onChange(event.currentTarget.value)} />
    </label>
  );
}

function BackgroundChoice({ preset }: { preset: Preset }) {
  const { state, dispatch, text } = useStudio();
  const id = useId();
  const value = valueOf<string>(currentSettings(state), "background");
  const [own, ...others] = preset.backgrounds;
  const gradient = gradientOf(value);
  const custom = value.startsWith("#") && !preset.backgrounds.includes(value);
  const set = (next: string, gesture = false): void => dispatch({ do: "set", name: "background", value: next, gesture });
  const radio = (one: string, word: string, checked: boolean, colour?: string, to?: string) => (
    <label class="ground" key={one}>
      <input type="radio" name={id} checked={checked} onChange={() => set(one)} />
      <span>{colour && <Swatch colour={colour} to={to} />}{word}</span>
    </label>
  );
  return (
    <fieldset class="grounds">
      <legend class="unseen">{text.say("background.title")}</legend>
      {own && radio("", text.say("background.own", { colour: text.colour(own) }), value === "", own)}
      {others.map((colour) => radio(colour, capital(text.colour(colour)), value === colour, colour))}
      {radio("gradient:#dfe8f0-#ffffff", text.say("background.gradient"), !!gradient, gradient?.[0] ?? "#dfe8f0", gradient?.[1] ?? "#ffffff")}
      {gradient && (
        <div class="ends">
          <ColourField label={text.say("background.from")} value={gradient[0]} onChange={(from) => set(`gradient:${from}-${gradient[1]}`, true)} />
          <ColourField label={text.say("background.to")} value={gradient[1]} onChange={(to) => set(`gradient:${gradient[0]}-${to}`, true)} />
        </div>
      )}
      {radio("#8fb8d8", text.say("background.custom"), custom, custom ? value : "#8fb8d8")}
      {custom && <div class="ends"><ColourField label={text.say("background.custom")} value={value} onChange={(colour) => set(colour, true)} /></div>}
      {radio("keep", text.say("background.keep"), value === "keep")}
    </fieldset>
  );
}

function Background({ preset }: { preset: Preset }) {
  const { text } = useStudio();
  if (!preset.background_change_allowed) {
    const colours = preset.backgrounds.map((colour) => text.colour(colour)).join(", ");
    return <p class="reason">{text.say("background.forbidden", { authority: preset.authority, colours })}</p>;
  }
  return <><BackgroundChoice preset={preset} /><Switch name="keep-rim" label="background.rim" /></>;
}

function Light({ preset }: { preset: Preset }) {
  const { text } = useStudio();
  if (!preset.retouching_allowed) return <p class="reason">{text.say("light.forbidden", { authority: preset.authority })}</p>;
  return <><Switch name="white-balance" label="light.balance" on="auto" off="keep" /><Sliders group="light" /></>;
}

function Retouching({ preset }: { preset: Preset }) {
  const { text } = useStudio();
  if (!preset.retouching_allowed) return <p class="reason">{text.say("retouch.forbidden", { authority: preset.authority })}</p>;
  const kinds = [["", text.say("beauty.none")], ["light", text.say("beauty.light")],
                 ["natural", text.say("beauty.natural")], ["strong", text.say("beauty.strong")]] as const;
  return (
    <>
      <Choice name="beauty" label="retouch.beauty" values={kinds} />
      <Sliders group="retouch" />
      <Switch name="detail" label="retouch.detail" />
    </>
  );
}

/** Everything that can be set about the picture. */
export function AdjustPanel({ preset }: { preset: Preset | undefined }) {
  const { dispatch, text } = useStudio();
  const moved = useMoved();
  if (!preset) return null;
  return (
    <section class="adjust" aria-labelledby="adjust-title">
      <header>
        <h2 id="adjust-title">{text.say("adjust.title")}</h2>
        <button type="button" class="quiet" onClick={() => dispatch({ do: "reset" })}>{text.say("adjust.reset")}</button>
      </header>
      <Fold title={text.say("background.title")} open><Background preset={preset} /></Fold>
      <Fold title={text.say("position.title")} open>
        <Sliders group="position" without={preset.background_change_allowed ? undefined : "turn"} />
        {!preset.background_change_allowed && <p class="reason">{text.say("position.noTurn", { authority: preset.authority })}</p>}
        {moved && (
          <button type="button" class="quiet" onClick={() => dispatch({ do: "setAll", values: atDocumentsPlace })}>
            {text.say("position.centre")}
          </button>
        )}
        <Switch name="no-straighten" label="position.straighten" on={false} off={true} />
        <Switch name="relax" label="position.relax" />
      </Fold>
      <Fold title={text.say("light.title")}><Light preset={preset} /></Fold>
      <Fold title={text.say("retouch.title")}><Retouching preset={preset} /></Fold>
    </section>
  );
}
