// Bundles the page into a folder: index.html with the hashed names of its script and style.
// usage: node build.mjs [OUT [PACKAGE]], default ../build/web
// Without PACKAGE it is the page that the program serves. With the folder of the built package @qx/idphoto it needs no
// program: the studio is put beside it, and any server of files can hand the folder out.
import { build } from "esbuild";
import { createHash } from "node:crypto";
import { cpSync, mkdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { basename, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const here = fileURLToPath(new URL(".", import.meta.url));
const out = resolve(process.argv[2] ?? join(here, "../build/web"));
const studio = process.argv[3] && resolve(process.argv[3]);
// A stale hashed file would be embedded beside the new one.
rmSync(out, { recursive: true, force: true });
mkdirSync(out, { recursive: true });

/** Puts the studio's files into a folder whose name changes with their bytes, and gives that name. */
function addStudio() {
  const files = ["worker.js", "studio.wasm"].map((name) => join(studio, name));
  const hash = files.reduce((sum, file) => sum.update(readFileSync(file)), createHash("sha256")).digest("hex");
  const name = `studio-${hash.slice(0, 8)}`;
  for (const file of files) cpSync(file, join(out, name, basename(file)));
  for (const paper of ["LICENSE", "NOTICE", "THIRD_PARTY.md"]) cpSync(join(studio, paper), join(out, paper));
  return name;
}

const define = studio ? { WORKER: JSON.stringify(`${addStudio()}/worker.js`) } : {};
const entry = studio ? "alone" : "served";
const result = await build({
  absWorkingDir: here,
  entryPoints: [`src/${entry}.ts`, "src/style.css"],
  bundle: true, minify: true, format: "esm", target: "es2022", jsx: "automatic", jsxImportSource: "preact",
  outdir: out, entryNames: "[name]-[hash]", metafile: true, charset: "utf8",
  define, alias: studio ? { "@qx/idphoto": join(studio, "index.js") } : {},
});
const names = Object.keys(result.metafile.outputs).map((path) => basename(path));
// The program tells its policy in a header. A server of files tells none: there it stands in the page.
const policy = "default-src 'none'; script-src 'self' 'wasm-unsafe-eval'; worker-src 'self' blob:; connect-src 'self'; "
  + "style-src 'self'; img-src 'self' blob: data:; base-uri 'none'; form-action 'none'";
const page = readFileSync(join(here, "src/index.html"), "utf8")
  .replace("POLICY\n", studio ? `<meta http-equiv="Content-Security-Policy" content="${policy}">\n<meta name="referrer" content="no-referrer">\n` : "")
  .replace("SCRIPT", names.find((name) => name.endsWith(".js")))
  .replace("STYLE", names.find((name) => name.endsWith(".css")));
writeFileSync(join(out, "index.html"), page);
writeFileSync(join(out, "icon.svg"), readFileSync(join(here, "src/icon.svg")));
