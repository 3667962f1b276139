// Bytes as lines of offset, hexadecimal and text, as many on a line as there is room for.

const hexView = document.getElementById("hex");
const kLineLengths = [16, 8, 4];
const kHexNone = { bytes: new Uint8Array(), base: 0, mark: null };
let shownBytes = kHexNone;
let lineLength = 16;

/// Characters of a line with so many bytes.
function lineWidth(length) {
  return 8 + 2 + 3 * length - 1 + (length > 8 ? 1 : 0) + 2 + length + 2;
}

function fittingLineLength() {
  const style = getComputedStyle(hexView);
  const pen = document.createElement("canvas").getContext("2d");
  pen.font = `${style.fontSize} ${style.fontFamily}`;
  const room = hexView.clientWidth - parseFloat(style.paddingLeft) - parseFloat(style.paddingRight);
  const characters = Math.floor(room / pen.measureText("0".repeat(100)).width * 100);
  return kLineLengths.find((length) => lineWidth(length) <= characters) ?? kLineLengths.at(-1);
}

/// The bytes of a line in one notation, those of the mark in an element of their own.
function marked(cells, from, to, separator) {
  const text = (start, end) => cells.slice(start, end).map((cell, i) => (start + i === 0 ? cell : separator(start + i) + cell)).join("");
  if (from >= to) return [text(0, cells.length)];
  return [text(0, from) + separator(from).repeat(from > 0 ? 1 : 0),
    element("mark", {}, text(from, to).slice(from > 0 ? separator(from).length : 0)), text(to, cells.length)];
}

function hexLine({ bytes, base, mark }, offset) {
  const line = bytes.subarray(offset, offset + lineLength);
  const cells = Array.from(line, byteText);
  const from = mark ? Math.max(mark.start - offset, 0) : 0;
  const to = mark ? Math.min(mark.start + mark.length - offset, line.length) : 0;
  const gap = (i) => (i === 8 ? "  " : " ");
  const missing = lineLength - line.length;
  const fill = " ".repeat(3 * missing + (lineLength > 8 && line.length <= 8 ? 1 : 0));
  return [`${(base + offset).toString(16).padStart(8, "0")}  `, ...marked(cells, from, to, gap), `${fill}  |`,
    ...marked(Array.from(line, characterOf), from, to, () => ""), "|"];
}

function renderHex() {
  const pieces = [];
  for (let offset = 0; offset < shownBytes.bytes.length; offset += lineLength) {
    if (offset > 0) pieces.push("\n");
    pieces.push(...hexLine(shownBytes, offset));
  }
  hexView.replaceChildren(...joinedTexts(pieces));
}

/// Neighbouring texts as one, so that a long item is one text node and not thousands.
function joinedTexts(pieces) {
  const joined = [];
  let run = [];
  for (const piece of pieces) {
    if (typeof piece === "string") run.push(piece);
    else joined.push(run.join(""), piece), (run = []);
  }
  return [...joined, run.join("")];
}

/// @param base  what the offset of the first line counts from
/// @param mark  start and length of bytes to point out, in these bytes
function showHex(bytes, base = 0, mark = null) {
  shownBytes = { bytes, base, mark };
  lineLength = fittingLineLength();
  renderHex();
  hexView.scrollTop = 0;
  const first = hexView.querySelector("mark");
  if (first) hexView.scrollTop = first.offsetTop - hexView.offsetTop - hexView.clientHeight / 3;
}

new ResizeObserver(() => {
  const length = fittingLineLength();
  if (length === lineLength) return;
  lineLength = length;
  renderHex();
}).observe(hexView);
