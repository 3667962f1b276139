// Long lists: rows that exist only while they are in sight, and lists that show more when asked.

const kRowsBeyondSight = 6;

/// Rows of one height in a box that scrolls. Rows are made by their index when they come in sight.
/// @param rows     the element that holds them in the box; its --row says how high a row is
/// @param makeRow  (index) => element
function virtualRows(box, rows, makeRow) {
  let length = 0;
  const rowHeight = () => parseFloat(getComputedStyle(rows).getPropertyValue("--row"));
  const headHeight = () => rows.offsetTop;
  const render = () => {
    const height = rowHeight();
    const first = Math.max(0, Math.floor((box.scrollTop - headHeight()) / height) - kRowsBeyondSight);
    const last = Math.min(length, Math.ceil((box.scrollTop + box.clientHeight) / height) + kRowsBeyondSight);
    rows.style.height = `${length * height}px`;
    const made = [];
    for (let i = first; i < last; ++i) {
      const row = makeRow(i);
      row.style.top = `${i * height}px`;
      made.push(row);
    }
    rows.replaceChildren(...made);
  };
  box.addEventListener("scroll", render);
  new ResizeObserver(render).observe(box);
  return {
    show(newLength) {
      length = newLength;
      render();
    },
    /// Scrolls the box, and nothing around it, until a row is in sight.
    reveal(index) {
      const height = rowHeight();
      const top = index * height;
      if (top < box.scrollTop) box.scrollTop = top;
      const bottom = headHeight() + top + height;
      if (bottom > box.scrollTop + box.clientHeight) box.scrollTop = bottom - box.clientHeight;
      render();
    },
  };
}

const kChunk = 50;

/// A list of the first entries, with a button that adds the next ones.
/// @param makeEntry  (entry) => li element
function growingList(entries, makeEntry, attributes = {}) {
  const list = element("ul", attributes);
  let shown = 0;
  const button = element("button", { type: "button", onclick: () => grow() });
  const grow = () => {
    list.append(...entries.slice(shown, shown + kChunk).map(makeEntry));
    shown = Math.min(shown + kChunk, entries.length);
    button.textContent = `Show more of ${count(entries.length - shown)}`;
    button.hidden = shown === entries.length;
  };
  grow();
  return element("div", {}, list, button);
}
