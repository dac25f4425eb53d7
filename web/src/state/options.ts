import type { Query } from "../api/client";
import type { Preset } from "../api/types";

/** Everything that can be set for one photograph. Only what differs from the default is stored. */
export type Value = string | number | boolean;
export type Settings = Readonly<Record<string, Value>>;

export type Group = "position" | "light" | "retouch";

/** A number on a slider. */
export interface RangeOption {
  name: string;
  group: Group;
  min: number;
  max: number;
  step: number;
  default: number;
  unit: "" | "%" | "°";
}

function range(group: Group, name: string, min: number, max: number, step: number, byDefault = 0,
               unit: RangeOption["unit"] = ""): RangeOption {
  return { name, group, min, max, step, default: byDefault, unit };
}

/**
 * The sliders, named as the options of the command. Offsets are percents of the picture's width and height by which
 * the person moves right and down from where the document's bounds place it; zoom is a percent of the size chosen
 * there; turn is in degrees clockwise beyond the straightening.
 */
export const ranges: readonly RangeOption[] = [
  range("position", "zoom", 70, 150, 1, 100, "%"),
  range("position", "offset-x", -30, 30, 0.5, 0, "%"),
  range("position", "offset-y", -30, 30, 0.5, 0, "%"),
  range("position", "turn", -15, 15, 0.5, 0, "°"),
  range("light", "brightness", -10, 10, 0.5),
  range("light", "contrast", -10, 10, 0.5),
  range("light", "saturation", -10, 10, 0.5),
  range("light", "temperature", -10, 10, 0.5),
  range("light", "tint", -10, 10, 0.5),
  range("light", "sharpness", -10, 10, 0.5),
  range("retouch", "skin", 0, 5, 0.5),
  range("retouch", "tone", 0, 10, 1),
  range("retouch", "eyes", -10, 10, 1),
  range("retouch", "mouth", -10, 10, 1),
  range("retouch", "face", 0, 5, 0.5),
];

const byName = new Map(ranges.map((option) => [option.name, option]));

const others: Settings = {
  preset: "", background: "", person: 0, pair: false, beauty: "", detail: false, "no-straighten": false,
  "white-balance": "keep", "keep-rim": false, child: false, relax: false, "max-kb": 0, type: "image/jpeg",
};

export function rangeOption(name: string): RangeOption {
  const option = byName.get(name);
  if (!option) throw new RangeError(name);
  return option;
}

export function defaultOf(name: string): Value {
  const value = byName.get(name)?.default ?? others[name];
  if (value === undefined) throw new RangeError(name);
  return value;
}

export function valueOf<T extends Value>(settings: Settings, name: string): T {
  return (settings[name] ?? defaultOf(name)) as T;
}

export function sameSettings(one: Settings, two: Settings): boolean {
  const names = Object.keys(one);
  return names.length === Object.keys(two).length && names.every((name) => one[name] === two[name]);
}

/** The settings with one of them changed. Numbers are brought into their range and onto their step. */
export function withValue(settings: Settings, name: string, value: Value): Settings {
  const option = byName.get(name);
  if (option && typeof value === "number") {
    const steps = Math.round((value - option.default) / option.step);
    value = Math.min(option.max, Math.max(option.min, option.default + steps * option.step));
  }
  const { [name]: _, ...rest } = settings;
  return value === defaultOf(name) ? rest : { ...rest, [name]: value };
}

/** Options that say where the picture is cut; the picture before all other changes is made with these alone. */
const cutting = new Set(["preset", "person", "pair", "child", "relax", "no-straighten", "zoom", "offset-x", "offset-y", "turn"]);

function pairs(settings: Settings): Query {
  // Sorted, so that equal settings ask for one address and an answer can be kept.
  return Object.keys(settings).sort().filter((name) => name !== "type")
    .map((name) => [name, String(settings[name])] as const);
}

/** What a document does not take is not asked for, even where it was set for another document before. */
export function allowed(settings: Settings, preset: Preset | undefined): Settings {
  if (!preset) return settings;
  return Object.fromEntries(Object.entries(settings).filter(([name, value]) => {
    // Only a JPEG file can be made as small as one likes.
    if (name === "max-kb") return settings["type"] !== "image/png";
    if (name === "turn") return preset.background_change_allowed;
    if (name === "background") return preset.background_change_allowed || value === "keep";
    const group = byName.get(name)?.group;
    const retouches = group === "retouch" || group === "light" || ["beauty", "detail", "white-balance"].includes(name);
    return preset.retouching_allowed || !retouches;
  }));
}

export function queryOf(settings: Settings, preset?: Preset): Query {
  const kept = allowed(settings, preset);
  const format: Settings = settings["type"] === "image/png" ? { format: "png" } : {};
  const pair: Settings = preset?.persons === 2 ? { pair: true } : {};
  return pairs({ ...kept, ...pair, ...format });
}

/** The cut alone, with the photograph's own background or with the new one. */
export function queryBefore(settings: Settings, preset: Preset | undefined, keep: boolean): Query {
  const wanted = (name: string): boolean => cutting.has(name) || (!keep && name === "background");
  const cut = Object.fromEntries(Object.entries(settings).filter(([name]) => wanted(name)));
  return queryOf(keep ? { ...cut, background: "keep" } : cut, preset);
}
