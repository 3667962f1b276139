"""What the tool makes of a damaged image, and the class that this puts the damage in."""

import collections
import dataclasses
import json
import resource
import subprocess

CLASSES = ["harmless", "repaired", "reported", "the layout cannot tell"]
FAULT = "fault"
# Only a word that names or places one item can be damaged such that the image is as sound as before and says another
# thing of that item: another name, another length, another place, or that it was deleted.
WORDS_OF_ONE_ITEM = {"slot: type", "slot: ID", "slot: location word", "length word", "end of the slots"}
# Its old name, and what it seems to be now.
ITEMS_OF_ONE_WORD = 2
# Far above what a command takes: what needs more hangs.
CPU_SECONDS = 60
STATUSES = (0, 1)


@dataclasses.dataclass
class Answer:
    status: int
    json: dict
    text: str

    @property
    def died(self):
        return self.status not in STATUSES


def run(vok, *arguments):
    limit = lambda: resource.setrlimit(resource.RLIMIT_CPU, (CPU_SECONDS, CPU_SECONDS))
    done = subprocess.run([vok, *map(str, arguments)], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, preexec_fn=limit, check=False)
    try:
        answer = json.loads(done.stdout) if done.stdout else {}
    except ValueError:
        answer = {}
    return Answer(done.returncode, answer, done.stderr.decode(errors="replace"))


def items_of(answer):
    return {(i["section"], i["type"], i["id"]): (i["length"], i["crc32"]) for i in answer.json.get("items", [])}


def losses_of(answer):
    return collections.Counter((loss["section"], item["type"], item["id"]) for loss in answer.json.get("losses", []) for item in loss["items"])


@dataclasses.dataclass
class Outcome:
    """Against the items of the image before it was damaged."""

    said: bool  # a check or a listing tells that something is amiss
    wrong: int  # items delivered that are not what they were
    missing: int  # items neither delivered nor told
    lost: int  # items told as lost
    back: int  # of those not delivered as they were, how many a rebuild brings back
    repaired: bool  # a repair gives all items and leaves a clean image
    trouble: str  # what no answer may be; empty = nothing


def look(vok, image, truth, scratch):
    """Reads, checks, rebuilds and repairs an image that arguments name."""
    check, listed = run(vok, *image, "check", "--json"), run(vok, *image, "list", "--json")
    rebuilt = run(vok, *image, "list", "--rebuilt", "--json")
    scratch.unlink(missing_ok=True)
    repair = run(vok, *image, "repair", "--accept-loss", "--json", "-o", scratch)
    after = run(vok, *image[:-1], scratch, "list", "--json") if scratch.exists() else listed
    after_check = run(vok, *image[:-1], scratch, "check", "--json") if scratch.exists() else check
    served, told = items_of(listed), losses_of(listed)
    sound = {name for name, item in served.items() if truth.get(name) == item}
    gone = truth.keys() - sound
    given_back = items_of(rebuilt)
    died = [a for a in (check, listed, rebuilt, repair, after, after_check) if a.died]
    return Outcome(
        said=check.status != 0 or listed.status != 0,
        wrong=len(served.keys() - sound),
        missing=len([name for name in gone if name not in served and name not in told]),
        lost=len([name for name in gone if name in told]),
        back=len([name for name in gone if given_back.get(name) == truth[name]]),
        repaired=items_of(after) == truth and after_check.status == 0,
        trouble=f"status {died[0].status}: {died[0].text.strip()}" if died else "",
    )


def classify(damage, outcome):
    """@return the class and, for a fault, what is wrong"""
    if outcome.trouble:
        return FAULT, outcome.trouble
    whole = outcome.wrong == 0 and outcome.missing == 0 and outcome.lost == 0
    if whole and not outcome.said:
        return "harmless", ""
    if outcome.repaired:
        return "repaired", ""
    if outcome.said:
        return "reported", ""
    if damage.field in WORDS_OF_ONE_ITEM and outcome.wrong + outcome.missing + outcome.lost <= ITEMS_OF_ONE_WORD:
        return "the layout cannot tell", ""
    if damage.field == "a block" and outcome.wrong == 0:
        return "the layout cannot tell", ""
    return FAULT, f"nothing said of {outcome.wrong} items that are wrong and {outcome.missing} that are missing"
