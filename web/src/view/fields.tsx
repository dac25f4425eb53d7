import type { ComponentChildren } from "preact";
import { useId } from "preact/hooks";
import { defaultOf, rangeOption, valueOf, type Value } from "../state/options";
import { currentSettings } from "../state/reducer";
import type { Key } from "../text/english";
import { useStudio } from "../work/studio";
import { Icon } from "./icons";

/** A slider of one option, with its number and, once moved, a way back. */
export function Slider({ name }: { name: string }) {
  const { state, dispatch, text } = useStudio();
  const id = useId();
  const option = rangeOption(name);
  const value = valueOf<number>(currentSettings(state), name);
  const label = text.say(`option.${name}` as Key);
  const said = `${text.number(value)}${option.unit === "%" ? " %" : option.unit}`;
  return (
    <div class="slider">
      <label for={id}>{label}</label>
      <output for={id}>{said}</output>
      <button type="button" class="quiet back" hidden={value === option.default} aria-label={text.say("option.back", { name: label })}
        onClick={() => dispatch({ do: "set", name, value: option.default })}><Icon name="back" /></button>
      <input id={id} type="range" min={option.min} max={option.max} step={option.step} value={value} aria-valuetext={said}
        onInput={(event) => dispatch({ do: "set", name, value: event.currentTarget.valueAsNumber, gesture: true })}
        onChange={() => dispatch({ do: "settle" })} />
    </div>
  );
}

interface SwitchProps { name: string; label: Key; on?: Value; off?: Value }

/** A switch between two values of one option. */
export function Switch({ name, label, on = true, off = false }: SwitchProps) {
  const { state, dispatch, text } = useStudio();
  return (
    <label class="switch">
      <input type="checkbox" role="switch" checked={valueOf<Value>(currentSettings(state), name) === on}
        onChange={(event) => dispatch({ do: "set", name, value: event.currentTarget.checked ? on : off })} />
      <span>{text.say(label)}</span>
    </label>
  );
}

/** One of few values, as a row of buttons that are radio buttons to everybody. */
export function Choice({ name, label, values }: { name: string; label: Key; values: readonly (readonly [string, string])[] }) {
  const { state, dispatch, text } = useStudio();
  const id = useId();
  const value = valueOf<string>(currentSettings(state), name);
  return (
    <fieldset class="choice">
      <legend>{text.say(label)}</legend>
      <div>
        {values.map(([one, word]) => (
          <label key={one}>
            <input type="radio" name={id} checked={value === one} onChange={() => dispatch({ do: "set", name, value: one })} />
            <span>{word}</span>
          </label>
        ))}
      </div>
    </fieldset>
  );
}

interface NumberProps { name: string; label: Key; least: number; most: number; placeholder?: number }

/** A number that may be left empty for the default. */
export function NumberField({ name, label, least, most, placeholder }: NumberProps) {
  const { state, dispatch, text } = useStudio();
  const value = valueOf<number>(currentSettings(state), name);
  return (
    <label class="number">
      <span>{text.say(label)}</span>
      <input type="number" inputMode="numeric" min={least} max={most} placeholder={placeholder ? String(placeholder) : "–"} value={value === defaultOf(name) ? "" : value}
        onChange={(event) => {
          const typed = event.currentTarget.valueAsNumber;
          dispatch({ do: "set", name, value: Number.isFinite(typed) && typed > 0 ? Math.round(typed) : defaultOf(name) });
        }} />
    </label>
  );
}

/** A part of the side panels that can be folded away. */
export function Fold({ title, open, children }: { title: string; open?: boolean; children: ComponentChildren }) {
  return (
    <details class="fold" open={open}>
      <summary><h3>{title}</h3></summary>
      <div class="inside">{children}</div>
    </details>
  );
}
