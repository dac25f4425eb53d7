// Makes the package @qx/idphoto: scripts, types, studio.wasm and papers in one folder, which `npm pack` takes.
// usage: node build.mjs STUDIO_WASM OUT VERSION; the compilers are those of ../web
import { cpSync, mkdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { execFileSync } from "node:child_process";
import { join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const here = fileURLToPath(new URL(".", import.meta.url));
const [wasm, folder, version] = process.argv.slice(2);
const out = resolve(folder);
const require = createRequire(join(here, "../web/package.json"));
const { build } = require("esbuild");

rmSync(out, { recursive: true, force: true });
mkdirSync(out, { recursive: true });
await build({
  absWorkingDir: here,
  entryPoints: ["index", "core", "worker"].map((name) => `src/${name}.ts`),
  bundle: true, format: "esm", target: "es2022", minifySyntax: true, minifyWhitespace: true, charset: "utf8", outdir: out,
});
execFileSync(process.execPath, [require.resolve("typescript/bin/tsc"), "-p", here, "--outDir", out], { stdio: "inherit" });
const description = JSON.parse(readFileSync(join(here, "package.json"), "utf8"));
writeFileSync(join(out, "package.json"), `${JSON.stringify({ ...description, version }, null, 2)}\n`);
writeFileSync(join(out, "studio.wasm"), readFileSync(wasm)); // which is no program, so not its mode
cpSync(join(here, "README.md"), join(out, "README.md"));
for (const paper of ["LICENSE", "NOTICE", "THIRD_PARTY.md"]) cpSync(join(here, "..", paper), join(out, paper));
