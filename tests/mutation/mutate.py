#!/usr/bin/env python3
"""Mutation check: small changes in the two libraries, one at a time, that some test must notice.

See README.md beside this file. Python's standard library only.
"""

import argparse
import collections
import hashlib
import json
import os
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
WORK = ROOT / "build" / "mutation"
TREE = WORK / "tree"  # the copy that is changed
BUILD = WORK / "obj"
TEMP = WORK / "tmp"
RESULTS = WORK / "results.json"
EQUIVALENT = Path(__file__).resolve().parent / "equivalent.txt"
COPIED = ["CMakeLists.txt", "cmake", "com", "ktstd", "ktmdl", "standin", "tools", "tests",
          "samples"]
LIBRARIES = ["ktstd", "ktmdl"]
# Each later program is asked only about mutants that the earlier ones let live.
PROGRAMS = ["ktstd_tests", "ktmdl_tests", "sweep_tests", "life_tests"]
LAST_PROGRAM = "memory_tests"  # compiles the libraries into itself
LAYERS = "ktstd;ktmdl;sweep;life;memory"
KINDS = ["constant", "comparison", "arithmetic", "logical", "condition", "return", "statement",
         "swap"]
MEMORY_LIMIT = 4 << 30
SLOW = 2.0  # seconds of a test suite that is asked late
OWN_PROGRAM = "own_tests"  # the tests of one class alone

# ---------------------------------------------------------------- finding places


def blank(match):
    """Keeps length and lines."""
    return re.sub(r"[^\n]", " ", match.group(0))


def masked(text):
    """Gives the text with comments, attributes and preprocessor lines blanked and texts as Qs."""
    pattern = re.compile(
        r'//[^\n]*|/\*.*?\*/|(?P<text>(?:\bL|\bu8)?"(?:\\.|[^"\\\n])*"|\bL?\'(?:\\.|[^\'\\\n])+\')'
        r"|\[\[.*?\]\]|(?m:^[ \t]*#(?:[^\n]*\\\n)*[^\n]*)", re.S)
    return pattern.sub(lambda m: "Q" * len(m.group(0)) if m.group("text") else blank(m), text)


TOKEN = re.compile(
    r"(?P<number>(?:0[xX][0-9a-fA-F']+|(?:\d[\d']*\.?\d*|\.\d+)(?:[eE][+-]?\d+)?)[uUlLfF]*)"
    r"|(?P<word>[A-Za-z_]\w*)"
    r"|(?P<sign>->|\+\+|--|<<=|>>=|<<|>>|<=|>=|==|!=|&&|\|\||[+\-*/%&|^]=|::|.)", re.S)

Token = collections.namedtuple("Token", "kind text start end")


def tokens_of(mask):
    return [Token(m.lastgroup, m.group(0), m.start(), m.end())
            for m in TOKEN.finditer(mask) if not m.group(0).isspace()]


class Source:
    """A source file with what stands inside of functions marked."""

    def __init__(self, path, text):
        self.path = path
        self.text = text
        self.mask = masked(text)
        self.tokens = tokens_of(self.mask)
        self.depth = [0] * len(self.tokens)  # 0 outside of functions, else the depth of braces
        self.value = [False] * len(self.tokens)  # part of an initial value outside of functions
        self.functions = []  # (index of its opening brace, tokens of its head)
        self.partner = {}
        self.mark()

    def mark(self):
        stack, head, opened = [], 0, []
        for i, token in enumerate(self.tokens):
            inside = sum(1 for kind in stack if kind == "code")
            self.depth[i] = inside
            self.value[i] = not inside and ("value" in stack or any(
                t.text == "=" for t in self.tokens[head:i]))
            if token.text in "([":
                opened.append(i)
            elif token.text in ")]" and opened:
                self.partner[opened[-1]] = i
                self.partner[i] = opened.pop()
            elif token.text == "{":
                kind = self.brace(stack, self.tokens[head:i])
                if kind == "code" and not inside:
                    self.functions.append((i, self.tokens[head:i]))
                    self.mark_initializers(head, i)
                stack.append(kind)
                opened.append(i)
                if kind != "value":
                    head = i + 1
            elif token.text == "}":
                if opened:
                    self.partner[opened[-1]] = i
                    self.partner[i] = opened.pop()
                if stack and stack.pop() != "value":
                    head = i + 1
            elif token.text == ";" and not (opened and self.tokens[opened[-1]].text == "("):
                head = i + 1

    @staticmethod
    def brace(stack, head):
        if stack and stack[-1] in ("code", "value"):
            return stack[-1]
        words = [t.text for t in head]
        while words and words[0] == "template":
            level, at = 0, 1
            for at in range(1, len(words)):
                level += words[at].count("<") - words[at].count(">")
                if level == 0:
                    break
            words = words[at + 1:]
        if "=" in words and "operator" not in words:
            return "value"
        if "namespace" in words or "enum" in words or "extern" in words:
            return "outer"
        if words and words[0] in ("class", "struct", "union"):
            return "outer"
        return "code" if "(" in words else "value"

    def mark_initializers(self, head, end):
        """The members' initial values before a constructor's body are code too."""
        for i in range(head + 1, end):
            if self.tokens[i].text == ":" and self.tokens[i - 1].text in (")", "noexcept"):
                for at in range(i, end):
                    self.depth[at] = 1
                return


