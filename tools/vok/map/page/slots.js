// The middle pane: the chosen block, and a slot in it to pick.

const slotTable = document.getElementById("slots");
const kEveryState = "All";
let chosenState = kEveryState;

function renderBlockHead(block) {
  const known = (value) => (value === null ? "unknown" : count(value));
  document.getElementById("block-head").replaceChildren(
    element("div", { class: "head-line" },
      element("h2", {}, placeOf(block)), element("span", { class: "badge" }, block.state),
      block.isWorst ? element("span", { class: "badge worst" }, "worst off") : null,
      block.isWorst ? element("span", { class: "soft" }, image.worst.why) : null),
    factList([
      ["address", hex(block.address)], ["state word", hex(block.state_word, 4)],
      ["formatted", block.erase_count === null ? "unknown" : `${count(block.erase_count)}×`],
      ["store version", known(block.format_version)],
      ["live bytes", count(block.live)], ["dead bytes", count(block.dead)],
      ["unfinished bytes", count(block.unfinished)], ["free bytes", count(block.free)],
      ["largest item now", count(block.largest_item_now)],
      ["next slot", block.next_slot === 0 ? "none: full" : hex(block.next_slot)]]),
    findingList(block.findings, (number) => goTo(block.slots[number])) ?? "");
}

function listedSlots() {
  return chosen.block.slots.filter((slot) => chosenState === kEveryState || slot.state === chosenState);
}

function renderFilters(block) {
  const states = [kEveryState, ...new Set(block.slots.map((slot) => slot.state))];
  if (!states.includes(chosenState)) chosenState = kEveryState;
  const number = (state) => block.slots.filter((slot) => state === kEveryState || slot.state === state).length;
  document.getElementById("filters").replaceChildren(...states.map((state) => element("button",
    { type: "button", "aria-pressed": String(state === chosenState), onclick: () => filterSlots(state) },
    `${state} ${count(number(state))}`)));
}

function filterSlots(state) {
  chosenState = state;
  renderSlots();
}

function slotRow(slot) {
  const cell = (text) => element("td", {}, text);
  return element("tr",
    { role: "row", id: `slot-${slot.number}`, class: slot.hasFinding && "has-finding", "aria-selected": "false",
      "data-slot": slot.number },
    cell(String(slot.number)), cell(slot.isJournal ? "journal" : String(slot.type)), cell(String(slot.id)),
    element("td", {}, element("span", { class: `state ${slot.state}` }, slot.state)),
    cell(slot.isSound ? count(slot.length) : "–"),
    cell(slot.isSound ? hex(slot.block.address + slot.offset) : "no record"));
}

function renderSlots() {
  renderFilters(chosen.block);
  slotTable.tBodies[0].replaceChildren(...listedSlots().map(slotRow));
  showChosenSlot();
}

function showChosenSlot() {
  for (const row of slotTable.querySelectorAll('tr[aria-selected="true"]')) row.setAttribute("aria-selected", "false");
  slotTable.removeAttribute("aria-activedescendant");
  const row = chosen.slot ? document.getElementById(`slot-${chosen.slot.number}`) : null;
  if (!row) return;
  row.setAttribute("aria-selected", "true");
  row.scrollIntoView({ block: "nearest" });
  slotTable.setAttribute("aria-activedescendant", row.id);
}

slotTable.tBodies[0].addEventListener("click", (event) => {
  const row = event.target.closest("tr");
  if (row) chooseSlot(chosen.block.slots[Number(row.dataset.slot)]);
});
