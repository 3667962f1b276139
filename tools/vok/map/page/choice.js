// What is chosen. Every change of it goes through the functions here, which bring the panes up to date.

const chosen = { block: null, slot: null };

function chooseBlock(block) {
  chosen.block = block;
  chosen.slot = null;
  showChosenBlock();
  renderBlockHead(block);
  renderSlots();
  renderDetail();
  drawStrip();
}

function chooseSlot(slot) {
  chosen.slot = slot;
  showChosenSlot();
  renderDetail();
  drawStrip();
}

/// Chooses a slot wherever it lies, and shows it even if the lists were narrowed to others.
function goTo(slot) {
  if (chosenSection !== kAllSections && chosenSection !== slot.block.section.section) chooseSection(kAllSections);
  chosenState = kEveryState;
  chooseBlock(slot.block);
  chooseSlot(slot);
}
