// What the page has to hold where there is no program behind it: nothing leaves the browser, whatever a script may try;
// the studio comes from any server of files, and where it does not come, the visitor is told.
import assert from "node:assert/strict";
import { readFileSync, writeFileSync } from "node:fs";
import { createServer } from "node:http";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { enlarged, readPng, writePng } from "../../../wasm/test/pixels.mjs";
import { startFolder } from "../browser/folder.mjs";
import { addPhotos, assertAccessible, astronaut, chooseDocument, command, downloaded, finished, openPage, scratch, startBrowser } from "../browser/studio.mjs";

const folder = process.env.PAGE_FOLDER;
let browser;
before(async () => { browser = await startBrowser(); });
after(() => browser?.close());

/** Runs the test with a server of files of its own. */
async function withFolder(use, options) {
  const studio = await startFolder(folder, options);
  await use(studio);
  await studio.stop();
}

/** Runs in the page and in its worker: every way to another place that there is in both. */
async function tryToReach(address) {
  const refused = (way) => way.then(() => "reached", () => "refused");
  return Promise.all([
    refused(fetch(address)), refused(fetch(address, { method: "POST", mode: "no-cors", body: "a photograph" })), refused(import(`${address}a.js`)),
    refused(new Promise((done, fail) => {
      const socket = new WebSocket(address.replace("http", "ws"));
      socket.onopen = done;
      socket.onerror = fail;
    })),
  ]);
}

/** Runs in the page: the ways that only a document has. */
async function tryAsDocument(address) {
  navigator.sendBeacon(address, "a photograph");
  const form = Object.assign(document.createElement("form"), { action: address, method: "post", target: "_blank" });
  const elements = [
    Object.assign(new Image(), { src: address }), Object.assign(document.createElement("script"), { src: address }), form,
    Object.assign(document.createElement("iframe"), { src: address }), Object.assign(document.createElement("video"), { src: address }),
    Object.assign(document.createElement("link"), { rel: "stylesheet", href: address }),
  ];
  document.body.append(...elements);
  form.submit();
  await new Promise((done) => { setTimeout(done, 1000); });
}

test("neither the page nor its worker can send anything to another place", () => withFolder(async ({ address }) => {
  let heard = 0;
  const elsewhere = createServer((_, response) => response.writeHead(200, { "Access-Control-Allow-Origin": "*" }).end());
  // A connection that Chromium opens beforehand, and on which it then says nothing, tells nothing.
  elsewhere.on("connection", (socket) => socket.on("data", ({ length }) => { heard += length; }));
  await new Promise((done) => elsewhere.listen(0, "127.0.0.1", done));
  const other = `http://127.0.0.1:${elsewhere.address().port}/`;
  const { page, close } = await openPage(browser, address, { expected: [/Content Security Policy/, new RegExp(other)] });
  await addPhotos(page, astronaut);
  await finished(page);
  assert.equal(page.workers().length, 1);
  for (const place of [page, page.workers()[0]]) assert.deepEqual(await place.evaluate(tryToReach, other), Array(4).fill("refused"));
  await page.evaluate(tryAsDocument, other);
  assert.equal(heard, 0);
  // That the other place hears at all.
  assert.equal((await fetch(other)).status, 200);
  assert.ok(heard > 0);
  elsewhere.closeAllConnections();
  elsewhere.close();
  await close();
}));

test("a large photograph becomes the command's file; the first use is less than six megabytes", () => withFolder(async ({ address, sent }) => {
  const large = join(scratch, "large.png"), finishedPath = join(scratch, "large-made.png");
  writeFileSync(large, writePng(enlarged(readPng(readFileSync(astronaut)), 7, true)));
  command("make", large, "-o", finishedPath, "--preset", "de-passport", "--background", "white");
  const { page, close } = await openPage(browser, address);
  const picture = page.locator(".frame > img").first();
  const shown = async () => {
    const begin = performance.now();
    await addPhotos(page, large);
    await picture.waitFor();
    return ((performance.now() - begin) / 1000).toFixed(2);
  };
  const first = await shown();
  assert.ok(sent() < 6e6, String(sent()));
  await finished(page);
  await page.getByRole("button", { name: "large.png entfernen" }).click();
  console.log(`12.8 megapixels, PNG, until the picture is shown: ${first} s, the next time ${await shown()} s; ${sent()} bytes were fetched`);
  await finished(page);
  await page.getByRole("radio", { name: "PNG" }).check();
  await page.getByRole("radio", { name: "Weiß" }).check();
  await finished(page);
  const { bytes } = await downloaded(page, () => page.locator(".download .primary").click());
  assert.equal(Buffer.compare(bytes, readFileSync(finishedPath)), 0);
  await close();
}));

test("a studio that does not come is told in words and tried again; its type need not be known", async () => {
  let isHidden = true;
  const isStudio = (name) => name.endsWith(".wasm");
  const typeOf = (name) => ({ html: "text/html", css: "text/css", js: "text/javascript", svg: "image/svg+xml" })[name.split(".").pop()] ?? "application/octet-stream";
  await withFolder(async ({ address }) => {
    const { page, close } = await openPage(browser, address, { expected: [/status of 404/], locale: "en-GB" });
    await addPhotos(page, astronaut);
    await page.getByText("The studio could not be loaded").waitFor();
    await assertAccessible(page, "not loaded");
    isHidden = false;
    await page.getByText("The studio could not be loaded").waitFor({ state: "detached" });
    await finished(page);
    await chooseDocument(page, "french passport");
    await finished(page);
    await close();
  }, { hidden: (name) => isHidden && isStudio(name), typeOf });
});

test("a browser that cannot run the studio is told so, and one without scripts too", () => withFolder(async ({ address, sent }) => {
  for (const missing of ["OffscreenCanvas", "WebAssembly"]) {
    const context = await browser.newContext({ locale: "de-DE" });
    await context.addInitScript((name) => { delete globalThis[name]; }, missing);
    const page = await context.newPage();
    await page.goto(address);
    await page.getByText("Dieser Browser ist zu alt").waitFor();
    await context.close();
  }
  assert.ok(sent() < 300_000, "the studio is not fetched in vain");
  const context = await browser.newContext({ javaScriptEnabled: false, reducedMotion: "reduce" });
  const page = await context.newPage();
  await page.goto(address);
  const words = page.getByText("This page has not started");
  await words.waitFor();
  assert.ok(await words.isVisible());
  await context.close();
}));
