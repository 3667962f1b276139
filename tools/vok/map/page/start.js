// The page begins with the overview, or with what its address names.

function start() {
  document.getElementById("image-name").textContent = image.image;
  document.getElementById("image-facts").textContent =
    `flash map, store version ${image.version}, ${plural(blocks.length, "block")}`;
  if (image.rebuilt)
    document.getElementById("moment").textContent = "The flash as a rebuild would leave it; the image is as it was.";
  document.title = `Flash map of ${image.image}`;
  renderOverview();
  renderBlocks();
  followPath();
  blockList.focus({ preventScroll: true });
}

start();
