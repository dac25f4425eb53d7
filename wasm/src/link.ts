import type { Core } from "./core";
import { materialsOf } from "./decode";
import { failedOf, Failure } from "./failure";
import type { Asked, Reply } from "./messages";

/** Whoever answers requests, one at a time and in turn. Where asking is rejected, there will be no more answers. */
export interface Link {
  ask(asked: Asked): Promise<Reply>;
  close(): void;
}

/** A worker of one's own. */
export class WorkerLink implements Link {
  private waiting: { resolve: (reply: Reply) => void; reject: (reason: Error) => void } | undefined;

  constructor(private readonly worker: Worker) {
    worker.onmessage = ({ data }: MessageEvent<Reply>) => this.take()?.resolve(data);
    // Only an error of its script comes with words.
    worker.onerror = ({ message }) => this.take()?.reject(
      message ? new Failure("engine", message) : new Failure("not_loaded", "the studio's worker cannot be loaded"));
  }

  ask(asked: Asked): Promise<Reply> {
    return new Promise((resolve, reject) => {
      this.waiting = { resolve, reject };
      this.worker.postMessage(asked);
    });
  }

  close(): void {
    this.worker.terminate();
    this.take()?.reject(new Failure("closed", "the studio was closed"));
  }

  private take() {
    const { waiting } = this;
    this.waiting = undefined;
    return waiting;
  }
}

/** The core in this thread. */
export class CoreLink implements Link {
  constructor(private readonly core: Core) {}

  async ask({ request, files }: Asked): Promise<Reply> {
    try {
      return this.core.ask(request, await materialsOf(files));
    } catch (reason) {
      return failedOf(reason);
    }
  }

  close(): void {
    // There is nothing to let go of but the memory, which goes with the last reference.
  }
}
