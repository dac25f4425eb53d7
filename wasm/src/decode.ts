import type { Material } from "./core";
import { Failure } from "./failure";
import type { Given, Photo, Pixels } from "./messages";

/** As the studio wants its pixels: see wasm/codec/decoder.h. */
function handedOver({ width, height, data, file }: Pixels): Uint8Array[] {
  if (data.length !== width * height * 4) throw new Failure("not_a_picture", "is not as large as it says; pixels take four bytes each");
  const head = new Uint8Array(16);
  head.set(new TextEncoder().encode("QXPIXELS"));
  const numbers = new DataView(head.buffer);
  numbers.setUint32(8, width, true);
  numbers.setUint32(12, height, true);
  return [head, new Uint8Array(data.buffer, data.byteOffset, data.length), ...(file ? [file] : [])];
}

/**
 * The browser's own decoder reads whatever it shows: it turns the picture upright by its EXIF orientation and brings it
 * from its colour profile to sRGB. A canvas multiplies colours by their opacity and back, so that half-transparent ones
 * are exact to what eight bits leave of them; opaque ones and the opacity itself are exact.
 */
async function pixelsOf(file: Blob): Promise<Pixels> {
  const bitmap = await createImageBitmap(file, { imageOrientation: "from-image", colorSpaceConversion: "default" });
  try {
    const { width, height } = bitmap;
    const context = new OffscreenCanvas(width, height).getContext("2d", { colorSpace: "srgb", willReadFrequently: true })!;
    context.drawImage(bitmap, 0, 0);
    return { width, height, data: context.getImageData(0, 0, width, height).data };
  } finally {
    bitmap.close();
  }
}

async function piecesOf(photo: Photo): Promise<Uint8Array[]> {
  if (photo instanceof Uint8Array) return [photo];
  if (photo instanceof ArrayBuffer) return [new Uint8Array(photo)];
  if (!(photo instanceof Blob)) return handedOver(photo);
  const file = new Uint8Array(await photo.arrayBuffer());
  if (typeof createImageBitmap === "undefined") return [file];
  try {
    return handedOver({ ...(await pixelsOf(photo)), file });
  } catch {
    // No photograph for the browser: the studio says in its own words what is wrong with the file.
    return [file];
  }
}

/** What the core takes. */
export function materialsOf(files: readonly Given[]): Promise<Material[]> {
  return Promise.all(files.map(async ({ kind, photo }) => ({ kind, pieces: await piecesOf(photo) })));
}
