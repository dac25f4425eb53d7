import type { Measure, Preset } from "../api/types";
import type { Problem } from "../api/problem";
import { english, type Key } from "./english";
import { german } from "./german";
import { englishTitles, germanDocuments, germanMeasures, remarkTexts } from "./measures";

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
    const known = germanDocuments[preset.name] ?? germanDocuments[kind];
    if (!known) return preset.title;
    return preset.kind === "upload" ? `${known}, ${this.say("document.file")}` : known;
  }

  /** The document with its country, where the title does not name it already: English ones do. */
  documentName(preset: Preset): string {
    const title = this.documentTitle(preset);
    return title === preset.title ? title : `${this.country(preset)} · ${title}`;
  }

  colour(colour: string): string {
    const key = `colour.${colour}`;
    return this.has(key) ? this.say(key) : colour;
  }

  problem(problem: Problem): string {
    const key = problem.status === 503 ? "problem.full" : problem.status === 413 ? "problem.too_large" : `problem.${problem.code}`;
    return this.has(key) ? this.say(key, { detail: problem.detail }) : this.say("problem.other", { detail: problem.detail });
  }

  /** Which bounds of the document are not met, and by how much. */
  misses({ fields }: Problem): string[] {
    const bounds = fields.flatMap(({ name, value }, index) => (name === "bound" ? [{ bound: String(value), rest: fields.slice(index + 1, index + 4) }] : []));
    return bounds.flatMap(({ bound, rest }) => {
      const percent = (name: string): number => Math.round(Number(rest.find((field) => field.name === name)?.value) * 1000) / 10;
      const [got, min, max] = ["got", "wanted_min", "wanted_max"].map(percent) as [number, number, number];
      const key = `bound.${bound}`;
      return this.has(key) && Number.isFinite(got + min + max) ? [this.say(key, { got, min, max })] : [];
    });
  }

  /** What the service remarks on a picture, as far as it is told nowhere else on the page. */
  remarks(remarks: readonly string[]): string[] {
    const said = remarks.flatMap((remark) => {
      const known = remarkTexts.find(([pattern]) => pattern.test(remark));
      return known ? [this.say(known[1], { detail: known[0].exec(remark)?.[1] ?? "" })] : [];
    });
    return [...new Set(said)];
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
