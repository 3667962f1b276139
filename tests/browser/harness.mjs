// The tool, a browser, and pages that notice every complaint and every request.

import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { pathToFileURL } from "node:url";
import { chromium } from "playwright-core";

const kBrowserArguments = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
  "--disable-background-networking", "--disable-component-update", "--disable-sync"];
/// Far beyond any machine: waiting ends with a state, and this only with a browser that hangs.
const kForEver = 600_000;

export const [vok, samples] = process.argv.slice(2);
export const directory = mkdtempSync(join(tmpdir(), "vok-browser-"));

/// Runs the tool on an image, which may be damaged. @return its standard output
export function run(image, ...command) {
  const inputs = ["--psdt", image.psdt, "--codeplug", image.codeplug];
  try {
    return execFileSync(vok, [...inputs, ...command], { encoding: "utf8", maxBuffer: 1 << 28, stdio: "pipe" });
  } catch (failure) {
    if (failure.status === 1) return failure.stdout;
    throw failure;
  }
}

export function json(image, ...command) {
  return JSON.parse(run(image, ...command, "--json"));
}

export const sample = { psdt: join(samples, "psdt.bin"), codeplug: join(samples, "codeplug.bin") };

/// A copy of the sample's codeplug with other bytes at some offsets.
export function changedSample(name, changes) {
  const codeplug = readFileSync(sample.codeplug);
  for (const [offset, bytes] of changes) codeplug.set(bytes, offset);
  writeFileSync(join(directory, name), codeplug);
  return { psdt: sample.psdt, codeplug: join(directory, name) };
}

let browser;
export async function startBrowser() {
  browser = await chromium.launch(
    { executablePath: "/usr/bin/chromium", args: kBrowserArguments, headless: true, timeout: kForEver });
}

export async function stopBrowser() {
  await browser?.close();
  rmSync(directory, { recursive: true });
}

/// Opens a file. The page gets a check() for the end, which fails when anything was complained about or asked for
/// beyond the file itself.
export async function openFile(file, view = {}) {
  const url = pathToFileURL(file).href;
  const page = await browser.newPage({ viewport: { width: 1500, height: 900 }, colorScheme: "light", ...view });
  page.setDefaultTimeout(kForEver);
  const complaints = [];
  page.on("console", (message) => complaints.push(`console: ${message.text()}`));
  page.on("pageerror", (error) => complaints.push(`error: ${error}`));
  page.on("request", (request) => {
    if (request.url() !== url && !request.url().startsWith("data:")) complaints.push(`request: ${request.url()}`);
  });
  await page.goto(url);
  page.check = async () => {
    assert.deepEqual(complaints, []);
    await page.close();
  };
  return page;
}

/// Opens the map of an image.
export async function openMap(image, view = {}) {
  const file = join(directory, `${Math.random().toString(36).slice(2)}.html`);
  run(image, "map", "--html", file);
  return openFile(file, view);
}

export const text = (page, selector) => page.locator(selector).innerText();

/// The bytes that the page shows, in the form of "vok read".
export async function shownHex(page) {
  const shown = await page.locator("#hex").textContent();
  return shown === "" ? "" : `${shown}\n`;
}

export const focused = (page) => page.evaluate(() => document.activeElement.id);

export async function press(page, key, times = 1) {
  for (let i = 0; i < times; ++i) await page.keyboard.press(key);
}

/// Types into the search box and waits for the end of the search. @return the options found
export async function find(page, query) {
  await press(page, "/");
  await page.keyboard.type(query);
  await page.locator("#results[aria-busy=false]").waitFor();
  return page.locator("#results [role=option]");
}
