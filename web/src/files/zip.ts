/** Writes a ZIP file of stored (not compressed) entries, after PKWARE's APPNOTE 6.3; pictures do not compress further. */

export interface Entry { name: string; bytes: Uint8Array }

const crcTable = Uint32Array.from({ length: 256 }, (_, index) => {
  let value = index;
  for (let bit = 0; bit < 8; ++bit) value = value & 1 ? 0xedb88320 ^ (value >>> 1) : value >>> 1;
  return value;
});

export function crc32(bytes: Uint8Array): number {
  let sum = 0xffffffff;
  for (const byte of bytes) sum = crcTable[(sum ^ byte) & 0xff]! ^ (sum >>> 8);
  return (sum ^ 0xffffffff) >>> 0;
}

/** A record of little-endian fields: [bytes of the field, value]. */
function record(fields: readonly (readonly [2 | 4, number])[]): Uint8Array<ArrayBuffer> {
  const view = new DataView(new ArrayBuffer(fields.reduce((sum, [size]) => sum + size, 0)));
  let at = 0;
  for (const [size, value] of fields) {
    if (size === 2) view.setUint16(at, value, true);
    else view.setUint32(at, value, true);
    at += size;
  }
  return new Uint8Array(view.buffer);
}

// One fixed date, 1 January 1980, so that equal pictures give an equal file; bit 11 says that names are UTF-8.
const kDate = 0x21;
const kUtf8 = 0x800;

export function zip(entries: readonly Entry[]): Blob {
  const parts: BlobPart[] = [];
  const directory: Uint8Array<ArrayBuffer>[] = [];
  let offset = 0;
  for (const { name, bytes } of entries) {
    const label = new TextEncoder().encode(name);
    const common = [[2, 20], [2, kUtf8], [2, 0], [2, 0], [2, kDate], [4, crc32(bytes)], [4, bytes.length],
                    [4, bytes.length], [2, label.length], [2, 0]] as const;
    const head = record([[4, 0x04034b50], ...common]);
    parts.push(head, label, bytes as Uint8Array<ArrayBuffer>);
    directory.push(record([[4, 0x02014b50], [2, 20], ...common, [2, 0], [2, 0], [2, 0], [4, 0], [4, offset]]), label);
    offset += head.length + label.length + bytes.length;
  }
  const length = directory.reduce((sum, part) => sum + part.length, 0);
  const count = entries.length;
  const end = record([[4, 0x06054b50], [2, 0], [2, 0], [2, count], [2, count], [4, length], [4, offset], [2, 0]]);
  return new Blob([...parts, ...directory, end], { type: "application/zip" });
}

/** Names that do not clash: the second `a.jpg` becomes `a-2.jpg`. */
export function distinctNames(names: readonly string[]): string[] {
  const seen = new Set<string>();
  return names.map((name) => {
    const dot = name.lastIndexOf(".");
    let candidate = name;
    for (let count = 2; seen.has(candidate.toLowerCase()); ++count)
      candidate = `${name.slice(0, dot)}-${count}${name.slice(dot)}`;
    seen.add(candidate.toLowerCase());
    return candidate;
  });
}
