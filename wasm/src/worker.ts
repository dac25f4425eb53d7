/** The studio's worker: loads the core once, then answers one request at a time. */
import { Core } from "./core";
import { materialsOf } from "./decode";
import { failedOf, Failure } from "./failure";
import type { Asked, Reply } from "./messages";

let core: Core | undefined;

async function compiled(): Promise<WebAssembly.Module> {
  const answer = await fetch(new URL("./studio.wasm", import.meta.url));
  if (!answer.ok) throw new Error(`studio.wasm: ${answer.status} ${answer.statusText}`);
  // Compiled on the way only where the server knows its type, which not every one does.
  const isTyped = /^application\/wasm\b/.test(answer.headers.get("Content-Type") ?? "");
  return isTyped ? WebAssembly.compileStreaming(answer) : WebAssembly.compile(await answer.arrayBuffer());
}

async function load(): Promise<Core> {
  try {
    return await Core.load(await compiled());
  } catch (reason) {
    throw new Failure("not_loaded", String(reason));
  }
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
