import assert from "node:assert/strict";
import { test } from "node:test";
import { Client } from "../../src/api/client";
import { isAbort, Problem } from "../../src/api/problem";
import { Text, preferredLanguage } from "../../src/text/text";
import { english } from "../../src/text/english";
import { german } from "../../src/text/german";
import { Latest } from "../../src/work/latest";

const answering = (status: number, body: string, type = "application/problem+json"): Client =>
  new Client(async () => new Response(body, { status, headers: { "Content-Type": type } }));

async function problem(of: Promise<unknown>): Promise<Problem> {
  const reason = await of.then(() => assert.fail("no problem"), (caught: unknown) => caught);
  assert.ok(reason instanceof Problem);
  return reason;
}

test("a refusal carries the service's code and words, whatever is sent in its place", async () => {
  const told = await problem(answering(422, '{"code":"no_face","detail":"no face"}').presets());
  assert.deepEqual([told.status, told.code, told.detail], [422, "no_face", "no face"]);
  assert.equal((await problem(answering(502, "<html>", "text/html").presets())).code, "status_502");
  assert.equal((await problem(answering(400, '{"code":7}').presets())).code, "status_400");
});

test("no answer is told apart from a cancelled request", async () => {
  const gone = new Client(() => Promise.reject(new TypeError("fetch failed")));
  assert.equal((await problem(gone.presets())).unreachable, true);
  assert.equal(await gone.alive(), false);
  const controller = new AbortController();
  const slow = new Client((_, init) => new Promise((_done, fail) =>
    init!.signal!.addEventListener("abort", () => fail(new DOMException("", "AbortError")))));
  const asked = slow.preview("x", [], controller.signal);
  controller.abort();
  await assert.rejects(asked, isAbort);
});

test("options travel percent-coded; the kind of picture is asked for by Accept", async () => {
  const seen: [string, RequestInit][] = [];
  const client = new Client(async (input, init) => {
    seen.push([String(input), init!]);
    return new Response("{}");
  });
  await client.picture("x", [["background", "#fff"], ["size", "35x45 mm"]], "image/png");
  await client.sheet([{ picture: new Blob(["a"]), copies: 4 }], [["paper", "A5"]]);
  await client.sheet([{ picture: new Blob(["a"]), copies: 4 }, { picture: new Blob(["b"]), copies: 0 }], []);
  await client.findings("x", []);
  assert.equal(seen[0]![0], "/v1/photos/x/result?background=%23fff&size=35x45+mm");
  assert.deepEqual(seen[0]![1].headers, { Accept: "image/png" });
  assert.equal(seen[1]![0], "/v1/sheet?paper=A5&copies=4");
  assert.deepEqual((seen[2]![1].body as FormData).getAll("copies"), ["4", "0"]);
  assert.equal((seen[2]![1].body as FormData).getAll("photo").length, 2);
  assert.deepEqual(seen.slice(3).map(([path]) => path), ["/v1/photos/x/result?", "/v1/photos/x/check?"]);
});

test("the options that the service describes are read from its description", async () => {
  const described = { paths: { "/v1/photos/{id}/result": { get: { parameters: [{ name: "zoom", in: "query" }, { name: "id", in: "path" }] } } } };
  assert.deepEqual(await answering(200, JSON.stringify(described)).options(), new Set(["zoom"]));
  assert.equal(await answering(200, "{}").options(), null);
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
    assert.ok(other !== text || /^(Person|Person \{number\})$/.test(text), key);
  }
  assert.deepEqual(Object.keys(german).sort(), Object.keys(english).sort());
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
