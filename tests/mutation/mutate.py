#!/usr/bin/env python3
"""Changes row kernels in one small place at a time and counts how many changes the tests notice.

Works on a copy of the tree in build/mutation. Of it only the library and the tests of its internals are built, for the lowest
and the highest processor level and the single features that this processor has, and so that undefined behaviour stops them, as
under the sanitizers of ./dev check. The other test programs of build/release run with that library. A change is caught when
random draws or a test fail, crash or take five times as long and a minute. One that does not compile is none, and neither is
one from which the compiler makes the same library: of code for another processor, or of a number without consequence.

Prints every change that nothing noticed, and two figures: with and without the changes that equivalent.txt beside this file
says make no difference, and why.
"""

import argparse
import hashlib
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDER = ROOT / "build" / "mutation"
TREE = FOLDER / "tree"
BUILD = FOLDER / "build"
PROGRAMS = ROOT / "build" / "release" / "tests"
EQUIVALENT = pathlib.Path(__file__).with_name("equivalent.txt")
# Kernels of a single feature, and what the system calls it.
FEATURES = {"vbmi": "avx512vbmi", "vnni": "avx512_vnni"}

# What is looked for, and what takes its place.
CHANGES = [
    ("comparison", r"(?<=[\w)\]] )<(?= [\w(-])", "<="),
    ("comparison", r"(?<=[\w)\]] )>(?= [\w(-])", ">="),
    ("comparison", r"<=(?= )", "<"),
    ("comparison", r"(?<!-)>=(?= )", ">"),
    ("comparison", r"==", "!="),
    ("comparison", r"!=", "=="),
    ("clamp", r"\bleast\(", "greatest("),
    ("clamp", r"\bgreatest\(", "least("),
    ("clamp", r"\blimited\w*(?:<[^<>()]*>)?\(([^(),]+), [^()]*\)", r"(\1)"),
    ("sign", r"(?<=[\w)\]] )\+(?= [\w(])", "-"),
    ("sign", r"(?<=[\w)\]] )-(?= [\w(])", "+"),
    ("constant", r"(?<![\w.<\[])(\d+)(?![\w.\]>])", lambda match: str(int(match[1]) + 1)),
    ("constant", r"(?<![\w.])(\d+\.\d+)(?=F?\b)", lambda match: match[1] + "1"),
]


def code_lines(text):
    """Numbers and contents of lines that hold statements."""
    for number, line in enumerate(text.split("\n")):
        code = line.split("//")[0]
        bare = code.strip()
        if not bare or bare.startswith(("#", "template", "using", "namespace", "static_assert", "struct", "*")):
            continue
        yield number, code


def candidates(path):
    text = path.read_text()
    lines = text.split("\n")
    for number, code in code_lines(text):
        for kind, pattern, replacement in CHANGES:
            for match in re.finditer(pattern, code):
                changed = code[: match.start()] + match.expand(replacement) if isinstance(replacement, str) else None
                if changed is None:
                    changed = code[: match.start()] + replacement(match)
                changed += code[match.end() :]
                yield path, number, kind, lines[number], changed


def equivalents():
    """What is known to make no difference: pairs of lines, was and is, by file; line numbers would not last."""
    known = set()
    for block in EQUIVALENT.read_text().split("\n\n"):
        lines = [line for line in block.split("\n") if line and not line.startswith("#")]
        if lines:
            path, was, now, why = lines
            known.add((path.strip(), was.removeprefix("  was ").strip(), now.removeprefix("  is ").strip()))
            assert why.startswith("  why "), block
    return known


def library():
    return hashlib.sha256((BUILD / "librasterkit.so").read_bytes()).digest()


def copy_tree():
    TREE.mkdir(parents=True, exist_ok=True)
    names = subprocess.run(["git", "ls-files"], cwd=ROOT, check=True, capture_output=True, text=True).stdout.split("\n")
    for old in TREE.rglob("*"):
        if old.is_file() and str(old.relative_to(TREE)) not in names:
            old.unlink()
    for name in filter(None, names):
        source, target = ROOT / name, TREE / name
        if not source.is_file():
            continue
        if target.is_file() and target.read_bytes() == source.read_bytes():
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(source, target)


def build(jobs, target="rasterkit_shared"):
    command = ["cmake", "--build", BUILD, "-j", str(jobs), "--target", target]
    return subprocess.run(command, capture_output=True, text=True)


def prepare(jobs):
    copy_tree()
    subprocess.run(
        ["cmake", "-G", "Ninja", "-S", TREE, "-B", BUILD, "-DCMAKE_BUILD_TYPE=None",
         "-DCMAKE_CXX_FLAGS=-O1 -fsanitize=undefined -fno-sanitize=vptr -fsanitize-undefined-trap-on-error",
         "-DRASTERKIT_LEVELS=baseline;v4", "-DRASTERKIT_TOOLS=OFF", "-DRASTERKIT_TESTS=ON"],
        check=True, capture_output=True)
    built = build(jobs)
    if built.returncode:
        sys.exit(built.stdout[-4000:])


