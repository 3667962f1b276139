// What is wrong with the looks of a page: functions that run in it and name the elements.

/// Text that is cut off, and whatever can be scrolled sideways.
export function cutElements() {
  const wrong = [];
  const name = (one) => `${one.tagName.toLowerCase()}#${one.id}.${one.className} "${one.textContent.slice(0, 40)}"`;
  const root = document.documentElement;
  if (root.scrollWidth > root.clientWidth) wrong.push(`page: ${root.scrollWidth} > ${root.clientWidth}`);
  const texts = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
  const range = document.createRange();
  while (texts.nextNode()) {
    const parent = texts.currentNode.parentElement;
    if (!texts.currentNode.data.trim() || !parent.checkVisibility()) continue;
    range.selectNodeContents(texts.currentNode);
    const box = range.getBoundingClientRect();
    if (box.width === 0) continue;
    if (box.left < -0.5 || box.right > root.clientWidth + 0.5) wrong.push(`beside the page: ${name(parent)}`);
    for (let one = parent; one !== document.body; one = one.parentElement) {
      const style = getComputedStyle(one);
      if (style.display === "inline") continue;
      if (one.id === "results") break;  // lies over the page and not in what it hangs on
      const frame = one.getBoundingClientRect();
      if (box.left < frame.left - 1 || box.right > frame.right + 1) wrong.push(`wider than ${name(one)}: ${name(parent)}`);
      const hides = style.overflowY === "hidden" || style.overflowY === "clip";
      if (hides && (box.top < frame.top - 1 || box.bottom > frame.bottom + 1)) wrong.push(`cut: ${name(parent)}`);
    }
  }
  for (const one of document.querySelectorAll("body *"))
    if (one.checkVisibility() && /auto|scroll/.test(getComputedStyle(one).overflowX) && one.scrollWidth > one.clientWidth)
      wrong.push(`scrolls sideways: ${name(one)}`);
  return [...new Set(wrong)];
}

/// Text whose contrast to what lies behind it is below 4.5 to 1.
export function faintElements() {
  const channels = (colour) => colour.match(/[\d.]+/g).map(Number);
  const luminance = (colour) => {
    const [r, g, b] = channels(colour).map((one) => one / 255).map(
      (one) => (one <= 0.04045 ? one / 12.92 : ((one + 0.055) / 1.055) ** 2.4));
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
  };
  const paperOf = (one) => {
    const colour = one ? getComputedStyle(one).backgroundColor : "rgb(255, 255, 255)";
    return channels(colour)[3] === 0 ? paperOf(one.parentElement) : colour;
  };
  const wrong = [];
  for (const one of document.querySelectorAll("body *")) {
    if (!one.checkVisibility() || ![...one.childNodes].some((node) => node.nodeType === 3 && node.data.trim())) continue;
    const [low, high] = [luminance(getComputedStyle(one).color), luminance(paperOf(one))].sort((a, b) => a - b);
    const contrast = (high + 0.05) / (low + 0.05);
    if (contrast < 4.5) wrong.push(`${one.tagName}.${one.className} "${one.textContent.slice(0, 30)}" ${contrast.toFixed(2)}`);
  }
  return [...new Set(wrong)];
}
