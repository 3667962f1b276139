// The left pane: pick a section, then a block.

const kAllSections = "All";
let chosenSection = kAllSections;
const blockList = document.getElementById("blocks");
const sectionTabs = document.getElementById("sections");
const sortSelect = document.getElementById("sort");

function shareBar(block) {
  const part = (name) => element("i", { class: name, style: `width:${(100 * block[name]) / block.size}%` });
  return element("div", { class: "bar", "aria-hidden": "true" },
    part("live"), part("dead"), part("unfinished"), part("free"));
}

/// The one figure that matters most of a block.
function headline(block) {
  if (block.dead > 0) return `${count(block.dead)} dead`;
  return block.free > 0 ? `${count(block.free)} free` : "full";
}

function blockOption(block) {
  const badges = [element("span", { class: "badge" }, block.state)];
  if (block.isWorst) badges.push(" ", element("span", { class: "badge worst" }, "worst off"));
  if (block.findings.length > 0)
    badges.push(" ", element("span", { class: "badge warn" }, plural(block.findings.length, "finding")));
  return element("div",
    { class: block.isWorst ? "block is-worst" : "block", role: "option", id: `block-${blocks.indexOf(block)}`,
      "data-block": `${block.section.section}/${block.block}`, "aria-selected": String(block === chosen.block),
      "aria-label": `${placeOf(block)}, ${block.state}, ${plural(block.dead, "dead byte")}, ` +
        `${plural(block.findings.length, "finding")}${block.isWorst ? ", worst off" : ""}`,
      onclick: () => { chooseBlock(block); } },
    element("span", { class: "name" }, chosenSection === kAllSections && sortSelect.value === "rank"
      ? `${block.section.section} ${block.block}` : String(block.block)),
    element("span", {}, ...badges), element("span", { class: "soft" }, headline(block)), shareBar(block));
}

/// The blocks of the chosen section in the chosen order.
function listedBlocks() {
  const listed = blocks.filter((block) => chosenSection === kAllSections || block.section.section === chosenSection);
  return sortSelect.value === "rank" ? listed.sort((a, b) => a.rank - b.rank) : listed;
}

function renderBlocks() {
  const byAddress = sortSelect.value === "address";
  const rows = [];
  let section = null;
  for (const block of listedBlocks()) {
    if (byAddress && block.section !== section)
      rows.push(element("h3", { role: "presentation" }, `${block.section.section} `,
        element("span", { class: "soft" },
          `${block.section.kind}, ${plural(block.section.block_count, "block")} from ${hex(block.section.start)}`)));
    section = block.section;
    rows.push(blockOption(block));
  }
  blockList.replaceChildren(...rows);
  showChosenBlock();
}

function showChosenBlock() {
  for (const option of blockList.querySelectorAll('[role="option"]')) {
    const isChosen = option.id === `block-${blocks.indexOf(chosen.block)}`;
    option.setAttribute("aria-selected", String(isChosen));
    if (isChosen) option.scrollIntoView({ block: "nearest" });
  }
  blockList.setAttribute("aria-activedescendant", `block-${blocks.indexOf(chosen.block)}`);
}

function renderSections() {
  const names = [kAllSections, ...image.sections.map((section) => section.section)];
  sectionTabs.replaceChildren(...names.map((name) => element("button",
    { type: "button", role: "tab", "aria-selected": String(name === chosenSection), "aria-controls": "blocks",
      tabindex: name === chosenSection ? "0" : "-1", onclick: () => chooseSection(name) }, name)));
}

function chooseSection(name) {
  chosenSection = name;
  renderSections();
  const listed = listedBlocks();
  if (!listed.includes(chosen.block) && listed.length > 0) chooseBlock(listed[0]);
  renderBlocks();
}

function stepSection(step) {
  const names = [kAllSections, ...image.sections.map((section) => section.section)];
  chooseSection(names[(names.indexOf(chosenSection) + step + names.length) % names.length]);
}

sortSelect.addEventListener("change", renderBlocks);
