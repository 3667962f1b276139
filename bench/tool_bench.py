#!/usr/bin/env python3
"""What the commands of the tool cost on a large image, against cp and cat of the same bytes in the same run.

usage: tool_bench.py VOK [RUNS]

An image of 16 000 items and 24 MiB, always the same one, and one whose blocks are full of dead slots. Prints a table and
ends with status 1 when a figure is above its limit: the lowest time of several runs, on a machine that does nothing else,
and the peak memory of one process.
"""
import json
import os
import random
import struct
import subprocess
import sys
import tempfile
import time
import zlib

ITEMS = 16000
LENGTHS = (100, 3045)  # 24 MiB in all
TYPES = 40
BLOCKS = 208
BLOCK_SIZE = 0x20000
START = 0x20000
HEADER_SIZE = 32
SLOT_SIZE = 8
MOST_MEMORY = 150  # MiB
FOLDER_LIMIT = 3  # times cp -r of the folder
IMAGE_LIMIT = 20  # times cat of the image
GARBAGE_LIMIT = 4  # times the same command on the clean image

DESCRIPTION = {
    "format": "vok/1",
    "version": 3,
    "sections": [
        {"tag": "CPGA", "kind": "read-write", "start": START, "block_count": BLOCKS, "partition": 0, "types": [[1, 999]]}
    ],
}


def run(command, runs, before=None):
    """The lowest processor and wall times of a command in seconds, and its peak memory in MiB."""
    best_cpu = best_wall = float("inf")
    memory = 0
    for _ in range(runs):
        if before:
            subprocess.run(before, check=True)
        clock = time.monotonic()
        with open(os.devnull, "wb") as nothing:
            process = subprocess.Popen(command, stdout=nothing)
            _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            sys.exit(f"status {process.returncode}: {' '.join(command)}")
        best_wall = min(best_wall, time.monotonic() - clock)
        best_cpu = min(best_cpu, usage.ru_utime + usage.ru_stime)
        memory = max(memory, usage.ru_maxrss / 1024)
    return best_cpu, best_wall, memory


def write_folder(vok):
    """A folder as unpack makes it, with the items that the image is to have."""
    with open("description.json", "w") as file:
        json.dump(DESCRIPTION, file)
    subprocess.run([vok, "new", "description.json", "--dump", "-o", "empty.bin"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run([vok, "--image", "empty.bin", "unpack", "folder"], check=True, stdout=subprocess.DEVNULL)
    with open("folder/manifest.json") as file:
        manifest = json.load(file)
    source = random.Random(1)
    for number in range(ITEMS):
        type_, id_ = 1 + number % TYPES, number // TYPES
        data = source.randbytes(source.randrange(*LENGTHS))
        name = f"CPGA/{type_}-{id_}.bin"
        with open(f"folder/{name}", "wb") as file:
            file.write(data)
        manifest["sections"][0]["items"].append(
            {"type": type_, "id": id_, "length": len(data), "crc32": f"{zlib.crc32(data):08x}", "file": name}
        )
    with open("folder/manifest.json", "w") as file:
        json.dump(manifest, file)


def write_garbage():
    """The empty image with every block but one full of Deleted slots, of an empty record at the block's end each."""
    with open("big.bin", "rb") as file:
        used = file.read()
    states = {used[START + block * BLOCK_SIZE + 12 :][:2] for block in range(BLOCKS)}
    (active,) = states - {b"\x3f\xff"}  # of a Free block
    with open("empty.bin", "rb") as file:
        image = bytearray(file.read())
    count = (BLOCK_SIZE - HEADER_SIZE - SLOT_SIZE) // SLOT_SIZE
    slots = b"".join(
        struct.pack(">HHI", 1 + slot % 900, slot * 7 % 60000, BLOCK_SIZE // 4 - 1) for slot in range(count)
    )
    for block in range(BLOCKS - 1):
        base = START + block * BLOCK_SIZE
        image[base + 12 : base + 14] = active
        image[base + HEADER_SIZE : base + HEADER_SIZE + len(slots)] = slots
    with open("garbage.bin", "wb") as file:
        file.write(image)


def main():
    vok = os.path.abspath(sys.argv[1])
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    failed = False

    def tell(name, figures, yardstick, limit):
        nonlocal failed
        cpu, wall, memory = figures
        ratio = wall / yardstick
        above = limit is not None and (ratio > limit or memory > MOST_MEMORY)
        failed = failed or above
        print(
            f"{name:<34}{cpu * 1000:>9.0f}{wall * 1000:>9.0f}{memory:>9.0f}{ratio:>9.1f}"
            f"{limit or '-':>8}{'  ABOVE' if above else ''}",
            flush=True,
        )

    with tempfile.TemporaryDirectory() as directory:
        os.chdir(directory)
        write_folder(vok)
        print(f"{'':<34}{'CPU ms':>9}{'WALL ms':>9}{'MiB':>9}{'RATIO':>9}{'LIMIT':>8}")
        copy = run(["cp", "-r", "folder", "copy"], runs, ["rm", "-rf", "copy"])
        tell("cp -r of the folder", copy, copy[1], None)
        pack = [vok, "pack", "folder", "--dump", "-o", "big.bin"]
        tell("pack", run(pack, runs, ["rm", "-f", "big.bin"]), copy[1], FOLDER_LIMIT)
        unpack = [vok, "--image", "big.bin", "unpack", "out"]
        tell("unpack", run(unpack, runs, ["rm", "-rf", "out"]), copy[1], FOLDER_LIMIT)
        cat = run(["cat", "big.bin"], runs)
        tell("cat of the image", cat, cat[1], None)
        write_garbage()
        commands = [["list"], ["list", "--json"], ["check"], ["map"], ["map", "--json"], ["info"]]
        clean = {}
        for command in commands:
            clean[" ".join(command)] = figures = run([vok, "--image", "big.bin", *command], runs)
            tell(" ".join(command), figures, cat[1], IMAGE_LIMIT)
        tell("diff", run([vok, "diff", "big.bin", "big.bin"], runs), cat[1], IMAGE_LIMIT)
        for command in commands:
            name = " ".join(command)
            figures = run([vok, "--image", "garbage.bin", *command], runs)
            tell(f"{name}, full of dead slots", figures, clean[name][1], GARBAGE_LIMIT)
        os.chdir("/")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
