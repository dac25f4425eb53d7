import type { Core } from "./core";
import { Failure } from "./failure";
import { CoreLink, WorkerLink, type Link } from "./link";
import type { Answer, Asked, Given, Pairs, Photo, Picture, Request } from "./messages";
import type {
  BackgroundOptions, CheckOptions, CompressOptions, CropOptions, InspectOptions, MakeOptions, MaskOptions, PresetsOptions,
  RetouchOptions, SheetOptions, WatermarkOptions,
} from "./options";
import type { Check, Inspection, Kept, MakeReport, Preset } from "./reports";

export interface StudioOptions {
  /** Starts the worker; for pages whose bundler wants to be told, such as `() => new Worker(url, { type: "module" })`. */
  worker?: () => Worker;
  /** Works in this thread instead, as in Node. */
  core?: Core;
}

export interface CallOptions {
  /** Ends the call with the signal's reason. A call that has begun is worked to its end, which nobody then hears of. */
  signal?: AbortSignal;
}

/** A finished photograph and how it was made. */
export interface Made {
  picture: Picture;
  /** The same without retouching beside it, where `compare` asked for it. */
  comparison?: Picture;
  report: MakeReport;
  /** Seconds of each step. */
  seconds: Record<string, number>;
}

/** What a command without a report of its own gives. */
export interface Pictures { pictures: Picture[]; report: Record<string, unknown> }

/** One photograph of a sheet; without a number as many copies as there is room for. */
export interface SheetItem { photo: Photo; copies?: number }

export type Values = Record<string, string | number | boolean | undefined>;

/** "max-kb" for "maxKb". */
function optionName(key: string): string {
  return key.replace(/[A-Z]/g, (letter) => `-${letter.toLowerCase()}`);
}

function pairsOf(options: object): Pairs {
  return Object.entries(options as Values)
    .filter(([, value]) => value !== undefined && value !== null)
    .map(([key, value]) => [optionName(key), String(value)] as const);
}

/**
 * Everything that is made of photographs, in the browser: options, pictures and reports are those of the command line.
 * Calls are answered in turn, by a worker that starts with the first. Every call rejects with a Failure, or with the
 * reason of the signal that has ended it.
 */
export class Studio {
  private link: Link | undefined;
  private last: Promise<unknown> = Promise.resolve();
  private ids = 0;

  constructor(private readonly settings: StudioOptions = {}) {}

  /** The documents that photographs can be made for. */
  async presets(options: PresetsOptions & { name?: undefined } = {}, call?: CallOptions): Promise<Preset[]> {
    return (await this.order("presets", [], options, call)).report as Preset[];
  }

  /** The one of that name. */
  async preset(name: string, call?: CallOptions): Promise<Preset> {
    return (await this.order("presets", [], { name }, call)).report as Preset;
  }

  /** The faces of a photograph, best first; may be none. */
  async inspect(photo: Photo, options: InspectOptions = {}, call?: CallOptions): Promise<{ report: Inspection; pictures: Picture[] }> {
    const { report, pictures } = await this.order("inspect", photo, options, call);
    return { report: report as Inspection, pictures };
  }

  /** The finished photograph of a document: a file with its resolution, within the document's limits of size. */
  async make(photo: Photo, options: MakeOptions & { mask?: Photo }, call?: CallOptions): Promise<Made> {
    const { mask, ...values } = options;
    return madeOf(await this.order("make", withMask(photo, mask), values, call));
  }

  /** A finished photograph measured against its document. */
  async check(photo: Photo, options: CheckOptions, call?: CallOptions): Promise<{ report: Check; pictures: Picture[] }> {
    const { report, pictures } = await this.order("check", photo, options, call);
    return { report: report as Check, pictures };
  }

  /** Rough crops, one of each face. */
  crop(photo: Photo, options: CropOptions = {}, call?: CallOptions): Promise<Pictures> {
    return this.pictures("crop", photo, options, call);
  }

  /** The persons' mask, or the persons cut out. */
  mask(photo: Photo, options: MaskOptions = {}, call?: CallOptions): Promise<Pictures> {
    return this.pictures("mask", photo, options, call);
  }

  /** Another background for a whole photograph. */
  background(photo: Photo, options: BackgroundOptions & { mask?: Photo }, call?: CallOptions): Promise<Pictures> {
    const { mask, ...values } = options;
    return this.pictures("background", withMask(photo, mask), values, call);
  }

  /** The whole photograph with its faces retouched. */
  retouch(photo: Photo, options: RetouchOptions, call?: CallOptions): Promise<Pictures> {
    return this.pictures("retouch", photo, options, call);
  }

  /** A picture of another resolution or size of file. */
  compress(photo: Photo, options: CompressOptions, call?: CallOptions): Promise<Pictures> {
    return this.pictures("compress", photo, options, call);
  }

