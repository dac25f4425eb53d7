import type { Preset } from "../api/types";
import type { Text } from "../text/text";

function plain(text: string): string {
  return text.normalize("NFD").replace(/\p{M}/gu, "").toLowerCase();
}

/** The documents whose country, title or name holds all words typed; those whose country or title begins with them come first. */
export function search(presets: readonly Preset[], typed: string, texts: readonly Text[]): Preset[] {
  const words = plain(typed).split(/\s+/).filter(Boolean);
  const first = words[0] ?? "";
  const hits = presets.flatMap((preset, index) => {
    // Found by its name in every language of the page: a visitor may type either.
    const countries = [...texts.map((text) => text.country(preset)), preset.country_name ?? ""].map(plain);
    const all = plain([...countries, ...texts.map((text) => text.documentTitle(preset)), preset.title, preset.name].join(" "));
    if (!words.every((word) => all.includes(word))) return [];
    const names = [...countries, plain(preset.title)];
    const rank = preset.country?.toLowerCase() === first ? 0 : names.some((name) => name.startsWith(words.join(" "))) ? 1
      : countries.some((name) => name.startsWith(first)) ? 2 : 3;
    return [{ preset, rank, index }];
  });
  return hits.sort((one, two) => one.rank - two.rank || one.index - two.index).map((hit) => hit.preset);
}

/** The passport of the visitor's region, or the one that most countries share. */
export function likelyDocument(presets: readonly Preset[], wanted: readonly string[]): string {
  for (const tag of wanted) {
    const region = tag.split("-")[1]?.toUpperCase() ?? (tag === "de" ? "DE" : "");
    const passport = presets.find((preset) => region && preset.country === region && preset.name.includes("passport"));
    if (passport) return passport.name;
  }
  return presets.find((preset) => !preset.country)?.name ?? presets[0]?.name ?? "";
}
