#!/usr/bin/env python3
"""Sums up what gcov counted, by folder, and lists the lines that were not reached.

    coverage_table.py BUILD PERCENT

A line of a template or an inline function counts once, and as reached when one of its instances was; so do
branches, of which those that only an exception takes do not count. Exit code 1 when less than PERCENT of all lines
are reached.
"""
import collections
import json
import pathlib
import subprocess
import sys

FOLDERS = ("platform", "runtime", "text", "containers", "attrib", "tree", "xml", "datetime", "csv", "log", "tool",
           "include")
ROOT = pathlib.Path(__file__).resolve().parent.parent


def reports(build):
    """What gcov says about each object file, one JSON value a line."""
    data = sorted(str(p) for p in pathlib.Path(build).resolve().rglob("*.gcda"))
    for i in range(0, len(data), 20):
        run = subprocess.run(["gcov", "--json-format", "--stdout", "--branch-probabilities", *data[i:i + 20]],
                             stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, cwd=build, check=False)
        for line in run.stdout.splitlines():
            if line.startswith(b"{"):
                yield json.loads(line)


def merged(build):
    """{file: {line: [count, {branch: taken}]}} of the library's own files."""
    files = collections.defaultdict(lambda: collections.defaultdict(lambda: [0, {}]))
    for report in reports(build):
        folder = pathlib.Path(report["current_working_directory"])
        for file in report["files"]:
            path = pathlib.Path(file["file"])
            path = path if path.is_absolute() else folder / path
            try:
                name = path.resolve().relative_to(ROOT)
            except ValueError:
                continue
            if name.parts[0] not in FOLDERS:
                continue
            lines = files[str(name)]
            for line in file["lines"]:
                entry = lines[line["line_number"]]
                entry[0] += line["count"]
                for i, branch in enumerate(b for b in line["branches"] if not b["throw"]):
                    entry[1][i] = entry[1].get(i, False) or branch["count"] > 0
    return files


def ranges(numbers):
    """"3 7-9" for 3, 7, 8, 9."""
    parts = []
    for n in sorted(numbers):
        if parts and parts[-1][1] == n - 1:
            parts[-1][1] = n
        else:
            parts.append([n, n])
    return " ".join(str(a) if a == b else f"{a}-{b}" for a, b in parts)


def share(hit, count):
    return f"{f'{hit} of {count}':>15} " + (f"{100 * hit / count:6.2f} %" if count else f"{'-':>8}")


def main():
    folders = collections.defaultdict(lambda: [0, 0, 0, 0])
    files = merged(sys.argv[1])
    for name, lines in files.items():
        taken = [t for entry in lines.values() for t in entry[1].values()]
        figures = (sum(entry[0] > 0 for entry in lines.values()), len(lines), sum(taken), len(taken))
        for key in (name.split("/")[0], "all"):
            folders[key] = [a + b for a, b in zip(folders[key], figures)]
    print(f"{'folder':12}{'lines':>16} {'':9}{'branches':>16}")
    for name in (*FOLDERS, "all"):
        a, b, c, d = folders[name]
        print(f"{name:12} {share(a, b)} {share(c, d)}")
    print("\nlines that no test reaches:")
    for name in sorted(files):
        missed = [n for n, entry in files[name].items() if entry[0] <= 0]
        if missed:
            print(f"{name}: {ranges(missed)}")
    hit, count = folders["all"][:2]
    return count == 0 or 100 * hit < float(sys.argv[2]) * count


if __name__ == "__main__":
    sys.exit(main())
