"""Small clean images of every store version, made with the tool: items in several blocks, dead copies, a read-only section."""

import dataclasses
import json
import pathlib
import subprocess

import layout


@dataclasses.dataclass(frozen=True)
class Base:
    version: layout.Version
    psdt: pathlib.Path
    image: bytes
    sections: tuple  # (first block, block count) of each
    start: int  # flash address of the first byte

    def items(self, vok):
        answer = subprocess.run([vok, "--psdt", self.psdt, "--codeplug", self.psdt.with_name("codeplug.bin"), "list", "--json"], check=True, stdout=subprocess.PIPE)
        return {(i["section"], i["type"], i["id"]): (i["length"], i["crc32"]) for i in json.loads(answer.stdout)["items"]}


SECTIONS = [("CPGA", "read-write", 4, [[1, 99], [1000, 1099]]), ("TUNA", "read-write", 2, [[100, 199]]), ("PDAT", "read-only", 1, [[300, 399]])]
START = 0x20000


def _description(version):
    sections, address, partition = [], START, 0
    for tag, kind, blocks, types in SECTIONS:
        sections.append({"tag": tag, "kind": kind, "start": address, "block_count": blocks, "partition": partition, "types": types})
        address += blocks * version.block_size
        partition += 1
    return {"version": version.number, "sections": sections}


def _items():
    """(type, ID, bytes): short ones, an empty one, and some that fill a block and more."""
    yield from ((10, i, f"Channel {i}: {146 + i}.{i * 125 % 1000:03} MHz".encode()) for i in range(12))
    yield from ((1000, i, bytes((i * 7 + k) % 251 for k in range(24000))) for i in range(3))
    yield (11, 0, b"")
    yield from ((100, i, f"Band {i}: power {40 + i}".encode()) for i in range(3))


def make(vok, number, folder):
    """Makes the base image of a store version in a new folder."""
    version = layout.VERSIONS[number]
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "description.json").write_text(json.dumps(_description(version)))
    psdt, codeplug = folder / "psdt.bin", folder / "codeplug.bin"
    for old in (psdt, codeplug):
        old.unlink(missing_ok=True)
    subprocess.run([vok, "new", folder / "description.json", "--psdt-out", psdt, "-o", codeplug], check=True)

    def change(*arguments, data=b""):
        subprocess.run([vok, "--psdt", psdt, "--codeplug", codeplug, *map(str, arguments)], check=True, input=data, stdout=subprocess.DEVNULL)

    for item_type, item_id, data in _items():
        change("write", item_type, item_id, "-", data=data)
    for item_id in (2, 5):
        change("write", 10, item_id, "-", data=b"changed, and longer than it was before, by far")
    change("delete", 10, 7)
    change("rename", 10, 8, 10, 80)
    blocks = [s[2] for s in SECTIONS]
    starts = tuple((sum(blocks[:i]), count) for i, count in enumerate(blocks))
    return Base(version, psdt, codeplug.read_bytes(), starts, START)
