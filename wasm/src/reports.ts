/** What the commands report, as their `--json` writes it; what is not named here is there all the same. */

/** Bounds of a length as the authority published them, and as parts of the picture's height. */
export interface Bounds { published: string; min: number; max: number }

/** One document. */
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

export type Point = [x: number, y: number];

/** A face of a photograph, in pixels. */
export interface Face {
  /** From 1, best first. */
  face: number;
  score: number;
  roll_degrees: number;
  corners: [Point, Point, Point, Point];
  key_points: Point[];
  landmarks: Point[];
  dense_points: Point[];
}

export interface Inspection { photograph: string; width: number; height: number; faces: Face[] }

/** A kept photograph; corners in pixels of the upright one. */
export interface Kept {
  width: number;
  height: number;
  quarter_turns: number;
  faces_found: number;
  faces: { face: number; score: number; corners: Point[] }[];
}

/** How a picture was made; lengths of the head only of one person. */
export interface MakeReport {
  width: number;
  height: number;
  dpi: number;
  /** Of the file. */
  bytes: number;
  /** Of a JPEG file, 1 to 100; 0 for PNG. */
  quality: number;
  straightened_degrees: number;
  enlargement: number;
  head_mm?: number;
  top_mm?: number;
  eyes_mm?: number;
  face_width_mm?: number;
  /** Whether a bound of the document was given up. */
  relaxed: boolean;
  /** What the visitor should know, one line each. */
  remarks: string[];
  /** The measures that failed on the photograph. */
  reasons: string[];
}

/** One line of a check: a length or a score against its bounds. */
export interface CheckLine { name: string; value?: number | null; unit?: string; min?: number; max?: number; passed?: boolean }

/** One measure of a check, judged or only shown. */
export interface Measure {
  id: string;
  title: string;
  person: number | null;
  value: number | null;
  unit: string;
  state: "passed" | "failed" | "remark" | "not assessed";
  reason: string;
}

export interface Check {
  document: string;
  passed: boolean;
  summary: { passed: number; failed: number; remarks: number; not_assessed: number };
  head_to?: "crown" | "hair";
  checks: CheckLine[];
  measures: Measure[];
}
