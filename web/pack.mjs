// Packs the built page for the program: all files behind each other in page.bin, and what they are as rows of a table.
// usage: node pack.mjs PAGE OUT
import { createHash } from "node:crypto";
import { mkdirSync, readFileSync, readdirSync, writeFileSync } from "node:fs";
import { extname, join } from "node:path";

const [page, out] = process.argv.slice(2);
const types = { ".html": "text/html; charset=utf-8", ".js": "text/javascript; charset=utf-8", ".css": "text/css; charset=utf-8", ".svg": "image/svg+xml" };

const parts = [];
const rows = [];
let offset = 0;
for (const name of readdirSync(page).sort()) {
  const type = types[extname(name)];
  if (!type) throw new Error(`no media type is known for ${name}`);
  const bytes = readFileSync(join(page, name));
  const etag = createHash("sha256").update(bytes).digest("hex").slice(0, 16);
  // A name with a hash changes with the bytes.
  const hashed = /-[A-Z0-9]{8}\.\w+$/.test(name);
  rows.push(`{"/${name === "index.html" ? "" : name}", "${type}", "\\"${etag}\\"", ${offset}, ${bytes.length}, ${hashed}},\n`);
  parts.push(bytes);
  offset += bytes.length;
}
mkdirSync(out, { recursive: true });
writeFileSync(join(out, "page.bin"), Buffer.concat(parts));
writeFileSync(join(out, "page_table.inc"), rows.join(""));
