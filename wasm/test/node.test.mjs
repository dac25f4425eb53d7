// The package in Node, held against the command: the same pixels give the same files, to the byte, and the same reports.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { pathToFileURL } from "node:url";
import { optionsText } from "../options.mjs";
import { enlarged, readPng, writePng } from "./pixels.mjs";

const { PACKAGE: folder, IDPHOTO: program, SAMPLE_PHOTO: sample } = process.env;
const scratch = mkdtempSync(join(tmpdir(), "wasm-"));
after(() => rmSync(scratch, { recursive: true }));

let core, studio, Failure;
before(async () => {
  const [{ Core }, main] = await Promise.all(["core.js", "index.js"].map((name) => import(pathToFileURL(join(folder, name)))));
  core = await Core.load(readFileSync(join(folder, "studio.wasm")));
  studio = new main.Studio({ core });
  ({ Failure } = main);
});

const photo = readPng(readFileSync(sample));
const large = enlarged(photo, 4, true);
// Seen through a veil, as a cut-out is.
const veiled = { ...photo, data: photo.data.map((value, i) => (i % 4 === 3 ? (i * 7) >> 9 : value)) };

/** The photograph as a file for the command. */
function fileOf(picture) {
  if (picture === photo) return sample;
  const path = join(scratch, `${picture.width}-${picture === veiled}.png`);
  writeFileSync(path, writePng(picture));
  return path;
}

function run(...args) {
  const done = spawnSync(program, args, { encoding: "utf8" });
  assert.equal(done.status, 0, done.stderr);
  return done.stdout;
}

/** The file that the command writes, and its report. */
function commanded(command, picture, ending, ...args) {
  const out = join(scratch, `out.${ending}`);
  const json = ["make"].includes(command) ? ["--json"] : [];
  const report = run(command, fileOf(picture), "-o", out, ...json, ...args);
  return { bytes: readFileSync(out), report: json.length ? JSON.parse(report) : undefined };
}

/** But for the names of files, which the studio is not told. */
function nameless({ photograph, output, version, ...report }) {
  return report;
}

/**
 * Equal reports, but for the last digits of what is only measured: networks add up in another order on every kind of
 * processor, and a picture is rounded where a number in a report is not.
 */
function assertNear(value, wanted, place = "report") {
  if (typeof wanted === "number" && typeof value === "number") {
    assert.ok(Math.abs(value - wanted) <= 2e-3 + 1e-4 * Math.abs(wanted), `${place}: ${value}, wanted ${wanted}`);
  } else if (typeof wanted === "object" && wanted !== null) {
    assert.deepEqual(Object.keys(value), Object.keys(wanted), place);
    for (const [key, part] of Object.entries(wanted)) assertNear(value[key], part, `${place}.${key}`);
  } else {
    assert.equal(value, wanted, place);
  }
}

/** Equal bytes, told without a page of them. */
function assertSame(bytes, wanted, what) {
  assert.equal(bytes.length, wanted.length, `${what}: bytes`);
  assert.ok(Buffer.from(bytes).equals(wanted), `${what}: the files differ`);
}

const makes = [
  [photo, "png", { preset: "schengen-visa" }],
  [photo, "jpg", { preset: "schengen-visa" }],
  [photo, "jpg", { preset: "us-visa-upload", maxKb: 60, force: true }],
  [photo, "jpg", { size: "35x45mm", dpi: 600, minKb: 900, maxKb: 1200 }],
  [photo, "png", { preset: "icao-portrait", background: "transparent", noStraighten: true, zoom: 103, turn: -3 }],
  [photo, "png", { preset: "icao-portrait", background: "gradient:white-#3080c0", beauty: "strong", detail: true, contrast: 5, saturation: -4, temperature: 3, sharpness: 3, whiteBalance: "auto", force: true }],
  [large, "png", { preset: "icao-portrait", keepRim: true, eyes: "4", mouth: -3, face: 5, tone: 2, force: true }],
  [veiled, "png", { size: "2x2in", relax: true }],
];
for (const [picture, format, options] of makes) {
  test(`make ${picture.width} ${format} ${JSON.stringify(options)}`, async () => {
    const args = Object.entries(options).flatMap(([key, value]) => {
      const name = `--${key.replace(/[A-Z]/g, (letter) => `-${letter.toLowerCase()}`)}`;
      return value === true ? [name] : [name, String(value)];
    });
    const wanted = commanded("make", picture, format, ...args);
    const made = await studio.make(picture, { ...options, format });
    assertSame(made.picture.bytes, wanted.bytes, "make");
    assert.deepEqual(nameless(made.report), nameless(wanted.report));
  });
}

test("the other commands", async () => {
  const inspected = JSON.parse(run("inspect", sample, "--json"));
  assert.deepEqual(nameless((await studio.inspect(photo)).report), nameless(inspected));
  const finished = commanded("make", photo, "jpg", "--preset", "schengen-visa").bytes;
  const path = join(scratch, "finished.jpg");
  writeFileSync(path, finished);
  // A check that has not passed is an answer, not an error.
  const checked = JSON.parse(spawnSync(program, ["check", path, "--preset", "schengen-visa", "--json"], { encoding: "utf8" }).stdout);
  assertNear(nameless((await studio.check(finished, { preset: "schengen-visa" })).report), nameless(checked));
  assert.deepEqual(await studio.presets(), JSON.parse(run("presets", "--json")));
  const mask = commanded("mask", photo, "png").bytes;
  assertSame((await studio.mask(photo)).pictures[0].bytes, mask, "mask");
  writeFileSync(join(scratch, "mask.png"), mask);
  const masked = commanded("make", photo, "png", "--preset", "schengen-visa", "--mask", join(scratch, "mask.png")).bytes;
  assertSame((await studio.make(photo, { preset: "schengen-visa", format: "png", mask: readPng(mask) })).picture.bytes, masked, "mask of one's own");
  const sheet = commanded("sheet", photo, "jpg", "--paper", "a6", "--size", "35x45mm").bytes;
  const file = new Uint8Array(readFileSync(sample));
  assertSame((await studio.sheet([{ photo: { ...photo, file } }], { paper: "a6", size: "35x45mm" })).pictures[0].bytes, sheet, "sheet");
  const watermark = commanded("watermark", photo, "png", "--text", "Kopie für den Vermieter").bytes;
  assertSame((await studio.watermark({ ...photo, file }, { text: "Kopie für den Vermieter", format: "png" })).pictures[0].bytes, watermark, "watermark");
});

