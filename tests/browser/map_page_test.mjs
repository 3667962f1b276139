import assert from "node:assert/strict";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { changedSample, directory, find, focused, json, openFile, openMap, press, run, sample, shownHex, startBrowser,
  stopBrowser, text } from "./harness.mjs";
import { cutElements, faintElements } from "./looks.mjs";

const kHeading = "#detail h2";
const kChosenRow = '#slots [aria-selected="true"]';
const kBlockHeading = "#block-facts h2";
const kWidths = [360, 480, 768, 900, 1280, 1920, 2560];

before(startBrowser);
after(stopBrowser);

const map = json(sample, "map");
const items = json(sample, "list").items;
const allBlocks = map.sections.flatMap((section) =>
  section.blocks.map((block) => ({ ...block, section: section.section })));
const place = (block) => `${block.section} block ${block.block}`;
const total = (figure) => allBlocks.reduce((sum, block) => sum + block[figure], 0);
const digits = (shown) => shown.replace(/\u202f/g, "");
const cells = async (page) => (await page.locator(`${kChosenRow} [role=gridcell]`).allInnerTexts()).map(digits);

/// The sample without the signature of the block that holds most items.
const [firstSection] = map.sections;
const hit = firstSection.blocks.reduce((most, one) =>
  (one.slot_count - one.dead_slots > most.slot_count - most.dead_slots ? one : most));
const damaged = () => changedSample("<!--<script>&.bin", [[hit.address - firstSection.start, [0]]]);

test("the page opens on the overview, which leads to the block that the tool calls worst off", async () => {
  const page = await openMap(sample);
  assert.match(await text(page, "#verdict h2"), /^Sound/);
  assert.ok(digits(await text(page, "#verdict")).includes(`regains ${total("dead")} dead bytes`));
  assert.ok((await text(page, "#verdict")).includes(`Worst off: ${place(map.worst)}, ${map.worst.why}`));
  assert.equal(await page.locator("#section-card .sections > li").count(), map.sections.length);
  assert.equal(await page.locator(".error:visible, .due:visible").count(), 0);
  await page.locator("#worst button").click();
  assert.equal(await text(page, kBlockHeading), place(map.worst));
  await page.goBack();
  assert.ok(await page.locator("#verdict").isVisible());

  await page.getByRole("combobox", { name: "Order of the blocks" }).selectOption("worst first");
  const shown = await page.locator("#blocks [role=option]").evaluateAll((all) => all.map((one) => one.dataset.block));
  const ranked = [...allBlocks].sort((a, b) => a.rank - b.rank);
  assert.deepEqual(shown, ranked.map((block) => `${block.section}/${block.block}`));
  await page.check();
});

test("block and slot are picked with the mouse", async () => {
  const page = await openMap(sample);
  for (const section of map.sections) {
    const block = section.blocks.find((one) => one.slot_count > one.dead_slots);
    await page.getByRole("option", { name: `${section.section} block ${block.block},` }).click();
    assert.equal(await text(page, kBlockHeading), `${section.section} block ${block.block}`);
    assert.equal(Number(await page.locator("#slots").getAttribute("aria-rowcount")), block.slot_count + 1);
    await page.getByRole("button", { name: /^Valid/ }).click();
    await page.locator("#slot-rows [role=row]").last().click();
    const [, type, id] = await cells(page);
    assert.equal(await text(page, kHeading), `Type ${type} ID ${id}`);
    assert.equal(await shownHex(page), run(sample, "read", type, id));
  }
  await page.check();
});

test("everything is reached with the keyboard alone", async () => {
  const page = await openMap(sample);
  assert.equal(await focused(page), "blocks");
  await press(page, "End");
  assert.equal(await text(page, kBlockHeading), place(allBlocks.at(-1)));
  await press(page, "Home");
  await press(page, "ArrowRight", hit.block);
  assert.equal(await text(page, kBlockHeading), `${firstSection.section} block ${hit.block}`);
  await press(page, "Enter");
  assert.equal(await focused(page), "slots");
  await press(page, "End");
  assert.equal((await cells(page))[0], String(hit.slot_count - 1));
  await press(page, "Home");
  await press(page, "ArrowDown", 4);
  await press(page, "ArrowUp");
  const [number, type, id] = await cells(page);
  assert.equal(number, "3");
  await press(page, "Enter");
  assert.equal(await focused(page), "hex");
  assert.equal(await shownHex(page), run(sample, "read", type, id));
  for (const next of ["slots", "blocks"]) {
    await press(page, "Escape");
    assert.equal(await focused(page), next);
  }
  await press(page, "Escape");
  assert.ok(await page.locator("#verdict").isVisible());
  const nameless = await page.locator("button:visible, input, select, [tabindex='0'], [role=option]").evaluateAll(
    (all) => all.filter((one) => !(one.getAttribute("aria-label") || one.textContent.trim())).map((one) => one.outerHTML));
  assert.deepEqual(nameless, []);
  await page.check();
});

