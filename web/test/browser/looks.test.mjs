// The page in both schemes and widths: nothing sticks out, axe finds nothing; SCREENSHOTS=FOLDER keeps pictures to look at.
import assert from "node:assert/strict";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { addPhotos, assertAccessible, astronaut, chooseDocument, finished, isAlone, openFolds, openPage, startBrowser, startStudio } from "./studio.mjs";

let studio, browser;
before(async () => {
  studio = await startStudio();
  browser = await startBrowser();
});
after(async () => {
  await browser?.close();
  assert.equal(await studio?.stop(), 0);
});

async function keep(page, name) {
  if (process.env.SCREENSHOTS) await page.screenshot({ path: join(process.env.SCREENSHOTS, `${name}.png`) });
}

async function assertNothingSticksOut(page, state) {
  const [inner, wide] = await page.evaluate(() => [innerWidth, document.documentElement.scrollWidth]);
  assert.ok(wide <= inner, `${state}: ${wide} in ${inner}`);
}

async function look(page, name) {
  await assertNothingSticksOut(page, name);
  await assertAccessible(page, name);
  await keep(page, name);
}

for (const [width, height, scheme, locale] of [[1280, 860, "light", "en-HK"], [1280, 860, "dark", "de-DE"], [390, 844, "light", "de-DE"], [390, 844, "dark", "en-HK"], [900, 1100, "light", "en-HK"]]) {
  test(`${width} pixels wide, ${scheme}`, async () => {
    const name = `${width}-${scheme}`;
    const { page, close } = await openPage(browser, studio.address, { viewport: { width, height }, colorScheme: scheme, locale });
    await look(page, `${name}-start`);
    await addPhotos(page, astronaut);
    await finished(page);
    await look(page, `${name}-document`);
    await page.getByRole("button", { name: /^(Measures|Maße)$/ }).click();
    await chooseDocument(page, "two inch");
    await finished(page);
    for (const panel of width < 761 ? [1, 2, 3] : []) {
      await page.locator(".panels button").nth(panel).click();
      await look(page, `${name}-panel-${panel}`);
    }
    if (width < 761) await page.locator(".panels button").nth(2).click();
    await openFolds(page);
    await look(page, `${name}-open`);
    await page.getByRole("button", { name: /^(Compare|Vergleichen)$/ }).click();
    await page.locator("img.before").waitFor();
    await look(page, `${name}-compare`);
    if (width < 761) await page.locator(".panels button").nth(0).click();
    await page.getByRole("combobox", { name: /Land oder|Country or/ }).click();
    await page.getByRole("combobox", { name: /Land oder|Country or/ }).fill("fr");
    await look(page, `${name}-search`);
    await close();
  });
}

const served = { skip: isAlone && "the studio itself comes with it" };
test("the first view, with the list of documents, comes in less than 100 kB", served, async () => {
  const { page, close, received } = await openPage(browser, studio.address);
  await page.waitForLoadState("networkidle");
  const bytes = await received();
  assert.ok(bytes > 30_000 && bytes < 100_000, String(bytes));
  await close();
});

test("the picture of the page for its papers", async () => {
  const { page, close } = await openPage(browser, studio.address, { viewport: { width: 1280, height: 860 }, locale: "en-GB", colorScheme: "light" });
  await addPhotos(page, astronaut);
  await finished(page);
  await chooseDocument(page, "german passport");
  await finished(page);
  await page.getByRole("button", { name: "Measures" }).click();
  await page.getByText("Crown").first().waitFor();
  await page.mouse.move(0, 0);
  await page.evaluate(() => document.activeElement.blur());
  await keep(page, "studio");
  await close();
});
