"""The part of docs/reliability.md that the survey writes."""

from verdict import CLASSES


def _marks(part):
    return f"<!-- damage {part}: begin -->\n", f"<!-- damage {part}: end -->\n"


def _number(count):
    return f"{count:,}".replace(",", " ") if count else ""


def summary(total):
    cases = sum(sum(classes.values()) for classes, _, _ in total.values())
    parts = [f"{_number(sum(row[0][kind] for row in total.values())) or 0} {kind}" for kind in CLASSES]
    return f"{_number(cases)} damages: {', '.join(parts)}"


def table(total):
    lines = ["| damaged | how | " + " | ".join(CLASSES) + " | items not delivered | of them a rebuild brings back |", "|---|---|" + "--:|" * (len(CLASSES) + 2)]
    for (field, how), (classes, gone, back) in sorted(total.items()):
        cells = [_number(classes[kind]) for kind in CLASSES] + [_number(gone), _number(min(gone, back))]
        lines.append(f"| {field} | {how} | " + " | ".join(cells) + " |")
    return "\n".join(lines) + "\n"


def _replace(text, part, new):
    begin, end = _marks(part)
    before, rest = text.split(begin)
    return before + begin + new + end + rest.split(end)[1]


def write(path, total, faults, stride):
    share = "" if stride == 1 else f"; one case in {stride} tried"
    text = _replace(path.read_text(), "summary", f"- {summary(total)}, {faults} faults{share}.\n")
    path.write_text(_replace(text, "survey", table(total)))
