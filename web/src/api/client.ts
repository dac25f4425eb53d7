import { Problem, problemOf } from "./problem";
import type { Check, Kept, Preset, Report } from "./types";

/** Options by the long names of the command line. */
export type Query = readonly (readonly [string, string])[];

export type PictureType = "image/jpeg" | "image/png";

/** The part of an OpenAPI description that tells the options. */
interface ApiDescription { paths?: Record<string, { get?: { parameters?: { name: string; in: string }[] } }> }

/** One picture of a print sheet; 0 copies means as many as there is room for. */
export interface SheetItem { picture: Blob; copies: number }

export function queryString(query: Query): string {
  return new URLSearchParams(query.map(([name, value]) => [name, value])).toString();
}

export interface Findings { report: Report; check: Check }

/** The service under /v1. Every call rejects with a Problem, or with an AbortError where it was cancelled. */
export class Client {
  constructor(private readonly request: typeof fetch = (input, init) => fetch(input, init), private readonly base = "") {}

  async presets(): Promise<Preset[]> {
    return (await this.ask("/v1/presets")).json();
  }

  /** The options of a result that the service describes; null where it describes none. */
  async options(): Promise<ReadonlySet<string> | null> {
    const description = (await (await this.ask("/v1/openapi.json")).json()) as ApiDescription;
    const parameters = Object.entries(description.paths ?? {})
      .filter(([path]) => /^\/v1\/photos\/[^/]+\/result$/.test(path))
      .flatMap(([, methods]) => methods.get?.parameters ?? []);
    const names = parameters.filter((one) => one.in === "query").map((one) => one.name);
    return names.length > 0 ? new Set(names) : null;
  }

  /** Keeps a photograph for the session; the service finds its faces on the way. */
  async keep(photo: Blob, signal?: AbortSignal): Promise<Kept> {
    const headers = { "Content-Type": photo.type || "application/octet-stream" };
    return (await this.ask("/v1/photos", { method: "POST", body: photo, headers, signal })).json();
  }

  async forget(id: string): Promise<void> {
    await this.ask(`/v1/photos/${id}`, { method: "DELETE" });
  }

  /** The finished picture: the bytes that the command would write into a file. */
  picture(id: string, query: Query, type: PictureType, signal?: AbortSignal): Promise<Blob> {
    return this.blob(`/v1/photos/${id}/result?${queryString(query)}`, type, signal);
  }

  /** A picture for the screen while a slider moves. */
  preview(id: string, query: Query, signal?: AbortSignal): Promise<Blob> {
    return this.blob(`/v1/photos/${id}/preview?${queryString(query)}`, "image/jpeg", signal);
  }

  async report(id: string, query: Query, signal?: AbortSignal): Promise<Report & { check?: Check }> {
    return (await this.ask(`/v1/photos/${id}/result?${queryString(query)}`, { headers: { Accept: "application/json" }, signal })).json();
  }

  /** How the picture was made, and what a check of it finds. */
  async findings(id: string, query: Query, signal?: AbortSignal): Promise<Findings> {
    const init = { headers: { Accept: "application/json" }, signal };
    const report = await this.report(id, query, signal);
    const check = report.check ?? ((await (await this.ask(`/v1/photos/${id}/check?${queryString(query)}`, init)).json()) as Check);
    return { report, check };
  }

  /** Finished pictures at true size on paper, as a JPEG file. */
  async sheet(items: readonly SheetItem[], query: Query, signal?: AbortSignal): Promise<Blob> {
    const [only] = items;
    if (only && items.length === 1) {
      const copies: Query = only.copies > 0 ? [["copies", String(only.copies)]] : [];
      const init = { method: "POST", body: only.picture, headers: { Accept: "image/jpeg", "Content-Type": "image/jpeg" }, signal };
      return (await this.ask(`/v1/sheet?${queryString([...query, ...copies])}`, init)).blob();
    }
    const form = new FormData();
    items.forEach((item, index) => {
      form.append("photo", item.picture, `${index + 1}.jpg`);
      form.append("copies", String(item.copies));
    });
    const init = { method: "POST", body: form, headers: { Accept: "image/jpeg" }, signal };
    return (await this.ask(`/v1/sheet?${queryString(query)}`, init)).blob();
  }

  /** Whether the service answers at all. */
  async alive(): Promise<boolean> {
    try {
      await this.ask("/healthz");
      return true;
    } catch {
      return false;
    }
  }

  private async blob(path: string, type: PictureType, signal?: AbortSignal): Promise<Blob> {
    return (await this.ask(path, { headers: { Accept: type }, signal })).blob();
  }

  private async ask(path: string, init: RequestInit = {}): Promise<Response> {
    let answer: Response;
    try {
      answer = await this.request(this.base + path, init);
    } catch (reason) {
      // fetch tells a lost connection by a TypeError; a cancelled call stays what it is.
      if (reason instanceof TypeError) throw new Problem(0, "unreachable", reason.message);
      throw reason;
    }
    if (!answer.ok) throw await problemOf(answer);
    return answer;
  }
}
