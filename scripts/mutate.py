#!/usr/bin/env python3
"""Makes one small change to the library at a time and shows which changes no test notices.

    scripts/setup.sh build test && scripts/mutate.py                 # a sample of 300 changes, about an hour
    scripts/mutate.py --sample 20 --seed 7 --files hypergraph/io.cpp # a smaller one, of one file
    scripts/mutate.py --list                                         # lists the possible changes, without running tests

Each change is made in a copy of the sources in build/mutate, which is then built and tested. The plain build comes
first because it is quick; surviving changes are tested with the sanitizers and in the portable code. A change that
does not compile is replaced by another one. scripts/same_behaviour.txt lists changes that make no difference, with
reasons.
Status 1: the tests noticed less than --least percent of the others, by default 100.
"""

import argparse
import collections
import concurrent.futures
import os
import pathlib
import queue
import random
import re
import shutil
import signal
import subprocess
import sys
import threading

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutate"
REASONS = ROOT / "scripts" / "same_behaviour.txt"

TOKEN = re.compile(r"""
    (?P<skip>//[^\n]*|/\*.*?\*/|^[ ]*\#(?:[^\n]*\\\n)*[^\n]*|"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])*')
  | (?P<number>\b(?:0x[0-9A-Fa-f']+|[0-9][0-9']*(?:\.[0-9]+)?)[uUlLfF]*)
  | (?P<name>[A-Za-z_]\w*)
  | (?P<operator><<=|>>=|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|[-+*/%<>=!&|^~?:;,.(){}\[\]])
""", re.VERBOSE | re.DOTALL | re.MULTILINE)

# With a blank on both sides these are operators of two operands, never parts of a type.
BINARY = {"<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"], "==": ["!="], "!=": ["=="],
          "+": ["-"], "-": ["+"], "*": ["+"], "/": ["*"], "%": ["/"], "&&": ["||"], "||": ["&&"], "&": ["|"],
          "|": ["&"], "<<": [">>"], ">>": ["<<"], "+=": ["-="], "-=": ["+="], "*=": ["+="], "|=": ["&="],
          "&=": ["|="], "^": ["|"]}
UNARY = {"++": "--", "--": "++"}
STATEMENT = re.compile(r"^ *(?!return\b|const\b|constexpr\b|static\b|using\b|break\b|case\b|if\b|for\b|else\b|while\b"
                       r"|struct\b|class\b|namespace\b|template\b|inline\b|friend\b|enum\b)"
                       r"(?:[\w.\[\]>*():-]+(?:\([^;{}]*\)| [-+*/|&^]?= [^;{}]*)|\+\+[^;{}]*|--[^;{}]*);$")
CALL = re.compile(r"(?<!\bmin)(?<!\bmax)(?<!\bswap)(?<=[\w>])\(([\w.\[\]>*-]+), ([\w.\[\]>*-]+)(?=[,)])")
CONDITION = re.compile(r"\b(?:if|while) \((?!const )((?:[^()]|\([^()]*\))*)\)")


class Mutant:
    def __init__(self, path, text, begin, end, replacement):
        self.path, self.begin, self.end, self.replacement = path, begin, end, replacement
        self.line = text.count("\n", 0, begin) + 1
        first = text.rfind("\n", 0, begin) + 1
        last = text.find("\n", end)
        self.before = text[first:last].strip()
        self.after = (text[first:begin] + replacement + text[end:last]).strip()
        names = re.findall(r"^(?:\[\[[^\]]*\]\] )?[A-Za-z][^;{}()=]*?\b(\w+)\(", text[:end], re.MULTILINE)
        self.function = names[-1] if names else ""

    def applied_to(self, text):
        return text[:self.begin] + self.replacement + text[self.end:]

    def key(self):
        return f"{self.path}: {self.function}: {self.before} => {self.after}"

    def __str__(self):
        return f"{self.path}:{self.line}: {self.before}\n    => {self.after or '(removed)'}"


def is_left_alone(text, at):
    """Whether a change of this line has no visible effect: assertions, attributes, prefetches."""
    line = text[text.rfind("\n", 0, at) + 1:text.find("\n", at)]
    return bool(re.match(r" *(static_)?assert\(|.*\bgnu::|.*\bprefetch", line))


def replacements(text, match):
    """The texts that replace one token."""
    token = match.group()
    begin, end = match.span()
    if match.lastgroup == "number":
        if re.fullmatch(r"[0-9]+", token):
            return [str(int(token) + 1)] + ([str(int(token) - 1)] if int(token) > 0 else [])
        return []
    if match.lastgroup == "name":
        return {"true": ["false"], "false": ["true"], "min": ["max"], "max": ["min"]}.get(token, [])
    if token in UNARY:
        return [UNARY[token]]
    if token == "!":
        return [""]
    spaced = text[begin - 1] in " \n" and text[end] in " \n"
    return BINARY.get(token, []) if spaced else []