Mutant = collections.namedtuple("Mutant", "id file line kind start end new old_text new_text")


# What an operator becomes; of two possibilities the second one has a "b" in its name.
OTHER_OPERATORS = {
    "comparison": {"<": "<= >=", "<=": "< >", ">": ">= <=", ">=": "> <", "==": "!=", "!=": "=="},
    "arithmetic": {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "+=": "-=", "-=": "+=",
                   "*=": "/=", "/=": "*=", "&": "|", "|": "&", "^": "&", "|=": "&=", "&=": "|=",
                   "^=": "|="},
    "logical": {"&&": "||", "||": "&&"}}
BEFORE_A_SIGN = ("(", ",", "=", "return", "?", ":", "[", "{", "<", "+", "-", "*", "/", "==", "!=",
                 "<=", ">=", "&&")
NO_CALLS = ("if", "for", "while", "switch", "catch", "sizeof")
NOT_DROPPED = ("if", "for", "while", "do", "switch", "case", "default", "const", "constexpr",
               "static", "auto", "using", "else", "try", "static_assert", "struct", "template")
ARRAY_DECLARATION = re.compile(r"\s*(?:static |const |constexpr )*[\w:]+(?:<[^;]*>)?[*&]? "
                               r"\w+(?:\[\w+\])+(?:;| = \{)")