test("items are found by type and by ID, and their bytes are those that a read gives", async () => {
  const page = await openMap(sample);
  const longest = items.reduce((long, item) => (item.length > long.length ? item : long));
  const shortest = items.reduce((short, item) => (item.length < short.length ? item : short));
  for (const item of [longest, shortest, items[0], items.at(-1)]) {
    await find(page, `${item.type}/0x${item.id.toString(16)}`);
    await press(page, "Enter");
    assert.equal(await text(page, kHeading), `Type ${item.type} ID ${item.id}`);
    assert.equal(await shownHex(page), run(sample, "read", String(item.type), String(item.id)));
    assert.ok((await text(page, "#detail")).includes(item.crc32));
    assert.equal(await focused(page), "slots");
  }
  for (const [query, wanted] of [[`type ${longest.type} valid`, (item) => item.type === longest.type],
    [`id ${longest.id} valid`, (item) => item.id === longest.id]]) {
    assert.equal(await (await find(page, query)).count(), items.filter(wanted).length, query);
    await press(page, "Escape");
    assert.ok(await page.locator("#results").isHidden());
    assert.equal(await page.locator("#search").inputValue(), "");
  }
  await page.check();
});

test("bytes are found by address, as text in any case, in UTF-16 and in hexadecimal", async () => {
  const page = await openMap(sample);
  const { type, id } = items.find((item) => item.length > 40);
  const [copy] = json(sample, "history", String(type), String(id)).copies;
  await find(page, `0x${(copy.address + 9).toString(16)}`);
  await press(page, "Enter");
  assert.equal(await text(page, kHeading), `Type ${type} ID ${id}`);
  const line = run(sample, "read", String(type), String(id)).split("\n")[0];
  assert.equal(await text(page, "#hex mark >> nth=0"), line.slice(10).split(/ +/)[9]);

  const noted = Buffer.from("\0\0Zebra Crossing 7\0\0");
  const wide = Buffer.from("Zebra crossing 8", "utf16le");
  const free = firstSection.blocks.find((block) => block.state === "Free");
  const at = free.address - firstSection.start + 0x8000;
  const other = await openMap(changedSample("words.bin", [[at, noted], [at + 0x100, wide]]));
  for (const [query, address, length] of [['"zebra crossing 7"', free.address + 0x8002, 16],
    ["ZEBRA CROSSING 8", free.address + 0x8100, 32], ["hex 7A656272", null, 0],
    ["43 72 6f 73 73 69 6e 67 20 37", free.address + 0x8008, 10]]) {
    const found = await find(other, query);
    assert.equal(await found.count(), address === null ? 0 : 1, query);
    if (address !== null) {
      await press(other, "Enter");
      assert.equal(await text(other, kHeading), `Address 0x${address.toString(16).toUpperCase()}`);
      const marked = await other.locator("#hex mark").evaluateAll((all) => all.map((one) => one.textContent).join(" "));
      assert.equal(marked.match(/\b[0-9a-f]{2}\b/g).length >= length, true, marked);
    } else {
      await press(other, "Escape");
    }
  }
  await other.check();
  await page.check();
});

test("a dead copy shows the bytes that its history gives", async () => {
  const page = await openMap(sample);
  await page.locator("#worst button").click();
  await page.getByRole("button", { name: /^Deleted/ }).click();
  await page.locator("#slot-rows [role=row]").first().click();
  const [number, type, id, state] = await cells(page);
  assert.equal(state, "Deleted");
  const copy = json(sample, "history", type, id).copies.find((one) =>
    one.section === map.worst.section && one.block === map.worst.block && one.slot === Number(number));
  assert.equal(await shownHex(page), run(sample, "history", type, id, "--copy", String(copy.copy)));
  await page.check();
});

