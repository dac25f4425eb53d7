// Runs the package's tests: in Node always, in a browser where there is one.
// usage: node test/run.mjs [node|browser]; PACKAGE is the folder that build.mjs has made, IDPHOTO the command to hold it
// against, SAMPLE_PHOTO the sample photograph, CHROMIUM the browser.
import { spawnSync } from "node:child_process";
import { existsSync } from "node:fs";
import { join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const here = fileURLToPath(new URL(".", import.meta.url));
const env = {
  ...process.env,
  PACKAGE: resolve(process.env.PACKAGE ?? join(here, "../../build/wasm/package")),
  IDPHOTO: process.env.IDPHOTO ?? join(here, "../../build/release/bin/idphoto"),
  SAMPLE_PHOTO: process.env.SAMPLE_PHOTO ?? join(here, "../../build/sample/astronaut.png"),
  CHROMIUM: process.env.CHROMIUM ?? "/usr/bin/chromium",
};
// ctest's word for a skipped test.
const kSkipped = 77;
const wanted = process.argv[2];

function run(name, ...needed) {
  const missing = [env.PACKAGE, env.IDPHOTO, env.SAMPLE_PHOTO, ...needed].find((path) => !existsSync(path));
  if (missing) console.log(`SKIPPED: there is no ${missing}`);
  return missing ? kSkipped : spawnSync(process.execPath, ["--test", join(here, `${name}.test.mjs`)], { stdio: "inherit", env }).status;
}

const results = [];
if (wanted !== "browser") results.push(run("node"));
if (wanted !== "node") results.push(run("browser", env.CHROMIUM, join(here, "../../web/node_modules/playwright-core")));
process.exitCode = results.find((result) => result !== 0 && result !== kSkipped) ?? Math.max(...results);
