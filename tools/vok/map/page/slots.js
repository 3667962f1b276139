// The chosen block, and a slot in it to pick.

const slotTable = document.getElementById("slots");
const kEverySlot = "All";
const kLost = "Lost";
let chosenFilter = kEverySlot;
let listed = [];  // indices of the slots that the filter lets through

function step(name, open) {
  return element("button", { type: "button", class: "link", onclick: open }, name);
}

function renderBlockHead(block) {
  const known = (value) => (value === null ? "unknown" : count(value));
  const facts = [
    ["address", hex(block.address)], ["state word", hex(block.state_word, 4)],
    ["formatted", block.erase_count === null ? "unknown" : `${count(block.erase_count)}×`],
    ["store version", known(block.format_version)], ["live bytes", count(block.live)],
    ["dead bytes", count(block.dead)], ["waiting for a repair", count(block.unfinished)],
    ["only by a rebuild", count(block.lost)], ["free bytes", count(block.free)],
    ["largest item now", count(block.largest_item_now)],
    ["next slot", block.next_slot === 0 ? "none: full" : hex(block.next_slot)]];
  document.getElementById("block-facts").replaceChildren(
    element("nav", { class: "crumbs", "aria-label": "Where you are" }, step("Overview", goToOverview), " › "),
    element("div", { class: "head-line" },
      element("h2", {}, placeOf(block)), badge(block.condition, kConditions[block.condition]),
      element("span", { class: "badge" }, block.state)),
    shareBar(block, block.size), factList(facts), findingList(block.findings, block.findings_left_out) ?? "");
}

function passesFilter(slot) {
  return chosenFilter === kEverySlot || (chosenFilter === kLost ? slot.isLost : slot.state === chosenFilter);
}

function renderFilters(block) {
  const numbers = new Map([[kEverySlot, block.slot_count]]);
  for (const letter of block.states) {
    const state = kSlotStates[letter];
    numbers.set(state, (numbers.get(state) ?? 0) + 1);
  }
  if (block.lostSlots.size > 0) numbers.set(kLost, block.lostSlots.size);
  document.getElementById("filters").replaceChildren(...[...numbers].map(([name, number]) => element("button",
    { type: "button", class: "chip", "aria-pressed": String(name === chosenFilter), onclick: () => filterSlots(name) },
    `${name} ${count(number)}`)));
}

function filterSlots(name) {
  chosenFilter = name;
  renderSlots();
}

/// The state of a slot in words, with the sign of what it means.
function stateText(slot) {
  if (slot.isLost) return element("span", { class: "state lost" }, `${slot.state}, lost`);
  return element("span", { class: `state ${slot.state}` }, slot.state);
}

function slotRow(index) {
  const slot = slotAt(chosen.block, listed[index]);
  const cell = (text) => element("span", { role: "gridcell" }, text);
  return element("div",
    { class: slot.isLost ? "slot lost-slot" : "slot", role: "row", id: `slot-${slot.number}`,
      "aria-rowindex": index + 2, "aria-selected": String(slot === chosen.slot), "data-slot": slot.index },
    cell(String(slot.number)), cell(slot.isJournal ? "journal" : String(slot.type)), cell(String(slot.id)),
    cell(stateText(slot)), cell(slot.isSound ? count(slot.length) : "–"),
    cell(slot.isSound ? hex(slot.block.address + slot.offset) : "no record"));
}

const slotRows = virtualRows(slotTable, document.getElementById("slot-rows"), slotRow);

function renderSlots() {
  if (!chosen.block.bytes) unfold(chosen.block);
  listed = [...Array(chosen.block.slot_count).keys()].filter((index) =>
    chosenFilter === kEverySlot || passesFilter(slotAt(chosen.block, index)));
  renderFilters(chosen.block);
  slotTable.setAttribute("aria-rowcount", listed.length + 1);
  slotTable.classList.toggle("is-empty", listed.length === 0);
  slotTable.scrollTop = 0;
  slotRows.show(listed.length);
  showChosenSlot();
}

function showChosenSlot() {
  slotTable.removeAttribute("aria-activedescendant");
  const index = chosen.slot ? listed.indexOf(chosen.slot.index) : -1;
  if (index < 0) return slotRows.show(listed.length);
  slotRows.reveal(index);
  slotTable.setAttribute("aria-activedescendant", `slot-${chosen.slot.number}`);
}

slotTable.addEventListener("click", (event) => {
  const row = event.target.closest("[data-slot]");
  if (!row) return;
  chooseSlot(slotAt(chosen.block, Number(row.dataset.slot)));
  remember(true);
  bringIntoSight("detail-pane");
});
