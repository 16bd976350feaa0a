#!/usr/bin/env python3
"""Tells whether a benchmark's results have a complete line for every row.

check-bench.py RESULTS PROGRAM [OPTION...]: the options choose rows, as when the results were made.
"""
import json
import math
import subprocess
import sys


def problems_of(line, needed):
    """Names the fields of a line that are missing or no sound number."""
    for field in needed:
        if field not in line:
            yield "no " + field
        elif isinstance(line[field], float) and not math.isfinite(line[field]):
            yield field + " is " + str(line[field])
    for field in ("ours", "peer_time", "ratio", "bytes", "peer_bytes"):
        if field in line and not (isinstance(line[field], (int, float)) and line[field] > 0):
            yield field + " is " + str(line[field])


def main(path, program, options):
    with open(path, encoding="utf-8") as file:
        results = json.load(file)
    lines = {("time", line["name"], line["size"], line["peer"]): line for line in results["rows"]}
    lines.update(
        {("memory", line["name"], line["size"], line["peer"]): line for line in results["memory"]}
    )
    listing = subprocess.run([program, "--list", *options], check=True, capture_output=True, text=True)
    rows = []
    for text in listing.stdout.splitlines():
        kind, name, size, peer = text.split("\t")
        rows.append((kind, name, int(size), peer))
    sizes = {}
    for kind, name, size, _ in rows:
        sizes.setdefault((kind, name), set()).add(size)

    problems = []
    for row in rows:
        kind, name, size, peer = row
        needed = ["bytes", "peer_bytes"]
        if kind == "time":
            needed = ["ours", "peer_time", "ratio", "aim"]
            if len(sizes[kind, name]) > 1:
                needed.append("slope")
        found = ["no line"] if row not in lines else problems_of(lines[row], needed)
        problems += [f"{name}, {size}, {peer} ({kind}): {problem}" for problem in found]
    if not rows:
        problems.append("no rows")
    for problem in problems:
        print(problem, file=sys.stderr)
    print(f"{len(rows)} lines of results, {len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], sys.argv[2], sys.argv[3:]))