class Finder:
    """Finds the places of a file that can be changed."""

    def __init__(self, source):
        self.source = source
        self.found = []

    def add(self, kind, variant, start, end, new):
        source = self.source
        old = source.text[start:end]
        if old == new:
            return
        new += "\n" * (old.count("\n") - new.count("\n"))
        line = source.text.count("\n", 0, start) + 1
        from_ = source.text.rfind("\n", 0, start) + 1
        to = source.text.find("\n", end)
        shown = " ".join(source.text[from_:to].split())
        changed = " ".join((source.text[from_:start] + new + source.text[end:to]).split())
        column = start - from_ + 1
        name = f"{source.path}:{line}:{column}:{kind}{variant}"
        self.found.append(Mutant(name, source.path, line, kind, start, end, new, shown, changed))

    def spaced(self, token):
        mask = self.source.mask
        return mask[token.start - 1].isspace() and mask[token.end:token.end + 1].isspace()

    def run(self):
        source = self.source
        for i, token in enumerate(source.tokens):
            if token.kind == "number" and (source.depth[i] or source.value[i]):
                self.number(i, token)
            if token.text in ("true", "false") and (source.depth[i] or source.value[i]):
                self.add("constant", "", token.start, token.end,
                         "false" if token.text == "true" else "true")
            if source.depth[i]:
                self.operator(i, token)
                self.condition(i, token)
                self.swap(i, token)
                self.statement(i)
        self.early_returns()
        return self.found

    def number(self, i, token):
        tokens = self.source.tokens
        line_from = self.source.mask.rfind("\n", 0, token.start) + 1
        line = self.source.mask[line_from:self.source.mask.find("\n", token.start)]
        if tokens[i - 1].text == "[" and ARRAY_DECLARATION.match(line):
            return  # the size of an array, not a value
        digits = re.match(r"(0[xX][0-9a-fA-F']+|[\d'.]+)(.*)", token.text)
        mantissa, rest = digits.group(1).replace("'", ""), digits.group(2)
        value = (float(mantissa) if "." in mantissa else
                 int(mantissa, 16 if mantissa.lower().startswith("0x") else 10))
        self.add("constant", "+1", token.start, token.end, str(value + 1) + rest)
        if value > 0:
            self.add("constant", "-1", token.start, token.end, str(value - 1) + rest)

    def operator(self, i, token):
        text, previous = token.text, self.source.tokens[i - 1]
        if token.kind != "sign":
            return
        following = self.source.tokens[i:i + 2][-1]
        joins_texts = text == "+" and "Q" in (previous.text[:1], following.text[:1])
        if self.spaced(token) and not joins_texts:
            for kind, table in OTHER_OPERATORS.items():
                for number, new in enumerate(table.get(text, "").split()):
                    self.add(kind, "b" * number, token.start, token.end, new)
        if text in ("++", "--"):
            self.add("arithmetic", "", token.start, token.end, "--" if text == "++" else "++")
        if text == "-" and previous.text in BEFORE_A_SIGN:
            self.add("arithmetic", "", token.start, token.end, "+")
        if text == "!":
            self.add("condition", "", token.start, token.end, "")

    def condition(self, i, token):
        tokens = self.source.tokens
        if token.text not in ("if", "while") or tokens[i + 1].text != "(":
            return
        close = tokens[self.source.partner[i + 1]]
        open_ = tokens[i + 1]
        inner = self.source.text[open_.end:close.start]
        if ";" not in inner:
            self.add("condition", "n", open_.end, close.start, f"!({inner})")

    def swap(self, i, token):
        tokens, partner = self.source.tokens, self.source.partner
        if token.kind != "word" or token.text in NO_CALLS:
            return
        if i + 1 >= len(tokens) or tokens[i + 1].text not in "({" or i + 1 not in partner:
            return
        starts, at, end = [i + 2], i + 2, partner[i + 1]
        while at < end:
            if tokens[at].text in "([{":
                at = partner[at]
            elif tokens[at].text == ",":
                starts.append(at + 1)
            elif tokens[at].text == ";":
                return
            at += 1
        parts = [(tokens[a].start, tokens[b - 1].end)
                 for a, b in zip(starts, [s - 1 for s in starts[1:]] + [end])]
        for first, second in zip(parts, parts[1:]):
            a, b = self.source.text[slice(*first)], self.source.text[slice(*second)]
            if a != b and a.count("<") == a.count(">") and b.count("<") == b.count(">"):
                between = self.source.text[first[1]:second[0]]
                self.add("swap", "", first[0], second[1], b + between + a)

    def statement(self, i):
        """Drops a statement that is no declaration; of returns only those inside a block."""
        source, tokens = self.source, self.source.tokens
        token = tokens[i]
        if tokens[i - 1].text not in ("{", "}", ";") or token.text in ("{", "}", ";"):
            return
        opener = max((a for a, b in source.partner.items() if a < i < b), default=None)
        if opener is None or tokens[opener].text != "{":
            return
        at = i
        while at < source.partner[opener] and tokens[at].text != ";":
            at = source.partner[at] + 1 if tokens[at].text in "([{" else at + 1
        if at >= source.partner[opener] or token.text in NOT_DROPPED:
            return
        if token.text == "return" and source.depth[i] < 2:
            return
        words = tokens[i:at]
        name = next((k for k, w in enumerate(words) if w.kind == "sign" and w.text not in
                     ("::", "<", ">", ",", "*", "&", ".", "->")), len(words))
        if token.text not in ("return", "throw", "delete") and any(
                b.kind == "word" and (a.kind == "word" or k > 0 and a.text in (">", "*", "&"))
                for k, (a, b) in enumerate(zip(words[:name], words[1:name]))):
            return  # a declaration
        kind = "return" if token.text == "return" else "statement"
        self.add(kind, "-", token.start, tokens[at].end, ";")

    def early_returns(self):
        for index, head in self.source.functions:
            brace = self.source.tokens[index]
            words = [t.text for t in head]
            name = words.index("(") - 1
            before = words[:name]
            joined = "".join(words[:name + 1])
            constructor = re.search(r"(\w+)::~?\1$", joined) or "~" in words or (
                self.source.depth[index] == 0 and not before)
            nothing = "void" in before and words[name - 1] != "*" or constructor
            self.add("return", "+", brace.end, brace.end, " return;" if nothing else " return {};")


def mutants_of(path):
    """Gives all places of a file, in the order of the file."""
    return Finder(Source(path, (TREE / path).read_text())).run()


