/** What the service answers, as far as the page reads it. */

/** Bounds of a length as the authority published them, and as parts of the picture's height. */
export interface Bounds { published: string; min: number; max: number }

/** One document, as `idphoto presets --json` lists it. */
export interface Preset {
  name: string;
  title: string;
  authority: string;
  country?: string;
  country_name?: string;
  kind: "print" | "upload";
  persons: number;
  size: string;
  dpi: number;
  width_px: number;
  height_px: number;
  head?: Bounds;
  head_to?: "crown" | "hair";
  top?: Bounds;
  eyes?: Bounds;
  max_kb?: number;
  min_kb?: number;
  backgrounds: string[];
  background_change_allowed: boolean;
  retouching_allowed: boolean;
  note?: string;
}

/** A face of a kept photograph; corners in pixels of the upright photograph. */
export interface Face { face: number; corners: [number, number][] }

/** A photograph that the service keeps. */
export interface Kept { id: string; width: number; height: number; faces: Face[]; expires?: string }

/** One line of a check: a length or a score against its bounds. */
export interface CheckLine {
  name: string;
  value?: number | null;
  unit?: string;
  min?: number;
  max?: number;
  passed?: boolean;
}

export type MeasureState = "passed" | "failed" | "remark" | "not assessed";

/** One measure of a check, judged or only shown. */
export interface Measure { id: string; title: string; person: number | null; state: MeasureState; reason: string }

/** The check of a finished picture, as `idphoto check --json` writes it. */
export interface Check {
  passed: boolean;
  summary: { passed: number; failed: number; remarks: number; not_assessed: number };
  head_to?: "crown" | "hair";
  checks: CheckLine[];
  measures: Measure[];
}

/** How a picture was made, as `idphoto make --json` writes it. */
export interface Report {
  width: number;
  height: number;
  dpi: number;
  bytes: number;
  quality?: number;
  straightened_degrees?: number;
  enlargement?: number;
  /** Where the head stands, as far as it was placed by a face. */
  top_mm?: number;
  eyes_mm?: number;
  head_mm?: number;
  /** Whether a bound of the document was given up. */
  relaxed?: boolean;
  remarks: string[];
  reasons: string[];
}
