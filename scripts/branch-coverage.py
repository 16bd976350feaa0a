#!/usr/bin/env python3
"""Counts the sides of the decisions in ktstd/ and ktmdl/ that tests took: branch-coverage.py BUILD

Reads the profiles in BUILD/profiles. A decision is a condition as it stands in the source: of if,
loops, ?: and case, and each operand of && and ||. One in a template or an inline function counts
once, whoever instantiates it. Prints the sides that nothing took, and a total for each folder.
"""
import glob
import json
import os
import subprocess
import sys


def tool(name):
    """Debian's tools carry their version."""
    for folder in os.environ["PATH"].split(os.pathsep):
        for candidate in (name + "-14", name):
            if os.access(os.path.join(folder, candidate), os.X_OK):
                return os.path.join(folder, candidate)
    sys.exit(name + " is not installed")


def main():
    build = sys.argv[1]
    source = os.getcwd()
    profile = os.path.join(build, "all.profdata")
    profiles = glob.glob(os.path.join(build, "profiles", "*.profraw"))
    if not profiles:
        sys.exit("no profiles in " + build + "; run the tests first")
    subprocess.run([tool("llvm-profdata"), "merge", "-sparse", *profiles, "-o", profile], check=True)
    programs = sorted(glob.glob(os.path.join(build, "bin", "*_tests")))
    objects = [os.path.join(build, "bin", "libktstd.so"), os.path.join(build, "bin", "libktmdl.so")]
    command = [tool("llvm-cov"), "export", objects[0], "-instr-profile", profile]
    for each in objects[1:] + programs:
        command += ["-object", each]
    # Test programs are made of functions of equal names; that theirs don't match is no loss.
    answer = subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)

    taken = {}
    for function in json.loads(answer.stdout)["data"][0]["functions"]:
        for line, column, _, _, on, off, place, *_ in function["branches"]:
            path = os.path.realpath(function["filenames"][place])
            path = os.path.relpath(path, source)
            if path.split(os.sep)[0] in ("ktstd", "ktmdl"):
                sides = taken.setdefault((path, line, column), [0, 0])
                sides[0] += on
                sides[1] += off
    for folder in ("ktstd", "ktmdl"):
        places = sorted(key for key in taken if key[0].split(os.sep)[0] == folder)
        missed = 0
        for path, line, column in places:
            for side, count in zip(("true", "false"), taken[path, line, column]):
                if count == 0:
                    missed += 1
                    with open(path, encoding="utf-8") as file:
                        text = file.read().splitlines()[line - 1].strip()
                    print(f"{path}:{line}:{column}: never {side}: {text}")
        total = 2 * len(places)
        if total == 0:
            sys.exit("no decisions in " + folder)
        print(f"{folder}: {total - missed} of {total} sides taken "
              f"({100 * (total - missed) / total:.1f} %)")


main()
