// Finding items: "1099" is a type or an ID, "1099 7" and "1099/7" a type and an ID, "type 5", "id 0x20" say which, and
// a state ("deleted", "journal") narrows the rest.

const searchBox = document.getElementById("search");
const resultList = document.getElementById("results");
const kMostResults = 100;
let results = [];
let chosenResult = -1;

/// @return tests that a slot must pass; null for a query with a word that means nothing
function parseQuery(text) {
  const tests = [];
  const plain = [];
  const words = text.toLowerCase().match(/0x[0-9a-f]+|\d+|[a-z]+/g) ?? [];
  for (let i = 0; i < words.length; ++i) {
    const next = Number(words[i + 1]);
    const isField = words[i] === "type" || words[i] === "id";
    if (isField && !Number.isNaN(next)) {
      const field = words[i++];
      tests.push((slot) => slot[field] === next);
    } else if (!Number.isNaN(Number(words[i]))) {
      plain.push(Number(words[i]));
    } else if (/^(journal|valid|deleted|allocated|void)$/.test(words[i])) {
      const state = words[i];
      tests.push((slot) => (state === "journal" ? slot.isJournal : slot.state.toLowerCase() === state));
    } else {
      return null;
    }
  }
  if (plain.length === 1) tests.push((slot) => slot.type === plain[0] || slot.id === plain[0]);
  if (plain.length > 1) tests.push((slot) => slot.type === plain[0] && slot.id === plain[1]);
  return tests;
}

/// Current copies first; of them, those whose type and ID come first.
function findSlots(tests) {
  const found = blocks.flatMap((block) => block.slots.filter((slot) => tests.every((test) => test(slot))));
  return found.sort((a, b) => b.isCurrent - a.isCurrent || a.type - b.type || a.id - b.id);
}

function resultOption(slot, number) {
  return element("div",
    { role: "option", id: `result-${number}`, "aria-selected": String(number === chosenResult),
      onclick: () => openResult(number) },
    element("span", {}, nameOf(slot), element("span", { class: "soft" }, `  ${placeOf(slot.block)} slot ${slot.number}`)),
    element("span", { class: `state ${slot.state}` }, slot.state),
    element("span", { class: "soft" }, slot.isSound ? plural(slot.length, "byte") : "no record"));
}

function renderResults() {
  const shown = results.slice(0, kMostResults).map(resultOption);
  const more = results.length - shown.length;
  const note = results.length === 0 ? "Nothing found. Try a type, or a type and an ID: 5 12"
    : more > 0 ? `and ${plural(more, "more item")}` : null;
  if (note) shown.push(element("div", { class: "note" }, note));
  resultList.replaceChildren(...shown);
  resultList.hidden = false;
  searchBox.setAttribute("aria-expanded", "true");
  if (chosenResult >= 0) searchBox.setAttribute("aria-activedescendant", `result-${chosenResult}`);
  else searchBox.removeAttribute("aria-activedescendant");
  document.getElementById(`result-${chosenResult}`)?.scrollIntoView({ block: "nearest" });
}

function closeResults() {
  resultList.hidden = true;
  searchBox.setAttribute("aria-expanded", "false");
  searchBox.removeAttribute("aria-activedescendant");
}

function search() {
  const tests = parseQuery(searchBox.value);
  if (tests !== null && tests.length === 0) return closeResults();
  results = tests === null ? [] : findSlots(tests);
  chosenResult = results.length > 0 ? 0 : -1;
  renderResults();
}

function stepResult(step) {
  const last = Math.min(results.length, kMostResults) - 1;
  chosenResult = Math.max(Math.min(chosenResult + step, last), Math.min(0, last));
  renderResults();
}

function openResult(number) {
  if (!results[number]) return;
  closeResults();
  goTo(results[number]);
  slotTable.focus();
}

searchBox.addEventListener("input", search);
searchBox.addEventListener("focus", search);
searchBox.addEventListener("blur", () => setTimeout(closeResults, 150));
