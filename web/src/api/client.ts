import type { Key } from "../text/english";
import type { Check, Kept, Preset, Report } from "./types";

/** Options by the long names of the command line. */
export type Query = readonly (readonly [string, string])[];

export type PictureType = "image/jpeg" | "image/png";

/** One picture of a print sheet; 0 copies means as many as there is room for. */
export interface SheetItem { picture: Blob; copies: number }

export function queryString(query: Query): string {
  return new URLSearchParams(query.map(([name, value]) => [name, value])).toString();
}

/**
 * What the page asks of a studio, be it a program's or one in the browser. Every call rejects with a Problem, or with an
 * AbortError where it was cancelled.
 */
export interface Client {
  /** What the visitor is told while the studio does not answer. */
  readonly silence: Key;

  presets(): Promise<Preset[]>;

  /** Keeps a photograph for the session; its faces are found on the way. */
  keep(photo: Blob, signal?: AbortSignal): Promise<Kept>;

  forget(id: string): Promise<void>;

  /** The finished picture: the bytes that the command would write into a file. */
  picture(id: string, query: Query, type: PictureType, signal?: AbortSignal): Promise<Blob>;

  /** A picture for the screen while a slider moves. */
  preview(id: string, query: Query, signal?: AbortSignal): Promise<Blob>;

  /** How the picture is made. */
  report(id: string, query: Query, signal?: AbortSignal): Promise<Report>;

  /** What a check of the finished picture finds. */
  check(id: string, query: Query, signal?: AbortSignal): Promise<Check>;

  /** Finished pictures at true size on paper, as a JPEG file. */
  sheet(items: readonly SheetItem[], query: Query, signal?: AbortSignal): Promise<Blob>;

  /** Whether the studio answers at all. */
  alive(): Promise<boolean>;
}
