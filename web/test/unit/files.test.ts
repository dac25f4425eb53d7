import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { test } from "node:test";
import { jpegSize } from "../../src/files/jpeg";
import { pdfOf } from "../../src/files/pdf";
import { crc32, distinctNames, zip } from "../../src/files/zip";

/** The headers of a JPEG file: a JFIF segment of the density given, a comment, the frame. */
function jpeg(width: number, height: number, unit: number, density: number): Uint8Array<ArrayBuffer> {
  const two = (value: number): number[] => [value >> 8, value & 255];
  return Uint8Array.from([0xff, 0xd8, 0xff, 0xe0, ...two(16), 0x4a, 0x46, 0x49, 0x46, 0, 1, 1, unit, ...two(density), ...two(density), 0, 0,
    0xff, 0xfe, ...two(4), 0xff, 0xc0, 0xff, 0xc2, ...two(11), 8, ...two(height), ...two(width), 1, 1, 0x11, 0, 0xff, 0xd9]);
}

test("a ZIP file is read back by another program, names and bytes", async () => {
  const folder = mkdtempSync(join(tmpdir(), "zip-test-"));
  try {
    const entries = [{ name: "größe.jpg", bytes: new TextEncoder().encode("123456789") }, { name: "b.png", bytes: new Uint8Array(70000).fill(7) },
                     { name: "empty.jpg", bytes: new Uint8Array() }];
    const file = join(folder, "a.zip");
    writeFileSync(file, new Uint8Array(await zip(entries).arrayBuffer()));
    const script = "import sys,zipfile; z=zipfile.ZipFile(sys.argv[1]); assert z.testzip() is None\n" +
      "for i in z.infolist(): sys.stdout.buffer.write(('%s %d %d\\n' % (i.filename, i.file_size, i.CRC)).encode())";
    const read = spawnSync("python3", ["-c", script, file], { encoding: "utf8" });
    assert.equal(read.stderr, "");
    assert.equal(read.stdout, `größe.jpg 9 ${0xcbf43926}\nb.png 70000 ${crc32(entries[1]!.bytes)}\nempty.jpg 0 0\n`);
  } finally {
    rmSync(folder, { recursive: true });
  }
  assert.deepEqual(distinctNames(["a.jpg", "A.jpg", "b.jpg", "a.jpg"]), ["a.jpg", "A-2.jpg", "b.jpg", "a-3.jpg"]);
});

test("size and density of a JPEG file are read in both units; what is none is refused", () => {
  assert.deepEqual(jpegSize(jpeg(413, 531, 1, 300)), { width: 413, height: 531, dpi: 300 });
  assert.equal(Math.round(jpegSize(jpeg(1, 1, 2, 118)).dpi * 100), 29972);
  assert.equal(jpegSize(jpeg(1, 1, 0, 1)).dpi, 300);
  for (let length = 0; length < 30; ++length) assert.throws(() => jpegSize(jpeg(413, 531, 1, 300).slice(0, length)), RangeError);
});

test("a PDF page is as large as the paper, its table points at its objects, the JPEG is whole in it", async () => {
  const picture = jpeg(1200, 1800, 1, 300);
  const bytes = new Uint8Array(await pdfOf(picture).arrayBuffer());
  const text = Buffer.from(bytes).toString("latin1");
  assert.match(text, /\/MediaBox \[0 0 288\.000 432\.000\]/);
  assert.ok(text.includes(Buffer.from(picture).toString("latin1")));
  const table = Number(/startxref\n(\d+)/.exec(text)![1]);
  assert.equal(text.slice(table, table + 4), "xref");
  const offsets = [...text.slice(table).matchAll(/(\d{10}) 00000 n/g)].map((hit) => Number(hit[1]));
  assert.deepEqual(offsets.map((offset) => text.slice(offset, offset + 7)), [1, 2, 3, 4, 5].map((number) => `${number} 0 obj`));
});

test("the style sheet holds both colour schemes' same names, so that none falls back to the other's", () => {
  const style = readFileSync("src/style.css", "utf8");
  const [light, dark] = [...style.matchAll(/:root \{([^}]*--ground[^}]*)\}/g)].map((hit) => new Set([...hit[1]!.matchAll(/--[\w-]+(?=:)/g)].map(String)));
  light!.delete("--stage-height");
  assert.deepEqual([...dark!].sort(), [...light!].sort());
});
