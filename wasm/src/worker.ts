/** The studio's worker: loads the core once, then answers one request at a time. */
import { Core } from "./core";
import { materialsOf } from "./decode";
import { failedOf } from "./failure";
import type { Asked, Reply } from "./messages";

let core: Core | undefined;

async function load(): Promise<Core> {
  return Core.load(await WebAssembly.compileStreaming(fetch(new URL("./studio.wasm", import.meta.url))));
}

async function answer({ request, files }: Asked): Promise<Reply> {
  const [loaded, materials] = await Promise.all([core ?? load(), materialsOf(files)]);
  core = loaded;
  try {
    return core.ask(request, materials);
  } catch (reason) {
    // The virtual machine has stopped it in the middle: the next request finds a new one.
    core = undefined;
    throw reason;
  }
}

onmessage = async ({ data }: MessageEvent<Asked>) => {
  const reply = await answer(data).catch(failedOf);
  const transfer = "pictures" in reply ? reply.pictures.map(({ bytes }) => bytes.buffer) : [];
  postMessage(reply, { transfer });
};
