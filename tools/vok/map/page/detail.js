// The chosen slot and the bytes of its item, bytes at an address, or else the header of the block.

const kBytesAround = 256;

function locationText(slot) {
  const units = (slot.word & image.location_mask) >>> 0;
  return `${hex(units)} × 4`;
}

function stateBits(slot) {
  return `${hex((slot.word & image.state_mask) >>> 0, 2 * image.word_size)} ${slot.state}`;
}

function recordFacts(slot) {
  if (!slot.isSound) return [["record", "none that is sound"]];
  const start = slot.block.address + slot.offset;
  return [
    ["payload", hex(start)], ["length", plural(slot.length, "byte")],
    ["pad", plural(padOf(slot), "byte")], ["length word at", hex(start + slot.length + padOf(slot))],
    ["CRC-32", crc32(payloadOf(slot))]];
}

function copyButtons(slot) {
  if (slot.isJournal) return null;
  const copies = copiesOf(slot);
  if (copies.length < 2) return null;
  return element("div", { class: "copies", role: "group", "aria-label": "Copies of this item" },
    element("span", { class: "soft" }, `${copies.length} copies in flash, block/slot:`),
    ...copies.map((copy) => element("button",
      { type: "button", class: "chip", "aria-current": String(copy === slot), onclick: () => goToSlot(copy) },
      `${copy.block.block}/${copy.number} ${copy.state}`)));
}

function lossNote(loss) {
  return element("div", { class: "findings" }, element("div", { class: "finding error" },
    element("b", {}, `Not served: ${loss.why}`), element("div", {}, "remedy: ", element("code", {}, loss.remedy))));
}

/// Hands the payload to the browser as a file; nothing leaves the machine.
function savePayload(slot) {
  const link = element("a", { download: `${slot.type}-${slot.id}.bin` });
  link.href = URL.createObjectURL(new Blob([payloadOf(slot)]));
  link.click();
  URL.revokeObjectURL(link.href);
}

function renderSlotDetail(slot) {
  const findings = slot.block.findings.filter((finding) =>
    finding.slot <= slot.number && slot.number <= (finding.last_slot ?? finding.slot));
  document.getElementById("detail").replaceChildren(
    element("div", { class: "head-line" },
      element("h2", {}, nameOf(slot)), stateText(slot),
      slot.isLost ? badge("error", "not served") : null,
      slot.isCurrent && !slot.isJournal ? element("span", { class: "badge" }, "current copy") : null,
      element("span", { class: "soft" }, `${placeOf(slot.block)} slot ${slot.number}`),
      slot.isSound ? element("button", { type: "button", onclick: () => savePayload(slot) }, "Save bytes") : null),
    factList([
      ["slot at", hex(slot.address)], ["slot bytes", Array.from(slotBytesOf(slot), byteText).join(" ")],
      ["state bits", stateBits(slot)], ["location bits", locationText(slot)], ...recordFacts(slot)]),
    slot.loss ? lossNote(slot.loss) : "", findingList(findings) ?? "", copyButtons(slot) ?? "");
  const { mark } = chosen;
  showHex(payloadOf(slot), 0, mark && { start: mark.start - slot.offset, length: mark.length });
}

/// Bytes that lie in no payload, with those around them.
function renderBytes(block, mark) {
  const start = Math.max(0, (mark.start & ~15) - kBytesAround);
  const end = Math.min(block.size, mark.start + mark.length + kBytesAround);
  document.getElementById("detail").replaceChildren(
    element("div", { class: "head-line" }, element("h2", {}, `Address ${hex(block.address + mark.start)}`),
      element("span", { class: "soft" }, `${placeOf(block)}, in the payload of no item`)));
  showHex(bytesOf(block).subarray(start, end), block.address + start, { start: mark.start - start, length: mark.length });
}

function renderBlockDetail(block) {
  document.getElementById("detail").replaceChildren(
    element("div", { class: "head-line" }, element("h2", {}, "Block header"),
      element("span", { class: "soft" }, `${placeOf(block)}, first ${image.slots_offset} bytes`)),
    element("div", { class: "soft" }, "Pick a slot to see its item."));
  showHex(bytesOf(block).subarray(0, image.slots_offset));
}

function renderDetail() {
  if (chosen.slot) renderSlotDetail(chosen.slot);
  else if (chosen.mark) renderBytes(chosen.block, chosen.mark);
  else renderBlockDetail(chosen.block);
}