  /** A text all over a picture. */
  watermark(photo: Photo, options: WatermarkOptions, call?: CallOptions): Promise<Pictures> {
    return this.pictures("watermark", photo, options, call);
  }

  /** Finished photographs at true size on paper. */
  async sheet(items: readonly SheetItem[], options: SheetOptions, call?: CallOptions): Promise<Pictures> {
    const files = items.map(({ photo }) => ({ kind: "photo", photo }) as const);
    const copies = items.map(({ copies }) => String(copies ?? 0));
    const request = { command: "sheet", options: pairsOf(options), ...(items.length > 1 ? { copies } : {}) };
    if (items.length === 1 && items[0]!.copies) request.options = [...request.options, ["copies", copies[0]!]];
    return (await this.ask({ request, files }, call)) as Pictures;
  }

  /** Analyses a photograph once and keeps it, so that pictures of it come faster. */
  async keep(photo: Photo, mask?: Photo, call?: CallOptions): Promise<KeptPhoto> {
    const kept = `photo-${++this.ids}`;
    const files = withMask(photo, mask);
    const { report } = await this.ask({ request: { command: "keep", kept }, files }, call);
    return new KeptPhoto(report as Kept, (asked, options) => this.ask({ request: { ...asked, kept }, files: [] }, options));
  }

  /** Any command of the command line by its name, with its options by theirs. */
  order(command: string, photo: Photo | readonly Given[], options: object = {}, call?: CallOptions): Promise<Answer> {
    const files = Array.isArray(photo) ? (photo as readonly Given[]) : [{ kind: "photo", photo: photo as Photo } as const];
    return this.ask({ request: { command, options: pairsOf(options) }, files }, call);
  }

  /** Ends the worker, and with it what is kept. */
  close(): void {
    this.link?.close();
    this.link = undefined;
  }

  private async pictures(command: string, photo: Photo | readonly Given[], options: object, call?: CallOptions): Promise<Pictures> {
    const { pictures, report } = await this.order(command, photo, options, call);
    return { pictures, report: (report ?? {}) as Record<string, unknown> };
  }

  private ask(asked: Asked, { signal }: CallOptions = {}): Promise<Answer> {
    const answer = this.last.then(() => {
      signal?.throwIfAborted();
      return (this.link ??= this.start()).ask(asked).catch((reason: unknown) => {
        this.close(); // for a new worker with the next call
        throw reason;
      });
    });
    this.last = answer.then(() => undefined, () => undefined);
    const told = answer.then((reply) => {
      signal?.throwIfAborted();
      if ("failure" in reply) throw new Failure(reply.failure.code, reply.failure.text, reply.failure.fields);
      return reply;
    });
    if (!signal) return told;
    return new Promise((resolve, reject) => {
      const abort = () => reject(signal.reason as Error);
      if (signal.aborted) abort();
      signal.addEventListener("abort", abort);
      // The signal may outlive many calls.
      void told.then(resolve, reject).finally(() => signal.removeEventListener("abort", abort));
    });
  }

  private start(): Link {
    const { core, worker } = this.settings;
    if (core) return new CoreLink(core);
    return new WorkerLink(worker ? worker() : new Worker(new URL("./worker.js", import.meta.url), { type: "module" }));
  }
}

/** A photograph that the studio keeps. */
export class KeptPhoto {
  constructor(
    /** Its size and its faces. */
    readonly report: Kept,
    private readonly ask: (request: Request, call?: CallOptions) => Promise<Answer>,
  ) {}

  /** As Studio.make. */
  async make(options: MakeOptions, call?: CallOptions): Promise<Made> {
    return madeOf(await this.ask({ command: "render", options: pairsOf(options) }, call));
  }

  /** Nearly the picture, for a screen while somebody moves an option. */
  async preview(options: MakeOptions, call?: CallOptions): Promise<Picture> {
    return (await this.ask({ command: "preview", options: pairsOf(options) }, call)).pictures[0]!;
  }

  /** The check of the finished file. */
  async check(options: MakeOptions, call?: CallOptions): Promise<Check> {
    return (await this.ask({ command: "measure", options: pairsOf(options) }, call)).report as Check;
  }

  /** The finished photograph with its measures drawn into it. */
  async drawing(options: MakeOptions, call?: CallOptions): Promise<Picture> {
    return (await this.ask({ command: "draw", options: pairsOf(options) }, call)).pictures[0]!;
  }

  /** Lets the studio forget it. */
  async drop(call?: CallOptions): Promise<void> {
    await this.ask({ command: "drop" }, call);
  }
}

function withMask(photo: Photo, mask: Photo | undefined): Given[] {
  const files: Given[] = [{ kind: "photo", photo }];
  if (mask) files.push({ kind: "mask", photo: mask });
  return files;
}

function madeOf({ pictures: [picture, comparison], report, seconds }: Answer): Made {
  return { picture: picture!, ...(comparison ? { comparison } : {}), report: report as MakeReport, seconds };
}
