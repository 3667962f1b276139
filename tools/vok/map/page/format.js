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

function percent(part, whole) {
  return `${((100 * part) / Math.max(whole, 1)).toFixed(1)} %`;
}

function byteText(byte) {
  return byte.toString(16).padStart(2, "0");
}

function characterOf(byte) {
  return byte >= 0x20 && byte <= 0x7e ? String.fromCharCode(byte) : ".";
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

/// The sign of a condition or a severity; a word beside it says the same.
function icon(name) {
  return document.querySelector(`#icons [data-icon="${name}"]`).cloneNode(true);
}

function badge(condition, text) {
  return element("span", { class: `badge ${condition}` }, icon(condition), text);
}

function factList(facts) {
  return element("dl", { class: "facts" },
    ...facts.map(([name, value]) => element("div", {}, element("dt", {}, name), element("dd", {}, value))));
}

/// Shares of bytes as a bar; empty ones take no room.
function shareBar(shares, size) {
  const part = (name) => element("i", { class: name, style: `flex-grow:${shares[name] / size}` });
  return element("div", { class: "bar", "aria-hidden": "true" },
    ...["live", "dead", "unfinished", "lost", "free"].filter((name) => shares[name] > 0).map(part));
}
