/** Width and height in pixels and the density in dots an inch of a JPEG file, from its headers. */
export interface JpegSize { width: number; height: number; dpi: number }

/** Walks the segments up to the frame header (ITU-T T.81, annex B); the density stands in the JFIF segment. */
export function jpegSize(bytes: Uint8Array): JpegSize {
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  let dpi = 0;
  for (let at = 2; at + 9 < bytes.length && bytes[at] === 0xff; at += 2 + view.getUint16(at + 2)) {
    const marker = bytes[at + 1]!;
    if (marker === 0xe0 && at + 16 <= bytes.length && view.getUint32(at + 4) === 0x4a464946) {
      const unit = bytes[at + 11];
      dpi = unit === 0 ? 0 : view.getUint16(at + 12) * (unit === 2 ? 2.54 : 1);
    }
    const isFrame = marker >= 0xc0 && marker <= 0xcf && marker !== 0xc4 && marker !== 0xc8 && marker !== 0xcc;
    if (isFrame) return { width: view.getUint16(at + 7), height: view.getUint16(at + 5), dpi: dpi || 300 };
  }
  throw new RangeError("no JPEG frame");
}
