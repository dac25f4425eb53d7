// For working on the page: hands out the page as it was last built and forwards everything else to a running
// `idphoto serve`, whose own page is the one that it was built with.
// usage: node dev/proxy.mjs [PORT [SERVICE]], default 8733 and http://127.0.0.1:8080
import { readFile } from "node:fs/promises";
import { createServer, request as ask } from "node:http";
import { basename, extname, join } from "node:path";
import { fileURLToPath } from "node:url";

const [port = "8733", service = "http://127.0.0.1:8080"] = process.argv.slice(2);
const page = process.env.PAGE ?? fileURLToPath(new URL("../../build/web", import.meta.url));
const types = { ".html": "text/html; charset=utf-8", ".js": "text/javascript; charset=utf-8", ".css": "text/css; charset=utf-8", ".svg": "image/svg+xml" };

function forward(request, response) {
  // The service answers its own pages alone: this one stands for it.
  const headers = { ...request.headers, host: new URL(service).host };
  delete headers.origin;
  const onward = ask(service + request.url, { method: request.method, headers }, (answer) => {
    response.writeHead(answer.statusCode, answer.headers);
    answer.pipe(response);
  });
  onward.on("error", () => response.destroy());
  response.on("close", () => onward.destroy());
  request.pipe(onward);
}

createServer(async (request, response) => {
  const { pathname } = new URL(request.url, service);
  const name = pathname === "/" ? "index.html" : basename(pathname);
  const type = types[extname(name)];
  if (!type || pathname.startsWith("/v1/")) return forward(request, response);
  try {
    const file = await readFile(join(page, name));
    response.writeHead(200, { "Content-Type": type, "Cache-Control": "no-store" }).end(file);
  } catch {
    response.writeHead(404).end();
  }
}).listen(Number(port), "127.0.0.1", () => console.log(`http://127.0.0.1:${port}, with ${service} behind it`));
