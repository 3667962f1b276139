// The map: the sections one after another, a tile for each block.

const blockList = document.getElementById("blocks");
const sortSelect = document.getElementById("sort");
/// How a block fares, the worst first.
const kConditions = { error: "damage", due: "repair due", regain: "dead bytes", fine: "fine" };

/// The one figure that matters most of a block.
function headline(block) {
  if (block.lostSlots.size > 0) return `${plural(block.lostSlots.size, "item")} lost`;
  if (block.condition === "error" || block.condition === "due") return kConditions[block.condition];
  if (block.dead > 0) return `${count(block.dead)} dead`;
  return block.free > 0 ? `${count(block.free)} free` : "full";
}

function tile(block, name) {
  return element("div",
    { class: `tile ${block.condition}`, role: "option", id: `block-${blocks.indexOf(block)}`,
      "data-block": `${block.section.section}/${block.block}`, "aria-selected": String(block === chosen.block),
      "aria-label": `${placeOf(block)}, ${block.state}, ${kConditions[block.condition]}, ${headline(block)}`,
      title: `${placeOf(block)}: ${block.state}, ${headline(block)}`, onclick: () => goToBlock(block) },
    element("span", { class: "name" }, name), element("span", { class: "soft" }, block.state),
    block.condition === "fine" ? null : icon(block.condition), shareBar(block, block.size));
}

function renderByAddress() {
  return image.sections.map((section, index) => element("div",
    { role: "group", "aria-labelledby": `section-${index}` },
    element("h3", { id: `section-${index}` }, `${section.section} `,
      element("span", { class: "soft" }, `${plural(section.block_count, "block")} from ${hex(section.start)}`)),
    element("div", { class: section.block_count > 24 ? "tiles small" : "tiles" },
      ...section.blocks.map((block) => tile(block, String(block.block))))));
}

/// The blocks in the chosen order.
function listedBlocks() {
  return sortSelect.value === "rank" ? [...blocks].sort((a, b) => a.rank - b.rank) : blocks;
}

function renderBlocks() {
  const ranked = () => [element("div", { class: "tiles" },
    ...listedBlocks().map((block) => tile(block, `${block.section.section} ${block.block}`)))];
  blockList.replaceChildren(...(sortSelect.value === "rank" ? ranked() : renderByAddress()));
  showChosenBlock();
}

function showChosenBlock() {
  blockList.querySelector('[aria-selected="true"]')?.setAttribute("aria-selected", "false");
  blockList.removeAttribute("aria-activedescendant");
  const option = chosen.block && document.getElementById(`block-${blocks.indexOf(chosen.block)}`);
  if (!option) return;
  option.setAttribute("aria-selected", "true");
  blockList.setAttribute("aria-activedescendant", option.id);
  if (!kIsStacked.matches) option.scrollIntoView({ block: "nearest" });
}

/// How many tiles stand in a row.
function tilesInRow() {
  const tiles = [...blockList.querySelectorAll(".tile")];
  const next = tiles.findIndex((one) => one.offsetTop > tiles[0].offsetTop);
  return next < 1 ? Math.max(tiles.length, 1) : next;
}

sortSelect.addEventListener("change", renderBlocks);
