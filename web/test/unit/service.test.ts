import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";
import { HttpClient } from "../../src/api/http";
import { isAbort, Problem } from "../../src/api/problem";
import { Text, preferredLanguage } from "../../src/text/text";
import { english } from "../../src/text/english";
import { german } from "../../src/text/german";
import { germanMeasures } from "../../src/text/measures";
import { Latest } from "../../src/work/latest";

const answering = (status: number, body: string, type = "application/problem+json"): HttpClient =>
  new HttpClient(async () => new Response(body, { status, headers: { "Content-Type": type } }));

async function problem(of: Promise<unknown>): Promise<Problem> {
  const reason = await of.then(() => assert.fail("no problem"), (caught: unknown) => caught);
  assert.ok(reason instanceof Problem);
  return reason;
}

test("a refusal carries the service's code and words, whatever is sent in its place", async () => {
  const told = await problem(answering(422, '{"code":"no_face","detail":"no face"}').presets());
  assert.deepEqual([told.status, told.code, told.detail], [422, "no_face", "no face"]);
  assert.equal((await problem(answering(502, "<html>", "text/html").presets())).code, "status_502");
  assert.equal((await problem(answering(400, '{"code":7,"fields":7}').presets())).code, "status_400");
  const misfit = await problem(answering(422, JSON.stringify({ code: "no_fit", detail: "", fields: [
    { name: "nearest", value: 1 }, { name: "bound", value: "head" }, { name: "wanted_min", value: 0.7 }, { name: "wanted_max", value: 0.8 },
    { name: "got", value: 0.8223 }, { name: "bound", value: "top" }] })).presets());
  assert.deepEqual(new Text("de").misses(misfit), ["Kopf 82,2 % der Höhe, verlangt 70 bis 80 %"]);
});

test("no answer, and one that breaks off, are told apart from a cancelled request", async () => {
  const gone = new HttpClient(() => Promise.reject(new TypeError("fetch failed")));
  assert.equal((await problem(gone.presets())).unreachable, true);
  const broken = new HttpClient(async () => new Response(new ReadableStream({ start: (body) => body.error(new TypeError("network error")) })));
  assert.equal((await problem(broken.preview("x", []))).unreachable, true);
  assert.equal(await gone.alive(), false);
  const controller = new AbortController();
  const slow = new HttpClient((_, init) => new Promise((_done, fail) =>
    init!.signal!.addEventListener("abort", () => fail(new DOMException("", "AbortError")))));
  const asked = slow.preview("x", [], controller.signal);
  controller.abort();
  await assert.rejects(asked, isAbort);
});

test("options travel percent-coded; the kind of picture is asked for by Accept", async () => {
  const seen: [string, RequestInit][] = [];
  const client = new HttpClient(async (input, init) => {
    seen.push([String(input), init!]);
    return new Response("{}");
  });
  await client.picture("x", [["background", "#fff"], ["size", "35x45 mm"]], "image/png");
  await client.sheet([{ picture: new Blob(["a"]), copies: 4 }], [["paper", "A5"]]);
  await client.sheet([{ picture: new Blob(["a"]), copies: 4 }, { picture: new Blob(["b"]), copies: 0 }], []);
  await client.report("x", []);
  await client.check("x", []);
  assert.equal(seen[0]![0], "/v1/photos/x/result?background=%23fff&size=35x45+mm");
  assert.deepEqual(seen[0]![1].headers, { Accept: "image/png" });
  assert.equal(seen[1]![0], "/v1/sheet?paper=A5&copies=4");
  assert.deepEqual((seen[2]![1].body as FormData).getAll("copies"), ["4", "0"]);
  assert.equal((seen[2]![1].body as FormData).getAll("photo").length, 2);
  assert.deepEqual(seen.slice(3).map(([path, init]) => [path, init.headers]),
                   ["result", "check"].map((what) => [`/v1/photos/x/${what}?`, { Accept: "application/json" }]));
});

