// Bundles the page into a folder: index.html with the hashed names of its script and style.
// usage: node build.mjs [OUT], default ../build/web
import { build } from "esbuild";
import { mkdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { basename, join } from "node:path";
import { fileURLToPath } from "node:url";

const here = fileURLToPath(new URL(".", import.meta.url));
const out = process.argv[2] ?? join(here, "../build/web");
// A stale hashed file would be embedded beside the new one.
rmSync(out, { recursive: true, force: true });
mkdirSync(out, { recursive: true });
const result = await build({
  absWorkingDir: here,
  entryPoints: ["src/main.tsx", "src/style.css"],
  bundle: true, minify: true, format: "esm", target: "es2022", jsx: "automatic", jsxImportSource: "preact",
  outdir: out, entryNames: "[name]-[hash]", metafile: true, charset: "utf8",
});
const names = Object.keys(result.metafile.outputs).map((path) => basename(path));
const page = readFileSync(join(here, "src/index.html"), "utf8")
  .replace("SCRIPT", names.find((name) => name.endsWith(".js")))
  .replace("STYLE", names.find((name) => name.endsWith(".css")));
writeFileSync(join(out, "index.html"), page);
writeFileSync(join(out, "icon.svg"), readFileSync(join(here, "src/icon.svg")));
