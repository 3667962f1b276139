import assert from "node:assert/strict";
import { readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { directory, focused, json, openFile, openMap, press, run, sample, shownHex, startBrowser, stopBrowser, text }
  from "./harness.mjs";

const kHeading = "#detail h2";
const kChosenRow = '#slots tr[aria-selected="true"]';
const kBlocks = "#blocks [role=option]";
const kChosenBlock = '#blocks [aria-selected="true"]';

before(startBrowser);
after(stopBrowser);

const map = json(sample, "map");
const items = json(sample, "list").items;
const allBlocks = map.sections.flatMap((section) =>
  section.blocks.map((block) => ({ ...block, section: section.section })));
const place = (block) => `${block.section} block ${block.block}`;

test("the page begins at the block that the tool calls worst off", async () => {
  const mostDead = allBlocks.reduce((worst, block) => (block.dead > worst.dead ? block : worst));
  assert.equal(place(map.worst), place(mostDead));
  const page = await openMap(sample);
  assert.equal(await text(page, "#worst"), `Worst off: ${place(map.worst)}, ${map.worst.why}`);
  assert.equal(await text(page, "#block-head h2"), place(map.worst));
  assert.match(await text(page, kChosenBlock), /worst off/);
  assert.equal(await page.locator(".badge.worst").count(), 2);

  await page.getByRole("combobox", { name: "Order of the blocks" }).selectOption("worst first");
  const shown = await page.locator(kBlocks).evaluateAll((rows) => rows.map((row) => row.dataset.block));
  const ranked = [...allBlocks].sort((a, b) => a.rank - b.rank);
  assert.deepEqual(shown, ranked.map((block) => `${block.section}/${block.block}`));
  await page.check();
});

test("section, block and slot are picked with the mouse", async () => {
  const page = await openMap(sample);
  for (const section of map.sections) {
    await page.getByRole("tab", { name: section.section }).click();
    assert.equal(await page.locator(kBlocks).count(), section.block_count);
    const block = section.blocks.find((one) => one.slot_count > one.dead_slots);
    await page.getByRole("option", { name: `${section.section} block ${block.block},` }).click();
    assert.equal(await text(page, "#block-head h2"), `${section.section} block ${block.block}`);
    assert.equal(await page.locator("#slots tbody tr").count(), block.slot_count);

    await page.getByRole("button", { name: /^Valid/ }).click();
    await page.locator("#slots tbody tr").last().click();
    const [, type, id] = (await page.locator(kChosenRow).innerText()).split(/\s+/);
    assert.equal(await text(page, kHeading), `Type ${type} ID ${id}`);
    assert.equal(await shownHex(page), run(sample, "read", type, id));
  }
  await page.check();
});

test("everything is reached with the keyboard alone", async () => {
  const page = await openMap(sample);
  assert.equal(await focused(page), "blocks");
  await press(page, "ArrowRight");
  const first = map.sections[0];
  assert.equal(await page.getByRole("tab", { selected: true }).innerText(), first.section);
  await press(page, "End");
  assert.equal(await text(page, "#block-head h2"), `${first.section} block ${first.block_count - 1}`);
  const fullest = first.blocks.reduce((full, block) => (block.slot_count > full.slot_count ? block : full));
  await press(page, "Home");
  await press(page, "ArrowDown", fullest.block);
  assert.equal(await text(page, "#block-head h2"), `${first.section} block ${fullest.block}`);

  await press(page, "Enter");
  assert.equal(await focused(page), "slots");
  await press(page, "ArrowDown", 3);
  await press(page, "ArrowUp");
  assert.match(await page.locator(kChosenRow).innerText(), /^2\s/);
  const [, type, id] = (await page.locator(kChosenRow).innerText()).split(/\s+/);
  await press(page, "Enter");
  assert.equal(await focused(page), "hex");
  assert.equal(await shownHex(page), run(sample, "read", type, id));
  await press(page, "Escape");
  assert.equal(await focused(page), "slots");
  await press(page, "Escape");
  assert.equal(await focused(page), "blocks");
  await press(page, "ArrowLeft");
  assert.equal(await page.locator(kBlocks).count(), allBlocks.length);
  await page.check();
});

test("items are found by type and by ID, and their bytes are those that a read gives", async () => {
  const page = await openMap(sample);
  const longest = items.reduce((long, item) => (item.length > long.length ? item : long));
  const shortest = items.reduce((short, item) => (item.length < short.length ? item : short));
  for (const item of [longest, shortest, items[0], items.at(-1)]) {
    await press(page, "/");
    await page.keyboard.type(`${item.type}/0x${item.id.toString(16)}`);
    await press(page, "Enter");
    assert.equal(await text(page, kHeading), `Type ${item.type} ID ${item.id}`);
    assert.equal(await shownHex(page), run(sample, "read", String(item.type), String(item.id)));
    assert.ok((await text(page, "#detail")).includes(item.crc32));
    assert.equal(await focused(page), "slots");
  }
  for (const [query, wanted] of [[`type ${longest.type} valid`, (item) => item.type === longest.type],
    [`id ${longest.id} valid`, (item) => item.id === longest.id]]) {
    await press(page, "/");
    await page.keyboard.type(query);
    const found = await page.locator("#results [role=option]").count();
    assert.equal(found, items.filter(wanted).length, query);
    await press(page, "Escape");
    assert.ok(await page.locator("#results").isHidden());
    assert.equal(await page.locator("#search").inputValue(), "");
  }
  await page.check();
});

test("a dead copy shows the bytes that its history gives", async () => {
  const page = await openMap(sample);
  await page.getByRole("button", { name: /^Deleted/ }).click();
  await page.locator("#slots tbody tr").first().click();
  const [number, type, id, state] = (await page.locator(kChosenRow).innerText()).split(/\s+/);
  assert.equal(state, "Deleted");
  const copy = json(sample, "history", type, id).copies.find((one) =>
    one.section === map.worst.section && one.block === map.worst.block && one.slot === Number(number));
  assert.equal(await shownHex(page), run(sample, "history", type, id, "--copy", String(copy.copy)));
  await page.check();
});

test("there is a dark theme, as the system prefers and by the button", async () => {
  const colours = (page) => page.evaluate(() => {
    const style = getComputedStyle(document.getElementById("block-pane"));
    return [style.backgroundColor, getComputedStyle(document.body).color];
  });
  const page = await openMap(sample);
  const light = await colours(page);
  await page.emulateMedia({ colorScheme: "dark" });
  await page.getByRole("button", { name: "Dark theme", pressed: true }).waitFor();
  const dark = await colours(page);
  assert.notEqual(light[0], dark[0]);
  assert.notEqual(light[1], dark[1]);
  await page.getByRole("button", { name: "Dark theme", pressed: true }).click();
  assert.deepEqual(await colours(page), light);
  await page.getByRole("button", { name: "Dark theme", pressed: false }).click();
  assert.deepEqual(await colours(page), dark);
  await page.check();
});

test("the picture is well-formed, names the worst block and follows the colour scheme", async () => {
  const file = join(directory, "map.svg");
  run(sample, "map", "--svg", file);
  const page = await openFile(file);
  assert.equal(await page.evaluate(() => document.documentElement.tagName), "svg");
  assert.equal(await page.locator("desc").textContent(), `Worst off: ${place(map.worst)}, ${map.worst.why}`);
  assert.equal(await page.locator("g").count(), allBlocks.length);
  const drawn = (share) => allBlocks.filter((block) => block[share] > 0).length;
  for (const share of ["live", "dead", "free"])
    assert.equal(await page.locator(`g rect.${share}`).count(), drawn(share), share);
  const paper = () => page.evaluate(() => getComputedStyle(document.querySelector(".paper")).fill);
  const light = await paper();
  await page.emulateMedia({ colorScheme: "dark" });
  assert.notEqual(await paper(), light);
  await page.check();
});

test("whatever takes the focus has a name", async () => {
  const page = await openMap(sample);
  await press(page, "Enter");
  const nameless = await page.locator("button:visible, input, select, [tabindex='0'], [role=option]").evaluateAll(
    (all) => all.filter((one) => !(one.getAttribute("aria-label") || one.textContent.trim())).map((one) => one.outerHTML));
  assert.deepEqual(nameless, []);
  await page.check();
});

test("a damaged image, under a name that is markup, shows what is to be repaired", async () => {
  const image = { psdt: sample.psdt, codeplug: join(directory, "<!--<script>&.bin") };
  const codeplug = readFileSync(sample.codeplug);
  const [section] = map.sections;
  const lost = section.blocks.find((block) => block.state === "Free");
  codeplug.fill(0xff, lost.address - section.start, lost.address - section.start + 4);
  writeFileSync(image.codeplug, codeplug);

  const page = await openMap(image);
  const [report] = json(image, "map").sections;
  assert.equal(report.blocks[lost.block].findings.length, 1);
  assert.equal(await text(page, "#block-head h2"), `${section.section} block ${lost.block}`);
  const finding = await text(page, "#block-head .findings");
  assert.ok(finding.includes(report.blocks[lost.block].findings[0].what));
  assert.ok((await text(page, "#image-name")).startsWith("<!--<script>&.bin"));
  await page.check();
});