# ---------------------------------------------------------------- choosing


def source_files():
    """Gives the files of both libraries with the lines of code that can be changed."""
    files = {}
    for library in LIBRARIES:
        for path in sorted((TREE / library).iterdir()):
            if path.suffix in (".cpp", ".h"):
                name = f"{library}/{path.name}"
                source = Source(name, path.read_text())
                places = len(Finder(source).run())
                if places:
                    lines = len({source.text.count("\n", 0, t.start)
                                 for t, d in zip(source.tokens, source.depth) if d})
                    files[name] = max(lines, 1)
    return files


def shares(files, count, header_count):
    """Gives each file a share by its size; source files, which are cheap, come first."""
    result = {}
    for suffix, total, least in ((".cpp", count, 3), (".h", header_count, 1)):
        lines = {name: n for name, n in files.items() if name.endswith(suffix)}
        whole = sum(lines.values()) or 1
        for name, n in lines.items() if total else ():
            result[name] = max(least, round(total * n / whole))
    return result


def ordered(path, seed):
    """Gives the places of a file in the order in which they are tried: kinds take turns."""
    rng = random.Random(f"{seed}:{path}")
    by_kind = collections.defaultdict(list)
    for mutant in mutants_of(path):
        by_kind[mutant.kind].append(mutant)
    for group in by_kind.values():
        rng.shuffle(group)
    kinds = [kind for kind in KINDS if by_kind[kind]]
    rng.shuffle(kinds)
    used = set()
    while any(by_kind.values()):
        for kind in kinds:
            if by_kind[kind]:
                mutant = by_kind[kind].pop()
                if (mutant.start, mutant.end) not in used:
                    used.add((mutant.start, mutant.end))
                    yield mutant


# ---------------------------------------------------------------- building and running


def sync():
    """Makes the copy equal to the tree, touching only what differs."""
    wanted = set()
    for name in COPIED:
        top = ROOT / name
        for path in [top] if top.is_file() else sorted(p for p in top.rglob("*") if p.is_file()):
            relative = path.relative_to(ROOT)
            wanted.add(relative)
            target = TREE / relative
            data = path.read_bytes()
            if not target.exists() or target.read_bytes() != data:
                target.parent.mkdir(parents=True, exist_ok=True)
                target.write_bytes(data)
    for path in TREE.rglob("*"):
        if path.is_file() and path.relative_to(TREE) not in wanted:
            path.unlink()


def run(command, timeout=None, limit=False, **options):
    """Runs a command in a process group of its own, which is ended at the time limit."""
    def prepare():
        os.setpgid(0, 0)
        os.nice(10)
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        if limit:
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
    process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                               stdin=subprocess.DEVNULL, preexec_fn=prepare, **options)
    try:
        output, _ = process.communicate(timeout=timeout)
        return process.returncode, output.decode("utf-8", "replace")
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        output, _ = process.communicate()
        return None, output.decode("utf-8", "replace")
    except BaseException:
        os.killpg(process.pid, signal.SIGKILL)
        raise


def build(jobs, *targets):
    code, output = run(["ninja", "-C", str(BUILD), f"-j{jobs}", *targets])
    return code == 0, output


def configure(jobs, programs):
    options = ["-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0",
               "-DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON",
               "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", f"-DKT_TEST_LAYERS={LAYERS}"]
    code, output = run(["cmake", "-S", str(TREE), "-B", str(BUILD), "-G", "Ninja", *options])
    if code == 0:
        code, output = run(["ninja", "-C", str(BUILD), f"-j{jobs}", *programs])
    if code != 0:
        sys.exit(f"the unchanged tree does not build:\n{output}")


def own_program(mutant):
    return PROGRAMS[LIBRARIES.index(mutant.file.split("/")[0])]