def mutants_of(path):
    text = (ROOT / path).read_text()
    found = []

    def add(begin, end, replacement):
        if not is_left_alone(text, begin):
            found.append(Mutant(path, text, begin, end, replacement))

    hidden = [m.span() for m in TOKEN.finditer(text) if m.lastgroup == "skip"]
    for match in TOKEN.finditer(text):
        if match.lastgroup == "skip" or match.group() in ("std",):
            continue
        for replacement in replacements(text, match):
            add(*match.span(), replacement)

    def in_code(at):
        return not any(begin <= at < end for begin, end in hidden)

    for match in re.finditer(r"^.*$", text, re.MULTILINE):
        if STATEMENT.match(match.group()) and in_code(match.start() + len(match.group()) - 1):
            add(*match.span(), "")
    for match in CALL.finditer(text):
        if in_code(match.start()) and match.group(1) != match.group(2):
            add(match.start(1), match.end(2), f"{match.group(2)}, {match.group(1)}")
    for match in CONDITION.finditer(text):
        if in_code(match.start()):
            add(*match.span(1), f"!({match.group(1)})")
    return found


def sources():
    listed = subprocess.run(["git", "ls-files", "hypergraph", "util"], cwd=ROOT, capture_output=True, text=True,
                            check=True).stdout.split()
    return [path for path in listed if path.endswith((".cpp", ".h"))]


def known_reasons():
    """Changes without effect by key, each with its reason: a line '# reason' applies to the changes below it."""
    reasons = {}
    reason = ""
    for line in REASONS.read_text().splitlines() if REASONS.exists() else []:
        if line.startswith("# "):
            reason = line[2:]
        elif line:
            reasons[line] = reason
    return reasons


def programs_for(path):
    return ["module_tests" if path.startswith("hypergraph") else "util_tests", "fatal_tests"]


def kill_group(leader):
    """Also ends processes that a test started: a change may make them loop forever."""
    try:
        os.killpg(leader, signal.SIGKILL)
    except ProcessLookupError:
        pass


class Tree:
    """A copy of the sources with its builds."""

    def __init__(self, number, plain_only):
        self.root = WORK / f"tree{number}"
        self.plain_only = plain_only
        self.sources = self.root / "sources"
        shutil.rmtree(self.sources, ignore_errors=True)
        command = ["git", "ls-files", "--cached", "--others", "--exclude-standard"]
        listed = subprocess.run(command, cwd=ROOT, capture_output=True, text=True, check=True).stdout.split()
        for path in listed:
            if (ROOT / path).is_file():
                (self.sources / path).parent.mkdir(parents=True, exist_ok=True)
                # Sources of the library get the present time: an object of an earlier run may contain a change.
                copy = shutil.copy if path.startswith(("hypergraph/", "util/")) else shutil.copy2
                copy(ROOT / path, self.sources / path)
        self.configure("plain", "")
        if not plain_only:
            self.configure("sanitized", "address,undefined")

    def configure(self, build, sanitizers):
        subprocess.run(["cmake", "-G", "Ninja", "-S", self.sources, "-B", self.root / build, "-D", "QUILLON_TOOLS=OFF",
                        "-D", "CMAKE_CXX_FLAGS=-O1", "-D", f"QUILLON_SANITIZE={sanitizers}"],
                       check=True, stdout=subprocess.DEVNULL)

    def builds(self, build, programs):
        command = ["cmake", "--build", self.root / build, "--parallel", "2", "--target", *programs]
        return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0

    def passes(self, build, program):
        environment = dict(os.environ, GTEST_FAIL_FAST="1", GTEST_BRIEF="1")
        command = [self.root / build / "tests" / program]
        with subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, cwd=self.root, start_new_session=True) as tests:
            try:
                return tests.wait(timeout=120) == 0
            except subprocess.TimeoutExpired:
                return False
            finally:
                kill_group(tests.pid)

    def stages(self, mutant):
        """Builds and their programs, in the order in which they run."""
        programs = programs_for(mutant.path)
        portable = f"portable_{programs[0]}"
        stages = [("plain", programs), ("plain", [portable])]
        return stages if self.plain_only else [*stages, ("sanitized", [*programs, portable])]

    def verdict(self, mutant, is_known):
        """'stillborn', 'survived', or the test program that failed. Only the first stage runs for known changes."""
        target = self.sources / mutant.path
        text = target.read_text()
        target.write_text(mutant.applied_to(text))
        try:
            for build, names in self.stages(mutant)[:1 if is_known else None]:
                if not self.builds(build, names):
                    return "stillborn"
                for name in names:
                    if not self.passes(build, name):
                        return f"{build} {name}"
            return "survived"
        finally:
            target.write_text(text)


