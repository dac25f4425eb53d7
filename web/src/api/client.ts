import { isAbort, Problem, problemOf } from "./problem";
import type { Check, Kept, Preset, Report } from "./types";

/** Options by the long names of the command line. */
export type Query = readonly (readonly [string, string])[];

export type PictureType = "image/jpeg" | "image/png";

/** One picture of a print sheet; 0 copies means as many as there is room for. */
export interface SheetItem { picture: Blob; copies: number }

export function queryString(query: Query): string {
  return new URLSearchParams(query.map(([name, value]) => [name, value])).toString();
}

/** The service under /v1. Every call rejects with a Problem, or with an AbortError where it was cancelled. */
export class Client {
  constructor(private readonly request: typeof fetch = (input, init) => fetch(input, init), private readonly base = "") {}

  presets(): Promise<Preset[]> {
    return this.json("/v1/presets");
  }

  /** Keeps a photograph for the session; the service finds its faces on the way. */
  keep(photo: Blob, signal?: AbortSignal): Promise<Kept> {
    const headers = { "Content-Type": photo.type || "application/octet-stream" };
    return this.json("/v1/photos", { method: "POST", body: photo, headers, signal });
  }

  async forget(id: string): Promise<void> {
    await this.ask(`/v1/photos/${id}`, { method: "DELETE" }, (answer) => answer.text());
  }

  /** The finished picture: the bytes that the command would write into a file. */
  picture(id: string, query: Query, type: PictureType, signal?: AbortSignal): Promise<Blob> {
    return this.blob(`/v1/photos/${id}/result?${queryString(query)}`, type, { signal });
  }

  /** A picture for the screen while a slider moves. */
  preview(id: string, query: Query, signal?: AbortSignal): Promise<Blob> {
    return this.blob(`/v1/photos/${id}/preview?${queryString(query)}`, "image/jpeg", { signal });
  }

  /** How the picture is made. */
  report(id: string, query: Query, signal?: AbortSignal): Promise<Report> {
    return this.json(`/v1/photos/${id}/result?${queryString(query)}`, { signal });
  }

  /** What a check of the finished picture finds. */
  check(id: string, query: Query, signal?: AbortSignal): Promise<Check> {
    return this.json(`/v1/photos/${id}/check?${queryString(query)}`, { signal });
  }

  /** Finished pictures at true size on paper, as a JPEG file. */
  sheet(items: readonly SheetItem[], query: Query, signal?: AbortSignal): Promise<Blob> {
    const [only] = items;
    if (only && items.length === 1) {
      const copies: Query = only.copies > 0 ? [["copies", String(only.copies)]] : [];
      const init = { method: "POST", body: only.picture, headers: { "Content-Type": "image/jpeg" }, signal };
      return this.blob(`/v1/sheet?${queryString([...query, ...copies])}`, "image/jpeg", init);
    }
    const form = new FormData();
    items.forEach((item, index) => {
      form.append("photo", item.picture, `${index + 1}.jpg`);
      form.append("copies", String(item.copies));
    });
    return this.blob(`/v1/sheet?${queryString(query)}`, "image/jpeg", { method: "POST", body: form, signal });
  }

  /** Whether the service answers at all. */
  async alive(): Promise<boolean> {
    try {
      await this.ask("/healthz", {}, (answer) => answer.text());
      return true;
    } catch {
      return false;
    }
  }

  private json<T>(path: string, init: RequestInit = {}): Promise<T> {
    return this.ask(path, { ...init, headers: { ...init.headers, Accept: "application/json" } }, (answer) => answer.json());
  }

  private blob(path: string, type: PictureType, init: RequestInit): Promise<Blob> {
    return this.ask(path, { ...init, headers: { ...init.headers, Accept: type } }, (answer) => answer.blob());
  }

  private async ask<T>(path: string, init: RequestInit, read: (answer: Response) => Promise<T>): Promise<T> {
    try {
      const answer = await this.request(this.base + path, init);
      if (!answer.ok) throw await problemOf(answer);
      return await read(answer);
    } catch (reason) {
      if (reason instanceof Problem || isAbort(reason)) throw reason;
      // fetch tells a lost connection, and one that breaks off in the middle of an answer, by errors of several kinds.
      throw new Problem(0, "unreachable", String(reason));
    }
  }
}
