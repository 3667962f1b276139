// The image as the page holds it. Figures and findings are there from the start; the bytes and slots of a block lie in an
// element of its own and are unfolded when they are first asked for.

const image = JSON.parse(document.getElementById("data").textContent);
const blocks = [];
const kSlotStates = { V: "Valid", D: "Deleted", A: "Allocated", O: "Void" };
const kNoRecord = 0xffffffff;

function decodeBase64(text) {
  if (Uint8Array.fromBase64) return Uint8Array.fromBase64(text);
  const raw = atob(text);
  const bytes = new Uint8Array(raw.length);
  for (let i = 0; i < raw.length; ++i) bytes[i] = raw.charCodeAt(i);
  return bytes;
}

/// The element holds the states of the slots, their records, and the runs of bytes that are not erased.
function unfold(block) {
  const [states, records, ...runs] = block.holder.textContent.split(" ");
  block.bytes = new Uint8Array(block.size).fill(0xff);
  for (const run of runs) {
    const colon = run.indexOf(":");
    block.bytes.set(decodeBase64(run.slice(colon + 1)), Number(run.slice(0, colon)));
  }
  block.states = states;
  block.records = new DataView(decodeBase64(records).buffer);
  block.slotsMade = new Map();
}

/// The bytes of a block.
function bytesOf(block) {
  if (!block.bytes) unfold(block);
  return block.bytes;
}

function makeSlot(block, index) {
  const [number, offset, length] = [0, 4, 8].map((at) => block.records.getUint32(12 * index + at, true));
  const start = image.slots_offset + number * image.slot_size;
  const bytes = bytesOf(block);
  const field = (at, width) => {
    let value = 0;
    for (let i = 0; i < width; ++i) value = value * 256 + bytes[start + at + i];
    return value;
  };
  const type = field(image.slot_fields.type, 2);
  const state = kSlotStates[block.states[index]];
  const isSound = offset !== kNoRecord;
  return {
    block, index, number, type, state, isSound,
    id: field(image.slot_fields.id, 2),
    word: field(image.slot_fields.location_word, image.word_size),
    address: block.address + start,
    offset: isSound ? offset : undefined,
    length: isSound ? length : undefined,
    isJournal: type === image.journal_type,
    loss: block.lostSlots.get(number) ?? null,
    isLost: block.lostSlots.has(number),
    isCurrent: state === "Valid" && block.current && !block.lostSlots.has(number),
  };
}

/// A slot of a block; the same object each time.
function slotAt(block, index) {
  if (!block.bytes) unfold(block);
  let slot = block.slotsMade.get(index);
  if (!slot) block.slotsMade.set(index, (slot = makeSlot(block, index)));
  return slot;
}

function slotsOf(block) {
  return Array.from({ length: block.slot_count }, (_, index) => slotAt(block, index));
}

/// The slot of a number, which is its index but for slots behind a gap in the list; undefined when there is none.
function slotNumbered(block, number) {
  if (number < block.slot_count && slotAt(block, number).number === number) return slotAt(block, number);
  return slotsOf(block).find((slot) => slot.number === number);
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

/// Where a slot's record ends in its block.
function endOf(slot) {
  return slot.offset + slot.length + padOf(slot) + image.word_size;
}

/// The slot whose payload holds an offset of the block.
function slotHolding(block, offset) {
  block.byOffset ??= slotsOf(block).filter((slot) => slot.isSound).sort((a, b) => a.offset - b.offset);
  let low = 0;
  let high = block.byOffset.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (block.byOffset[middle].offset <= offset) low = middle + 1;
    else high = middle;
  }
  const slot = block.byOffset[low - 1];
  return slot && offset < slot.offset + slot.length ? slot : null;
}

/// Every copy of a slot's item in its section, in the order of the image.
function copiesOf(slot) {
  return slot.block.section.blocks.flatMap((block) =>
    slotsOf(block).filter((other) => other.type === slot.type && other.id === slot.id));
}

function blockHolding(address) {
  return blocks.find((block) => address >= block.address && address < block.address + block.size);
}

function nameOf(slot) {
  return slot.isJournal ? `Journal record ${slot.id}` : `Type ${slot.type} ID ${slot.id}`;
}

function placeOf(block) {
  return `${block.section.section} block ${block.block}`;
}

const holders = document.querySelectorAll("script.block");
for (const section of image.sections) {
  for (const block of section.blocks) {
    block.section = section;
    block.size = section.block_size;
    block.holder = holders[blocks.length];
    block.lostSlots = new Map(block.lost_slots.map(([slot, loss]) => [slot, image.losses[loss]]));
    for (const finding of block.findings) finding.home = block;
    blocks.push(block);
  }
}
