import assert from "node:assert/strict";
import { test } from "node:test";
import { Failure, type Studio } from "@qx/idphoto";
import { LocalClient } from "../../src/api/local";
import { isAbort, Problem } from "../../src/api/problem";

const bytes = new Uint8Array([1, 2, 3]);
const picture = { name: "photo.jpg", type: "image/jpeg", bytes };

/** A client on a studio that answers the calls given, and what it was asked. */
function clientOf(calls: object) {
  return new LocalClient(calls as Studio, true);
}

async function problem(of: Promise<unknown>): Promise<Problem> {
  const reason = await of.then(() => assert.fail("no problem"), (caught: unknown) => caught);
  assert.ok(reason instanceof Problem, String(reason));
  return reason;
}

test("a failure of the studio in the browser is the problem that a service would tell", async () => {
  const told = async (reason: unknown): Promise<unknown[]> => {
    const { status, code, detail, fields, unreachable } = await problem(clientOf({ presets: () => Promise.reject(reason) }).presets());
    return [status, code, detail, fields.length, unreachable];
  };
  assert.deepEqual(await told(new Failure("no_fit", "why", [{ name: "bound", value: "head" }])), [422, "no_fit", "why", 1, false]);
  assert.deepEqual(await told(new Failure("too_large", "why")), [413, "too_large", "why", 0, false]);
  assert.deepEqual(await told(new Failure("not_a_picture", "why")), [422, "not_shown", "why", 0, false]);
  assert.deepEqual(await told(new Failure("not_loaded", "why")), [0, "unreachable", "why", 0, true]);
  assert.deepEqual(await told(new TypeError("why")), [500, "other", "TypeError: why", 0, false]);
  const aborted = clientOf({ presets: () => Promise.reject(new DOMException("", "AbortError")) });
  await assert.rejects(aborted.presets(), isAbort);
  const old = new LocalClient({ presets: () => assert.fail("asked for") } as unknown as Studio, false);
  assert.deepEqual([(await problem(old.presets())).unreachable, await old.alive(), old.silence], [true, false, "app.tooOld"]);
});

test("photographs are known by ids; one that is gone is not kept, as at a service", async () => {
  const asked: unknown[] = [];
  const photo = {
    report: { width: 4, height: 5, faces: [] },
    make: (options: object) => (asked.push(options), Promise.resolve({ picture, report: { width: 4 } })),
    drop: () => Promise.resolve(),
  };
  const client = clientOf({ keep: () => Promise.resolve(photo) });
  const [one, two] = [await client.keep(new Blob()), await client.keep(new Blob())];
  assert.deepEqual([one.width, one.id === two.id], [4, false]);
  const made = await client.picture(one.id, [["max-kb", "40"]], "image/jpeg");
  assert.deepEqual([made.type, new Uint8Array(await made.arrayBuffer())], ["image/jpeg", bytes]);
  await client.picture(one.id, [["format", "png"]], "image/png");
  await client.picture(one.id, [], "image/png");
  assert.deepEqual(asked, [{ "max-kb": "40" }, { format: "png" }, { format: "png" }]);
  await client.forget(one.id);
  const gone = await problem(client.report(one.id, []));
  assert.deepEqual([gone.status, gone.code], [404, "not_kept"]);
  assert.deepEqual(await client.report(two.id, []), { width: 4 });
});

test("a sheet's pictures are handed over as bytes, which no browser decodes", async () => {
  const asked: unknown[] = [];
  const client = clientOf({ sheet: (...all: unknown[]) => (asked.push(all.slice(0, 2)), Promise.resolve({ pictures: [picture], report: {} })) });
  const sheet = await client.sheet([{ picture: new Blob([bytes]), copies: 0 }, { picture: new Blob([bytes]), copies: 3 }], [["paper", "A5"]]);
  assert.equal(sheet.type, "image/jpeg");
  assert.deepEqual(asked, [[[{ photo: bytes, copies: 0 }, { photo: bytes, copies: 3 }], { paper: "A5" }]]);
});
