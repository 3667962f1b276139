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

/// The slot that holds an item of a loss; null when none of the sections shown does.
function slotOfLoss(loss, item) {
  for (const block of blocks)
    for (const [number, other] of block.lostSlots) {
      const slot = other === loss ? slotNumbered(block, number) : null;
      if (slot && slot.type === item.type && slot.id === item.id) return slot;
    }
  return null;
}

function blockOfLoss(loss) {
  return blocks.find((block) => block.section.section === loss.section && block.block === loss.block) ?? null;
}

function itemOfLoss(loss, item) {
  const open = () => {
    const slot = slotOfLoss(loss, item);
    if (slot) goToSlot(slot);
    else if (blockOfLoss(loss)) goToBlock(blockOfLoss(loss));
  };
  return element("li", {}, element("button", { type: "button", class: "chip", onclick: open }, `${item.type}/${item.id}`));
}

function lossEntry(loss) {
  const block = blockOfLoss(loss);
  const place = block
    ? element("button", { type: "button", class: "link", onclick: () => goToBlock(block) }, placeOf(block))
    : element("span", {}, `section ${loss.section}`);
  return element("li", { class: "finding error" },
    element("div", { class: "head-line" },
      badge("error", loss.items.length > 0 ? plural(loss.items.length, "item") : "no item"), place),
    element("div", {}, element("b", {}, loss.why)),
    element("div", {}, "remedy: ", element("code", {}, loss.remedy)),
    growingList(loss.items, (item) => itemOfLoss(loss, item), { class: "chips", "aria-label": "Items by type and ID" }));
}