def known_verdicts(log):
    """Verdicts of an interrupted run by key, in order, without survivors, which new tests may notice."""
    known = collections.defaultdict(collections.deque)
    for line in log.read_text().splitlines() if log.exists() else []:
        verdict, _, key = line.partition("\t")
        if verdict != "survived":
            known[key].append(verdict)
    return known


def run(mutants, options, known, log):
    """Tries mutants in order until enough of them have compiled. Returns [(mutant, verdict)]."""
    wanted = options.sample
    reasons = known_reasons()
    waiting = queue.SimpleQueue()
    results = []
    for mutant in mutants:
        if not known[mutant.key()]:
            waiting.put(mutant)
            continue
        verdict = known[mutant.key()].popleft()
        log.write(f"{verdict}\t{mutant.key()}\n")
        if verdict != "stillborn":
            results.append((mutant, verdict))
    log.flush()
    lock = threading.Lock()

    def work(number):
        tree = Tree(number, options.plain_only)
        needed = sorted({name for mutant in mutants for name in programs_for(mutant.path)})
        if not tree.builds("plain", needed) or not all(tree.passes("plain", name) for name in needed):
            sys.exit("mutate.py: the tests fail without any change")
        while not waiting.empty():
            with lock:
                if len(results) >= wanted:
                    return
            mutant = waiting.get()
            verdict = tree.verdict(mutant, mutant.key() in reasons)
            with lock:
                if verdict != "stillborn":
                    results.append((mutant, verdict))
                log.write(f"{verdict}\t{mutant.key()}\n")
                log.flush()
                print(f"{len(results):4d} of {wanted}: {verdict}: {mutant.path}:{mutant.line}", flush=True)

    with concurrent.futures.ThreadPoolExecutor(options.trees) as pool:
        for done in [pool.submit(work, number) for number in range(options.trees)]:
            done.result()
    return results[:wanted]


def report(results, least):
    reasons = known_reasons()
    survivors = [mutant for mutant, verdict in results if verdict == "survived"]
    unexplained = [mutant for mutant in survivors if mutant.key() not in reasons]
    killed = len(results) - len(survivors)
    with_effect = killed + len(unexplained)
    print(f"\n{len(results)} changes, {len(results) - with_effect} of them without effect; of the other {with_effect}, "
          f"{killed} noticed ({100 * killed / max(1, with_effect):.1f} %)")
    for mutant in survivors:
        print(f"\n{mutant}")
        if mutant.key() in reasons:
            print(f"    ({reasons[mutant.key()]})")
    return 1 if killed < with_effect * least / 100 else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--sample", type=int, default=300, help="changes to try")
    parser.add_argument("--seed", type=int, default=1, help="of the sample")
    parser.add_argument("--files", nargs="+", default=None, help="instead of all of hypergraph/ and util/")
    parser.add_argument("--trees", type=int, default=1, help="copies to work in side by side")
    parser.add_argument("--plain-only", action="store_true", help="without the sanitizers: quicker, notices less")
    parser.add_argument("--resume", action="store_true", help="an interrupted run of the same sources and seed")
    parser.add_argument("--least", type=int, default=100, help="percent to be noticed of what makes a difference")
    parser.add_argument("--list", action="store_true", help="only print what can be changed")
    options = parser.parse_args()

    everything = [mutant for path in sources() for mutant in mutants_of(path)]
    for key in sorted(known_reasons().keys() - {mutant.key() for mutant in everything}):
        print(f"mutate.py: warning: {REASONS.name} explains a change that is no longer possible: {key}", file=sys.stderr)
    mutants = [mutant for mutant in everything if not options.files or mutant.path in options.files]
    random.Random(options.seed).shuffle(mutants)
    if options.list:
        for mutant in mutants:
            print(mutant)
        print(f"{len(mutants)} changes")
        return 0
    WORK.mkdir(parents=True, exist_ok=True)
    known = known_verdicts(WORK / "log.tsv" if options.resume else pathlib.Path(os.devnull))
    with open(WORK / "log.tsv", "w", encoding="utf-8") as log:
        return report(run(mutants, options, known, log), options.least)


if __name__ == "__main__":
    sys.exit(main())
