import { isAbort, Problem, problemOf } from "./problem";
import { queryString, type Client, type PictureType, type Query, type SheetItem } from "./client";
import type { Check, Kept, Preset, Report } from "./types";

/** The studio of a program that serves it under /v1. */
export class HttpClient implements Client {
  readonly silence = "app.offline";

  constructor(private readonly request: typeof fetch = (input, init) => fetch(input, init), private readonly base = "") {}

  presets(): Promise<Preset[]> {
    return this.json("/v1/presets");
  }

  keep(photo: Blob, signal?: AbortSignal): Promise<Kept> {
    const headers = { "Content-Type": photo.type || "application/octet-stream" };
    return this.json("/v1/photos", { method: "POST", body: photo, headers, signal });
  }

  async forget(id: string): Promise<void> {
    await this.ask(`/v1/photos/${id}`, { method: "DELETE" }, (answer) => answer.text());
  }

  picture(id: string, query: Query, type: PictureType, signal?: AbortSignal): Promise<Blob> {
    return this.blob(`/v1/photos/${id}/result?${queryString(query)}`, type, { signal });
  }

  preview(id: string, query: Query, signal?: AbortSignal): Promise<Blob> {
    return this.blob(`/v1/photos/${id}/preview?${queryString(query)}`, "image/jpeg", { signal });
  }

  report(id: string, query: Query, signal?: AbortSignal): Promise<Report> {
    return this.json(`/v1/photos/${id}/result?${queryString(query)}`, { signal });
  }

  check(id: string, query: Query, signal?: AbortSignal): Promise<Check> {
    return this.json(`/v1/photos/${id}/check?${queryString(query)}`, { signal });
  }

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
