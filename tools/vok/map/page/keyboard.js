// Keys. The arrows move in the list that has the focus, Enter goes one pane to the right, Escape one to the left.

const kPage = 15;

/// How far a key moves in a list, or nothing when it does not move there.
function stepOf(key, length) {
  return { ArrowUp: -1, ArrowDown: 1, PageUp: -kPage, PageDown: kPage, Home: -length, End: length }[key];
}

function stepIn(list, current, step) {
  const from = list.indexOf(current);
  return list[Math.max(0, Math.min(list.length - 1, from < 0 ? 0 : from + step))];
}

function onBlockKey(event) {
  const listed = listedBlocks();
  const step = stepOf(event.key, listed.length);
  if (step !== undefined && listed.length > 0) chooseBlock(stepIn(listed, chosen.block, step));
  else if (event.key === "Enter") openSlots();
  else if (event.key === "ArrowLeft" || event.key === "ArrowRight") stepSection(event.key === "ArrowLeft" ? -1 : 1);
  else return;
  event.preventDefault();
}

function onSectionKey(event) {
  if (event.key !== "ArrowLeft" && event.key !== "ArrowRight") return;
  stepSection(event.key === "ArrowLeft" ? -1 : 1);
  sectionTabs.querySelector('[aria-selected="true"]').focus();
  event.preventDefault();
}

/// The slots take the focus, with one of them chosen.
function openSlots() {
  const listed = listedSlots();
  if (!chosen.slot && listed.length > 0) chooseSlot(listed[0]);
  slotTable.focus();
}

function onSlotKey(event) {
  const listed = listedSlots();
  const step = stepOf(event.key, listed.length);
  if (step !== undefined && listed.length > 0) chooseSlot(stepIn(listed, chosen.slot, step));
  else if (event.key === "Enter") hexView.focus();
  else if (event.key === "Escape") blockList.focus();
  else return;
  event.preventDefault();
}

function onSearchKey(event) {
  if (event.key === "ArrowDown" || event.key === "ArrowUp") stepResult(event.key === "ArrowDown" ? 1 : -1);
  else if (event.key === "Enter") openResult(chosenResult);
  else if (event.key === "Escape") leaveSearch();
  else return;
  event.preventDefault();
}

function leaveSearch() {
  searchBox.value = "";
  closeResults();
  (chosen.slot ? slotTable : blockList).focus();
}

function isTyping(target) {
  return target instanceof HTMLInputElement || target instanceof HTMLSelectElement;
}

blockList.addEventListener("keydown", onBlockKey);
sectionTabs.addEventListener("keydown", onSectionKey);
slotTable.addEventListener("keydown", onSlotKey);
searchBox.addEventListener("keydown", onSearchKey);
hexView.addEventListener("keydown", (event) => { if (event.key === "Escape") slotTable.focus(); });
document.addEventListener("keydown", (event) => {
  if (event.key !== "/" || isTyping(event.target) || event.ctrlKey || event.metaKey || event.altKey) return;
  event.preventDefault();
  searchBox.focus();
  searchBox.select();
});
