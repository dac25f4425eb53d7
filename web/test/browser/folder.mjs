// A server of files as the tests' studio: it hands out the page's folder from below a path, tells nothing but types, and
// notes what it is asked.
import assert from "node:assert/strict";
import { readFileSync, readdirSync } from "node:fs";
import { createServer } from "node:http";
import { extname, join } from "node:path";
import { gzipSync } from "node:zlib";

const place = "/photographs/";
const types = { ".html": "text/html", ".js": "text/javascript", ".css": "text/css", ".svg": "image/svg+xml", ".wasm": "application/wasm" };

function filesOf(folder, below = "") {
  return readdirSync(join(folder, below), { withFileTypes: true })
    .flatMap((entry) => (entry.isDirectory() ? filesOf(folder, `${below}${entry.name}/`) : [below + entry.name]));
}

/** Serves the folder. `hidden` says which files are not found for now, `typeOf` their types. */
export async function startFolder(folder, { hidden = () => false, typeOf = (name) => types[extname(name)] } = {}) {
  const files = new Map(filesOf(folder).map((name) => [name, gzipSync(readFileSync(join(folder, name)))]));
  const strange = [];
  let sent = 0;
  const server = createServer((request, response) => {
    const { pathname, search } = new URL(request.url, "http://here");
    const name = pathname.slice(place.length) || "index.html";
    const file = pathname.startsWith(place) && !hidden(name) ? files.get(name) : undefined;
    const isPlain = request.method === "GET" && !search && !request.headers["content-length"] && !request.headers["transfer-encoding"];
    if (!isPlain || !(pathname.startsWith(place) && files.has(name))) strange.push(`${request.method} ${request.url}`);
    sent += file?.length ?? 0;
    response.writeHead(file ? 200 : 404, file ? { "Content-Type": typeOf(name), "Content-Encoding": "gzip" } : {}).end(file);
  });
  await new Promise((done) => server.listen(0, "127.0.0.1", done));
  const stop = async () => {
    server.closeAllConnections();
    server.close();
    assert.deepEqual(strange, [], "asked for something else than the page's own files");
    return 0;
  };
  /** Bytes of the files handed out so far, as packed as they are on the line. */
  return { address: `http://127.0.0.1:${server.address().port}${place}`, stop, sent: () => sent };
}
