#!/usr/bin/env python3
"""What the tests reach of src/, from the JSON of gcovr: fails below 99 % of the lines or 95 % of the branches, or when
reasons.json beside this file has no reason for a hole.

Branches that only an exception takes are not counted, nor those of lines without code; gcovr leaves them out."""

import json
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
LEAST = {"lines": 0.99, "branches": 0.95}


def reasons():
    """The reason for each hole, by file and text of its line: a hole stays explained while other lines come and go."""
    known = {}
    for entry in json.loads((HERE / "reasons.json").read_text()):
        for file, texts in entry["holes"].items():
            known |= {(file, text): entry["why"] for text in texts}
    return known


class Coverage:
    def __init__(self, files):
        self.counts = {"lines": [0, 0], "branches": [0, 0]}  # reached, all
        self.holes = []  # (file, line number, text, what is missing)
        for file in files:
            source = (ROOT / file["file"]).read_text().split("\n")
            for line in file["lines"]:
                if not line.get("gcovr/noncode"):
                    self._add(file["file"], line, source[line["line_number"] - 1].strip())

    def _add(self, file, line, text):
        reached = [branch["count"] > 0 for branch in line["branches"]]
        self._count("lines", [line["count"] > 0])
        self._count("branches", reached)
        if line["count"] == 0:
            self.holes.append((file, line["line_number"], text, "not reached"))
        elif not all(reached):
            self.holes.append((file, line["line_number"], text, f"{reached.count(False)} of {len(reached)} branches"))

    def _count(self, what, reached):
        self.counts[what][0] += sum(reached)
        self.counts[what][1] += len(reached)

    def shares(self):
        return {what: reached / every for what, (reached, every) in self.counts.items()}


def main():
    coverage = Coverage(json.loads(pathlib.Path(sys.argv[1]).read_text())["files"])
    known = reasons()
    unexplained = 0
    for file, number, text, missing in coverage.holes:
        why = known.get((file, text))
        unexplained += why is None
        print(f"{file}:{number}: {missing}: {text}\n    {why or 'NO REASON'}")
    for what, share in coverage.shares().items():
        print(f"{what}: {share:.2%} of {coverage.counts[what][1]}")
    print(f"{len(coverage.holes)} holes, {unexplained} without a reason")
    return 0 if unexplained == 0 and all(coverage.shares()[what] >= least for what, least in LEAST.items()) else 1


if __name__ == "__main__":
    sys.exit(main())