class Runner:
    def __init__(self, args):
        self.args = args
        self.normal = {}  # seconds by program and test suite
        self.link = {}  # the words of the command that links a program
        self.clean = {}  # what unchanged libraries with programs are, by programs

    def library_files(self):
        return [BUILD / "bin" / f"lib{name}.so" for name in LIBRARIES]

    def digest(self, programs):
        sums = hashlib.sha256()
        for path in self.library_files() + [BUILD / "bin" / name for name in programs]:
            sums.update(path.read_bytes())
        return sums.hexdigest()

    def start(self, program, suites, timeout):
        shutil.rmtree(TEMP, ignore_errors=True)
        TEMP.mkdir(parents=True)
        environment = dict(os.environ, TMPDIR=str(TEMP), GTEST_FAIL_FAST="1", GTEST_COLOR="no")
        environment.pop("KTSTD_LOG", None)
        chosen = ":".join(f"{name}.*" for name in suites) or "*"
        return run([str(BUILD / "bin" / program), f"--gtest_filter={chosen}"],
                   timeout=timeout, limit=True, env=environment, cwd=TEMP)

    def execute(self, program, suites, run_as=None):
        """Runs test suites; gives None when all is well, else who noticed the mutant."""
        usual = sum(self.normal[program][name] for name in suites)
        code, output = self.start(run_as or program, suites, usual * 10 + 5)
        if code == 0 or "no test was selected" in output:
            return None
        if code in (126, 127):
            sys.exit(f"{program} can't be run: {output}")
        failed = re.findall(r"^\[  FAILED  \] ([^\s,]+\.[^\s,]+)", output, re.M)
        started = re.findall(r"^\[ RUN      \] (\S+)", output, re.M)
        who = failed[0] if failed else started[-1] if started else "start"
        how = "timed out" if code is None else "failed" if failed else f"ended with {code}"
        return {"program": program, "test": who, "how": how}

    def baseline(self, programs):
        """The unchanged tree passes; the time that it takes sets the limits."""
        for program in programs:
            code, output = self.start(program, [], 600)
            if code != 0:
                sys.exit(f"the unchanged tree fails: {output[-3000:]}")
            self.normal[program] = {name: int(time) / 1000 for name, time in re.findall(
                r"^\[-+\] \d+ tests? from (\S+?)(?:, where .*)? \((\d+) ms total\)", output, re.M)}
            print(f"{program}: {sum(self.normal[program].values()):.1f} s unchanged", flush=True)

    def group(self, program, path):
        """Gives the test suites of a file's class; there may be none."""
        stem = Path(path).stem.replace("_detail", "")
        if stem in LIBRARIES:
            return []
        own = set(self.suites(stem))
        return [name for name in self.normal[program] if name in own or stem in name]

    def stages(self, program):
        """Gives a program's test suites, the quick ones before the slow ones."""
        slow = [name for name, usual in self.normal[program].items() if usual > SLOW]
        quick = [name for name in self.normal[program] if name not in slow]
        return [suites for suites in (quick, [] if self.args.quick else slow) if suites]

    @staticmethod
    def suites(stem):
        for path in (TREE / "tests").glob(f"{stem}*_test.cpp"):
            yield from re.findall(r"^(?:TEST|TEST_F|TEST_P)\((\w+),", path.read_text(), re.M)

    def judge(self, mutant):
        """Builds and runs the tests; the file is as before afterwards."""
        path = TREE / mutant.file
        text = path.read_text()
        path.write_text(text[:mutant.start] + mutant.new + text[mutant.end:])
        try:
            if mutant.file.endswith(".h"):
                return self.judge_header(mutant)
            return self.judge_source(mutant)
        finally:
            path.write_text(text)

    def judge_source(self, mutant):
        # Programs are named because some compile a source of the libraries into themselves.
        built, output = build(self.args.jobs, *LIBRARIES, *PROGRAMS)
        if not built:
            return {"outcome": "not compiled", "why": first_error(output)}
        if self.digest(PROGRAMS) == self.clean[tuple(PROGRAMS)]:
            return {"outcome": "same code"}
        own = own_program(mutant)
        group = self.group(own, mutant.file)
        stages = [(own, group)] if group else []
        for program in [own] + [name for name in PROGRAMS if name != own]:
            if not self.args.quick or program in PROGRAMS[:2]:
                stages += [(program, suites) for suites in self.stages(program)]
        return self.ask(stages) or self.last()

    def ask(self, stages):
        for program, suites in stages:
            ended = self.execute(program, suites)
            if ended:
                return {"outcome": "killed", **ended}
        return None

    def judge_header(self, mutant):
        """Asks the class's own tests in a program of theirs before it builds all."""
        own = own_program(mutant)
        built, output = build(self.args.jobs, *LIBRARIES)
        if not built:
            return {"outcome": "not compiled", "why": first_error(output)}
        group = self.group(own, mutant.file)
        if group and self.build_own(own, mutant):
            ended = self.execute(own, group, OWN_PROGRAM)
            if ended:
                return {"outcome": "killed", **ended}
        for programs in ([own], PROGRAMS[:2] if self.args.quick else PROGRAMS):
            built, output = build(self.args.jobs, *programs)
            if not built:
                return {"outcome": "not compiled", "why": first_error(output)}
            if self.digest(programs) == self.clean[tuple(programs)]:
                return {"outcome": "same code"}
            ended = self.ask([(program, suites) for program in programs
                              if len(programs) == 1 or program != own
                              for suites in self.stages(program)])
            if ended:
                return ended
        return self.last()

    def build_own(self, program, mutant):
        """Links the tests of a class alone; false when there are none or they don't build so."""
        stem = Path(mutant.file).stem.replace("_detail", "")
        link = self.link[program]
        objects = [word for word in link if word.endswith(".o")]
        wanted = [name for name in objects if "/support/" in name or "_detail" in name or
                  Path(name).name.startswith(stem + "_")]
        if not any("_test.cpp" in name for name in wanted):
            return False
        if not build(self.args.jobs, *wanted)[0]:
            return False
        command = [f"bin/{OWN_PROGRAM}" if word == f"bin/{program}" else word for word in link
                   if word not in objects or word in wanted]
        return run(command, cwd=BUILD)[0] == 0

    def last(self):
        if self.args.memory:
            built, output = build(self.args.jobs, LAST_PROGRAM)
            if not built:
                return {"outcome": "not compiled", "why": first_error(output)}
            ended = self.ask([(LAST_PROGRAM, list(self.normal[LAST_PROGRAM]))])
            if ended:
                return ended
        return {"outcome": "survived"}

    def remember_clean(self):
        """Keeps what the unchanged tree builds to, so that changes without effect are seen."""
        build(self.args.jobs, *LIBRARIES, *PROGRAMS)
        self.clean = {tuple(group): self.digest(group) for group in (PROGRAMS, PROGRAMS[:2])}
        for program in PROGRAMS[:2]:
            self.clean[(program,)] = self.digest([program])
            _, output = run(["ninja", "-C", str(BUILD), "-t", "commands", program])
            line = output.strip().splitlines()[-1]
            self.link[program] = shlex.split(line.replace(": && ", "").replace(" && :", ""))


