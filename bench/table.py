#!/usr/bin/env python3
"""Turns results of Google Benchmark (JSON) into the table of what is promised and what is aimed at.

    table.py [--markdown] [PREFIX:]RESULT.json...     names of a file's results get PREFIX: in front

A row compares one figure of ztree with peers measured in the same run. Floor and goal are factors of a peer's
speed, or figures of their own; a row whose peers are not installed says so. Exit code 1 when a floor is missed.
"""
import json
import sys

# Row: what, ztree's benchmark, floor, goal. Floor and goal are (peer's benchmark, factor of its speed), or a
# number: nanoseconds an item or an iteration, bytes a second from a million on; or a counter and its bound; or
# None. Two peers that decide goals are in no package: simdutf and tinyexpr. Their speeds beside a packaged peer,
# measured in one run, stand for them: simdutf 4.7, 7.1 and 2.5 times ICU at 0.8 of its own speed, 1.6 times ICU
# on short fields; tinyexpr 28, 24 and 19 times muParser.
ROWS = [
    ("XML to tree, MIME database", "xmlParse/ztree/mime", ("xmlParse/tinyxml2/mime", 2), ("xmlParse/pugixml/mime", 1)),
    ("XML to tree, attributes", "xmlParse/ztree/languages", ("xmlParse/tinyxml2/languages", 2),
     ("xmlParse/pugixml/languages", 1)),
    ("XML to tree, 50 MB", "xmlParse/ztree/records50MB", ("xmlParse/tinyxml2/records50MB", 2),
     ("xmlParse/pugixml/records50MB", 1)),
    ("XML to elements to tree, 50 MB", "xmlParse/ztreeSmall/records50MB", ("xmlParse/tinyxml2/records50MB", 1),
     ("xmlParse/tinyxml2/records50MB", 3)),
    ("tree to XML, MIME database", "xmlWrite/ztree/mime", ("xmlWrite/tinyxml2/mime", 1), ("xmlWrite/pugixml/mime", 1)),
    ("tree to XML, 50 MB", "xmlWrite/ztree/records50MB", ("xmlWrite/tinyxml2/records50MB", 1),
     ("xmlWrite/pugixml/records50MB", 1)),
    ("build a node", "treeBuild/ztree/bare", 100, ("treeBuild/pugixml/bare", 1)),
    ("free a node", "treeFree/ztree/bare", 80, ("treeFree/pugixml/bare", 1)),
    ("walk a node", "treeWalk/ztree", 30, ("treeWalk/pugixml", 1)),
    ("child by name among 1,000", "treeChildByName/ztree", ("treeChildByName/pugixml", 1),
     ("treeChildByName/propertyTree", 5)),
    ("bytes of a node", "treeMemory/ztree", ("bytes/node", 450), ("bytes/node", 225)),
    ("string, default", "BM_default<ZString>", ("BM_default<QByteArray>", 1), ("BM_default<std::string>", 1)),
    ("string, short copy", "BM_copy<ZString>/10", ("BM_copy<QByteArray>/10", 1), ("BM_copy<std::string>/10", 1)),
    ("string, copy of 1 KB", "BM_copy<ZString>/1000", ("BM_copy<QByteArray>/1000", 1),
     ("BM_copy<QByteArray>/1000", 2)),
    ("string, copy of 1 KB, a thread beside", "threads:BM_copy<ZString>/1000",
     ("threads:BM_copy<QByteArray>/1000", 1), None),
    ("append 1 char, 1,000,000 times", "BM_appendChars<ZString>", ("BM_appendChars<QByteArray>", 1),
     ("BM_appendChars<std::string>", 1)),
    ("find a char in 1 MB", "BM_findChar_ZString", ("BM_findChar_string", 0.8), ("BM_findChar_string", 1)),
    ("find a word in 1 MB", "BM_findWord_ZString", ("BM_findWord_QByteArray", 0.8), ("BM_findWord_QByteArray", 1)),
    ("upper-case 1 MB, narrow", "BM_upper_ZString", ("BM_upper_QByteArray", 1), ("BM_upper_QByteArray", 1)),
    ("upper-case 1 MB, wide", "BM_upper_ZStringW", ("BM_upper_QString", 1), ("BM_upper_QString", 3)),
    ("UTF-8 to UTF-16, English", "decodeZtree/0", ("decodeIcu/0", 1), ("decodeIcu/0", 4.7)),
    ("UTF-8 to UTF-16, Russian", "decodeZtree/1", ("decodeIcu/1", 1), ("decodeIcu/1", 7.1)),
    ("UTF-8 to UTF-16, Chinese", "decodeZtree/2", ("decodeIcu/2", 1), ("decodeIcu/2", 2.5)),
    ("windows-1252 to UTF-16", "from1252Ztree/3", ("from1252Icu/3", 1.2), ("from1252Table/3", 1)),
    ("UTF-16 to windows-1252", "to1252Ztree/3", ("to1252Icu/3", 1.2), ("to1252Table/3", 1)),
    ("a field of 20 characters converted", "fieldZtree/1", ("fieldIcu/1", 1), ("fieldIcu/1", 1.6)),
    ("locked add", "add<ZArray>/1000000", ("add<MutexVector>/1000000", 1), ("add<SpinVector>/1000000", 1)),
    ("locked read", "read<ZArray>", ("read<MutexVector>", 1), ("read<SpinVector>", 1)),
    ("locked add, a thread beside", "threads:add<ZArray>/1000000", ("threads:add<MutexVector>/1000000", 1), None),
    ("locked read, a thread beside", "threads:read<ZArray>", ("threads:read<MutexVector>", 1), None),
    ("two threads on one array", "threads:twoThreadsRead<ZArray>",
     ("threads:twoThreadsRead<RecursiveMutexVector>", 0.7), ("threads:twoThreadsRead<RecursiveMutexVector>", 0.7)),
    ("sorted insert, 10,000", "insertSorted<Sorted>/10000", ("insertSorted<SortedVector>/10000", 1),
     ("insertSorted<Multiset>/10000", 1)),
    ("sorted search, 10,000", "searchSorted<Sorted>/10000", ("searchSorted<SortedVector>/10000", 1),
     ("searchSorted<Multiset>/10000", 1)),
    ("CSV lines to records, CsvReader", "csvRead/byReader", ("csvRead/byBoost", 2), ("csvRead/byFccp", 1)),
    ("records to CSV lines, CsvWriter", "csvWrite/byWriter", ("csvWrite/bySnprintf", 1), ("csvWrite/byFmt", 1.5)),
    ("date to text", "date/toText/ztree", ("date/toText/strftime", 1), ("date/toText/strftime", 3)),
    ("text to date", "date/fromText/ztree", ("date/fromText/strptime", 1), ("date/fromText/strptime", 1.5)),
    ("amount to text", "amount/toText/ztree", ("amount/toText/fmt", 1), ("amount/toText/to_charsAndGrouping", 1)),
    ("text to amount", "amount/fromText/ztree", ("amount/fromText/strtod", 1), ("amount/fromText/from_chars", 1)),
    ("words, English", "words/en/ztree", ("words/en/icu", 1.5), ("words/en/icu", 4)),
    ("words, German", "words/de/ztree", ("words/de/icu", 1.5), ("words/de/icu", 4)),
    ("words, Russian", "words/ru/ztree", ("words/ru/icu", 1.5), ("words/ru/icu", 4)),
    ("expression, short", "expressionNew/0", ("expressionMuParser/0", 20), ("expressionMuParser/0", 140)),
    ("expression, 45 characters", "expressionNew/1", ("expressionMuParser/1", 20), ("expressionMuParser/1", 120)),
    ("expression, 0.9 KB", "expressionNew/2", ("expressionMuParser/2", 20), ("expressionMuParser/2", 95)),
    ("log header and text", "ztreeHeader", ("spdlogHeader", 1), ("spdlogHeader", 2)),
    ("log entry written, in blocks", "ztreeWritten/blocks", ("spdlogWritten/mt_ownPattern", 1), None),
    ("log entry filtered out", "ztreeFiltered", ("spdlogFiltered", 1), 2),
    ("tokens of 10 MB", "split10MB/byTokenizer", 216e6, ("split10MB/byStrtok", 2)),
    ("hex dump, 4 KB", "dumpZtree/4096", 218e6, ("dumpTable/4096", 0.5)),
    ("attribute text, list and lookup", "parseList", ("parseTinyxml2", 1), ("parsePugixml", 1)),
]


