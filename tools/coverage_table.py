#!/usr/bin/env python3
"""Sums gcovr's JSON report up by folder and lists the lines that no test reaches.

    coverage_table.py REPORT.json PERCENT

Exit code 1 when less than PERCENT of all lines are reached.
"""
import collections
import json
import sys


def ranges(numbers):
    """"3 7-9" for 3, 7, 8, 9."""
    parts = []
    for n in sorted(numbers):
        if parts and parts[-1][1] == n - 1:
            parts[-1][1] = n
        else:
            parts.append([n, n])
    return " ".join(str(a) if a == b else f"{a}-{b}" for a, b in parts)


def percent(hit, count):
    return f"{100 * hit / count:6.2f} %" if count else "       -"


folders = collections.defaultdict(lambda: [0, 0, 0, 0])
missed = {}
with open(sys.argv[1], encoding="utf-8") as report:
    files = json.load(report)["files"]
for file in files:
    lines = [l for l in file["lines"] if not l.get("gcovr/noncode") and not l.get("gcovr/excluded")]
    branches = [b for l in lines for b in l["branches"]]
    figures = (sum(l["count"] > 0 for l in lines), len(lines), sum(b["count"] > 0 for b in branches), len(branches))
    for key in (file["file"].split("/")[0], "all"):
        folders[key] = [a + b for a, b in zip(folders[key], figures)]
    unreached = {l["line_number"] for l in lines if l["count"] <= 0}
    if unreached:
        missed[file["file"]] = unreached

print(f"{'folder':12} {'lines':>15} {'':8} {'branches':>15}")
for name in sorted(folders, key=lambda n: (n == "all", n)):
    a, b, c, d = folders[name]
    print(f"{name:12} {f'{a} of {b}':>15} {percent(a, b)} {f'{c} of {d}':>15} {percent(c, d)}")
print("\nlines that no test reaches:")
for name in sorted(missed):
    print(f"{name}: {ranges(missed[name])}")
hit, count = folders["all"][:2]
sys.exit(count == 0 or 100 * hit < float(sys.argv[2]) * count)
