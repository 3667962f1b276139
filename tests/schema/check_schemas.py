#!/usr/bin/python3
"""Holds real answers of the tool against the schemas of docs/schema: of the sample, of damaged copies of it, of the images
of the tests and of commands that change copies. Each schema must have met an answer, and must refuse that answer once any
of its fields has another name. Ends with status 1 and the place in the answer otherwise."""

import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

import jsonschema

CODEPLUG_START = 0x20000
BLOCK = 0x60000  # of the sample, the one that holds most of its items


class Schemas:
    """The schemas by name, and what they met."""

    def __init__(self, folder):
        self.documents = {path.stem: json.loads(path.read_text()) for path in folder.glob("*.json")}
        store = {f"file:///{name}.json": document for name, document in self.documents.items()}
        self.validators = {}
        for name, document in self.documents.items():
            jsonschema.Draft202012Validator.check_schema(document)
            resolver = jsonschema.RefResolver(f"file:///{name}.json", document, store)
            self.validators[name] = jsonschema.Draft202012Validator(document, resolver=resolver)
        self.met = {}
        self.faults = []
        self.count = 0

    def hold(self, name, answer, told):
        self.count += 1
        self.met.setdefault(name, []).append(answer)
        for error in self.validators[name].iter_errors(answer):
            place = "/".join(str(part) for part in error.absolute_path)
            self.faults.append(f"{told}: {name}.json refuses /{place}: {error.message[:200]}")

    def check_strictness(self):
        for name in sorted(set(self.documents) - {"common"}):
            if name not in self.met:
                self.faults.append(f"{name}.json met no answer")
            for answer in self.met.get(name, [])[:1]:
                for place, renamed in renamings(answer):
                    if name != "image" and self.validators[name].is_valid(renamed):
                        self.faults.append(f"{name}.json takes an answer with another name for {place}")


def renamings(value, place=""):
    """The value with one field renamed, for each field; of an array in its first element only."""
    if isinstance(value, dict):
        for key in value:
            yield f"{place}/{key}", {("renamed" if other == key else other): value[other] for other in value}
            for inner, changed in renamings(value[key], f"{place}/{key}"):
                yield inner, {**value, key: changed}
    elif isinstance(value, list) and value:
        for inner, changed in renamings(value[0], f"{place}/0"):
            yield inner, [changed, *value[1:]]


class Bench:
    """Runs the tool in a folder and hands its answers to the schemas."""

    def __init__(self, vok, folder, schemas):
        self.vok, self.folder, self.schemas = vok, folder, schemas

    def run(self, *words, status=(0, 1)):
        words = [str(word) for word in words]
        done = subprocess.run([self.vok, *words], cwd=self.folder, stdin=subprocess.DEVNULL, capture_output=True, check=False)
        told = "vok " + " ".join(words)
        if done.returncode not in (status if isinstance(status, tuple) else (status,)):
            self.schemas.faults.append(f"{told}: status {done.returncode}: {done.stderr.decode()[:200]}")
        return done.stdout, told

    def answer(self, schema, *words, status=(0, 1), must=True):
        output, told = self.run(*words, "--json", status=status)
        if output:
            self.schemas.hold(schema, json.loads(output), told)
        elif must:
            self.schemas.faults.append(f"{told}: no answer")

    def read(self, image, must=True):
        """Every reading command. @param must: whether it is an image that gives every answer"""
        for words in (["info"], ["info", "--blocks"]):
            self.answer("info", *words, *image, must=must)
        for words in ([], ["--rebuilt"]):
            self.answer("list", "list", *words, *image, must=must)
            self.answer("check", "check", *words, *image, must=must)
        for words in (["10", "3"], ["10", "0-4"], ["10"]):
            self.answer("read", "read", *words, *image, must=False)
        for words in (["Tower"], ["0x00"]):
            self.answer("find", "find", *words, *image, must=must)
        self.answer("map", "map", *image, must=must)
        for address in (0xE000, 0xE064, 0xEFFF, BLOCK, BLOCK + 0x10, BLOCK + 0x3A, BLOCK + 0x2000, BLOCK + 0x6568, BLOCK + 0x10000):
            self.answer("explain", "explain", address, *image, must=False)
        for item in (["10", "0"], ["10", "5"]):
            self.answer("history", "history", *item, *image, must=False)

    def mend(self, image):
        self.answer("check", "repair", "--accept-loss", "-o", "repaired", "--force", *image, must=False)
        self.answer("rebuild", "repair", "--rebuild", "-o", "rebuilt", "--force", *image, must=False)
        shutil.rmtree(self.folder / "lossy", ignore_errors=True)
        output, told = self.run("unpack", "lossy", *image)
        if output:
            self.schemas.hold("manifest", json.loads((self.folder / "lossy/manifest.json").read_text()), told)
            self.answer("pack", "pack", "lossy", "-o", "packed", "--force", must=False)


def damages(psdt, codeplug):
    """Copies of the sample with one byte of each kind of field zeroed. @return [(name, psdt, codeplug)]"""
    places = [BLOCK + offset for offset in (0, 4, 5, 6, 8, 12, *range(0x38, 0x40, 2), 0x6588, 0x658B)] + [0x20000, 0xC0004, 0xE0000]
    for place in places:
        damaged = bytearray(codeplug)
        damaged[place - CODEPLUG_START] = 0
        yield f"0x{place:X}", psdt, bytes(damaged)
    kind, partition, last_type = 96 + 37, 96 + 69, 96 + 75
    for place, bits in ((kind, 0x40), (partition, 0x01), (partition, 0x40), (last_type, 0x68)):
        damaged = bytearray(psdt)
        damaged[place] ^= bits
        yield f"psdt+0x{place:X}", bytes(damaged), codeplug


