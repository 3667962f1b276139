// Looking for bytes in all blocks, a few blocks at a time so that the page stays awake.

const kMostMatches = 500;
const kBlocksAtOnce = 8;

function lowerCase(byte) {
  return byte >= 0x41 && byte <= 0x5a ? byte + 0x20 : byte;
}

/// Offsets at which a pattern lies in the bytes.
function offsetsOf(bytes, { bytes: pattern, ignoresCase }) {
  const same = ignoresCase ? (a, b) => lowerCase(a) === b : (a, b) => a === b;
  const wanted = ignoresCase ? pattern.map(lowerCase) : pattern;
  const first = wanted[0];
  const other = ignoresCase && first >= 0x61 && first <= 0x7a ? first - 0x20 : first;
  const offsets = [];
  for (let at = 0; at + wanted.length <= bytes.length; ++at) {
    if (bytes[at] !== first && bytes[at] !== other) continue;
    let i = 1;
    while (i < wanted.length && same(bytes[at + i], wanted[i])) ++i;
    if (i === wanted.length) offsets.push(at);
  }
  return offsets;
}

/// The first match in each payload, which counts the others, and each of those in none.
function matchesIn(block, pattern) {
  const bySlot = new Map();
  const found = [];
  for (const start of offsetsOf(bytesOf(block), pattern)) {
    const slot = slotHolding(block, start);
    if (slot && bySlot.has(slot)) {
      ++bySlot.get(slot).times;
      continue;
    }
    const match = { kind: pattern.how, block, slot, mark: { start, length: pattern.bytes.length }, times: 1 };
    if (slot) bySlot.set(slot, match);
    found.push(match);
  }
  return found;
}

/// How near a match is to what a person looks for: in an item that is read, that a rebuild brings back, in any, in none.
function distanceOf({ slot }) {
  if (!slot) return 3;
  return slot.isCurrent ? 0 : slot.isLost ? 1 : 2;
}

/// @param isWanted  asked again and again; the search ends when it says no
/// @return the matches, the nearest first, up to a limit; null when it was not wanted any more
async function findBytes(patterns, isWanted) {
  const found = [];
  for (let i = 0; i < blocks.length && found.length < kMostMatches; ++i) {
    if (i % kBlocksAtOnce === 0) await new Promise((resolve) => setTimeout(resolve));
    if (!isWanted()) return null;
    for (const pattern of patterns) found.push(...matchesIn(blocks[i], pattern));
  }
  return found.slice(0, kMostMatches).sort((a, b) => distanceOf(a) - distanceOf(b));
}