# The same work in every library for XML and trees: ztree's results are named first, peers' alike.
PEERS = ("ztree", "pugixml", "tinyxml2", "libxml2", "propertyTree")
PEER_ROWS = [
    ("read, MIME database", "xmlParse/{}/mime"), ("write, MIME database", "xmlWrite/{}/mime"),
    ("read, attributes", "xmlParse/{}/languages"), ("write, attributes", "xmlWrite/{}/languages"),
    ("read, 50 MB", "xmlParse/{}/records50MB"), ("write, 50 MB", "xmlWrite/{}/records50MB"),
    ("build a node", "treeBuild/{}/bare"), ("free a node", "treeFree/{}/bare"), ("walk a node", "treeWalk/{}"),
    ("child by name among 1,000", "treeChildByName/{}"), ("bytes of a node", "treeMemory/{}"),
]


class Result:
    def __init__(self, entry):
        scale = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[entry["time_unit"]]
        self.counters = entry
        time = entry["real_time"] if "real_time" in entry["name"] or "manual_time" in entry["name"] else entry["cpu_time"]
        self.nanoseconds = entry.get("ns/node", time * scale)
        self.bytes = entry.get("bytes_per_second")
        self.items = entry.get("items_per_second")

    def speed(self, other=None):
        """Comparable with other's: bytes or items a second where both have them, else runs a second."""
        for kind in ("bytes", "items"):
            if getattr(self, kind) and (other is None or getattr(other, kind)):
                return getattr(self, kind)
        return 1e9 / self.nanoseconds

    def text(self):
        if "bytes/node" in self.counters and "ns/node" not in self.counters:
            return f"{self.counters['bytes/node']:.0f} B"
        if self.bytes:
            return f"{self.bytes / 1e6:,.0f} MB/s"
        if self.items:
            return f"{1e9 / self.items:.1f} ns"
        return f"{self.nanoseconds:,.1f} ns" if self.nanoseconds < 1e4 else f"{self.nanoseconds / 1e6:,.2f} ms"


