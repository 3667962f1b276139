// The block as it lies in flash, drawn to scale: header and slots grow from the left, records from the right.

const strip = document.getElementById("strip");

/// A share as it looks in the bars: the colour, and stripes that tell it apart without the colour.
function shareOf(slot) {
  if (slot.isLost) return "lost";
  if (slot.state === "Valid") return "live";
  return slot.state === "Deleted" ? "dead" : "unfinished";
}

/// Slanted stripes as wide as those of the bars.
function striped(pen, colour, light, ratio) {
  const size = 6 * ratio;
  const cell = Object.assign(document.createElement("canvas"), { width: size, height: size });
  const cellPen = cell.getContext("2d");
  cellPen.fillStyle = colour;
  cellPen.fillRect(0, 0, size, size);
  cellPen.strokeStyle = light;
  cellPen.lineWidth = 1.5 * ratio;
  for (const shift of [-size, 0, size]) {
    cellPen.beginPath();
    cellPen.moveTo(shift, size);
    cellPen.lineTo(shift + size, 0);
    cellPen.stroke();
  }
  return pen.createPattern(cell, "repeat");
}

function fillsFor(pen, ratio) {
  const style = getComputedStyle(document.documentElement);
  const colour = (name) => style.getPropertyValue(name);
  return {
    live: colour("--live"), free: colour("--free"), ink: colour("--ink"), pane: colour("--pane"),
    soft: colour("--soft"), dead: striped(pen, colour("--dead"), colour("--dead-light"), ratio),
    unfinished: striped(pen, colour("--unfinished"), colour("--unfinished-light"), ratio),
    lost: striped(pen, colour("--lost"), colour("--lost-light"), ratio),
  };
}

function drawStrip() {
  const { block } = chosen;
  if (!block || strip.clientWidth === 0) return;
  const ratio = window.devicePixelRatio || 1;
  strip.width = Math.round(strip.clientWidth * ratio);
  strip.height = Math.round(strip.clientHeight * ratio);
  const pen = strip.getContext("2d");
  const fills = fillsFor(pen, ratio);
  const across = (bytes) => (bytes / block.size) * strip.width;
  const fill = (start, end, style, inset = 0) => {
    pen.fillStyle = style;
    pen.fillRect(across(start), inset, Math.max(1, across(end - start)), strip.height - 2 * inset);
  };
  fill(0, block.size, fills.free);
  fill(0, image.slots_offset + block.slot_count * image.slot_size, fills.soft);
  for (const slot of slotsOf(block)) {
    if (!slot.isSound) continue;
    fill(slot.offset, endOf(slot), fills[shareOf(slot)]);
    // A line between neighbours, where they are wide enough to be told apart.
    if (across(endOf(slot) - slot.offset) > 4) fill(slot.offset, slot.offset, fills.pane);
  }
  drawChosen(fill, fills.ink);
}

function drawChosen(fill, ink) {
  const { block, slot, mark } = chosen;
  if (mark) fill(mark.start, mark.start + mark.length, ink);
  if (!slot) return;
  const at = slot.address - block.address;
  fill(at, at + image.slot_size, ink);
  if (slot.isSound) fill(slot.offset, endOf(slot), ink, strip.height / 3);
}

strip.addEventListener("click", (event) => {
  const at = Math.floor((event.offsetX / strip.clientWidth) * chosen.block.size);
  const inSlots = Math.floor((at - image.slots_offset) / image.slot_size);
  const slot = inSlots >= 0 && inSlots < chosen.block.slot_count
    ? slotAt(chosen.block, inSlots)
    : slotsOf(chosen.block).find((one) => one.isSound && at >= one.offset && at < endOf(one));
  if (slot) chooseSlot(slot);
});
new ResizeObserver(() => drawStrip()).observe(strip);
