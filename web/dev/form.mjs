/** The fields of a multipart/form-data body (RFC 7578) that is whole in memory: [{name, bytes}]. */
export function readForm(body, contentType) {
  const boundary = /boundary="?([^";]+)/.exec(contentType)?.[1];
  if (!boundary) return [];
  const mark = Buffer.from(`--${boundary}`);
  const fields = [];
  for (let at = body.indexOf(mark); at >= 0;) {
    const end = body.indexOf(mark, at + mark.length);
    if (end < 0) break;
    const part = body.subarray(at + mark.length + 2, end - 2);
    const split = part.indexOf("\r\n\r\n");
    const name = /name="([^"]*)"/.exec(String(part.subarray(0, split)))?.[1];
    if (name !== undefined) fields.push({ name, bytes: part.subarray(split + 4) });
    at = end;
  }
  return fields;
}
