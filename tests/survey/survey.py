#!/usr/bin/env python3
"""Damages small clean images of every store version in every way that the list of docs/reliability.md names, and tells
what a person gets who reads, checks, repairs or rebuilds the image with the tool. A damage that makes a command die, or
that goes unnoticed where the layout could tell, is a fault and ends the survey with status 1."""

import argparse
import collections
import concurrent.futures
import os
import pathlib
import sys
import tempfile

import base
import damage
import page
import verdict

def try_share(job):
    """One process's share of the cases of a base image. @return {(field, how): [Counter of classes, not delivered, back]}, faults"""
    vok, source, truth, share, shares, stride = job
    rows, faults = {}, []
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        for number, case in enumerate(damage.damages_of(source)):
            if number % stride != 0 or number // stride % shares != share:
                continue
            (folder / "damaged.bin").write_bytes(case.image)
            image = ["--psdt", source.psdt, "--store-version", source.version.number, "--codeplug", folder / "damaged.bin"]
            outcome = verdict.look(vok, image, truth, folder / "repaired.bin")
            kind, why = verdict.classify(case, outcome)
            row = rows.setdefault((case.field, case.how), [collections.Counter(), 0, 0])
            row[0][kind] += 1
            row[1] += outcome.lost + outcome.missing
            row[2] += outcome.back
            if kind == verdict.FAULT:
                faults.append(f"version {source.version.number}, {case.field}, {case.name}: {why}")
    return rows, faults


def add(total, rows):
    for key, (classes, gone, back) in rows.items():
        row = total.setdefault(key, [collections.Counter(), 0, 0])
        row[0].update(classes)
        row[1] += gone
        row[2] += back


def parse():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("vok", help="the tool")
    parser.add_argument("--stride", type=int, default=1, help="only one case in so many")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--page", help="page whose part on damage is written anew")
    return parser.parse_args()


def main():
    arguments = parse()
    vok = str(pathlib.Path(arguments.vok).resolve())
    total, faults, jobs = {}, [], []
    with tempfile.TemporaryDirectory() as name, concurrent.futures.ProcessPoolExecutor(arguments.jobs) as pool:
        for number in (1, 2, 3):
            source = base.make(vok, number, pathlib.Path(name) / f"v{number}")
            truth = source.items(vok)
            jobs += [(vok, source, truth, share, arguments.jobs, arguments.stride) for share in range(arguments.jobs)]
        for rows, found in pool.map(try_share, jobs):
            add(total, rows)
            faults += found
    print("\n".join(faults + [page.summary(total)]))
    if arguments.page:
        page.write(pathlib.Path(arguments.page), total, len(faults), arguments.stride)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