test("of a damaged image, under a name that is markup, what a rebuild brings back is told, marked and found", async () => {
  const image = damaged();
  const page = await openMap(image);
  const lost = items.filter((item) => json(image, "list").items.every((one) => one.type !== item.type || one.id !== item.id));
  assert.ok(lost.length > 20);
  assert.match(await text(page, "#verdict h2"), /^Damaged/);
  assert.ok((await text(page, "#verdict")).includes(`${lost.length} items`));
  assert.equal(await page.locator("#losses .chip").count(), lost.length);
  assert.ok((await text(page, "#image-name")).startsWith("<!--<script>&.bin"));
  assert.equal(await page.locator(".tile.error").count(), 1);
  const report = json(image, "map").sections[0].blocks[hit.block];
  assert.ok((await text(page, "#found-in-all")).includes(report.findings[0].what));

  await page.locator("#losses .chip").first().click();
  assert.equal(await text(page, kBlockHeading), `${firstSection.section} block ${hit.block}`);
  assert.match((await cells(page))[3], /lost/);
  assert.equal(await (await find(page, "lost")).count(), lost.length);
  await find(page, `${lost.at(-1).type}/${lost.at(-1).id} lost`);
  await press(page, "Enter");
  assert.equal(await shownHex(page), run(sample, "read", String(lost.at(-1).type), String(lost.at(-1).id)));
  await page.check();
});

test("there is a dark theme, as the system prefers and by the button", async () => {
  const colours = (page) => page.evaluate(() => getComputedStyle(document.body).backgroundColor);
  const page = await openMap(sample);
  const light = await colours(page);
  await page.emulateMedia({ colorScheme: "dark" });
  await page.getByRole("button", { name: "Dark theme", pressed: true }).click();
  assert.equal(await colours(page), light);
  await page.getByRole("button", { name: "Dark theme", pressed: false }).click();
  assert.notEqual(await colours(page), light);
  await page.check();
});

test("at every width, light and dark, nothing is cut, nothing scrolls sideways and all text can be read", async () => {
  for (const image of [sample, damaged()]) {
    const page = await openMap(image);
    for (const width of kWidths)
      for (const colorScheme of ["light", "dark"]) {
        const look = async (view) => assert.deepEqual(
          [await page.evaluate(cutElements), await page.evaluate(faintElements)], [[], []], `${view} ${width} ${colorScheme}`);
        await page.setViewportSize({ width, height: 800 });
        await page.emulateMedia({ colorScheme });
        await page.evaluate(() => { location.hash = ""; });
        await page.locator("#overview").waitFor();
        await look("overview");
        const stacked = await page.evaluate(() => document.getElementById("map-pane").offsetTop >
          document.getElementById("overview").offsetTop);
        assert.equal(stacked, width < 900);
        await page.evaluate((hash) => { location.hash = hash; }, `#${firstSection.section}/${hit.block}/3`);
        await page.locator("#block-view").waitFor();
        await page.evaluate(() => new Promise((drawn) => requestAnimationFrame(() => requestAnimationFrame(drawn))));
        await look("block");
        await find(page, `type ${items[0].type}`);
        await look("search");
        await press(page, "Escape");
      }
    await page.check();
  }
});

test("the picture is a grid of all blocks under its image's name, readable in light and dark", async () => {
  const image = damaged();
  const file = join(directory, "map.svg");
  run(image, "map", "--svg", file);
  const page = await openFile(file);
  assert.equal(await page.evaluate(() => document.documentElement.tagName), "svg");
  assert.match(await page.locator("title").first().textContent(), /<!--<script>&\.bin/);
  assert.equal(await page.locator("g.block").count(), allBlocks.length);
  const rows = await page.locator("g.block").evaluateAll((all) => new Set(all.map((one) => one.getBBox().y)).size);
  assert.ok(rows < allBlocks.length);
  assert.equal(await page.locator("g.block rect.lost").count(), 1);
  assert.equal(await page.locator("g.block .error").count() > 0, true);
  const outside = await page.locator("text").evaluateAll((all) => all.filter((one) => {
    const box = one.getBBox();
    return box.x < 0 || box.x + box.width > one.ownerSVGElement.viewBox.baseVal.width;
  }).map((one) => one.textContent));
  assert.deepEqual(outside, []);
  const paper = () => page.evaluate(() => getComputedStyle(document.querySelector(".paper")).fill);
  const light = await paper();
  await page.emulateMedia({ colorScheme: "dark" });
  assert.notEqual(await paper(), light);
  await page.check();
});
