import type { Check, Preset } from "../api/types";

/** What is drawn over the picture; heights count from its upper edge, 0 to 1. */
export interface Marks {
  lines: { name: "top" | "crown" | "eyes" | "chin"; y: number; passed: boolean }[];
  /** Where the end of the head and the eyes may lie. */
  bands: { name: "head" | "eyes"; from: number; to: number }[];
}

function lengthOf(check: Check, name: string, preset: Preset): { part: number; passed: boolean } | null {
  const line = check.checks.find((candidate) => candidate.name === name);
  if (line?.value === undefined || line.value === null) return null;
  const pixels = line.unit === "mm" ? (line.value * preset.dpi) / 25.4 : line.value;
  const part = line.unit === "%" ? line.value / 100 : pixels / preset.height_px;
  return { part, passed: line.passed ?? true };
}

/** The measures of a check as lines, and the document's bounds as bands about them. */
export function marksOf(check: Check, preset: Preset): Marks {
  const marks: Marks = { lines: [], bands: [] };
  const above = lengthOf(check, "space above", preset);
  // The document counts the head to the crown or to the hair; the other length has a line of its own.
  const toHair = preset.head_to === "hair";
  const withHair = lengthOf(check, toHair ? "head" : "head with hair", preset);
  const toCrown = lengthOf(check, toHair ? "head to crown" : "head", preset);
  const eyes = lengthOf(check, "eyes", preset);
  if (above) marks.lines.push({ name: "top", y: above.part, passed: above.passed && (!toHair || withHair?.passed !== false) });
  if (above && withHair) {
    const chin = above.part + withHair.part;
    marks.lines.push({ name: "chin", y: chin, passed: true });
    if (toCrown) marks.lines.push({ name: "crown", y: chin - toCrown.part, passed: toCrown.passed });
    if (preset.head) marks.bands.push({ name: "head", from: chin - preset.head.max, to: chin - preset.head.min });
  }
  if (eyes) marks.lines.push({ name: "eyes", y: 1 - eyes.part, passed: eyes.passed });
  if (preset.eyes) marks.bands.push({ name: "eyes", from: 1 - preset.eyes.max, to: 1 - preset.eyes.min });
  return marks;
}