/** A service whose answers are given by hand. */
function byHand() {
  const asked: { question: string; signal: AbortSignal; done: (answer: string) => void; fail: (reason: unknown) => void }[] = [];
  const heard: string[] = [];
  const latest = new Latest<string, string>(
    (question, signal) => new Promise((done, fail) => asked.push({ question, signal, done, fail })),
    (answer, question) => heard.push(`${question}=${answer}`), (reason) => heard.push(String(reason)));
  const settle = () => new Promise((done) => setImmediate(done));
  return { asked, heard, latest, settle };
}

test("a gesture lets the picture under way come and then asks for the last place only", async () => {
  const { asked, heard, latest, settle } = byHand();
  for (const place of ["1", "2", "3"]) latest.post(place, true);
  assert.deepEqual(asked.map((one) => one.question), ["1"]);
  asked[0]!.done("a");
  await settle();
  assert.deepEqual(asked.map((one) => one.question), ["1", "3"]);
  asked[1]!.done("b");
  await settle();
  assert.deepEqual(heard, ["1=a", "3=b"]);
});

test("any other question cancels the stale one, whose late answer is not heard", async () => {
  const { asked, heard, latest, settle } = byHand();
  latest.post("1", true);
  latest.post("2", true);
  latest.post("3", false);
  assert.equal(asked[0]!.signal.aborted, true);
  asked[0]!.done("late");
  asked[1]!.fail("refused");
  await settle();
  assert.deepEqual(heard, ["refused"]);
  assert.deepEqual(asked.map((one) => one.question), ["1", "3"]);
  latest.post("4", true);
  latest.cancel();
  asked[2]!.fail("late");
  await settle();
  assert.deepEqual(heard, ["refused"]);
});

test("both catalogues hold the same places, and no text is left in English by mistake", () => {
  const places = (text: string): string[] => [...text.matchAll(/\{\w+\}/g)].map(String).sort();
  for (const [key, text] of Object.entries(english)) {
    const other = german[key as keyof typeof english];
    assert.deepEqual(places(other), places(text), key);
    assert.ok(other !== text || /^Person$/.test(text), key);
  }
  assert.deepEqual(Object.keys(german).sort(), Object.keys(english).sort());
});

test("every measure, document and colour that the program tells has its German words", () => {
  const read = (path: string): string => readFileSync(`../photo/${path}`, "utf8");
  // Those without a verdict of their own are not shown.
  const silent = /kNoNetwork|kSkin|kFraming|kNoise|"only shown/;
  const rows = [...read("check/measure.cpp").matchAll(/^ *\{MeasureId::\w+, "(\w+)".*$/gm)].filter((row) => !silent.test(row[0]));
  assert.ok(rows.length > 30);
  for (const [, id] of rows) assert.ok(germanMeasures[id!], id);
  const text = new Text("de");
  const documents = JSON.parse(read("document/presets.json")) as { name: string; title: string; kind: "print" | "upload"; backgrounds: string[] }[];
  for (const one of documents) {
    const preset = { ...one, authority: "", persons: 1, dpi: 1, width_px: 1, height_px: 1, size: "", background_change_allowed: true, retouching_allowed: true };
    assert.notEqual(text.documentTitle(preset), one.title, one.name);
    for (const colour of one.backgrounds) assert.notEqual(text.colour(colour), colour, one.name);
  }
});

test("texts are filled in, numbers and countries as the language writes them", () => {
  const [en, de] = [new Text("en"), new Text("de")];
  assert.equal(de.say("checks.enlarged", { times: 1.75 }).startsWith("1,8-fach"), true);
  assert.equal(en.say("list.remove", { name: "{name}.jpg" }), "Remove {name}.jpg");
  assert.equal(de.problem(new Problem(422, "no_face", "x")), german["problem.no_face"]);
  assert.equal(en.problem(new Problem(500, "strange", "why")), "That did not work: why");
  assert.equal(en.problem(new Problem(503, "busy", "")), english["problem.full"]);
  assert.equal(preferredLanguage(["fr", "de-CH", "en"]), "de");
  assert.equal(preferredLanguage(["fr"]), "en");
});
