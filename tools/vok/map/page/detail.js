// The right pane: the chosen slot and the bytes of its item; without a slot the header of the block.

const hexView = document.getElementById("hex");

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
  const copies = copiesOf(slot);
  if (slot.isJournal || copies.length < 2) return null;
  return element("div", { class: "copies", role: "group", "aria-label": "Copies of this item" },
    element("span", { class: "soft" }, `${copies.length} copies in flash:`),
    ...copies.map((copy) => element("button",
      { type: "button", "aria-current": String(copy === slot), onclick: () => goTo(copy) },
      `${copy.block.block}/${copy.number} ${copy.state}`)));
}

/// Hands the payload to the browser as a file; nothing leaves the machine.
function savePayload(slot) {
  const link = element("a", { download: `${slot.type}-${slot.id}.bin` });
  link.href = URL.createObjectURL(new Blob([payloadOf(slot)]));
  link.click();
  URL.revokeObjectURL(link.href);
}

function renderSlotDetail(slot) {
  const findings = slot.block.findings.filter((finding) => finding.slot === slot.number);
  document.getElementById("detail").replaceChildren(
    element("div", { class: "head-line" },
      element("h2", {}, nameOf(slot)), element("span", { class: `state ${slot.state}` }, slot.state),
      slot.isCurrent && !slot.isJournal ? element("span", { class: "badge" }, "current copy") : null,
      element("span", { class: "soft" }, `${placeOf(slot.block)} slot ${slot.number}`),
      slot.isSound ? element("button", { type: "button", onclick: () => savePayload(slot) }, "Save bytes") : null),
    factList([
      ["slot at", hex(slot.address)], ["slot bytes", Array.from(slotBytesOf(slot), byteText).join(" ")],
      ["state bits", stateBits(slot)], ["location bits", locationText(slot)], ...recordFacts(slot)]),
    findingList(findings, (number) => goTo(slot.block.slots[number])) ?? "", copyButtons(slot) ?? "");
  hexView.textContent = hexDump(payloadOf(slot));
  hexView.scrollTop = 0;
}

function renderBlockDetail(block) {
  document.getElementById("detail").replaceChildren(
    element("div", { class: "head-line" }, element("h2", {}, "Block header"),
      element("span", { class: "soft" }, `${placeOf(block)}, first ${image.slots_offset} bytes`)),
    element("div", { class: "soft" }, "Pick a slot to see its item."));
  hexView.textContent = hexDump(bytesOf(block).subarray(0, image.slots_offset));
  hexView.scrollTop = 0;
}

function renderDetail() {
  if (chosen.slot) renderSlotDetail(chosen.slot);
  else renderBlockDetail(chosen.block);
}