test("a kept photograph gives the same, again and again", async () => {
  const kept = await studio.keep(photo);
  assert.equal(kept.report.faces.length, 1);
  const options = { preset: "schengen-visa", format: "png" };
  const wanted = commanded("make", photo, "png", "--preset", "schengen-visa").bytes;
  for (const turn of [2, undefined]) {
    assert.equal((await kept.preview({ ...options, turn })).type, "image/jpeg");
    const made = await kept.make({ ...options, turn });
    if (turn === undefined) assertSame(made.picture.bytes, wanted, "kept");
  }
  assert.equal((await kept.check(options)).document, "schengen-visa");
  assert.equal((await kept.drawing(options)).type, "image/png");
  await kept.drop();
  await assert.rejects(kept.make(options), { code: "not_kept" });
});

test("what cannot be done is said, and the next photograph is served", async () => {
  const grey = { width: 300, height: 400, data: new Uint8ClampedArray(300 * 400 * 4).fill(128) };
  const finished = commanded("make", photo, "png", "--preset", "schengen-visa").bytes;
  const cases = [
    ["no_face", grey, { preset: "schengen-visa" }],
    ["no_face", { width: 1, height: 1, data: new Uint8Array(4) }, { preset: "schengen-visa" }],
    ["unknown_preset", photo, { preset: "schengen" }],
    ["bad_option", photo, { preset: "schengen-visa", dpi: "many" }],
    ["bad_option", photo, { preset: "schengen-visa", shoeSize: 42 }],
    ["forbidden_edit", photo, { preset: "schengen-visa", beauty: "light" }],
    ["file_size", photo, { preset: "schengen-visa", format: "png", maxKb: 5 }],
    ["not_a_picture", new Uint8Array(0), { preset: "schengen-visa" }],
    ["not_a_picture", { ...grey, width: 301 }, { preset: "schengen-visa" }],
    ["not_a_picture", new TextEncoder().encode("QXPIXELS and no more than words"), { preset: "schengen-visa" }],
    ["damaged_file", new Uint8Array(finished.subarray(0, finished.length - 4000)), { preset: "schengen-visa" }],
    ["too_large", grey, { preset: "schengen-visa", maxMegapixels: 1 }],
  ];
  for (const [code, picture, options] of cases.slice(0, -1)) {
    await assert.rejects(studio.make(picture, options), (failure) => failure instanceof Failure && failure.code === code || assert.fail(`${code}: ${failure.code} ${failure.message}`));
  }
  await assert.rejects(studio.make(large, cases.at(-1)[2]), { code: "too_large" });
  await assert.rejects(studio.make(photo, { preset: "schengen-visa" }, { signal: AbortSignal.abort() }), { name: "AbortError" });
  assert.equal((await studio.inspect(photo)).report.faces.length, 1);
});

test("files that are torn or altered never break the studio", async () => {
  const png = commanded("make", photo, "png", "--size", "60x80px", "--relax").bytes;
  const jpeg = commanded("make", photo, "jpg", "--size", "60x80px", "--relax").bytes;
  const exif = Buffer.from("FFD8FFE100224578696600004D4D002A00000008000101120003000000010006000000000000", "hex");
  let state = 1;
  const random = (below) => (state = (state * 48271) % 2147483647) % below;
  for (let i = 0; i < 600; ++i) {
    const [file, isWhole] = [[png, jpeg, Buffer.concat([exif, jpeg.subarray(2)])][i % 3], i % 2];
    const bytes = Uint8Array.from(isWhole ? file : file.subarray(0, random(file.length)));
    for (let k = 0; k < 3 && isWhole; ++k) bytes[random(k < 2 ? 200 : bytes.length)] = random(256);
    try {
      await studio.compress(bytes, { format: "jpg", dpi: 300 });
    } catch (failure) {
      assert.ok(failure instanceof Failure, `${i}: ${failure}`);
      assert.match(failure.code, /^(not_a_picture|damaged_file|too_large)$/, `${i}: ${failure.message}`);
    }
  }
});

test("the types know every option", () => {
  assert.equal(readFileSync(new URL("../src/options.ts", import.meta.url), "utf8"), optionsText(core));
});

test("nothing but the package's own files, and less than six megabytes to fetch", async () => {
  const { brotliCompressSync, constants } = await import("node:zlib");
  const fetched = readdirSync(folder).filter((name) => /\.(js|wasm)$/.test(name) && name !== "core.js");
  const sizes = fetched.map((name) => brotliCompressSync(readFileSync(join(folder, name)), { params: { [constants.BROTLI_PARAM_QUALITY]: 5 } }).length);
  const all = sizes.reduce((sum, size) => sum + size, 0);
  console.log(`first use: ${all} bytes of ${fetched.join(", ")}`);
  assert.ok(all < 6e6, `${all}`);
});
