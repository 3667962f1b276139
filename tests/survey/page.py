"""The part of docs/reliability.md that the survey writes."""

from verdict import CLASSES

BEGIN, END = "<!-- damage survey: begin -->\n", "<!-- damage survey: end -->\n"


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


def write(path, total, stride):
    text = path.read_text()
    before, rest = text.split(BEGIN)
    after = rest.split(END)[1]
    share = "" if stride == 1 else f", one case in {stride} tried"
    path.write_text(before + BEGIN + summary(total) + share + ".\n\n" + table(total) + END + after)
