"""Mutations of C++ source text: one operator, constant or statement changed at a time."""

import dataclasses
import random
import re


@dataclasses.dataclass(frozen=True)
class Mutation:
    """One change of one line."""

    path: str
    line: int  # from 1
    before: str
    after: str

    def text(self):
        return f"{self.path}:{self.line}\n  - {self.before.strip()}\n  + {self.after.strip()}"


# Binary operators stand between spaces in this code, so that template brackets, references and signs are none.
OPERATORS = [
    (r" == ", " != "), (r" != ", " == "), (r" < ", " <= "), (r" <= ", " < "), (r" > ", " >= "), (r" >= ", " > "),
    (r" && ", " || "), (r" \|\| ", " && "), (r" \+ ", " - "), (r" - ", " + "), (r" \* ", " + "), (r" / ", " * "),
    (r" << ", " >> "), (r" >> ", " << "), (r" & ", " | "), (r" \| ", " & "), (r" % ", " / "),
    (r"\+\+", "--"), (r"--", "++"), (r" \+= ", " -= "), (r" -= ", " += "), (r"(?<=[(\s])!(?=[A-Za-z(])", ""),
]
CONSTANTS = [(r"\btrue\b", "false"), (r"\bfalse\b", "true"), (r"\bstd::min\b", "std::max"), (r"\bstd::max\b", "std::min")]
NUMBER = re.compile(r"(?<![\w.])(0x[0-9A-Fa-f]+|\d+)(?=[uUlL]*\b)")
# A call, an assignment, an increment or a guarded return, whole on one line.
STATEMENT = re.compile(r"^\s+(if \(.*\) return\b.*;|[\w:.\->\[\]()*]+(\(.*\)| [-+|&]?= .*|\+\+|--);|\+\+[\w.\->\[\]]+;|(return|continue|break);)$")
# Lines without behaviour of their own.
PASSED_OVER = re.compile(r"^\s*(//|#|namespace|using |static_assert|template|class |struct |enum |friend |public:|private:|})|operator|= default|= delete")


def _changes_of(line):
    code = re.sub(r"\s*//.*$", "", line)
    in_text = [m.span() for m in re.finditer(r'"(\\.|[^"\\])*"', code)]
    outside = lambda m: not any(a <= m.start() < b for a, b in in_text)
    for pattern, other in OPERATORS + CONSTANTS:
        for match in filter(outside, re.finditer(pattern, code)):
            yield code[: match.start()] + other + code[match.end():]
    for match in filter(outside, NUMBER.finditer(code)):
        value = int(match.group(1), 0)
        number = hex(value + 1) if match.group(1).startswith("0x") else str(value + 1)
        yield code[: match.start(1)] + number + code[match.end(1):]
    if STATEMENT.match(code):
        yield re.match(r"\s*", code).group(0) + ";"


def mutations_of(path, text):
    """Every mutation of one file."""
    found = []
    for number, line in enumerate(text.split("\n"), 1):
        if not line.strip() or PASSED_OVER.search(line):
            continue
        for after in _changes_of(line):
            if after != line:
                found.append(Mutation(path, number, line, after))
    return found


def shuffled(mutations, seed):
    """All of them in the order in which they are tried; a prefix is the sample."""
    order = sorted(mutations, key=lambda m: (m.path, m.line, m.after))
    random.Random(seed).shuffle(order)
    return order