def first_error(output):
    found = re.search(r"error: .*", output)
    return found.group(0) if found else output[-300:]


# ---------------------------------------------------------------- results


def load_results():
    return json.loads(RESULTS.read_text()) if RESULTS.exists() else {}


def save_results(results):
    RESULTS.parent.mkdir(parents=True, exist_ok=True)
    new = RESULTS.with_suffix(".new")
    new.write_text(json.dumps(results, indent=1) + "\n")
    new.replace(RESULTS)


def load_equivalents():
    """Gives reasons by (file, line before, line after). See the file's own first lines."""
    reasons, file, old, new, reason = {}, None, None, None, []
    for line in EQUIVALENT.read_text().splitlines() + [""] if EQUIVALENT.exists() else []:
        if line.startswith("#"):
            continue
        if not line.strip():
            if file and old is not None:
                reasons[(file, old, new)] = " ".join(reason)
            file, old, new, reason = None, None, None, []
        elif line.startswith("- "):
            old = line[2:].strip()
        elif line.startswith("+ "):
            new = line[2:].strip()
        elif file is None:
            file = line.strip()
        else:
            reason.append(line.strip())
    return reasons


def counted(results):
    return [r for r in results.values() if r["outcome"] in ("killed", "survived")]


def reason_of(result, reasons):
    return reasons.get((result["file"], result["before"], result["after"]))


def table(title, rows):
    lines = [f"| {title} | mutants | killed | of these timed out | no difference | survived |",
             "|---|---|---|---|---|---|"]
    for name, cells in rows:
        lines.append(f"| {name} | " + " | ".join(str(c) for c in cells) + " |")
    return "\n".join(lines)


def cells_of(group, reasons):
    killed = [r for r in group if r["outcome"] == "killed"]
    same = [r for r in group if r["outcome"] == "survived" and reason_of(r, reasons)]
    return (len(group), len(killed), sum(r["how"] == "timed out" for r in killed), len(same),
            len(group) - len(killed) - len(same))