def load(paths):
    """The least time of all runs of a benchmark: neighbours on the machine only add to it."""
    runs = {}
    for path in paths:
        prefix, _, path = path.rpartition(":")
        with open(path) as f:
            for entry in json.load(f)["benchmarks"]:
                if entry.get("error_occurred") or entry.get("run_type") == "aggregate":
                    continue
                name = entry.get("run_name", entry["name"])
                for tail in ("/iterations:", "/manual_time", "/real_time", "/repeats:", "/min_time:"):
                    name = name.split(tail)[0]
                name = prefix + ":" + name if prefix else name
                runs.setdefault(name, []).append(Result(entry))
    return {name: min(results, key=lambda r: r.nanoseconds) for name, results in runs.items()}


def judge(ours, bound, results):
    """(text of the bound, met or None when it cannot be said)"""
    if bound is None:
        return "", None
    if not isinstance(bound, tuple):
        if bound > 1e6:
            return f"{bound / 1e6:,.0f} MB/s", ours.bytes >= bound
        return f"{bound} ns", (1e9 / ours.items if ours.items else ours.nanoseconds) <= bound
    name, factor = bound
    if name in ours.counters:
        return f"{factor} B", ours.counters[name] <= factor
    peer = results.get(name)
    label = name.replace("BM_", "").replace("threads:", "")
    if not peer:
        return f"{label}: not measured", None
    ratio = ours.speed(peer) / peer.speed(ours)
    wanted = "" if factor == 1 else f"{factor:g} x "
    return f"{wanted}{label} ({peer.text()}): {ratio:.2f}", ratio >= factor


def show(head, rows, markdown):
    if markdown:
        print("| " + " | ".join(head) + " |\n|" + "---|" * len(head))
        for row in rows:
            print("| " + " | ".join(row) + " |")
        return
    widths = [max(len(r[i]) for r in rows + [head]) for i in range(len(head))]
    for row in [head] + rows:
        print("  ".join(c.ljust(w) for c, w in zip(row, widths)).rstrip())


def main(arguments):
    markdown = "--markdown" in arguments
    results = load([a for a in arguments if not a.startswith("--")])
    rows, missed, goals, met = [], 0, 0, 0
    sign = {True: "yes", False: "NO", None: "-"}
    for what, name, floor, goal in ROWS:
        ours = results.get(name)
        if not ours:
            rows.append((what, "not measured", "", "-", "", "-"))
            continue
        floor_text, floor_met = judge(ours, floor, results)
        goal_text, goal_met = judge(ours, goal, results)
        missed += floor_met is False
        goals += goal_met is not None
        met += goal_met is True
        rows.append((what, ours.text(), floor_text, sign[floor_met], goal_text, sign[goal_met]))
    show(("work", "ztree", "floor: times the peer's speed", "met", "goal", "met"), rows, markdown)
    print(f"\n{missed} floors missed; {met} of {goals} goals met.\n")
    rows = [(what, *(results[name.format(p)].text() if name.format(p) in results else "-" for p in PEERS))
            for what, name in PEER_ROWS]
    show(("XML and trees", *PEERS), rows, markdown)
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
