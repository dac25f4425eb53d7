// The package in Chromium, from a folder of files and nothing else: a worker, the browser's own decoder, and files that
// are the command's, byte for byte.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { createServer } from "node:http";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { extname, join } from "node:path";
import { after, before, test } from "node:test";
import { fileURLToPath } from "node:url";
import { enlarged, readPng, writePng } from "./pixels.mjs";

const { PACKAGE: folder, IDPHOTO: program, SAMPLE_PHOTO: sample, CHROMIUM: chromiumPath } = process.env;
const require = createRequire(fileURLToPath(new URL("../../web/package.json", import.meta.url)));
const { chromium } = require("playwright-core");
const scratch = mkdtempSync(join(tmpdir(), "wasm-browser-"));

const types = { ".js": "text/javascript", ".wasm": "application/wasm", ".html": "text/html", ".png": "image/png", ".jpg": "image/jpeg" };
const photos = new Map();
const asked = [];
const server = createServer((request, response) => {
  const name = new URL(request.url, "http://here").pathname;
  asked.push(name);
  let body = photos.get(name);
  try {
    body ??= name === "/" ? "<!doctype html><title>studio</title><link rel=icon href=data:,>" : readFileSync(join(folder, name));
  } catch {
    // There is no such file.
  }
  // The strictest policy under which WebAssembly runs at all: what the package needs, a page has to allow.
  const policy = "default-src 'none'; script-src 'self' 'wasm-unsafe-eval'; worker-src 'self'; connect-src 'self'; img-src data:";
  response.writeHead(body ? 200 : 404, { "Content-Type": types[extname(name)] ?? "text/html", "Content-Security-Policy": policy });
  response.end(body);
});

let browser, page, address;
const faults = [];
before(async () => {
  await new Promise((done) => server.listen(0, "127.0.0.1", done));
  address = `http://127.0.0.1:${server.address().port}`;
  browser = await chromium.launch({
    executablePath: chromiumPath, chromiumSandbox: process.getuid() !== 0,
    args: ["--disable-dev-shm-usage", "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1"],
  });
  page = await browser.newPage();
  page.setDefaultTimeout(300_000);
  page.on("console", (message) => { if (!message.location().url.endsWith("/nowhere.js")) faults.push(message.text()); });
  page.on("pageerror", (error) => faults.push(String(error)));
  await page.goto(address);
  await page.evaluate(async () => {
    const { Studio } = await import("/index.js");
    globalThis.studio = new Studio();
    globalThis.photoAt = async (name) => (await fetch(name)).blob();
    // Bytes come out as text.
    globalThis.textOf = ({ bytes }) => bytes.reduce((text, byte) => text + String.fromCharCode(byte), "");
  });
});
after(async () => {
  await browser?.close();
  server.close();
  rmSync(scratch, { recursive: true });
  assert.deepEqual(faults, []);
});

/** What the command makes of the file, and its report. */
function commanded(path, ending, ...args) {
  const out = join(scratch, `out.${ending}`);
  const done = spawnSync(program, ["make", path, "-o", out, "--json", ...args], { encoding: "utf8" });
  assert.equal(done.status, 0, done.stderr);
  return readFileSync(out);
}

/** The file that the page makes. */
async function made(name, options) {
  const text = await page.evaluate(async ([at, wanted]) => textOf((await studio.make(await photoAt(at), wanted)).picture), [name, options]);
  return Buffer.from(text, "latin1");
}

function put(name, bytes) {
  photos.set(`/${name}`, bytes);
  writeFileSync(join(scratch, name), bytes);
  return join(scratch, name);
}

test("a PNG file becomes what the command makes of it", async () => {
  const path = put("photo.png", readFileSync(sample));
  for (const format of ["png", "jpg"]) {
    const wanted = commanded(path, format, "--preset", "schengen-visa");
    assert.ok(wanted.equals(await made("/photo.png", { preset: "schengen-visa", format })), format);
  }
  const files = ["/index.js", "/worker.js", "/studio.wasm", "/photo.png"];
  assert.deepEqual([...new Set(asked)].sort(), ["/", ...files].sort(), "nothing else is fetched");
});

test("a large one, lying on its side; the studio says where the time goes", async () => {
  const photo = readPng(readFileSync(sample));
  const path = put("large.png", writePng(enlarged(photo, 7, true)));
  const wanted = commanded(path, "png", "--preset", "icao-portrait");
  const [text, times] = await page.evaluate(async () => {
    const begin = performance.now();
    const { picture, seconds } = await studio.make(await photoAt("/large.png"), { preset: "icao-portrait", format: "png" });
    return [textOf(picture), { ...seconds, all: (performance.now() - begin) / 1000 }];
  });
  assert.ok(wanted.equals(Buffer.from(text, "latin1")));
  console.log("12.8 megapixels, PNG:", JSON.stringify(times));
});

test("a JPEG file is turned by what its EXIF says", async () => {
  const upright = await made("/photo.png", { preset: "schengen-visa", format: "jpg" });
  // Orientation 6: the camera lay on its left side. The studio stands the head up in any case; the sizes tell.
  const exif = Buffer.from("FFE100224578696600004D4D002A00000008000101120003000000010006000000000000", "hex");
  photos.set("/turned.jpg", Buffer.concat([upright.subarray(0, 2), exif, upright.subarray(2)]));
  photos.set("/upright.jpg", upright);
  const sizes = await page.evaluate(() => Promise.all(["/upright.jpg", "/turned.jpg"].map(async (name) => {
    const { report: { width, height } } = await studio.keep(await photoAt(name));
    return [width, height];
  })));
  assert.deepEqual(sizes, [[413, 531], [413, 531]]);
  const inspected = await page.evaluate(async () => (await studio.inspect(await photoAt("/turned.jpg"))).report);
  assert.deepEqual([inspected.width, inspected.height], [531, 413]);
});

test("a worker that cannot be loaded is a failure, each time", async () => {
  const codes = await page.evaluate(async () => {
    const { Studio } = await import("/index.js");
    const lost = new Studio({ worker: () => new Worker("/nowhere.js", { type: "module" }) });
    return Promise.all([lost.presets(), lost.presets()].map((call) => call.then(() => "", ({ code }) => code)));
  });
  assert.deepEqual(codes, ["not_loaded", "not_loaded"]);
});

test("what is no photograph is told by code, and the worker goes on", async () => {
  photos.set("/words.jpg", Buffer.from("no photograph"));
  const codes = await page.evaluate(() => Promise.all([
    studio.make(new Blob([]), { preset: "schengen-visa" }), photoAt("/words.jpg").then((words) => studio.make(words, { preset: "schengen-visa" })),
    photoAt("/photo.png").then((photo) => studio.make(photo, { preset: "nowhere" })), photoAt("/photo.png").then((photo) => studio.inspect(photo)),
  ].map((call) => call.then(({ report }) => report.faces.length, ({ code }) => code))));
  assert.deepEqual(codes, ["not_a_picture", "not_a_picture", "unknown_preset", 1]);
});
