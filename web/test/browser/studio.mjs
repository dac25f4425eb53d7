// What the tests in the browser share: the program as it is, a browser, and a page on which any error is a failure.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync } from "node:fs";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { fileURLToPath } from "node:url";
import { chromium } from "playwright-core";
import { startFolder } from "./folder.mjs";
import { startProgram } from "./service.mjs";

const web = fileURLToPath(new URL("../../", import.meta.url));
const program = process.env.IDPHOTO;
/** The folder of the page that needs no program, where that is the one to be tested. */
const folder = process.env.PAGE_FOLDER;
export const isAlone = !!folder;
const axeSource = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
export const scratch = mkdtempSync(join(tmpdir(), "page-browser-"));
export const astronaut = process.env.SAMPLE_PHOTO ?? join(web, "../build/sample/astronaut.png");
process.on("exit", () => rmSync(scratch, { recursive: true, force: true }));

export function command(...args) {
  const done = spawnSync(program, args, { encoding: "utf8" });
  assert.equal(done.status, 0, done.stderr);
  return done.stdout;
}

/** `idphoto serve` on a free port, or on one that was used before. `more` are its options. */
export const startService = (port = 0, ...more) => startProgram(program, port, ...more);

/** Whatever hands out the page: `idphoto serve`, or a server of files. */
export const startStudio = () => (isAlone ? startFolder(folder) : startService());

export function startBrowser() {
  return chromium.launch({
    executablePath: process.env.CHROMIUM,
    chromiumSandbox: process.getuid() !== 0,
    // No name but the machine's own is found: the page has to do without a network.
    args: ["--disable-dev-shm-usage", "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1", "--use-fake-device-for-media-stream", "--use-fake-ui-for-media-stream"],
  });
}

/** Opens the page. `expected` lists what the browser may report, such as the status of a refusal that the test provokes. */
export async function openPage(browser, address, { expected = [], ...options } = {}) {
  const context = await browser.newContext({ viewport: { width: 1280, height: 860 }, locale: "de-DE", acceptDownloads: true, ...options });
  // Long enough for a machine that does much else; what passes takes a tenth of a second.
  context.setDefaultTimeout(120_000);
  if (isAlone) await context.addInitScript(noteQuestions);
  const page = await context.newPage();
  const faults = [], sizes = [];
  page.on("requestfinished", (request) => sizes.push(request.sizes()));
  const note = (text) => { if (!expected.some((pattern) => pattern.test(text))) faults.push(text); };
  page.on("console", (message) => { if (["error", "warning"].includes(message.type())) note(message.text()); });
  page.on("pageerror", (error) => note(String(error)));
  page.on("request", (request) => { if (!/^(blob|data):/.test(request.url()) && !request.url().startsWith(address)) note(`request to ${request.url()}`); });
  await page.goto(address);
  await page.getByRole("heading", { level: 1 }).waitFor();
  const close = async () => {
    await context.close();
    assert.deepEqual(faults, []);
  };
  /** Bytes of bodies that came over the line so far, packed as they came. */
  const received = async () => (await Promise.all(sizes)).reduce((sum, { responseBodySize }) => sum + responseBodySize, 0);
  return { page, close, received };
}

/** Runs in the page: notes what its worker is asked. */
function noteQuestions() {
  const { postMessage } = Worker.prototype;
  globalThis.questions = [];
  Worker.prototype.postMessage = function note(message, ...more) {
    globalThis.questions.push(message.request);
    return postMessage.call(this, message, ...more);
  };
}

/** Listens to what the page asks of its studio; the function that it gives ends that and lists the pictures asked for. */
export async function listen(page) {
  if (isAlone) {
    await page.evaluate(() => { globalThis.questions.length = 0; });
    const kinds = { render: "result", preview: "preview" };
    return async () => (await page.evaluate(() => globalThis.questions)).filter(({ command }) => command in kinds)
      .map(({ command, options }) => ({ ...Object.fromEntries(options), kind: kinds[command] }));
  }
  const asked = [];
  const note = (request) => asked.push(new URL(request.url()));
  page.on("request", note);
  return async () => {
    page.off("request", note);
    return asked.filter((url) => /result|preview/.test(url.pathname)).map((url) => ({ ...Object.fromEntries(url.searchParams), kind: url.pathname.split("/").pop() }));
  };
}

export async function addPhotos(page, ...files) {
  await page.locator("input[type=file]").first().setInputFiles(files);
}

/** Waits for the finished picture and its checks. */
export async function finished(page) {
  await page.locator(".frame > img").first().waitFor();
  await page.locator(".frame[aria-busy=false]").waitFor();
  await page.locator(".checks[aria-busy=false] .verdict").waitFor({ state: "attached" });
}

export async function chooseDocument(page, typed) {
  const box = page.getByRole("combobox", { name: /Land oder|Country or/ });
  await box.click();
  await box.fill(typed);
  await box.press("Enter");
}

/** Opens all that is folded away and in sight. */
export async function openFolds(page) {
  const folds = page.locator("details:not([open]) > summary:visible");
  while (await folds.count() > 0) await folds.first().click();
}

export async function downloaded(page, press) {
  const [download] = await Promise.all([page.waitForEvent("download"), press()]);
  const path = join(scratch, `${Math.random()}`);
  await download.saveAs(path);
  return { name: download.suggestedFilename(), bytes: readFileSync(path) };
}

const rules = { type: "tag", values: ["wcag2a", "wcag2aa", "wcag21a", "wcag21aa", "wcag22aa", "best-practice"] };

export async function assertAccessible(page, state) {
  // Evaluated, not added as a script: the page's policy forbids that.
  await page.evaluate(axeSource);
  const { violations } = await page.evaluate((runOnly) => globalThis.axe.run(document, { runOnly }), rules);
  const told = violations.map(({ id, nodes }) => `${id}: ${nodes.map((node) => `${node.target} ${node.failureSummary}`).join("; ")}`);
  assert.deepEqual(told, [], state);
}