def check_damaged(bench, psdt, codeplug):
    for _, damaged_psdt, damaged in damages(psdt, codeplug):
        (bench.folder / "damaged.psdt").write_bytes(damaged_psdt)
        (bench.folder / "damaged.bin").write_bytes(damaged)
        image = ["--psdt", "damaged.psdt", "--codeplug", f"damaged.bin@{CODEPLUG_START}"]
        bench.read(image, must=False)
        bench.mend(image)
        if damaged_psdt == psdt:
            words = ["--bytes", "--psdt", "psdt.bin", "codeplug.bin", "damaged.bin"]
            bench.answer("diff", "diff", *words, status=(0, 1, 2), must=False)
            bench.answer("write", "write", "10", "3", "item", "--accept-loss", "-o", "changed", "--force", *image, must=False)


def check_changes(bench, image):
    changed = ["--psdt", "psdt.bin", "--codeplug", "changed.bin"]
    shutil.copy(bench.folder / "codeplug.bin", bench.folder / "changed.bin")
    bench.run("unpack", "items", *image, status=0)
    bench.schemas.hold("manifest", json.loads((bench.folder / "items/manifest.json").read_text()), "vok unpack")
    bench.answer("write", "write", "10", "new", "item", *changed, status=0)
    bench.answer("write", "rename", "10", "4", "10", "200", *changed, status=0)
    bench.answer("delete", "delete", "10", "0-3", "--yes", *changed, status=0)
    bench.answer("reorganise", "reorganise", *changed, status=0)
    bench.answer("check", "repair", *changed, status=0)
    bench.answer("diff", "diff", "--bytes", "items", "psdt.bin+changed.bin", status=1)
    (bench.folder / "items/CPGA/10-3.bin").write_bytes(b"another")
    (bench.folder / "items/CPGA/10-99.bin").write_bytes(b"one more")
    (bench.folder / "items/CPGA/12-4.bin").unlink()
    bench.answer("diff", "diff", "--bytes", "--psdt", "psdt.bin", "codeplug.bin", "changed.bin", status=1)
    bench.answer("apply", "apply", "items", "--dry-run", *changed, status=0)
    bench.answer("apply", "apply", "items", "--delete", *changed, status=0)
    bench.answer("pack", "pack", "items", "--delete", "-o", "packed.bin", status=0)
    bench.answer("torture", "torture", "--operation", "all", "--cuts", "20", "--seconds", "0", *image, status=0)


def check_many(bench):
    output, told = bench.run("check", "--json", "--psdt", "psdt.bin", "--images", "codeplug.bin", "nothing.bin", status=1)
    for line in output.splitlines():
        line = json.loads(line)
        bench.schemas.hold("image", line, told)
        answer = {key: value for key, value in line.items() if key not in ("image", "status", "messages", "died")}
        if "sections" in answer:
            bench.schemas.hold("check", answer, told)


def check_descriptions(bench):
    section = {"tag": "CPGA", "kind": "read-write", "start": 131072, "block_count": 4, "partition": 0, "types": [[1, 99], [1000, 1099]]}
    reading = {**section, "tag": "PDAT", "kind": "read-only", "start": 655360, "block_size": 4096, "partition": 1, "types": [[300, 300]]}
    whole = {"version": 3, "psdt_address": 0x8000, "sections": [{**section, "range_ids": [7, 9]}, reading]}
    wrong = [
        {**whole, "more": 1},
        {**whole, "version": 4},
        {**whole, "sections": []},
        {"sections": whole["sections"]},
        {**whole, "sections": [{**section, "tag": "CPG"}]},
        {**whole, "sections": [{**section, "start": 131074}]},
        {**whole, "sections": [{**section, "types": [[0, 5]]}]},
        {**whole, "sections": [{**section, "section": "CPGA"}]},
    ]
    for description, is_sound in ((whole, True), *((description, False) for description in wrong)):
        (bench.folder / "description.json").write_text(json.dumps(description))
        bench.run("new", "description.json", "-o", "new.bin", "--force", status=0 if is_sound else 1)
        if is_sound:
            bench.schemas.hold("description", description, "description")
        elif bench.schemas.validators["description"].is_valid(description):
            bench.schemas.faults.append(f"description.json takes {json.dumps(description)}")


def check_data(bench, folder):
    for path in sorted(folder.glob("*/*.bin")):
        if path.name != "psdt.bin":
            image = ["--psdt", path.parent / "psdt.bin", "--codeplug", path]
            bench.read(image)
            bench.mend(image)


def main():
    vok, samples, schema_folder, data = (pathlib.Path(word).resolve() for word in sys.argv[1:5])
    schemas = Schemas(schema_folder)
    with tempfile.TemporaryDirectory() as name:
        bench = Bench(vok, pathlib.Path(name), schemas)
        for file in ("psdt.bin", "codeplug.bin"):
            shutil.copy(samples / file, bench.folder / file)
        (bench.folder / "item").write_bytes(b"an item")
        image = ["--psdt", "psdt.bin", "--codeplug", "codeplug.bin"]
        bench.read(image)
        bench.mend(image)
        check_changes(bench, image)
        check_many(bench)
        check_descriptions(bench)
        check_damaged(bench, (samples / "psdt.bin").read_bytes(), (samples / "codeplug.bin").read_bytes())
        check_data(bench, data)
    schemas.check_strictness()
    print("\n".join([*schemas.faults[:50], f"{schemas.count} answers of {len(schemas.met)} kinds, {len(schemas.faults)} faults"]))
    return 1 if schemas.faults else 0


if __name__ == "__main__":
    sys.exit(main())
