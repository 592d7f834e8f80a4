#!/usr/bin/env python3
"""Prints the share of the product's lines and branches that the tests ran, for each folder, from exports of llvm-cov.

    report.py SOURCE_DIR LINES BRANCHES [UNCOVERED]

LINES is in lcov's format, BRANCHES in JSON. Lists every line and branch that was not run in the file UNCOVERED. Exit status 1
when the total is below the goal.

A line counts when it holds code, not when it is blank, a comment or a bracket. A branch is one outcome of one condition in
the source, as clang counts them: branches of exceptions and destructors do not count. The instances of a template count as one.
"""
import json
import os
import re
import sys
from collections import defaultdict
from pathlib import Path

FOLDERS = ("core", "record", "message", "convert", "stream", "zeldata", "crush32")
LINES_AIM = 98.0
BRANCHES_AIM = 95.0
NO_CODE = re.compile(r"^\s*(//.*|[{}();,\s]*(//.*)?|\}?\s*else\s*\{?|public:|private:)\s*$")


def product_file(source_dir, name):
    path = Path(os.path.normpath(name))
    if not path.is_relative_to(source_dir) or path.relative_to(source_dir).parts[0] not in FOLDERS:
        return None
    return path.relative_to(source_dir)


def read_lines(source_dir, trace):
    lines = defaultdict(dict)
    file = source = None
    for row in trace.read_text().splitlines():
        key, _, value = row.partition(":")
        if key == "SF":
            file = product_file(source_dir, value)
            source = (source_dir / file).read_text().splitlines() if file else []
        elif key == "DA" and file:
            number, count = (int(part) for part in value.split(",")[:2])
            if not NO_CODE.match(source[number - 1]):
                lines[file][number] = count
    return lines


def read_branches(source_dir, trace):
    """How often each condition was true and false, by file and place."""
    branches = defaultdict(lambda: defaultdict(lambda: [0, 0]))
    for function in json.loads(trace.read_text())["data"][0]["functions"]:
        files = [product_file(source_dir, name) for name in function["filenames"]]
        for *place, if_true, if_false, file_id, _, _ in function["branches"]:
            if files[file_id]:
                counts = branches[files[file_id]][tuple(place)]
                counts[0] += if_true
                counts[1] += if_false
    return branches


def uncovered(source_dir, file, lines, branches):
    source = (source_dir / file).read_text().splitlines()
    missed = {number: ["line"] for number, count in lines.items() if count == 0}
    for (number, column, _, end), counts in sorted(branches.items()):
        if missed.get(number) == ["line"]:
            continue
        condition = source[number - 1][column - 1:end - 1]
        for outcome, count in zip(("true", "false"), counts):
            if count == 0:
                missed.setdefault(number, []).append(f"'{condition}' never {outcome}")
    return [f"{file}:{number}: {', '.join(kinds)}: {source[number - 1].strip()}" for number, kinds in sorted(missed.items())]


def share(ran, all_of_them):
    return 100.0 * ran / all_of_them


def main():
    if len(sys.argv) not in (4, 5):
        sys.exit(__doc__)
    source_dir = Path(sys.argv[1]).resolve()
    lines, branches = read_lines(source_dir, Path(sys.argv[2])), read_branches(source_dir, Path(sys.argv[3]))
    totals = {folder: [0, 0, 0, 0] for folder in FOLDERS}
    missed = []
    for file in sorted(lines):
        outcomes = [count for counts in branches[file].values() for count in counts]
        figures = (sum(count > 0 for count in lines[file].values()), len(lines[file]),
                   sum(count > 0 for count in outcomes), len(outcomes))
        totals[file.parts[0]] = [a + b for a, b in zip(totals[file.parts[0]], figures)]
        missed += uncovered(source_dir, file, lines[file], branches[file])
    if not all(total[1] and total[3] for total in totals.values()):
        sys.exit("coverage: nothing is known of " + ", ".join(f for f, total in totals.items() if not total[1] or not total[3]))
    if len(sys.argv) == 5:
        Path(sys.argv[4]).write_text("".join(row + "\n" for row in missed))
    totals["total"] = [sum(column) for column in zip(*totals.values())]
    print(f"{'':10}{'lines':>12}{'':8}{'branches':>12}")
    for name, (ran, all_lines, taken, all_branches) in totals.items():
        print(f"{name:10}{f'{ran}/{all_lines}':>12}{share(ran, all_lines):7.1f}%"
              f"{f'{taken}/{all_branches}':>12}{share(taken, all_branches):7.1f}%")
    if share(ran, all_lines) < LINES_AIM or share(taken, all_branches) < BRANCHES_AIM:
        sys.exit(f"coverage: below {LINES_AIM:.0f}% of lines or {BRANCHES_AIM:.0f}% of branches")


if __name__ == "__main__":
    main()
