// The image as the page holds it: the embedded data with every slot as an object. Bytes that lie in no run are erased.

const image = JSON.parse(document.getElementById("data").textContent);
const blocks = [];

function decodeBase64(text) {
  return Uint8Array.from(atob(text), (c) => c.charCodeAt(0));
}

function slotOf(block, fields, number) {
  const [type, id, word, state, offset, length] = fields;
  return {
    block, number, type, id, word, state, offset, length,
    address: block.address + image.slots_offset + number * image.slot_size,
    isSound: offset !== undefined,
    isJournal: type === image.journal_type,
    hasFinding: block.findings.some((finding) => finding.slot === number),
    isCurrent: state === "Valid" && block.current,
  };
}

for (const section of image.sections) {
  for (const block of section.blocks) {
    block.section = section;
    block.size = section.block_size;
    block.isWorst = image.worst !== null && image.worst.section === section.section && image.worst.block === block.block;
    block.slots = block.slots.map((fields, number) => slotOf(block, fields, number));
    blocks.push(block);
  }
}

/// The bytes of a block, made when they are first asked for.
function bytesOf(block) {
  if (!block.bytes) {
    block.bytes = new Uint8Array(block.size).fill(0xff);
    for (const [offset, text] of block.runs) block.bytes.set(decodeBase64(text), offset);
  }
  return block.bytes;
}

function payloadOf(slot) {
  return slot.isSound ? bytesOf(slot.block).subarray(slot.offset, slot.offset + slot.length) : new Uint8Array();
}

function slotBytesOf(slot) {
  const start = slot.address - slot.block.address;
  return bytesOf(slot.block).subarray(start, start + image.slot_size);
}

/// Bytes between a payload and its length word, which ends the record on a multiple of 4.
function padOf(slot) {
  return (4 - ((slot.length + image.word_size) % 4)) % 4;
}

/// Every copy of a slot's item in its section, in the order of the image.
function copiesOf(slot) {
  return slot.block.section.blocks.flatMap((block) =>
    block.slots.filter((other) => other.type === slot.type && other.id === slot.id));
}

function nameOf(slot) {
  return slot.isJournal ? `Journal record ${slot.id}` : `Type ${slot.type} ID ${slot.id}`;
}

function placeOf(block) {
  return `${block.section.section} block ${block.block}`;
}
