import { isSupported, type KeptPhoto, type MakeOptions, type SheetOptions, type Studio } from "@qx/idphoto";
import { bytesOf } from "../files/files";
import type { Client, PictureType, Query, SheetItem } from "./client";
import { isAbort, Problem, type ProblemField } from "./problem";
import type { Check, Kept, Preset, Report } from "./types";

/** Failures to which the page does not answer with words alone, with the status that a service gives them. */
const statuses: Readonly<Record<string, number>> = { not_loaded: 0, not_kept: 404, too_large: 413, engine: 500, out_of_memory: 500 };
/** Where the page's own words are others than of a service's failure. */
const codes: Readonly<Record<string, string>> = { not_loaded: "unreachable", not_a_picture: "not_shown" };

function problemOf(reason: unknown): unknown {
  if (isAbort(reason) || reason instanceof Problem) return reason;
  // The studio's failures are told by their code; what has none is a fault of a program.
  const { code, fields = [] } = reason as { code?: unknown; fields?: readonly ProblemField[] };
  if (typeof code !== "string") return new Problem(500, "other", String(reason));
  return new Problem(statuses[code] ?? 422, codes[code] ?? code, (reason as Error).message, fields);
}

/** The values of a query by their names, which the studio takes as those of the command line too. */
function optionsOf(query: Query, type?: PictureType): MakeOptions {
  return Object.fromEntries(type === "image/png" ? [...query, ["format", "png"]] : query) as MakeOptions;
}

/** The studio in a worker of this page: photographs stay in it. */
export class LocalClient implements Client {
  readonly silence;
  private readonly photos = new Map<string, KeptPhoto>();
  private ids = 0;

  constructor(private readonly studio: Studio, private readonly runsHere = isSupported()) {
    this.silence = runsHere ? "app.notLoaded" as const : "app.tooOld" as const;
  }

  presets(): Promise<Preset[]> {
    return this.ask(() => this.studio.presets());
  }

  async keep(photo: Blob, signal?: AbortSignal): Promise<Kept> {
    const kept = await this.ask(() => this.studio.keep(photo, undefined, { signal }));
    const id = String(++this.ids);
    this.photos.set(id, kept);
    return { id, ...kept.report };
  }

  async forget(id: string): Promise<void> {
    const photo = this.photos.get(id);
    this.photos.delete(id);
    await this.ask(async () => photo?.drop());
  }

  async picture(id: string, query: Query, type: PictureType, signal?: AbortSignal): Promise<Blob> {
    const { picture } = await this.of(id, (photo) => photo.make(optionsOf(query, type), { signal }));
    return new Blob([picture.bytes], { type: picture.type });
  }

  async preview(id: string, query: Query, signal?: AbortSignal): Promise<Blob> {
    const picture = await this.of(id, (photo) => photo.preview(optionsOf(query), { signal }));
    return new Blob([picture.bytes], { type: picture.type });
  }

  async report(id: string, query: Query, signal?: AbortSignal): Promise<Report> {
    return (await this.of(id, (photo) => photo.make(optionsOf(query), { signal }))).report;
  }

  check(id: string, query: Query, signal?: AbortSignal): Promise<Check> {
    return this.of(id, (photo) => photo.check(optionsOf(query), { signal }));
  }

  sheet(items: readonly SheetItem[], query: Query, signal?: AbortSignal): Promise<Blob> {
    return this.ask(async () => {
      // As bytes, which the studio decodes itself, as the command does; a browser's decoder may differ by a level.
      const photos = await Promise.all(items.map(async ({ picture, copies }) => ({ photo: await bytesOf(picture), copies })));
      const { pictures } = await this.studio.sheet(photos, Object.fromEntries(query) as SheetOptions, { signal });
      return new Blob([pictures[0]!.bytes], { type: pictures[0]!.type });
    });
  }

  alive(): Promise<boolean> {
    return this.presets().then(() => true, () => false);
  }

  private of<T>(id: string, use: (photo: KeptPhoto) => Promise<T>): Promise<T> {
    const photo = this.photos.get(id);
    return this.ask(() => photo ? use(photo) : Promise.reject(new Problem(404, "not_kept", "")));
  }

  private async ask<T>(call: () => Promise<T>): Promise<T> {
    if (!this.runsHere) throw new Problem(0, "unreachable", "this browser cannot run the studio");
    try {
      return await call();
    } catch (reason) {
      throw problemOf(reason);
    }
  }
}
