// The page begins at the block that is worst off.

function start() {
  document.getElementById("image-name").textContent = `${image.image}, store version ${image.version}`;
  document.title = `Flash map of ${image.image}`;
  const worst = blocks.find((block) => block.isWorst);
  const callout = document.getElementById("worst");
  callout.hidden = false;
  callout.textContent = worst ? `Worst off: ${placeOf(worst)}, ${image.worst.why}` : "No dead bytes, nothing unfinished";
  callout.disabled = !worst;
  callout.addEventListener("click", () => {
    if (chosenSection !== kAllSections) chooseSection(kAllSections);
    chooseBlock(worst);
    blockList.focus();
  });
  renderSections();
  if (blocks.length === 0) return;
  chosen.block = worst ?? blocks[0];
  renderBlocks();
  chooseBlock(chosen.block);
  blockList.focus();
}

start();