# The quickest first: most changes are noticed within a few draws. Each in as many parts at once as there are jobs. What is
# not exported is linked into its tests, so these are built anew for each change that comes so far.
CHECKS = {
    "draws": lambda part, parts: [PROGRAMS / "fuzz/rasterkit_draws", str(100000 // parts), str(part + 1)],
    "internal tests": lambda part, parts: [BUILD / "tests/rasterkit_internal_tests", "--gtest_brief=1", "--gtest_fail_fast"],
    "tests": lambda part, parts: [PROGRAMS / "rasterkit_tests", "--gtest_brief=1", "--gtest_fail_fast"],
}


def passes(check, jobs, timeout):
    """Ends with the first part that fails."""
    if check == "internal tests" and build(jobs, "rasterkit_internal_tests").returncode:
        return False
    until = time.monotonic() + timeout
    parts = []
    for part in range(jobs):
        environment = {"LD_LIBRARY_PATH": str(BUILD), "GTEST_TOTAL_SHARDS": str(jobs), "GTEST_SHARD_INDEX": str(part)}
        parts.append(subprocess.Popen(CHECKS[check](part, jobs), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                      env=os.environ | environment))
    try:
        while time.monotonic() < until:
            states = [part.poll() for part in parts]
            if any(states):
                return False
            if None not in states:
                return True
            time.sleep(0.01)
        return False
    finally:
        for part in parts:
            part.kill()
            part.wait()


def usual_times(jobs):
    """How long each check takes without any change, in seconds."""
    times = {}
    for check in CHECKS:
        started = time.monotonic()
        if not passes(check, jobs, timeout=3600):
            sys.exit(f"the {check} fail without any change")
        times[check] = time.monotonic() - started
        print(f"{check} without any change: {times[check]:.0f} s", flush=True)
    return times


def noticed(times, jobs):
    for check, usual in times.items():
        if not passes(check, jobs, timeout=60 + 5 * usual):
            return check
    return None


def kernel_files(only):
    processor = pathlib.Path("/proc/cpuinfo").read_text()
    for path in sorted([*TREE.glob("rasterkit/*/*_kernels*.cpp"), *TREE.glob("rasterkit/*/kernel_*.h")]):
        feature = path.stem.rpartition("_kernels_")[2] if "_kernels_" in path.stem else ""
        if only in path.name and FEATURES.get(feature, "") in processor:
            yield path


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--count", type=int, default=60, help="changes to try")
    parser.add_argument("--seed", type=int, default=1, help="which ones")
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--only", default="", help="kernel files with this in their names")
    options = parser.parse_args()

    known = equivalents()
    prepare(options.jobs)
    unchanged = library()
    times = usual_times(options.jobs)
    # As many from each file: the large ones would have them all. Each with its own choice, whatever becomes of the others.
    pools = []
    for path in kernel_files(options.only):
        pool = list(candidates(path))
        random.Random(f"{options.seed} {path.name}").shuffle(pool)
        pools.append(pool)

    caught = 0
    explained = 0
    survivors = []

    def tried():
        return caught + explained + len(survivors)

    while tried() < options.count and any(pools):
        pool = pools.pop(0)
        pools.append(pool)
        if not pool:
            continue
        path, number, kind, before, after = pool.pop()
        original = path.read_text()
        lines = original.split("\n")
        lines[number] = after
        path.write_text("\n".join(lines))
        try:
            if build(options.jobs).returncode or library() == unchanged:
                continue
            how = noticed(times, options.jobs)
        finally:
            path.write_text(original)
        place = f"{path.relative_to(TREE)}:{number + 1}"
        change = (str(path.relative_to(TREE)), before.strip(), after.strip())
        if how:
            caught += 1
            verdict = "caught by " + how
        elif change in known:
            explained += 1
            verdict = "makes no difference, as equivalent.txt says"
        else:
            survivors.append((place, *change[1:]))
            verdict = f"NOT NOTICED\n  was {change[1]}\n  is  {change[2]}"
        print(f"{place}: {kind}: {verdict}", flush=True)
    build(options.jobs)

    for place, before, after in survivors:
        print(f"\n{place}\n  was {before}\n  is  {after}")
    print(f"\n{caught} of {tried()} changes noticed, {100 * caught / max(tried(), 1):.1f} %")
    unexplained = tried() - explained
    print(f"{caught} of {unexplained} that make a difference as far as is known, {100 * caught / max(unexplained, 1):.1f} %")


if __name__ == "__main__":
    main()
