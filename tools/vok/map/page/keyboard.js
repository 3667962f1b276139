// Keys. The arrows move in the list that has the focus, Enter goes one pane further in, Escape one back out.

const kPage = 15;

/// How far a key moves in a list, or nothing when it does not move there.
function stepOf(key, length) {
  return { ArrowUp: -1, ArrowDown: 1, PageUp: -kPage, PageDown: kPage, Home: -length, End: length }[key];
}

/// The same among tiles, which stand in rows.
function stepOfTiles(key, length) {
  const inRow = tilesInRow();
  const steps = { ArrowLeft: -1, ArrowRight: 1, ArrowUp: -inRow, ArrowDown: inRow };
  return steps[key] ?? stepOf(key, length);
}

function stepIn(list, current, step) {
  const from = list.indexOf(current);
  return list[Math.max(0, Math.min(list.length - 1, from + step))];
}

function onBlockKey(event) {
  const all = listedBlocks();
  const step = stepOfTiles(event.key, all.length);
  if (step !== undefined && all.length > 0) {
    chooseBlock(stepIn(all, chosen.block, step));
    remember(true);
  } else if (event.key === "Enter" && chosen.block) openSlots();
  else if (event.key === "Escape") goToOverview();
  else return;
  event.preventDefault();
}

/// The slots take the focus, with one of them chosen.
function openSlots() {
  if (!chosen.slot && listed.length > 0) chooseSlot(slotAt(chosen.block, listed[0]));
  slotTable.focus();
}

function onSlotKey(event) {
  const step = stepOf(event.key, listed.length);
  if (step !== undefined && listed.length > 0) {
    chooseSlot(slotAt(chosen.block, stepIn(listed, chosen.slot?.index, step)));
    remember(true);
  } else if (event.key === "Enter") hexView.focus();
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
slotTable.addEventListener("keydown", onSlotKey);
searchBox.addEventListener("keydown", onSearchKey);
hexView.addEventListener("keydown", (event) => { if (event.key === "Escape") slotTable.focus(); });
document.addEventListener("keydown", (event) => {
  if (event.key !== "/" || isTyping(event.target) || event.ctrlKey || event.metaKey || event.altKey) return;
  event.preventDefault();
  searchBox.focus();
  searchBox.select();
});
