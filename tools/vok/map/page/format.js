// Numbers and bytes as text, and elements from them.

function count(number) {
  return String(number).replace(/\B(?=(\d{3})+$)/g, "\u202f");
}

function hex(number, digits = 1) {
  return "0x" + number.toString(16).toUpperCase().padStart(digits, "0");
}

function plural(number, noun) {
  return `${count(number)} ${noun}${number === 1 ? "" : "s"}`;
}

function byteText(byte) {
  return byte.toString(16).padStart(2, "0");
}

/// Lines of offset, sixteen bytes and the same as text.
function hexDump(bytes) {
  const lines = [];
  for (let offset = 0; offset < bytes.length; offset += 16) {
    const line = bytes.subarray(offset, offset + 16);
    const cells = Array.from(line, byteText);
    while (cells.length < 16) cells.push("  ");
    const text = Array.from(line, (b) => (b >= 0x20 && b <= 0x7e ? String.fromCharCode(b) : ".")).join("");
    const halves = cells.slice(0, 8).join(" ") + "  " + cells.slice(8).join(" ");
    lines.push(`${offset.toString(16).padStart(8, "0")}  ${halves}  |${text}|`);
  }
  return lines.join("\n");
}

function crc32(bytes) {
  let sum = 0xffffffff;
  for (const byte of bytes) {
    sum ^= byte;
    for (let bit = 0; bit < 8; ++bit) sum = (sum >>> 1) ^ (sum & 1 ? 0xedb88320 : 0);
  }
  return ((sum ^ 0xffffffff) >>> 0).toString(16).padStart(8, "0");
}

/// An element with attributes and children; texts become text nodes, so that no data is ever read as markup.
function element(tag, attributes = {}, ...children) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (name === "onclick") made.addEventListener("click", value);
    else if (value !== false && value !== undefined) made.setAttribute(name, value === true ? "" : value);
  }
  made.append(...children.filter((child) => child !== null));
  return made;
}

function factList(facts) {
  return element("dl", { class: "facts" },
    ...facts.map(([name, value]) => element("div", {}, element("dt", {}, name), element("dd", {}, value))));
}

/// @param open  called with the number of the slot that a finding concerns
function findingList(findings, open) {
  if (findings.length === 0) return null;
  const slotButton = (slot) => element("button", { type: "button", onclick: () => open(slot) }, `slot ${slot}`);
  return element("ul", { class: "findings", "aria-label": "Findings" },
    ...findings.map((finding) => element("li", {},
      finding.slot === undefined ? null : slotButton(finding.slot),
      element("b", {}, finding.what), element("br"), `repair: ${finding.repair}`)));
}
