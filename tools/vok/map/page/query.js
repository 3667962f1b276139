// What a person typed, understood: "1099" is a type or an ID, "1099 7" and "1099/7" a type and an ID, "type 5" and
// "id 0x20" say which; "deleted", "journal", "lost" narrow them. A number that lies in the image is an address too, pairs
// of hexadecimal digits are bytes, and what is none of these, or stands in quotes, is text.

const kLongEnoughForText = 2;

/// @return tests that a slot must pass; null for a query with a word that means nothing
function slotTests(text) {
  const tests = [];
  const plain = [];
  const words = text.toLowerCase().split(/[\s/,]+/).filter((word) => word !== "");
  for (let i = 0; i < words.length; ++i) {
    const next = numberIn(words[i + 1]);
    if ((words[i] === "type" || words[i] === "id") && next !== null) {
      const field = words[i++];
      tests.push((slot) => slot[field] === next);
    } else if (numberIn(words[i]) !== null) {
      plain.push(numberIn(words[i]));
    } else if (/^(journal|lost|valid|deleted|allocated|void)$/.test(words[i])) {
      tests.push(testOfState(words[i]));
    } else {
      return null;
    }
  }
  if (plain.length > 2) return null;
  if (plain.length === 1) tests.push((slot) => slot.type === plain[0] || slot.id === plain[0]);
  if (plain.length === 2) tests.push((slot) => slot.type === plain[0] && slot.id === plain[1]);
  return tests;
}

function testOfState(word) {
  if (word === "journal") return (slot) => slot.isJournal;
  if (word === "lost") return (slot) => slot.isLost;
  return (slot) => slot.state.toLowerCase() === word;
}

/// Decimal or with 0x in front; null for anything else.
function numberIn(word) {
  return word !== undefined && /^(0x[0-9a-f]+|\d+)$/i.test(word) ? Number(word) : null;
}

function addressIn(text) {
  const address = numberIn(text);
  return address !== null && blockHolding(address) ? address : null;
}

/// "de ad be ef", "deadbeef" and "hex de"; null for anything else.
function hexBytesIn(text) {
  const named = /^hex[:\s]\s*/i.test(text);
  const digits = text.replace(/^hex[:\s]\s*/i, "");
  const isPairs = /^([0-9a-f]{2}[\s,]+)+[0-9a-f]{2}$/i.test(digits);
  const isRun = /^[0-9a-f]+$/i.test(digits) && (named || digits.length >= 6);
  const all = digits.replace(/[\s,]/g, "");
  if (!(isPairs || isRun) || all.length % 2 !== 0) return null;
  return Uint8Array.from(all.match(/../g), (pair) => parseInt(pair, 16));
}

function textIn(text, isItem) {
  const quoted = /^"(.*?)"?$/.exec(text);
  if (quoted) return quoted[1] || null;
  return isItem || text.length < kLongEnoughForText || /^hex[:\s]/i.test(text) ? null : text;
}

/// A text as the bytes that it may be written with.
function patternsOf(text) {
  const units = Array.from({ length: text.length }, (_, i) => text.charCodeAt(i));
  const wide = (unit) => [unit >> 8, unit & 0xff];
  return [
    { how: "text", bytes: new TextEncoder().encode(text), ignoresCase: true },
    { how: "UTF-16, high byte first", bytes: Uint8Array.from(units.flatMap(wide)), ignoresCase: true },
    { how: "UTF-16, low byte first", bytes: Uint8Array.from(units.flatMap((unit) => wide(unit).reverse())), ignoresCase: true },
  ];
}

/// @return tests for slots or null, an address or null, and the byte patterns to look for
function parseQuery(typed) {
  const text = typed.trim();
  const isQuoted = text.startsWith('"');
  const tests = isQuoted || text === "" ? null : slotTests(text);
  const bytes = isQuoted ? null : hexBytesIn(text);
  const wanted = textIn(text, tests !== null);
  const patterns = bytes ? [{ how: "bytes", bytes, ignoresCase: false }] : [];
  if (wanted) patterns.push(...patternsOf(wanted));
  return { tests, address: isQuoted ? null : addressIn(text), patterns };
}
