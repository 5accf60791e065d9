#!/usr/bin/env python3
"""Changes row kernels in one small place at a time and counts how many changes the tests notice.

Works on a copy of the tree in build/mutation. Of it only the library is built, for the lowest and the highest processor level;
the test programs of build/release run with it. Prints every change that nothing noticed. A change is caught when random draws or a test fail, crash or take far too long; one that does not compile is
none.
"""

import argparse
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDER = ROOT / "build" / "mutation"
TREE = FOLDER / "tree"
BUILD = FOLDER / "build"
PROGRAMS = ROOT / "build" / "release" / "tests"

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


def run(*command, timeout):
    environment = os.environ | {"LD_LIBRARY_PATH": str(BUILD)}
    try:
        return subprocess.run(command, timeout=timeout, capture_output=True, env=environment).returncode
    except subprocess.TimeoutExpired:
        return -1


def copy_tree():
    TREE.mkdir(parents=True, exist_ok=True)
    names = subprocess.run(["git", "ls-files"], cwd=ROOT, check=True, capture_output=True, text=True).stdout.split("\n")
    for name in filter(None, names):
        source, target = ROOT / name, TREE / name
        if not source.is_file():
            continue
        if target.is_file() and target.read_bytes() == source.read_bytes():
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(source, target)


def build(jobs):
    command = ["cmake", "--build", BUILD, "-j", str(jobs), "--target", "rasterkit_shared"]
    return subprocess.run(command, capture_output=True, text=True)


def prepare(jobs):
    copy_tree()
    subprocess.run(
        ["cmake", "-G", "Ninja", "-S", TREE, "-B", BUILD, "-DCMAKE_BUILD_TYPE=None", "-DCMAKE_CXX_FLAGS=-O1",
         "-DRASTERKIT_LEVELS=baseline;v4", "-DRASTERKIT_TOOLS=OFF", "-DRASTERKIT_TESTS=OFF"],
        check=True, capture_output=True)
    built = build(jobs)
    if built.returncode:
        sys.exit(built.stdout[-4000:])


def noticed():
    if run(PROGRAMS / "fuzz/rasterkit_draws", "100000", timeout=600):
        return "draws"
    if run(PROGRAMS / "rasterkit_tests", "--gtest_brief=1", "--gtest_fail_fast", timeout=1800):
        return "tests"
    return None


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--count", type=int, default=60, help="changes to try")
    parser.add_argument("--seed", type=int, default=1, help="which ones")
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--only", default="", help="kernel files with this in their names")
    options = parser.parse_args()

    prepare(options.jobs)
    if noticed():
        sys.exit("the tests fail without any change")
    files = [path for path in sorted(TREE.glob("rasterkit/*/*_kernels.cpp")) if options.only in path.name]
    # As many from each file: the large ones would have them all.
    generator = random.Random(options.seed)
    pools = []
    for path in files:
        pool = list(candidates(path))
        generator.shuffle(pool)
        pools.append(pool)
    chosen = []
    while len(chosen) < options.count and any(pools):
        for pool in pools:
            if pool and len(chosen) < options.count:
                chosen.append(pool.pop())

    caught = 0
    tried = 0
    survivors = []
    for path, number, kind, before, after in chosen:
        original = path.read_text()
        lines = original.split("\n")
        lines[number] = after
        path.write_text("\n".join(lines))
        try:
            if build(options.jobs).returncode:
                continue
            how = noticed()
        finally:
            path.write_text(original)
        place = f"{path.relative_to(TREE)}:{number + 1}"
        print(f"{place}: {kind}: {'caught by ' + how if how else 'NOT NOTICED: ' + after.strip()}", flush=True)
        tried += 1
        if how:
            caught += 1
        else:
            survivors.append((place, before.strip(), after.strip()))
    build(options.jobs)

    for place, before, after in survivors:
        print(f"\n{place}\n  was {before}\n  is  {after}")
    print(f"\n{caught} of {tried} changes noticed, {100 * caught / max(tried, 1):.1f} %")


if __name__ == "__main__":
    main()
