/** What the studio's worker is asked, and what it answers. */

/** Names and values, as they stand behind "--" on the command line; of flags "true" or "false". */
export type Pairs = readonly (readonly [string, string])[];

export interface Request {
  command: string;
  options?: Pairs;
  /** Of each photograph of a sheet, how many copies; "0" for as many as there is room for. */
  copies?: readonly string[];
  /** The photograph that is kept under this name, or is to be. */
  kept?: string;
  /** The command whose options "options" lists. */
  of?: string;
}

export interface FailureField { name: string; value: string | number }

export interface Picture {
  /** Of a file, without folders. */
  name: string;
  /** "image/jpeg" or "image/png". */
  type: string;
  bytes: Uint8Array<ArrayBuffer>;
}

export interface Answer {
  report: unknown;
  pictures: Picture[];
  /** Where the time went. */
  seconds: Record<string, number>;
}

export interface Failed { failure: { code: string; text: string; fields: FailureField[] } }

export type Reply = Answer | Failed;

/** A picture in memory, upright and in sRGB: what a canvas gives. */
export interface Pixels {
  width: number;
  height: number;
  /** Red, green, blue and opacity of each pixel, the colours not multiplied by it; height * width * 4. */
  data: Uint8Array | Uint8ClampedArray;
  /** The file that it was decoded from, for what that says beside its pixels. */
  file?: Uint8Array;
}

/**
 * A photograph or mask: a file, which the browser decodes (a `File` is a `Blob`), pixels, or the bytes of a JPEG or PNG
 * file that the studio has made.
 */
export type Photo = Blob | Pixels | Uint8Array | ArrayBuffer;

export interface Given { kind: "photo" | "mask"; photo: Photo }

export interface Asked { request: Request; files: readonly Given[] }
