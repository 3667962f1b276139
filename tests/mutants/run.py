#!/usr/bin/env python3
"""Changes one operator, constant or statement of src/ at a time and runs the tests: a change that no test notices is a
survivor. Each survivor has to be explained in explained.json beside this file, or it gets a test.

Nothing of the checkout is changed: the mutants are made in copies below the build folder."""

import argparse
import concurrent.futures
import json
import os
import pathlib
import queue
import resource
import shutil
import subprocess
import sys

import mutation

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
# Far above what the tests take: a mutant that needs more hangs.
CPU_SECONDS = 240
MEMORY_BYTES = 4 << 30  # of a program without sanitizers, which map far more
# Build, target, program and arguments, the ones that notice most in the least time first: nothing is built that no
# mutant gets to. What reads beyond its bounds shows under the sanitizers.
SLOW = "*RandomTest*:*DamageTest*:*DamageCostTest*:*IndexTest*"
GTEST = ["--gtest_fail_fast", "--gtest_brief=1"]
TESTS = [
    ("plain", "vok_tests", "tests/vok_tests", [*GTEST, "--gtest_filter=-" + SLOW]),
    ("plain", "vok_tests", "tests/vok_tests", [*GTEST, "--gtest_filter=" + SLOW]),
    ("plain", "vok_c_tests", "tests/vok_c_tests", GTEST),
    ("sanitized", "vok_tests", "tests/vok_tests", GTEST),
    ("plain", "vok_sweep_run", "vok_sweep", ["--fast", "--stride", "7", "--jobs", "1"]),
]
BUILDS = {"plain": [], "sanitized": ["-DVOK_SANITIZE=address,undefined", "-DVOK_COUNT_READS=ON", "-DVOK_BUILD_SHARED=OFF"]}


def files_to_copy():
    listed = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, check=True, stdout=subprocess.PIPE, text=True)
    return [ROOT / name for name in listed.stdout.split("\0") if name and (ROOT / name).is_file()]


def run(command, memory=MEMORY_BYTES, **keywords):
    def limit():
        resource.setrlimit(resource.RLIMIT_CPU, (CPU_SECONDS, CPU_SECONDS))
        resource.setrlimit(resource.RLIMIT_AS, (memory, memory))
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace",
                          preexec_fn=limit, check=False, **keywords)


class Workshop:
    """A copy of the sources with a build of its own, in which one mutant after the other is made."""

    def __init__(self, folder):
        self.folder = folder
        self.sources = folder / "sources"
        self._copy_sources()
        self._configure()

    def _copy_sources(self):
        """Unchanged files keep their time, so that only what changed is built anew."""
        for path in files_to_copy():
            target = self.sources / path.relative_to(ROOT)
            if not target.exists() or target.read_bytes() != path.read_bytes():
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(path, target)

    def _configure(self):
        for build, options in BUILDS.items():
            command = ["cmake", "-G", "Ninja", "-S", str(self.sources), "-B", str(self.folder / build), "-DVOK_BUILD_TOOLS=OFF",
                       "-DVOK_BUILD_TESTS=ON", "-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_CXX_FLAGS_RELEASE=-O1", *options]
            result = run(command)
            if result.returncode != 0:
                sys.exit("cannot configure:\n" + result.stdout[-2000:])
        noticed = self.noticed_by()
        if noticed is not None:
            sys.exit("the tests do not pass before any change: " + noticed)

    def _builds(self, build, target):
        command = ["cmake", "--build", str(self.folder / build), "-j", "1", "--target", target]
        # A build runs the tests, too, to learn their names.
        return run(command, resource.RLIM_INFINITY).returncode == 0

    def noticed_by(self):
        """What notices the mutant, "no build", or None."""
        for build, target, program, arguments in TESTS:
            if not self._builds(build, target):
                return "no build"
            memory = MEMORY_BYTES if build == "plain" else resource.RLIM_INFINITY
            if run([str(self.folder / build / program), *arguments], memory).returncode != 0:
                return f"{build} {target}"
        return None

    def try_out(self, mutant):
        """@return what noticed it, "survived" or "no build"."""
        path = self.sources / mutant.path
        original = path.read_text()
        lines = original.split("\n")
        lines[mutant.line - 1] = mutant.after
        path.write_text("\n".join(lines))
        try:
            return self.noticed_by() or "survived"
        finally:
            path.write_text(original)


def all_mutations(only):
    found = []
    for path in sorted((ROOT / "src").rglob("*")):
        name = str(path.relative_to(ROOT))
        if path.suffix in (".cpp", ".h") and name.startswith(only):
            found += mutation.mutations_of(name, path.read_text())
    return found


def explanations():
    """An explanation without "after" is one for every change of its line."""
    return json.loads((HERE / "explained.json").read_text())


def explanation_of(mutant, known):
    for entry in known:
        same_line = entry["file"] == mutant.path and entry["before"] == mutant.before.strip()
        if same_line and entry.get("after", mutant.after.strip()) == mutant.after.strip():
            return entry["why"]
    return None


def sample_of(arguments):
    candidates = mutation.shuffled(all_mutations(arguments.only), arguments.seed)
    return candidates if arguments.count == 0 else candidates[: arguments.count * 2]


def try_all(candidates, arguments, tell):
    """Tries mutants until enough of them could be built. @return (mutant, verdict) pairs"""
    workshops = queue.Queue()
    for number in range(arguments.jobs):
        workshops.put(Workshop(pathlib.Path(arguments.folder) / str(number)))
    wanted = arguments.count or len(candidates)
    results = []

    def attempt(mutant):
        if len(results) >= wanted:
            return
        workshop = workshops.get()
        try:
            verdict = workshop.try_out(mutant)
        finally:
            workshops.put(workshop)
        if verdict != "no build" and len(results) < wanted:
            results.append((mutant, verdict))
            tell(len(results), mutant, verdict)

    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        list(pool.map(attempt, candidates))
    return results


def parse():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--count", type=int, default=200, help="mutants that build (0 = all)")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only", default="src", help="path below which the sources are changed")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--folder", default=str(ROOT / "build/mutants"))
    return parser.parse_args()


def main():
    arguments = parse()
    known = explanations()

    def tell(number, mutant, verdict):
        if verdict == "survived" and explanation_of(mutant, known) is None:
            print(f"survivor {number}: {mutant.text()}", flush=True)
        elif number % 20 == 0:
            print(f"{number} mutants tried", flush=True)

    results = try_all(sample_of(arguments), arguments, tell)
    survivors = [mutant for mutant, verdict in results if verdict == "survived"]
    unexplained = [mutant for mutant in survivors if explanation_of(mutant, known) is None]
    caught = len(results) - len(survivors)
    print(f"{len(results)} mutants: {caught} caught, {len(survivors) - len(unexplained)} explained, {len(unexplained)} not explained")
    # What an explanation tells is no fault; the others count.
    return 0 if not unexplained and caught + len(survivors) - len(unexplained) >= 0.95 * len(results) else 1


if __name__ == "__main__":
    sys.exit(main())
