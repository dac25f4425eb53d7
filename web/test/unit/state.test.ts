import assert from "node:assert/strict";
import { test } from "node:test";
import { HttpClient } from "../../src/api/http";
import { Problem } from "../../src/api/problem";
import type { Check, Kept, Preset } from "../../src/api/types";
import { likelyDocument, search } from "../../src/state/documents";
import { marksOf } from "../../src/state/marks";
import { queryBefore, queryOf, rangeOption, ranges, withValue, type Settings } from "../../src/state/options";
import { currentSettings, empty, reduce, type Action, type State } from "../../src/state/reducer";
import { Text } from "../../src/text/text";
import { held } from "../../src/work/held";
import { nextUpload } from "../../src/work/use_uploads";

const preset = (name: string, more: Partial<Preset> = {}): Preset => ({
  name, title: name, authority: "Office", kind: "print", persons: 1, size: "35x45mm", dpi: 254, width_px: 350, height_px: 450,
  backgrounds: ["white"], background_change_allowed: true, retouching_allowed: true, ...more,
});

const picture = (name: string) => ({ name, file: new Blob([name]) });

function play(actions: readonly Action[], from: State = empty): State {
  return actions.reduce(reduce, from);
}

const begun = play([{ do: "document", preset: "a" }, { do: "add", files: [picture("1.jpg"), picture("2.jpg")] }]);

test("a slider's whole way is one step back; the next touch of it is another", () => {
  const moved = play([
    { do: "set", name: "brightness", value: 1, gesture: true }, { do: "set", name: "brightness", value: 2, gesture: true },
    { do: "settle" }, { do: "set", name: "brightness", value: 3, gesture: true }, { do: "settle" },
  ], begun);
  assert.equal(currentSettings(moved)["brightness"], 3);
  const once = reduce(moved, { do: "undo" });
  assert.equal(currentSettings(once)["brightness"], 2);
  const twice = reduce(once, { do: "undo" });
  assert.deepEqual(currentSettings(twice), { preset: "a" });
  assert.deepEqual(reduce(twice, { do: "undo" }).photos, twice.photos);
  assert.equal(currentSettings(play([{ do: "redo" }, { do: "redo" }, { do: "redo" }], twice))["brightness"], 3);
  const other = play([{ do: "redo" }, { do: "set", name: "contrast", value: 4 }, { do: "redo" }], twice);
  assert.deepEqual(currentSettings(other), { preset: "a", brightness: 2, contrast: 4 });
});

test("photographs keep their own steps; the document and a look go to all", () => {
  const second = begun.photos[1]!.key;
  const state = play([
    { do: "set", name: "zoom", value: 110 }, { do: "set", name: "contrast", value: 2 }, { do: "show", key: second },
    { do: "set", name: "zoom", value: 90 }, { do: "show", key: begun.photos[0]!.key }, { do: "likeThis" },
  ], begun);
  assert.deepEqual(state.photos.map((photo) => photo.history.present), [
    { preset: "a", zoom: 110, contrast: 2 }, { preset: "a", zoom: 90, contrast: 2 }]);
  const other = play([{ do: "set", name: "background", value: "keep" }, { do: "document", preset: "b" }], state);
  assert.deepEqual(other.photos.map((photo) => photo.history.present), [
    { preset: "b", zoom: 110, contrast: 2 }, { preset: "b", zoom: 90, contrast: 2 }]);
  assert.equal(other.start["preset"], "b");
  assert.deepEqual(currentSettings(play([{ do: "reset" }], other)), { preset: "b" });
});

test("the first document of a photograph dropped early is no step to take back", () => {
  const state = play([{ do: "add", files: [picture("1.jpg")] }, { do: "document", preset: "a" }, { do: "undo" }]);
  assert.deepEqual(currentSettings(state), { preset: "a" });
});

