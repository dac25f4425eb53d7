import { jpegSize } from "./jpeg";

/** A PDF file (ISO 32000-1) of one page that the JPEG picture fills at its true size; the JPEG's bytes stay as they are. */
export function pdfOf(jpeg: Uint8Array<ArrayBuffer>): Blob {
  const { width, height, dpi } = jpegSize(jpeg);
  const points = (pixels: number): string => ((pixels * 72) / dpi).toFixed(3);
  const place = `q ${points(width)} 0 0 ${points(height)} 0 0 cm /P Do Q`;
  const bodies: BlobPart[][] = [
    ["<< /Type /Catalog /Pages 2 0 R /ViewerPreferences << /PrintScaling /None >> >>"],
    ["<< /Type /Pages /Kids [3 0 R] /Count 1 >>"],
    [`<< /Type /Page /Parent 2 0 R /MediaBox [0 0 ${points(width)} ${points(height)}] ` +
      "/Resources << /XObject << /P 4 0 R >> >> /Contents 5 0 R >>"],
    [`<< /Type /XObject /Subtype /Image /Width ${width} /Height ${height} /ColorSpace /DeviceRGB ` +
      `/BitsPerComponent 8 /Filter /DCTDecode /Length ${jpeg.length} >>\nstream\n`, jpeg, "\nendstream"],
    [`<< /Length ${place.length} >>\nstream\n${place}\nendstream`],
  ];
  const parts: BlobPart[] = ["%PDF-1.4\n"];
  let offset = 9;
  const put = (part: BlobPart): void => {
    parts.push(part);
    offset += typeof part === "string" ? part.length : (part as Uint8Array).length;
  };
  const offsets = bodies.map((body, index) => {
    const start = offset;
    put(`${index + 1} 0 obj\n`);
    body.forEach(put);
    put("\nendobj\n");
    return start;
  });
  const table = offsets.map((start) => `${String(start).padStart(10, "0")} 00000 n \n`).join("");
  parts.push(`xref\n0 ${bodies.length + 1}\n0000000000 65535 f \n${table}`,
             `trailer\n<< /Size ${bodies.length + 1} /Root 1 0 R >>\nstartxref\n${offset}\n%%EOF\n`);
  return new Blob(parts, { type: "application/pdf" });
}
