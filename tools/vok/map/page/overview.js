// What the page opens on: the verdict, the sections, what is lost, what was found.

const kShares = { live: "live", dead: "dead", unfinished: "waits for a repair", lost: "only a rebuild brings it back",
  free: "free" };

function sumOf(some, figure) {
  return some.reduce((sum, block) => sum + block[figure], 0);
}

function totalsOf(some) {
  return Object.fromEntries(["live", "dead", "unfinished", "lost", "free", "items", "size"].map(
    (figure) => [figure, sumOf(some, figure)]));
}

function conditionOfAll(some) {
  return Object.keys(kConditions).find((one) => some.some((block) => block.condition === one)) ?? "fine";
}

function numberOf(severity) {
  return sumOf(blocks.map((block) => ({
    number: block.findings.filter((finding) => finding.severity === severity).length })), "number");
}

/// How many items each remedy helps.
function lossesByRemedy() {
  const numbers = new Map();
  for (const loss of image.losses) numbers.set(loss.remedy, (numbers.get(loss.remedy) ?? 0) + loss.items.length);
  return numbers;
}

/// How it stands and what to do, said in one line each.
function verdictLines(totals) {
  const used = percent(totals.size - totals.free, totals.size);
  const lines = [`${plural(totals.items, "item")} in ${plural(image.sections.length, "section")}; ${used} of the space is taken.`];
  for (const [remedy, number] of lossesByRemedy())
    lines.push(`${number > 0 ? `${plural(number, "item")} not served` : "Valid slots that name no item"}. Remedy: ${remedy}`);
  if (numberOf("error") > 0) lines.push(`${plural(numberOf("error"), "error")} found.`);
  if (numberOf("due") > 0) lines.push(`${plural(numberOf("due"), "thing")} to finish: vok repair does it.`);
  if (totals.dead > 0) lines.push(`A reorganisation regains ${plural(totals.dead, "dead byte")}.`);
  return lines;
}

const kVerdicts = { error: "Damaged", due: "A repair is due", regain: "Sound", fine: "Sound" };

function verdict(totals) {
  const condition = image.losses.length > 0 ? "error" : conditionOfAll(blocks);
  const shown = condition === "regain" ? "fine" : condition;
  return element("div", { class: `verdict ${shown}`, id: "verdict", role: "status" }, icon(shown),
    element("div", {}, element("h2", {}, kVerdicts[condition]),
      ...verdictLines(totals).map((line) => element("p", {}, line)), worstLine()));
}

function worstLine() {
  const worst = blocks.find((block) => image.worst && image.worst.section === block.section.section &&
    image.worst.block === block.block);
  if (!worst) return null;
  return element("p", { id: "worst" }, "Worst off: ",
    element("button", { type: "button", class: "link", onclick: () => goToBlock(worst) }, placeOf(worst)),
    `, ${image.worst.why}`);
}

/// @param shares  a block, or the totals of some
function shareFigures(shares) {
  return element("ul", { class: "shares" }, ...Object.entries(kShares).filter(([name]) => shares[name] > 0).map(
    ([name, text]) => element("li", {}, element("i", { class: name }), `${count(shares[name])} ${text} `,
      element("span", { class: "soft" }, `(${percent(shares[name], shares.size)})`))));
}

function sectionRow(section) {
  const totals = totalsOf(section.blocks);
  const condition = conditionOfAll(section.blocks);
  const last = section.start + section.block_size * section.block_count - 1;
  return element("li", {},
    element("div", { class: "head-line" },
      element("button", { type: "button", class: "link strong", onclick: () => goToBlock(section.blocks[0]) },
        section.section),
      badge(condition, kConditions[condition]),
      element("span", { class: "soft" }, `${section.kind}, ${plural(totals.items, "item")}, ` +
        `${section.block_count} × ${plural(section.block_size, "byte")}, ${hex(section.start)} to ${hex(last)}`)),
    shareBar(totals, totals.size), shareFigures(totals));
}

function card(title, id, ...content) {
  return element("section", { class: "card", id, "aria-label": title }, element("h2", {}, title), ...content);
}

function findingsCard() {
  const hidden = sumOf(blocks, "findings_left_out");
  const list = findingList(allFindings(), hidden);
  return card("Findings", "found-in-all",
    list ?? element("p", { class: "soft" }, "None: nothing is damaged and nothing is unfinished."));
}

function lossesCard() {
  if (image.losses.length === 0) return null;
  return card("Not served", "losses",
    element("p", { class: "soft" }, "The flash holds these items, but the store does not serve them once it is mounted."),
    growingList(image.losses, lossEntry, { class: "findings", "aria-label": "Losses" }));
}

function renderOverview() {
  const totals = totalsOf(blocks);
  const cards = [card("Sections", "section-card",
    element("ul", { class: "sections" }, ...image.sections.map(sectionRow))), lossesCard(), findingsCard()];
  document.getElementById("overview").replaceChildren(verdict(totals),
    element("div", { class: "cards" }, ...cards.filter((one) => one !== null)));
}
