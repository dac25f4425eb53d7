// A server for working on the page: hands out the built page and answers its requests by running the command for each.
// Options that the command does not know are left out and named in the header Ignored-Options.
// usage: node dev/server.mjs [--port N] [--program PATH] [--page FOLDER] [--most-bytes N]
import { spawn } from "node:child_process";
import { createHash, randomUUID } from "node:crypto";
import { mkdtempSync, readFileSync, rmSync } from "node:fs";
import { readFile, rm, writeFile } from "node:fs/promises";
import { createServer } from "node:http";
import { tmpdir } from "node:os";
import { extname, join, normalize } from "node:path";
import { fileURLToPath } from "node:url";
import { parseArgs } from "node:util";
import { readForm } from "./form.mjs";

const { values: settings } = parseArgs({ options: {
  port: { type: "string", default: "8733" },
  program: { type: "string", default: process.env.IDPHOTO ?? fileURLToPath(new URL("../../build/release/bin/idphoto", import.meta.url)) },
  page: { type: "string", default: fileURLToPath(new URL("../../build/web", import.meta.url)) },
  "most-bytes": { type: "string", default: String(32 << 20) },
} });

const folder = mkdtempSync(join(tmpdir(), "idphoto-dev-"));
const photos = new Map();
const types = { ".html": "text/html; charset=utf-8", ".js": "text/javascript; charset=utf-8", ".css": "text/css; charset=utf-8", ".svg": "image/svg+xml" };
const policy = "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; connect-src 'self'; " +
  "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

class Refusal extends Error {
  constructor(status, code, detail) {
    super(detail);
    Object.assign(this, { status, code });
  }
}

/** Runs the command; the request's signal ends it, so that a cancelled preview costs nothing more. */
function run(args, signal) {
  return new Promise((done, fail) => {
    const child = spawn(settings.program, args, { signal });
    let out = "", err = "";
    child.stdout.on("data", (text) => { out += text; });
    child.stderr.on("data", (text) => { err += text; });
    child.on("error", fail);
    child.on("close", (status) => done({ status, out, err }));
  });
}

const known = new Map();
async function optionsOf(command) {
  if (!known.has(command)) {
    const { out } = await run([command, "--help"]);
    known.set(command, new Map([...out.matchAll(/^ +(?:-\w,)?--([\w-]+)( [A-Z])?/gm)].map((hit) => [hit[1], !hit[2]])));
  }
  return known.get(command);
}

async function argumentsOf(command, query) {
  const options = await optionsOf(command);
  const args = [], ignored = [];
  for (const [name, value] of query) {
    if (!options.has(name)) ignored.push(name);
    else if (!options.get(name)) args.push(`--${name}=${value}`);
    else if (value !== "false") args.push(`--${name}`);
  }
  return { args, ignored };
}

// The command tells its reasons in words only; the service proper has the codes.
const words = [
  [/no face/i, "no_face"], [/known format/, "not_a_picture"], [/damaged|ends too early/, "damaged_file"],
  [/megapixels|too large/, "too_large"], [/no rectangle/, "no_fit"], [/forbid|takes no/, "forbidden_edit"],
  [/no face number|has no face/i, "no_such_face"], [/two (persons|faces)/, "too_few_faces"], [/too small/, "too_small"],
  [/do not fit|no room/, "sheet_full"],
];

function refusalOf({ status, err }) {
  const detail = err.trim().replace(/^idphoto: (?:\S*\/)?[^:]*: /, "").replaceAll(folder, "");
  const code = words.find(([pattern]) => pattern.test(detail))?.[1] ?? (status === 2 ? "bad_option" : "unsuitable");
  return new Refusal(code === "not_a_picture" ? 415 : status === 2 ? 400 : 422, code, detail);
}

async function made(photo, query, extension, signal) {
  const output = join(folder, `${randomUUID()}${extension}`);
  const { args, ignored } = await argumentsOf("make", query);
  const result = await run(["make", photo.path, "-o", output, "--json", ...args], signal);
  if (result.status !== 0) throw refusalOf(result);
  return { output, report: result.out, ignored };
}

async function bodyOf(request) {
  const most = Number(settings["most-bytes"]);
  const parts = [];
  let size = 0;
  for await (const part of request) {
    size += part.length;
    if (size <= most) parts.push(part);
  }
  if (size > most) throw new Refusal(413, "too_large", `more than ${most} bytes`);
  return Buffer.concat(parts);
}