def report(results):
    reasons = load_equivalents()
    made = counted(results)
    for title, key in (("file", lambda r: r["file"]), ("folder", lambda r: r["file"].split("/")[0]),
                       ("kind", lambda r: r["kind"])):
        groups = collections.defaultdict(list)
        for result in made:
            groups[key(result)].append(result)
        rows = [(name, cells_of(group, reasons)) for name, group in sorted(groups.items())]
        print(table(title, rows + [("**all**", cells_of(made, reasons))]) + "\n")
    programs = collections.Counter(r["program"] for r in made if r["outcome"] == "killed")
    print("killed by: " + ", ".join(f"{name} {n}" for name, n in programs.most_common()))
    others = collections.Counter(r["outcome"] for r in results.values())
    print(f"not counted: {others['not compiled']} did not compile, "
          f"{others['same code']} compile to the same code")
    total, killed, _, same, left = cells_of(made, reasons)
    if total:
        print(f"{total} mutants, {killed} killed ({100 * killed / total:.1f} %), {same} make no "
              f"difference, {left} survived; killed of those that make a difference: "
              f"{100 * killed / max(1, total - same):.1f} %")
    for result in made:
        if result["outcome"] == "survived":
            print(f"\n{result['id']}\n- {result['before']}\n+ {result['after']}\n"
                  f"{reason_of(result, reasons) or 'SURVIVED'}")
        elif reason_of(result, reasons):
            print(f"\nlisted as making no difference, but killed: {result['id']}")
            left += 1
    return left


def result_of(mutant, judgement, seconds):
    return {"id": mutant.id, "file": mutant.file, "line": mutant.line, "kind": mutant.kind,
            "before": mutant.old_text, "after": mutant.new_text, "seconds": round(seconds, 1),
            **judgement}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--seed", default="1")
    parser.add_argument("--count", type=int, default=310, help="mutants of .cpp files")
    parser.add_argument("--headers", type=int, default=0,
                        help="mutants of headers, which cost more building")
    parser.add_argument("--jobs", type=int, default=1, help="jobs of a build")
    parser.add_argument("--files", default="", help="only files whose name contains this")
    parser.add_argument("--memory", action="store_true", help="ask memory_tests too, at last")
    parser.add_argument("--quick", action="store_true",
                        help="ask only the quick tests; --survivors asks the others later")
    parser.add_argument("--only", metavar="ID", action="append", help="judge this mutant again")
    parser.add_argument("--survivors", action="store_true", help="judge the survivors again")
    parser.add_argument("--report", action="store_true", help="show the results, run nothing")
    parser.add_argument("--list", action="store_true", help="list all places, run nothing")
    args = parser.parse_args()

    results = load_results()
    if args.report:
        return 1 if report(results) else 0
    sync()
    if args.list:
        for name in source_files():
            for mutant in mutants_of(name):
                if args.files in mutant.file:
                    print(f"{mutant.id}\n- {mutant.old_text}\n+ {mutant.new_text}")
        return 0
    runner = Runner(args)
    programs = PROGRAMS + ([LAST_PROGRAM] if args.memory else [])
    configure(args.jobs, programs)
    runner.remember_clean()
    runner.baseline(programs)

    def judge(mutant):
        started = time.time()
        result = result_of(mutant, runner.judge(mutant), time.time() - started)
        results[mutant.id] = result
        save_results(results)
        note = result.get("test", "") and f"{result['how']}: {result['test']}"
        print(f"{time.strftime('%H:%M:%S')} {mutant.id}: {result['outcome']} {note}", flush=True)
        if args.only or result["outcome"] == "survived":
            print(f"- {mutant.old_text}\n+ {mutant.new_text}", flush=True)
        return result

    if args.only or args.survivors:
        chosen = args.only or [r["id"] for r in results.values() if r["outcome"] == "survived"
                               and not reason_of(r, load_equivalents())]
        for name in chosen:
            mutant = {m.id: m for m in mutants_of(name.split(":")[0])}.get(name)
            if mutant is None:
                sys.exit(f"there is no such place: {name}")
            judge(mutant)
    else:
        for name, share in shares(source_files(), args.count, args.headers).items():
            if args.files not in name:
                continue
            done = 0
            for mutant in ordered(name, args.seed):
                if done >= share:
                    break
                result = results.get(mutant.id) or judge(mutant)
                done += result["outcome"] in ("killed", "survived")
    return 1 if report(results) else 0


if __name__ == "__main__":
    sys.exit(main())
