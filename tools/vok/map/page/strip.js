// The block as it lies in flash, drawn to scale: header and slots grow from the left, records from the right.

const strip = document.getElementById("strip");

function stateColour(slot, colours) {
  if (slot.state === "Valid") return colours("--live");
  return slot.state === "Deleted" ? colours("--dead") : colours("--unfinished");
}

function drawStrip() {
  const block = chosen.block;
  const ratio = window.devicePixelRatio || 1;
  strip.width = Math.round(strip.clientWidth * ratio);
  strip.height = Math.round(strip.clientHeight * ratio);
  const style = getComputedStyle(document.documentElement);
  const colours = (name) => style.getPropertyValue(name);
  const pen = strip.getContext("2d");
  const fill = (start, end, colour, inset = 0) => {
    const left = (start / block.size) * strip.width;
    pen.fillStyle = colour;
    pen.fillRect(left, inset, Math.max(1, ((end - start) / block.size) * strip.width), strip.height - 2 * inset);
  };
  fill(0, block.size, colours("--free"));
  fill(0, image.slots_offset + block.slots.length * image.slot_size, colours("--soft"));
  for (const slot of block.slots) {
    if (!slot.isSound) continue;
    fill(slot.offset, endOf(slot), stateColour(slot, colours));
    // A line between neighbours, where they are wide enough to be told apart.
    if (((endOf(slot) - slot.offset) / block.size) * strip.width > 4) fill(slot.offset, slot.offset, colours("--pane"));
  }
  if (!chosen.slot) return;
  const at = chosen.slot.address - block.address;
  fill(at, at + image.slot_size, colours("--ink"));
  if (chosen.slot.isSound) fill(chosen.slot.offset, endOf(chosen.slot), colours("--ink"), strip.height / 3);
}

/// Where a slot's record ends in its block.
function endOf(slot) {
  return slot.offset + slot.length + padOf(slot) + image.word_size;
}

strip.addEventListener("click", (event) => {
  const at = (event.offsetX / strip.clientWidth) * chosen.block.size;
  const inSlots = Math.floor((at - image.slots_offset) / image.slot_size);
  const slot = chosen.block.slots.find((one) => one.isSound && at >= one.offset && at < endOf(one)) ??
    chosen.block.slots[inSlots];
  if (slot) chooseSlot(slot);
});
window.addEventListener("resize", () => drawStrip());