async function keep(request) {
  const id = randomUUID();
  const path = join(folder, id);
  await writeFile(path, await bodyOf(request));
  const result = await run(["inspect", "--json", path]);
  if (result.status !== 0) {
    await rm(path);
    throw refusalOf(result);
  }
  const { width, height, faces } = JSON.parse(result.out);
  photos.set(id, { path });
  const kept = { id, width, height, faces: faces.map(({ face, corners }) => ({ face, corners })) };
  return { status: 201, type: "application/json", body: JSON.stringify(kept) };
}

async function result(photo, what, query, accept, signal) {
  const png = accept.includes("image/png");
  const { output, report, ignored } = await made(photo, query, png ? ".png" : ".jpg", signal);
  try {
    if (what === "check") {
      const { args } = await argumentsOf("check", query);
      const check = await run(["check", "--json", output, ...args], signal);
      if (!check.out) throw refusalOf(check);
      return { type: "application/json", body: check.out };
    }
    if (accept.includes("application/json")) return { type: "application/json", body: report };
    return { type: png ? "image/png" : "image/jpeg", body: await readFile(output), headers: { "Ignored-Options": ignored.join(" ") } };
  } finally {
    await rm(output);
  }
}

async function sheet(request, query, signal) {
  const body = await bodyOf(request);
  const type = request.headers["content-type"] ?? "";
  const fields = type.startsWith("multipart/") ? readForm(body, type) : [{ name: "photo", bytes: body }];
  const copies = fields.filter((field) => field.name === "copies").map((field) => Number(String(field.bytes)));
  const output = join(folder, `${randomUUID()}.jpg`);
  const inputs = [];
  for (const [index, { bytes }] of fields.filter((field) => field.name === "photo").entries()) {
    const path = join(folder, `${randomUUID()}.jpg`);
    await writeFile(path, bytes);
    inputs.push(copies[index] ? `${path}:${copies[index]}` : path);
  }
  const { args } = await argumentsOf("sheet", query);
  const done = await run(["sheet", ...inputs, "-o", output, ...args], signal);
  if (done.status !== 0) throw refusalOf(done);
  return { type: "image/jpeg", body: await readFile(output) };
}

async function pageFile(path) {
  const name = normalize(path === "/" ? "/index.html" : path);
  try {
    return { type: types[extname(name)] ?? "application/octet-stream", body: await readFile(join(settings.page, name)) };
  } catch {
    throw new Refusal(404, "not_found", "there is nothing at this address");
  }
}

let presets = "";
async function answer(request, signal) {
  const { pathname, searchParams } = new URL(request.url, "http://localhost");
  const [, version, room, id, what] = pathname.split("/");
  if (pathname === "/healthz") return { type: "text/plain", body: "ok" };
  if (version !== "v1") return pageFile(pathname);
  if (room === "presets") {
    presets ||= (await run(["presets", "--json"])).out;
    return { type: "application/json", body: presets };
  }
  if (room === "openapi.json") return { type: "application/json", body: "{}" };
  if (room === "sheet") return sheet(request, searchParams, signal);
  if (room === "photos" && !id && request.method === "POST") return keep(request);
  const photo = photos.get(id);
  if (room !== "photos" || !photo) throw new Refusal(404, "not_found", "no photograph of this name is kept");
  if (request.method === "DELETE") {
    photos.delete(id);
    return { status: 204, body: "" };
  }
  return result(photo, what, searchParams, request.headers.accept ?? "", signal);
}

const server = createServer(async (request, response) => {
  const controller = new AbortController();
  response.on("close", () => { if (!response.writableFinished) controller.abort(); });
  let reply;
  try {
    reply = await answer(request, controller.signal);
  } catch (reason) {
    if (controller.signal.aborted) return;
    const { status = 500, code = "internal", message: detail } = reason;
    reply = { status, type: "application/problem+json", body: JSON.stringify({ type: "about:blank", title: code, status, code, detail }) };
  }
  const etag = `"${createHash("sha256").update(reply.body).digest("hex").slice(0, 16)}"`;
  response.writeHead(reply.status ?? 200, {
    ...(reply.type && { "Content-Type": reply.type }), ETag: etag, "Content-Security-Policy": policy, "Cache-Control": "no-store",
    "X-Content-Type-Options": "nosniff", "Referrer-Policy": "no-referrer", ...reply.headers,
  });
  response.end(reply.body);
});

process.on("exit", () => rmSync(folder, { recursive: true, force: true }));
for (const signal of ["SIGINT", "SIGTERM"]) process.on(signal, () => process.exit(0));
readFileSync(join(settings.page, "index.html"));
server.listen(Number(settings.port), "127.0.0.1", () => console.log(`http://127.0.0.1:${server.address().port}`));
