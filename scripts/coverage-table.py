#!/usr/bin/env python3
"""Sums what gcovr found for ktstd/ and ktmdl/: coverage-table.py JSON

Prints what no test reached, and a total for each folder: lines, functions, the decisions that gcovr
reads from the source (if, loops, case), and all branches of the machine code but those that throw.
"""
import json
import sys

SHARE = "{} of {} ({:.1f} %)"


def share(pairs):
    total, taken = sum(pair[0] for pair in pairs), sum(pair[1] for pair in pairs)
    return SHARE.format(taken, total, 100 * taken / total)


def decision(line):
    """Number of sides and of those taken; (0, 0) where there is none, or none that can be told."""
    found = line.get("gcovr/decision") or {"type": "uncheckable"}
    if found["type"] == "conditional":
        return 2, (found["count_true"] > 0) + (found["count_false"] > 0)
    return (1, int(found["count"] > 0)) if found["type"] == "switch" else (0, 0)


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        files = json.load(file)["files"]
    for folder in ("ktstd", "ktmdl"):
        lines, decisions, branches, functions, untold = [], [], [], [], 0
        for each in files:
            if folder not in each["file"].split("/")[:-1]:
                continue
            for line in each["lines"]:
                if line["gcovr/noncode"]:
                    continue
                lines.append((1, int(line["count"] > 0)))
                decisions.append(decision(line))
                branches += [(1, int(branch["count"] > 0)) for branch in line["branches"]]
                untold += (line.get("gcovr/decision") or {}).get("type") == "uncheckable"
                for kind, (total, taken) in (("line", lines[-1]), ("decision", decisions[-1])):
                    if taken < total:
                        print(f"{each['file']}:{line['line_number']}: {kind} not reached")
            functions += [(1, int(f["execution_count"] > 0)) for f in each["functions"]]
        print(f"{folder}: lines {share(lines)}, functions {share(functions)}, "
              f"decisions {share(decisions)} and {untold} that can't be told, "
              f"branches of the machine code {share(branches)}")


main()
