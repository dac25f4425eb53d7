// One visitor's tasks, each on the page as a browser shows it.
import assert from "node:assert/strict";
import { readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { addPhotos, assertAccessible, astronaut, chooseDocument, command, downloaded, finished, isAlone, listen, openFolds, openPage, scratch, startBrowser, startService, startStudio } from "./studio.mjs";

let studio, browser;
before(async () => {
  studio = await startStudio();
  browser = await startBrowser();
});
after(async () => {
  await browser?.close();
  assert.equal(await studio?.stop(), 0);
});

function made(name, ...options) {
  const path = join(scratch, name);
  command("make", astronaut, "-o", path, ...options);
  return readFileSync(path);
}

async function source(page) {
  return page.locator(".frame > img").first().getAttribute("src");
}

/** Does something that changes the picture, and gives what was asked for it. */
async function asksFor(page, act) {
  const asked = await listen(page);
  const old = await source(page);
  await act();
  await page.waitForFunction((before) => document.querySelector(".frame > img").getAttribute("src") !== before, old);
  await finished(page);
  return asked();
}

test("a dropped photograph becomes the document's picture; the download is the command's file, in both formats", async () => {
  const { page, close } = await openPage(browser, studio.address);
  const bytes = [...readFileSync(astronaut)];
  const data = await page.evaluateHandle((content) => {
    const transfer = new DataTransfer();
    transfer.items.add(new File([new Uint8Array(content)], "astronaut.png", { type: "image/png" }));
    return transfer;
  }, bytes);
  await page.dispatchEvent(".start", "dragover", { dataTransfer: data });
  assert.equal(await page.locator(".drop-here").isVisible(), true);
  await page.dispatchEvent(".start", "drop", { dataTransfer: data });
  await finished(page);
  const press = () => page.locator(".download .primary").click();
  const jpeg = await downloaded(page, press);
  assert.equal(jpeg.name, "astronaut-de-passport.jpg");
  assert.equal(Buffer.compare(jpeg.bytes, made("a.jpg", "--preset", "de-passport")), 0);
  await chooseDocument(page, "hongkong reise");
  await asksFor(page, () => page.getByRole("radio", { name: "PNG" }).check());
  const png = await downloaded(page, press);
  assert.equal(png.name, "astronaut-hk-passport.png");
  assert.equal(Buffer.compare(png.bytes, made("a.png", "--preset", "hk-passport")), 0);
  await close();
});

test("every slider asks for its option while it moves and once it rests, and one step takes it back", async () => {
  const { page, close } = await openPage(browser, studio.address);
  await addPhotos(page, astronaut);
  await finished(page);
  await chooseDocument(page, "two inch");
  await finished(page);
  await openFolds(page);
  const sliders = await page.locator(".adjust input[type=range]").all();
  assert.equal(sliders.length, 15);
  const seen = new Set();
  for (const slider of sliders) {
    const old = await slider.inputValue();
    const asked = await asksFor(page, () => slider.press("ArrowRight"));
    const { kind, preset, ...rest } = asked.at(-1);
    assert.deepEqual([kind, preset, Object.keys(rest).length], ["result", "two-inch", 1], JSON.stringify(asked));
    assert.equal(rest[Object.keys(rest)[0]], await slider.inputValue());
    seen.add(Object.keys(rest)[0]);
    await asksFor(page, () => page.keyboard.press("Control+z"));
    assert.equal(await slider.inputValue(), old);
  }
  assert.equal(seen.size, 15);
  await close();
});

test("a slider that is dragged shows previews on the way, and the finished picture at the end", async () => {
  const { page, close } = await openPage(browser, studio.address);
  await addPhotos(page, astronaut);
  await finished(page);
  const slider = page.getByRole("slider", { name: "Links und rechts" });
  await slider.scrollIntoViewIfNeeded();
  const box = await slider.boundingBox();
  const asked = await asksFor(page, async () => {
    await page.mouse.move(box.x + box.width / 2, box.y + box.height / 2);
    await page.mouse.down();
    for (let step = 0; step < 12; ++step) await page.mouse.move(box.x + box.width * (0.5 + step / 100), box.y + box.height / 2);
    await page.locator(".frame > img").first().waitFor();
    await page.mouse.up();
  });
  const previews = asked.filter((one) => one.kind === "preview");
  assert.ok(previews.length >= 1 && previews.length < 12, String(previews.length));
  assert.equal(asked.at(-1).kind, "result");
  assert.equal(asked.at(-1)["offset-x"], await slider.inputValue());
  await asksFor(page, () => page.getByRole("button", { name: "Rückgängig" }).click());
  assert.equal(await slider.inputValue(), "0");
  await close();
});

test("dragging, the wheel and the arrow keys place the person; the bounds are drawn, and beyond them there is a way back", async () => {
  const { page, close } = await openPage(browser, studio.address, { expected: [/status of 422/] });
  await addPhotos(page, astronaut);
  await finished(page);
  const frame = page.locator(".frame");
  const box = await frame.boundingBox();
  const drag = async (right, down) => {
    await page.mouse.move(box.x + box.width / 2, box.y + box.height / 2);
    await page.mouse.down();
    await page.mouse.move(box.x + box.width * (0.5 + right), box.y + box.height * (0.5 + down), { steps: 4 });
    assert.deepEqual(await page.locator(".marks g text").allTextContents(), ["Haar", "Kinn", "Scheitel", "Augen"]);
    await page.mouse.up();
  };
  assert.equal((await asksFor(page, () => drag(0.1, 0))).at(-1)["offset-x"], "10");
  assert.equal((await asksFor(page, () => page.mouse.wheel(0, 100))).at(-1).zoom, "99");
  await frame.focus();
  assert.equal((await asksFor(page, () => page.keyboard.press("ArrowLeft"))).at(-1)["offset-x"], "9.5");
  assert.equal((await asksFor(page, () => page.keyboard.press("+"))).at(-1).zoom, undefined);
  await drag(0, 0.12);
  // The last of the refusals on the way is that of where it rests.
  await page.getByText(/Augen auf 3\d(,\d)? % der Höhe, verlangt 48,9 bis 71,1 %/).waitFor();
  await assertAccessible(page, "moved out");
  await asksFor(page, () => page.getByRole("button", { name: /Trotzdem/ }).click());
  assert.equal(await page.locator(".problem").count(), 0);
  await asksFor(page, () => page.locator(".adjust").getByRole("button", { name: /Platz des Dokuments/ }).click());
  assert.equal(await page.getByRole("slider", { name: "Links und rechts" }).inputValue(), "0");
  await close();
});

test("backgrounds are offered as the document allows them; what an authority forbids is gone, with the reason", async () => {
  const { page, close } = await openPage(browser, studio.address);
  await addPhotos(page, astronaut);
  await finished(page);
  const ground = (name) => page.getByRole("radio", { name });
  assert.equal((await asksFor(page, () => ground("Weiß").check())).at(-1).background, "white");
  const bytes = await downloaded(page, () => page.locator(".download .primary").click());
  assert.equal(Buffer.compare(bytes.bytes, made("w.jpg", "--preset", "de-passport", "--background", "white")), 0);
  assert.match((await asksFor(page, () => ground("Verlauf").check())).at(-1).background, /^gradient:#\w{6}-#\w{6}$/);
  assert.equal((await asksFor(page, () => ground(/Den des Fotos/).check())).at(-1).background, "keep");
  await chooseDocument(page, "vereinigte staaten pass");
  await finished(page);
  assert.match(await page.locator(".adjust .reason").first().textContent(), /U\.S\. Department of State nimmt kein Foto mit geändertem Hintergrund/);
  assert.equal(await ground("Weiß").count(), 0);
  for (const title of ["Licht und Farbe", "Retusche"]) await page.getByText(title, { exact: true }).click();
  assert.equal(await page.getByText(/nimmt keine (retuschierten|veränderten) Fotos an/).count(), 2);
  assert.equal(await page.getByRole("slider", { name: "Glattere Haut" }).count(), 0);
  await close();
});

test("by the keyboard alone: pick, document, slider, compare, download", async () => {
  const { page, close } = await openPage(browser, studio.address);
  const focused = () => page.evaluate(() => {
    const element = document.activeElement;
    return element.getAttribute("aria-label") ?? element.closest("label")?.textContent ?? (element === document.body ? "" : element.textContent);
  });
  const tabTo = async (wanted) => {
    for (let step = 0; step < 60; ++step) {
      await page.keyboard.press("Tab");
      if (wanted.test(await focused())) return;
    }
    assert.fail(`never came to ${wanted}`);
  };
  // Asked for early: the browser has to be told to hand its dialogue over before a key opens it.
  const choosing = page.waitForEvent("filechooser");
  await tabTo(/Fotos auswählen/);
  await page.keyboard.press("Enter");
  await (await choosing).setFiles(astronaut);
  await finished(page);
  const box = page.getByRole("combobox", { name: "Land oder Dokument" });
  await box.focus();
  await page.keyboard.press("ArrowDown");
  await page.keyboard.type("frankreich");
  assert.equal(await page.locator(".search").getByRole("option").first().textContent().then((text) => text.startsWith("Frankreich")), true);
  await page.keyboard.press("ArrowDown");
  await page.keyboard.press("ArrowUp");
  await asksFor(page, () => page.keyboard.press("Enter"));
  assert.equal(await box.inputValue(), "Frankreich · Reisepass");
  await page.locator(".bar select").focus();
  await tabTo(/Vergleichen/);
  await page.keyboard.press("Space");
  await page.getByRole("slider", { name: /Trennlinie/ }).focus();
  await page.keyboard.press("ArrowRight");
  assert.match(await page.locator("img.before").getAttribute("style"), /49%/);
  await page.locator(".bar select").focus();
  await tabTo(/^Herunterladen$/);
  const file = await downloaded(page, () => page.keyboard.press("Enter"));
  assert.equal(Buffer.compare(file.bytes, made("f.jpg", "--preset", "fr-passport")), 0);
  await close();
});

test("a print sheet of one kind and of several, as picture and PDF", async () => {
  const { page, close } = await openPage(browser, studio.address);
  const second = join(scratch, "second.png");
  writeFileSync(second, readFileSync(astronaut));
  await addPhotos(page, astronaut, second);
  await finished(page);
  await page.getByRole("button", { name: /Druckbogen/ }).click();
  await page.locator(".paper img").waitFor();
  await assertAccessible(page, "sheet");
  const finishedPath = join(scratch, "s.jpg"), sheetPath = join(scratch, "sheet.jpg");
  writeFileSync(finishedPath, made("s.jpg", "--preset", "de-passport"));
  command("sheet", finishedPath, "-o", sheetPath, "--paper", "4x6");
  const picture = await downloaded(page, () => page.getByRole("button", { name: "Als Bild speichern" }).click());
  assert.equal(Buffer.compare(picture.bytes, readFileSync(sheetPath)), 0);
  const pdf = await downloaded(page, () => page.getByRole("button", { name: "Als PDF speichern" }).click());
  assert.equal(pdf.name, "de-passport-4x6.pdf");
  assert.ok(pdf.bytes.includes(picture.bytes));
  const visaPath = join(scratch, "v.jpg");
  writeFileSync(visaPath, made("v.jpg", "--preset", "two-inch"));
  command("sheet", `${finishedPath}:3`, `${visaPath}:1`, "-o", sheetPath, "--paper", "A5");
  await page.getByRole("combobox", { name: "Papier" }).selectOption("A5");
  await page.getByRole("button", { name: "Weitere Art" }).click();
  await page.getByRole("combobox", { name: "Dokument 2" }).selectOption("two-inch");
  await page.getByRole("spinbutton", { name: "Anzahl 1" }).fill("3");
  await page.getByRole("spinbutton", { name: "Anzahl 2" }).fill("1");
  assert.equal(await page.getByRole("combobox", { name: "Foto 2" }).count(), 1);
  await assertAccessible(page, "sheet of two kinds");
  await page.locator(".paper[aria-busy=false]").waitFor();
  const several = await downloaded(page, () => page.getByRole("button", { name: "Als Bild speichern" }).click());
  assert.equal(Buffer.compare(several.bytes, readFileSync(sheetPath)), 0);
  await page.keyboard.press("Escape");
  assert.equal(await page.locator("dialog").count(), 0);
  await close();
});

test("several photographs become a list with states and one ZIP file; what is none is told and left out", async () => {
  const { page, close } = await openPage(browser, studio.address, { expected: [/status of 4(15|22)/] });
  const text = join(scratch, "text.jpg"), blank = join(scratch, "zblank.png");
  writeFileSync(text, "no picture");
  writeFileSync(blank, Buffer.from("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAIAAACQd1PeAAAADElEQVR4nGP4//8/AAX+Av4N70a4AAAAAElFTkSuQmCC", "base64"));
  await addPhotos(page, astronaut, text, blank);
  await finished(page);
  await page.locator(".item .fail").nth(2).waitFor();
  assert.match((await page.locator(".item .word").allTextContents()).join(), /zu beheben,Nicht möglich,Nicht möglich/);
  await page.getByRole("button", { name: /text\.jpg.*Nicht möglich/s }).first().click();
  assert.match(await page.locator(".problem").textContent(), /Diese Datei ist kein Foto/);
  await assertAccessible(page, "a refusal");
  await page.getByRole("button", { name: /zblank\.png.*Nicht möglich/s }).first().click();
  assert.match(await page.locator(".problem").textContent(), /kein Gesicht|Gesicht/);
  const file = await downloaded(page, () => page.getByRole("button", { name: /ZIP/ }).click());
  assert.ok(file.bytes.includes(made("z.jpg", "--preset", "de-passport")));
  assert.match(await page.locator(".list [role=status]").textContent(), /In der ZIP-Datei: 1; nicht möglich: 2/);
  await page.getByRole("button", { name: "text.jpg entfernen" }).click();
  assert.equal(await page.locator(".item").count(), 2);
  await close();
});

const served = { skip: isAlone && "there is no server" };
test("too large, and no server: told in words; when it is back all goes on with a photograph handed over anew", served, async () => {
  const own = await startService(0, "--max-upload", "2");
  const { page, close } = await openPage(browser, own.address, { expected: [/status of 4(04|13)/, /ERR_CONNECTION_REFUSED|ERR_CONNECTION_RESET|ERR_EMPTY/] });
  const large = join(scratch, "large.jpg");
  writeFileSync(large, Buffer.alloc(3 << 20));
  await addPhotos(page, large);
  assert.match(await page.locator(".problem").textContent(), /zu groß/);
  await page.getByRole("button", { name: "large.jpg entfernen" }).click();
  await addPhotos(page, astronaut);
  await finished(page);
  await own.stop();
  await page.getByRole("radio", { name: "Weiß" }).check();
  await page.getByText("Das Programm antwortet nicht").waitFor();
  await assertAccessible(page, "offline");
  const again = await startService(own.port, "--max-upload", "2");
  await page.getByText("Das Programm antwortet nicht").waitFor({ state: "detached" });
  await page.locator(".download .primary:not([disabled])").waitFor();
  await finished(page);
  const file = await downloaded(page, () => page.locator(".download .primary").click());
  assert.equal(Buffer.compare(file.bytes, made("b.jpg", "--preset", "de-passport", "--background", "white")), 0);
  await close();
  await again.stop();
});

test("the camera's picture joins the list; paste adds another", async () => {
  const { page, close } = await openPage(browser, studio.address, { expected: [/status of 422/], permissions: ["camera"] });
  await page.getByRole("button", { name: "Kamera benutzen" }).click();
  await page.getByRole("button", { name: "Foto aufnehmen" }).click();
  await page.locator(".problem").waitFor();
  assert.equal(await page.locator(".item .name").textContent(), "camera.jpg");
  await page.evaluate((content) => {
    const clipboardData = new DataTransfer();
    clipboardData.items.add(new File([new Uint8Array(content)], "pasted.png", { type: "image/png" }));
    window.dispatchEvent(new ClipboardEvent("paste", { clipboardData }));
  }, [...readFileSync(astronaut)]);
  await finished(page);
  assert.deepEqual(await page.locator(".item .name").allTextContents(), ["camera.jpg", "pasted.png"]);
  await close();
});
