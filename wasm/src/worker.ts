/** The studio's worker: loads the core once, then answers one request at a time. */
import { Core } from "./core";
import { materialsOf } from "./decode";
import type { Asked, Reply } from "./messages";

let core: Promise<Core> | undefined;

async function answer({ request, files }: Asked): Promise<Reply> {
  core ??= WebAssembly.compileStreaming(fetch(new URL("./studio.wasm", import.meta.url))).then((module) => Core.load(module));
  const [loaded, materials] = await Promise.all([core, materialsOf(files)]);
  return loaded.ask(request, materials);
}

onmessage = async ({ data }: MessageEvent<Asked>) => {
  try {
    const reply = await answer(data);
    const transfer = "pictures" in reply ? reply.pictures.map(({ bytes }) => bytes.buffer) : [];
    postMessage(reply, { transfer });
  } catch (reason) {
    // What the virtual machine or the network says; a core that has broken down is loaded anew.
    core = undefined;
    postMessage({ failure: { code: "engine", text: String(reason), fields: [] } } satisfies Reply);
  }
};
