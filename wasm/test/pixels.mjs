// Pictures for the tests: read by a few lines of their own, so that the studio's reader is not what it is held against.
import { deflateSync, inflateSync } from "node:zlib";

const paeth = (a, b, c) => {
  const [pa, pb, pc] = [Math.abs(b - c), Math.abs(a - c), Math.abs(a + b - 2 * c)];
  return pa <= pb && pa <= pc ? a : pb <= pc ? b : c;
};

/** Pixels of a PNG file of 8 bits, as a canvas would give them, and its resolution in pixels a metre. */
export function readPng(file) {
  const view = new DataView(file.buffer, file.byteOffset, file.length);
  const data = [];
  let perMetre;
  for (let at = 8; at < file.length; at += 12 + view.getUint32(at)) {
    const kind = String.fromCharCode(...file.subarray(at + 4, at + 8));
    if (kind === "IDAT") data.push(file.subarray(at + 8, at + 8 + view.getUint32(at)));
    if (kind === "pHYs") perMetre = view.getUint32(at + 8);
  }
  const [width, height] = [view.getUint32(16), view.getUint32(20)];
  const channels = { 0: 1, 2: 3, 6: 4 }[file[25]];
  const rows = inflateSync(Buffer.concat(data));
  const row = width * channels;
  const out = new Uint8ClampedArray(width * height * 4).fill(255);
  let above = new Uint8Array(row);
  for (let y = 0; y < height; ++y) {
    const filter = rows[y * (row + 1)];
    const line = Uint8Array.from(rows.subarray(y * (row + 1) + 1, (y + 1) * (row + 1)));
    for (let i = 0; i < row; ++i) {
      const [a, b, c] = [i < channels ? 0 : line[i - channels], above[i], i < channels ? 0 : above[i - channels]];
      line[i] += [0, a, b, (a + b) >> 1, paeth(a, b, c)][filter];
    }
    for (let x = 0; x < width; ++x) {
      for (let k = 0; k < 4; ++k) if (k < 3 || channels === 4) out[(y * width + x) * 4 + k] = line[x * channels + (channels === 1 ? 0 : k)];
    }
    above = line;
  }
  return { width, height, data: out, perMetre };
}

const table = Array.from({ length: 256 }, (_, n) => {
  for (let k = 0; k < 8; ++k) n = n & 1 ? 0xedb88320 ^ (n >>> 1) : n >>> 1;
  return n >>> 0;
});
const crc = (bytes) => ~bytes.reduce((sum, byte) => table[(sum ^ byte) & 255] ^ (sum >>> 8), -1) >>> 0;

function chunk(kind, bytes) {
  const body = Buffer.concat([Buffer.from(kind), bytes]);
  const [head, tail] = [Buffer.alloc(4), Buffer.alloc(4)];
  head.writeUInt32BE(bytes.length);
  tail.writeUInt32BE(crc(body));
  return Buffer.concat([head, body, tail]);
}

/** A PNG file of red, green, blue and opacity, without a resolution. */
export function writePng({ width, height, data }) {
  const head = Buffer.alloc(13);
  head.writeUInt32BE(width);
  head.writeUInt32BE(height, 4);
  head.set([8, 6, 0, 0, 0], 8);
  const rows = Array.from({ length: height }, (_, y) => Buffer.concat([Buffer.from([0]), Buffer.from(data.buffer, data.byteOffset + y * width * 4, width * 4)]));
  const signature = Buffer.from([0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a]);
  return Buffer.concat([signature, chunk("IHDR", head), chunk("IDAT", deflateSync(Buffer.concat(rows))), chunk("IEND", Buffer.alloc(0))]);
}

/** Each pixel `times` as wide and high; a quarter turn to the right where that is wanted. */
export function enlarged({ width, height, data }, times, isTurned = false) {
  const [w, h] = [width * times, height * times];
  const from = new Uint32Array(data.buffer, data.byteOffset, width * height);
  const out = new Uint32Array(w * h);
  for (let y = 0; y < h; ++y) {
    for (let x = 0; x < w; ++x) out[isTurned ? x * h + (h - 1 - y) : y * w + x] = from[Math.floor(y / times) * width + Math.floor(x / times)];
  }
  return { width: isTurned ? h : w, height: isTurned ? w : h, data: new Uint8ClampedArray(out.buffer) };
}
