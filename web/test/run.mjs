// Runs the page's tests: the unit tests always, those in a browser where there is one and the program is built, and these
// once more with the page that needs no program, where its folder has been made.
// usage: node test/run.mjs [unit|browser|alone]; IDPHOTO, CHROMIUM and PAGE_FOLDER say where the three are.
import { spawnSync } from "node:child_process";
import { existsSync, mkdtempSync, readdirSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const here = fileURLToPath(new URL(".", import.meta.url));
const wanted = process.argv[2];

function files(folder, ending) {
  return readdirSync(join(here, folder)).filter((name) => name.endsWith(ending)).map((name) => join(here, folder, name));
}

function missing(needed) {
  if (existsSync(needed)) return false;
  console.log(`SKIPPED: there is no ${needed}`);
  return true;
}

// ctest's word for a skipped test.
const kSkipped = 77;
const packages = join(here, "../node_modules/esbuild");

async function unit() {
  if (missing(packages)) return kSkipped;
  const { build } = await import("esbuild");
  const out = mkdtempSync(join(tmpdir(), "page-tests-"));
  try {
    await build({ entryPoints: files("unit", ".test.ts"), bundle: true, platform: "node", format: "esm", outdir: out, outExtension: { ".js": ".mjs" } });
    const built = readdirSync(out).map((name) => join(out, name));
    return spawnSync(process.execPath, ["--test", ...built], { stdio: "inherit", cwd: join(here, "..") }).status;
  } finally {
    rmSync(out, { recursive: true });
  }
}

function inBrowser(tests, more) {
  const program = process.env.IDPHOTO ?? join(here, "../../build/release/bin/idphoto");
  const chromium = process.env.CHROMIUM ?? "/usr/bin/chromium";
  if ([packages, program, chromium].some(missing)) return kSkipped;
  const env = { ...process.env, IDPHOTO: program, CHROMIUM: chromium, ...more };
  return spawnSync(process.execPath, ["--test", ...tests], { stdio: "inherit", env }).status;
}

const browser = () => inBrowser(files("browser", ".test.mjs"), { PAGE_FOLDER: "" });

function alone() {
  const folder = resolve(process.env.PAGE_FOLDER ?? join(here, "../../build/wasm/page"));
  if (!existsSync(folder)) {
    console.log(`SKIPPED: there is no ${folder}; scripts/targets/wasm.sh makes it`);
    return kSkipped;
  }
  return inBrowser([...files("browser", ".test.mjs"), ...files("alone", ".test.mjs")], { PAGE_FOLDER: folder });
}

const kinds = { unit, browser, alone };
const results = [];
for (const name of wanted ? [wanted] : Object.keys(kinds)) results.push(await kinds[name]());
// What has been skipped is told above; it is the whole outcome only where nothing else was there.
process.exitCode = results.find((result) => result !== 0 && result !== kSkipped) ?? Math.min(...results);