test("what is shown after a removal is a neighbour, and nothing after the last", () => {
  const [one, two] = begun.photos.map((photo) => photo.key) as [number, number];
  const left = play([{ do: "show", key: two }, { do: "remove", key: two }], begun);
  assert.equal(left.current, one);
  assert.equal(reduce(left, { do: "remove", key: one }).current, null);
  assert.equal(play([{ do: "remove", key: two }], begun).current, one);
});

test("a photograph that the service lost waits again, with its steps", () => {
  const kept: Kept = { id: "x", width: 1, height: 1, faces: [] };
  const key = begun.photos[0]!.key;
  const state = play([{ do: "reading", key }, { do: "ready", key, kept }, { do: "set", name: "zoom", value: 80 }, { do: "lost", key },
                      { do: "online", online: false }, { do: "online", online: true }, { do: "online", online: true }], begun);
  assert.equal(state.photos[0]!.phase, "waiting");
  assert.equal(state.photos[0]!.kept, undefined);
  assert.deepEqual(currentSettings(state), { preset: "a", zoom: 80 });
  assert.equal(state.returns, 1);
});

test("photographs go to the service one by one, the one looked at first; a verdict holds for its settings alone", () => {
  const kept: Kept = { id: "x", width: 1, height: 1, faces: [] };
  const check = { summary: { passed: 1, failed: 2, remarks: 0, not_assessed: 0 } } as Check;
  const [one, two] = begun.photos.map((photo) => photo.key) as [number, number];
  assert.equal(nextUpload(reduce(begun, { do: "show", key: two }))?.key, two);
  const ready = play([{ do: "reading", key: one }, { do: "ready", key: one, kept }], begun);
  assert.equal(nextUpload(ready), undefined);
  assert.equal(nextUpload(reduce(ready, { do: "show", key: two }))?.key, two);
  const settings = ready.photos[0]!.history.present;
  const judged = reduce(ready, { do: "checked", key: one, check, settings });
  assert.deepEqual(judged.photos[0]!.verdict, { failed: 2, remarks: 0 });
  assert.equal(nextUpload(judged)?.key, two);
  assert.equal(play([{ do: "set", name: "zoom", value: 90 }, { do: "checked", key: one, check, settings }], ready).photos[0]!.verdict, undefined);
  const problem = new Problem(422, "no_fit", "");
  assert.equal(reduce(ready, { do: "refused", key: one, problem, settings }).photos[0]!.verdict?.problem, problem);
  assert.equal(reduce(judged, { do: "document", preset: "b" }).photos[0]!.verdict, undefined);
});

test("what the service let go is handed over once more, and no oftener", async () => {
  const asked: string[] = [];
  const client = new HttpClient(async (input, init) => {
    asked.push(`${init?.method ?? "GET"} ${String(input)}`);
    return init?.method === "POST" ? new Response('{"id":"new","faces":[]}', { status: 201 }) : new Response("{}", { status: 404 });
  });
  const photo = { ...begun.photos[0]!, kept: { id: "old", width: 1, height: 1, faces: [] } };
  const told: Action[] = [];
  await assert.rejects(held(client, (action) => told.push(action), photo, (id) => client.check(id, [])), { status: 404 });
  assert.deepEqual(asked, ["GET /v1/photos/old/check?", "POST /v1/photos", "GET /v1/photos/new/check?"]);
  assert.deepEqual(told.map((action) => action.do), ["ready"]);
});

test("numbers stay in their range and on their step, defaults are not stored", () => {
  for (const { name, min, max, step, default: byDefault } of ranges) {
    assert.equal(withValue({}, name, max + step)[name] ?? byDefault, max, name);
    assert.equal(withValue({}, name, min - 10 * step)[name] ?? byDefault, min, name);
    assert.deepEqual(withValue({ [name]: max }, name, byDefault + step / 3), {}, name);
  }
  assert.equal(withValue({}, "offset-x", 3.3)["offset-x"], 3.5);
  assert.throws(() => rangeOption("colour"), RangeError);
});

