import type { Measure, Preset } from "../api/types";
import type { Problem } from "../api/problem";
import { english, type Key } from "./english";
import { german } from "./german";
import { englishTitles, germanDocuments, germanMeasures } from "./measures";

export type Language = "en" | "de";
export const languages: Readonly<Record<Language, string>> = { en: "English", de: "Deutsch" };
const catalogues: Readonly<Record<Language, Readonly<Record<Key, string>>>> = { en: english, de: german };

type Parameters = Readonly<Record<string, string | number>>;

/** The page's words in one language. */
export class Text {
  private readonly numbers: Intl.NumberFormat;
  private readonly regions: Intl.DisplayNames;

  constructor(readonly language: Language) {
    this.numbers = new Intl.NumberFormat(language, { maximumFractionDigits: 1 });
    this.regions = new Intl.DisplayNames(language, { type: "region" });
  }

  readonly say = (key: Key, parameters: Parameters = {}): string =>
    catalogues[this.language][key].replace(/\{(\w+)\}/g, (whole, name: string) => {
      const value = parameters[name];
      return value === undefined ? whole : typeof value === "number" ? this.number(value) : value;
    });

  number(value: number): string {
    return this.numbers.format(value);
  }

  has(key: string): key is Key {
    return key in english;
  }

  country(preset: Preset): string {
    if (!preset.country) return this.say("document.anywhere");
    try {
      return this.regions.of(preset.country) ?? preset.country_name ?? preset.country;
    } catch {
      return preset.country_name ?? preset.country;
    }
  }

  documentTitle(preset: Preset): string {
    if (this.language === "en") return preset.title;
    const kind = preset.name.replace(/^[a-z]+-/, "").replace(/-upload$/, "");
    const known = germanDocuments[kind];
    if (!known) return preset.title;
    return preset.kind === "upload" ? `${known}, ${this.say("document.file")}` : known;
  }

  colour(colour: string): string {
    const key = `colour.${colour}`;
    return this.has(key) ? this.say(key) : colour;
  }

  problem(problem: Problem): string {
    const key = problem.status === 503 ? "problem.full" : problem.status === 413 ? "problem.too_large" : `problem.${problem.code}`;
    return this.has(key) ? this.say(key, { detail: problem.detail }) : this.say("problem.other", { detail: problem.detail });
  }

  measureTitle(measure: Measure): string {
    const own = this.language === "de" ? germanMeasures[measure.id]?.[0] : englishTitles[measure.id];
    return own || measure.title;
  }

  advice(measure: Measure): string {
    const own = measure.reason ? measure.reason[0]!.toUpperCase() + measure.reason.slice(1) + "." : "";
    return (this.language === "de" && germanMeasures[measure.id]?.[1]) || own;
  }
}

/** The first language of the visitor that the page speaks. */
export function preferredLanguage(wanted: readonly string[]): Language {
  for (const tag of wanted) {
    const short = tag.slice(0, 2).toLowerCase();
    if (short in catalogues) return short as Language;
  }
  return "en";
}
