// Findings and losses, in words and with a way to where they are.

const kSeverities = { error: "damage", due: "repair due", note: "note" };

function placeButton(finding) {
  const { home, slot } = finding;
  return element("button",
    { type: "button", class: "link", onclick: () => (slot === undefined ? goToBlock(home) : goToSlot(slotNumbered(home, slot))) },
    slot === undefined ? placeOf(home) : `${placeOf(home)} slot ${slot}`);
}

function findingEntry(finding) {
  return element("li", { class: `finding ${finding.severity}` },
    element("div", { class: "head-line" }, badge(finding.severity, kSeverities[finding.severity]),
      finding.code ? element("code", {}, finding.code) : null, placeButton(finding)),
    element("div", {}, element("b", {}, finding.what)),
    element("div", { class: "soft" }, `repair: ${finding.repair}`));
}

function findingList(findings, hidden = 0) {
  if (findings.length === 0) return null;
  const list = growingList(findings, findingEntry, { class: "findings", "aria-label": "Findings" });
  if (hidden > 0) list.append(element("p", { class: "soft" }, `and ${count(hidden)} more, which 'vok check' tells`));
  return list;
}

/// The findings of the image, the gravest first.
function allFindings() {
  const order = Object.keys(kSeverities);
  return blocks.flatMap((block) => block.findings)
    .sort((a, b) => order.indexOf(a.severity) - order.indexOf(b.severity));
}

/// The slots of a loss as far as it says in which block they lie.
function lossEntry(loss) {
  const section = image.sections.find((one) => one.section === loss.section);
  const block = section.blocks[loss.block];
  const slotOfItem = (item) => {
    const homes = block ? [block] : section.blocks;
    for (const home of homes)
      for (const number of home.lostSlots) {
        const slot = slotNumbered(home, number);
        if (slot.type === item.type && slot.id === item.id) return slot;
      }
    return null;
  };
  const itemButton = (item) => element("li", {}, element("button",
    { type: "button", class: "chip",
      onclick: () => { const slot = slotOfItem(item); if (slot) goToSlot(slot); else if (block) goToBlock(block); } },
    `${item.type}/${item.id}`));
  const place = block
    ? element("button", { type: "button", class: "link", onclick: () => goToBlock(block) }, placeOf(block))
    : element("span", {}, `section ${loss.section}`);
  return element("li", { class: "finding error" },
    element("div", { class: "head-line" }, badge("error", plural(loss.items.length, "item")), place),
    element("div", {}, element("b", {}, loss.why)),
    element("div", { class: "soft" }, loss.remedy),
    growingList(loss.items, itemButton, { class: "chips", "aria-label": "Items by type and ID" }));
}
