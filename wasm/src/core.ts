import type { Reply, Request } from "./messages";

/** One file for a request: its bytes may lie in several places, one behind the other. */
export interface Material { kind: "photo" | "mask"; pieces: readonly Uint8Array[] }

interface Exports {
  memory: WebAssembly.Memory;
  _initialize(): void;
  qx_put(size: number): number;
  qx_clear(): void;
  qx_ask(): number;
  qx_reply_size(): number;
}

const noMemory = { code: "out_of_memory", text: "takes more memory than there is; make it smaller", fields: [] };

/**
 * The studio's WebAssembly in this very thread, which it keeps busy while it works: what the worker runs, and programs
 * that need none.
 */
export class Core {
  private constructor(private readonly wasm: Exports) {}

  /** From the module, or from the bytes of studio.wasm. */
  static async load(source: WebAssembly.Module | BufferSource): Promise<Core> {
    const module = source instanceof WebAssembly.Module ? source : await WebAssembly.compile(source);
    const holder: { memory?: WebAssembly.Memory } = {};
    const instance = await WebAssembly.instantiate(module, system(() => holder.memory!));
    const wasm = instance.exports as unknown as Exports;
    holder.memory = wasm.memory;
    wasm._initialize();
    return new Core(wasm);
  }

  /**
   * What is asked for, with the files that the request names. A failure is a reply too; what is thrown comes from the
   * virtual machine, and this core is done for.
   */
  ask(request: Request, files: readonly Material[]): Reply {
    const asked = new TextEncoder().encode(JSON.stringify({ ...request, files: files.map(({ kind }) => kind) }));
    if (![...files.map(({ pieces }) => pieces), [asked]].every((pieces) => this.put(pieces))) {
      this.wasm.qx_clear();
      return { failure: noMemory };
    }
    const at = this.wasm.qx_ask();
    // The memory may have grown, so that only now it is where it is.
    const reply = new Uint8Array(this.wasm.memory.buffer, at, this.wasm.qx_reply_size());
    const length = new DataView(reply.buffer, at).getUint32(0, true);
    const told = JSON.parse(new TextDecoder().decode(reply.subarray(4, 4 + length))) as Told;
    if (told.failure) return { failure: told.failure };
    let next = 4 + length;
    const pictures = told.pictures.map(({ name, type, size }) => {
      const bytes = reply.slice(next, next + size);
      next += size;
      return { name, type, bytes };
    });
    return { report: told.report, pictures, seconds: told.seconds ?? {} };
  }

  private put(pieces: readonly Uint8Array[]): boolean {
    const size = pieces.reduce((sum, piece) => sum + piece.length, 0);
    let at = this.wasm.qx_put(size);
    if (at === 0 && size > 0) return false;
    const memory = new Uint8Array(this.wasm.memory.buffer);
    for (const piece of pieces) {
      memory.set(piece, at);
      at += piece.length;
    }
    return true;
  }
}

interface Told {
  failure?: { code: string; text: string; fields: { name: string; value: string | number }[] };
  report: unknown;
  pictures: { name: string; type: string; size: number }[];
  seconds?: Record<string, number>;
}

/** The little of an operating system that the C library asks for: a clock, and a place for last words. */
function system(memory: () => WebAssembly.Memory): WebAssembly.Imports {
  const view = () => new DataView(memory().buffer);
  const nothing = () => 0;
  const bad = 8; // WASI's EBADF: there are no files
  const noFile = -44; // musl's ENOENT, for Emscripten
  const wasi_snapshot_preview1 = {
    clock_time_get(clock: number, _precision: bigint, result: number): number {
      const now = clock === 0 ? Date.now() : performance.now();
      view().setBigUint64(result, BigInt(Math.round(now * 1e6)), true);
      return 0;
    },
    environ_sizes_get(count: number, size: number): number {
      view().setUint32(count, 0, true);
      view().setUint32(size, 0, true);
      return 0;
    },
    environ_get: nothing,
    fd_close: () => bad,
    fd_read: () => bad,
    fd_seek: () => bad,
    fd_write: () => bad,
    proc_exit(status: number): never {
      throw new Error(`the studio has ended with ${status}`);
    },
  };
  const env = { emscripten_notify_memory_growth: nothing, hardware_concurrency: () => 1, __syscall_stat64: () => noFile };
  return { wasi_snapshot_preview1, env };
}
