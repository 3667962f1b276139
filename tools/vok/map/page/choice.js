// What is chosen: nothing, which shows the overview, a block, a slot in it, or bytes at an address. Every change goes
// through the functions here, which bring the panes and the address of the page up to date.

const chosen = { block: null, slot: null, mark: null };
const kIsStacked = window.matchMedia("(max-width: 899px)");

function pathOfChoice() {
  if (!chosen.block) return "#";
  const slot = chosen.slot ? `/${chosen.slot.number}` : "";
  return `#${encodeURIComponent(chosen.block.section.section)}/${chosen.block.block}${slot}`;
}

function remember(isStep) {
  if (pathOfChoice() === (location.hash || "#")) return;
  if (isStep) history.replaceState(null, "", pathOfChoice());
  else history.pushState(null, "", pathOfChoice());
}

function showPanes() {
  document.getElementById("overview").hidden = chosen.block !== null;
  document.getElementById("block-view").hidden = chosen.block === null;
  document.getElementById("to-overview").setAttribute("aria-current", String(chosen.block === null));
}

function chooseNothing() {
  Object.assign(chosen, { block: null, slot: null, mark: null });
  slotRows.show(0);
  showPanes();
  showChosenBlock();
}

function chooseBlock(block) {
  const isOther = chosen.block !== block;
  Object.assign(chosen, { block, slot: null, mark: null });
  showPanes();
  showChosenBlock();
  renderBlockHead(block);
  if (isOther) chosenFilter = kEverySlot;
  renderSlots();
  renderDetail();
  drawStrip();
}

/// @param mark  bytes to point out: start and length, as offsets in the block
function chooseSlot(slot, mark = null) {
  Object.assign(chosen, { slot, mark });
  showChosenSlot();
  renderDetail();
  drawStrip();
}

/// Below the width at which the panes stand side by side, what was chosen is brought into sight.
function bringIntoSight(id) {
  if (kIsStacked.matches) document.getElementById(id).scrollIntoView({ block: "start" });
}

function goToOverview() {
  chooseNothing();
  remember(false);
  bringIntoSight("overview");
}

function goToBlock(block) {
  chooseBlock(block);
  remember(false);
  bringIntoSight("block-view");
}

/// Chooses a slot wherever it lies, and shows it even if the list was narrowed to others.
function goToSlot(slot, mark = null) {
  chosenFilter = kEverySlot;
  chooseBlock(slot.block);
  chooseSlot(slot, mark);
  remember(false);
  bringIntoSight(mark ? "detail-pane" : "block-view");
}

/// Bytes of a block that may lie in no payload.
function goToBytes(block, mark) {
  const slot = slotHolding(block, mark.start);
  if (slot) return goToSlot(slot, mark);
  chooseBlock(block);
  chooseSlot(null, mark);
  remember(false);
  bringIntoSight("detail-pane");
}

/// Shows what the address of the page says.
function followPath() {
  const [name, block, slot] = location.hash.slice(1).split("/");
  const found = blocks.find((one) => one.section.section === decodeURIComponent(name) && String(one.block) === block);
  if (!found) return chooseNothing();
  chooseBlock(found);
  const wanted = slot === undefined ? undefined : slotNumbered(found, Number(slot));
  if (wanted) chooseSlot(wanted);
}

window.addEventListener("popstate", followPath);
document.getElementById("to-overview").addEventListener("click", goToOverview);
