// The search box and what it finds.

const searchBox = document.getElementById("search");
const resultList = document.getElementById("results");
const foundList = document.getElementById("found");
const searchNote = document.getElementById("search-note");
const kMostResults = 100;
const kBytesShown = 12;
let results = [];
let chosenResult = -1;
let searchNumber = 0;  // a search ends when a later one has begun

/// Current copies first, then what a rebuild brings back; of them, those whose type and ID come first.
function findSlots(tests) {
  const found = blocks.flatMap((block) => slotsOf(block).filter((slot) => tests.every((test) => test(slot))));
  found.sort((a, b) => distanceOf({ slot: a }) - distanceOf({ slot: b }) || a.type - b.type || a.id - b.id);
  return found.map((slot) => ({ kind: "item", block: slot.block, slot, mark: null }));
}

function findAddress(address) {
  const block = blockHolding(address);
  const start = address - block.address;
  return { kind: "address", block, slot: slotHolding(block, start), mark: { start, length: 1 } };
}

function nameOfResult({ kind, block, slot, mark }) {
  if (kind === "item") return nameOf(slot);
  const at = hex(block.address + mark.start);
  return slot ? `${at}, byte ${count(mark.start - slot.offset)} of ${nameOf(slot)}` : at;
}

function placeOfResult({ kind, block, slot, mark }) {
  const place = slot ? `${placeOf(block)} slot ${slot.number}` : `${placeOf(block)}, in no payload`;
  if (kind === "item") return place;
  const bytes = bytesOf(block).subarray(mark.start, mark.start + kBytesShown);
  return `${place}  |${Array.from(bytes, characterOf).join("")}|`;
}

function endOfResult({ kind, slot, times = 1 }) {
  if (kind !== "item") return times > 1 ? `${kind}, ${count(times)} times` : kind;
  return slot.isSound ? plural(slot.length, "byte") : "no record";
}

function resultOption(result, number) {
  return element("div",
    { role: "option", id: `result-${number}`, "aria-selected": String(number === chosenResult),
      onclick: () => openResult(number) },
    element("span", {}, nameOfResult(result)), result.slot ? stateText(result.slot) : element("span"),
    element("span", { class: "soft" }, placeOfResult(result)), element("span", { class: "soft" }, endOfResult(result)));
}

function noteOnResults(isBusy) {
  if (isBusy) return "Searching the bytes …";
  if (results.length === 0) return 'Nothing found. Try a type and ID (5 12), an address (0x20000), hex (de ad) or "text".';
  if (results.length > kMostResults) return `and ${count(results.length - kMostResults)} more`;
  return plural(results.length, "result");
}

function renderResults(isBusy) {
  foundList.replaceChildren(...results.slice(0, kMostResults).map(resultOption));
  searchNote.textContent = noteOnResults(isBusy);
  resultList.setAttribute("aria-busy", String(isBusy));
  resultList.hidden = false;
  searchBox.setAttribute("aria-expanded", "true");
  showChosenResult();
}

function showChosenResult() {
  foundList.querySelector('[aria-selected="true"]')?.setAttribute("aria-selected", "false");
  searchBox.removeAttribute("aria-activedescendant");
  const option = document.getElementById(`result-${chosenResult}`);
  if (!option) return;
  option.setAttribute("aria-selected", "true");
  searchBox.setAttribute("aria-activedescendant", option.id);
  option.scrollIntoView({ block: "nearest" });
}

function closeResults() {
  ++searchNumber;
  resultList.hidden = true;
  searchBox.setAttribute("aria-expanded", "false");
  searchBox.removeAttribute("aria-activedescendant");
}

async function search() {
  const number = ++searchNumber;
  const { tests, address, patterns } = parseQuery(searchBox.value);
  if (tests === null && address === null && patterns.length === 0) return closeResults();
  results = [...(address !== null ? [findAddress(address)] : []), ...(tests ? findSlots(tests) : [])];
  chosenResult = results.length > 0 ? 0 : -1;
  renderResults(patterns.length > 0);
  if (patterns.length === 0) return;
  const matches = await findBytes(patterns, () => number === searchNumber);
  if (matches === null) return;
  results.push(...matches);
  if (chosenResult < 0 && results.length > 0) chosenResult = 0;
  renderResults(false);
}

function stepResult(step) {
  const last = Math.min(results.length, kMostResults) - 1;
  chosenResult = Math.max(Math.min(chosenResult + step, last), Math.min(0, last));
  showChosenResult();
}

function openResult(number) {
  const result = results[number];
  if (!result) return;
  closeResults();
  if (result.kind === "item") goToSlot(result.slot);
  else goToBytes(result.block, result.mark);
  slotTable.focus({ preventScroll: true });
}

searchBox.addEventListener("input", search);
searchBox.addEventListener("focus", search);
// A press in the list takes no focus from the box, so that leaving the box is leaving the search.
resultList.addEventListener("mousedown", (event) => event.preventDefault());
searchBox.addEventListener("blur", closeResults);