test("only what the document takes is asked for", () => {
  const settings: Settings = { preset: "a", background: "#fff", skin: 2, beauty: "light", brightness: 1, zoom: 90, turn: 2, "max-kb": 50, type: "image/png" };
  const asked = (of: Preset): object => Object.fromEntries(queryOf(settings, of));
  assert.deepEqual(asked(preset("a")), { preset: "a", background: "#fff", skin: "2", beauty: "light", brightness: "1", zoom: "90", turn: "2", format: "png" });
  assert.deepEqual(asked(preset("a", { retouching_allowed: false })), { preset: "a", background: "#fff", zoom: "90", turn: "2", format: "png" });
  assert.deepEqual(asked(preset("a", { retouching_allowed: false, background_change_allowed: false })), { preset: "a", zoom: "90", format: "png" });
  assert.deepEqual(asked(preset("a", { persons: 2 }))["pair" as never], "true");
  assert.deepEqual(queryBefore(settings, preset("a"), true), [["background", "keep"], ["preset", "a"], ["turn", "2"], ["zoom", "90"]]);
  assert.deepEqual(queryBefore(settings, preset("a"), false), [["background", "#fff"], ["preset", "a"], ["turn", "2"], ["zoom", "90"]]);
});

test("documents are found by country in both languages, by code, without accents", () => {
  const all = [preset("ca-visa", { country: "CA", country_name: "Canada", title: "Visa for Canada" }),
               preset("at-passport", { country: "AT", country_name: "Austria", title: "Austrian passport" }),
               preset("ci-passport", { country: "CI", country_name: "Côte d'Ivoire", title: "Ivorian passport" }),
               preset("plain", { title: "Portrait" })];
  const names = (typed: string): string[] => search(all, typed, [new Text("en"), new Text("de")]).map((one) => one.name);
  assert.deepEqual(names("Österr"), ["at-passport"]);
  assert.deepEqual(names("austria"), ["at-passport"]);
  assert.deepEqual(names("cote"), ["ci-passport"]);
  assert.deepEqual(names("ci")[0], "ci-passport");
  assert.deepEqual(names("reisepass").length, 2);
  assert.deepEqual(names("canada passport"), []);
  assert.equal(names("").length, 4);
  assert.equal(likelyDocument(all, ["fr", "de-AT"]), "at-passport");
  assert.equal(likelyDocument(all, ["en-CA"]), "plain");
});

test("the marks lie where the check measured, counted from the upper edge", () => {
  const bounds = { published: "", min: 0.7, max: 0.8 };
  const line = (name: string, value: number, passed?: boolean) => ({ name, value, unit: "mm", ...(passed !== undefined && { passed }) });
  const check = (checks: Check["checks"]): Check =>
    ({ passed: true, summary: { passed: 0, failed: 0, remarks: 0, not_assessed: 0 }, checks, measures: [] });
  const at = (marks: ReturnType<typeof marksOf>) => Object.fromEntries(marks.lines.map((one) => [one.name, Math.round(one.y * 450) / 10]));
  const crown = check([line("space above", 3), line("head with hair", 37), line("head", 33, false), line("eyes", 25)]);
  const toCrown = marksOf(crown, preset("a", { head: bounds, head_to: "crown" }));
  assert.deepEqual(at(toCrown), { top: 3, chin: 40, crown: 7, eyes: 20 });
  assert.equal(toCrown.lines.find((one) => one.name === "crown")!.passed, false);
  assert.deepEqual(toCrown.bands.map((band) => [Math.round(band.from * 450) / 10, Math.round(band.to * 450) / 10]), [[4, 8.5]]);
  const hair = check([line("space above", 3), line("head", 37, false), line("head to crown", 33)]);
  const toHair = marksOf(hair, preset("a", { head: bounds, head_to: "hair" }));
  assert.deepEqual(at(toHair), { top: 3, chin: 40, crown: 7 });
  assert.equal(toHair.lines.find((one) => one.name === "top")!.passed, false);
  assert.deepEqual(marksOf(check([]), preset("a")), { lines: [], bands: [] });
});
