#!/usr/bin/env python3
"""Puts single-line faults into copies of the program and shows which of them the tests notice.

    tests/faults.py [--seed N] [--count N] [--jobs N] [--folder NAME] [--list FILE] [--log FILE]

Draws lines of src/ (of src/NAME), and on each a fault: a comparison turned (< to <=, == to !=), a whole number changed by
one, + and - exchanged, && and || exchanged, a condition negated, a statement left out. Builds the program with it, without
link-time optimisation, and runs the bench signature, the unit tests, the dialogues and the end-to-end tests until one of
them fails. A fault is

    noticed         a test fails, or does not end in thrice its usual time
    same program    the compiler makes the same program of it
    NOT NOTICED     everything passes: either a test is missing, or the program still does the same

and one that does not compile is replaced by another. Prints a line a fault, and at the end figures by folder. --list tries
the faults that a former output names (all its lines, or those you leave in it) in place of a draw. Works in build/faults;
uses ccache where it is installed. 200 faults take an hour on two cores, so this is no part of ./check.
"""
import argparse, collections, concurrent.futures, hashlib, os, pathlib, random, re, resource, shutil, signal, subprocess
import sys, threading, time

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "faults"
TURNED = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&",
          "+": "-", "-": "+", "+=": "-=", "-=": "+="}
NO_CODE = re.compile(r"\s*(//|#|static_assert|assert|using|namespace|template|struct|class|enum|case .*:$|default:|public:|private:|\}|$)")
STATEMENT = re.compile(r"(\s+)((?:\+\+|--)?[a-z_][\w.:>\[\]-]*(?:\(.*\)| (?:[-+|&^*/]|<<|>>)?= [^;]*|\+\+|--)?);( *//.*)?$")
NEVER_LEFT_OUT = re.compile(r"\s+(return|break|continue|goto|else|do)\b")


def masked(line):
    """The line with its texts and its comment blanked out."""
    line = re.sub(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])+\'', lambda m: "_" * len(m.group()), line)
    return re.sub(r"//.*", lambda m: " " * len(m.group()), line)


def faults_of(line):
    """All faulty forms of a line, as (kind, text)."""
    if NO_CODE.match(line):
        return
    code = masked(line)
    for m in re.finditer(r" (<=|>=|==|!=|&&|\|\||\+=|-=|[<>+-]) ", code):
        yield f"{m.group(1)} turned at {m.start(1)}", line[:m.start(1)] + TURNED[m.group(1)] + line[m.end(1):]
    for m in re.finditer(r"(?<![\w.])(\d+)(?![\w.']|\.\d)", code):
        for step in (1, -1):
            yield f"{m.group(1)}{step:+d} at {m.start(1)}", line[:m.start(1)] + str(int(m.group(1)) + step) + line[m.end(1):]
    if m := re.fullmatch(r"(.*\bif (?:constexpr )?\()([^;]*)(\)(?: [^()]*(?:\(.*\))?;| \{)?)", code.rstrip()):
        depth, end = 1, len(m.group(1))
        while depth and end < len(code):
            depth += {"(": 1, ")": -1}.get(code[end], 0)
            end += 1
        if depth == 0:
            yield "condition negated", line[:m.end(1)] + "!(" + line[m.end(1):end - 1] + ")" + line[end - 1:]
    if (m := STATEMENT.fullmatch(line)) and not NEVER_LEFT_OUT.match(line) and code.count("(") == code.count(")"):
        yield "statement left out", m.group(1) + ";"


def all_lines(folder):
    for path in sorted((ROOT / "src" / folder).rglob("*.*")):
        for number, line in enumerate(path.read_text().split("\n")):
            if forms := list(faults_of(line)):
                yield str(path.relative_to(ROOT)), number + 1, forms


def draw(options):
    if options.list:
        for m in re.finditer(r"(src/\S+):(\d+): (.*?) +\|", pathlib.Path(options.list).read_text()):
            line = (ROOT / m[1]).read_text().split("\n")[int(m[2]) - 1]
            yield from ((m[1], int(m[2]), kind, text) for kind, text in faults_of(line) if kind == m[3])
        return
    chance = random.Random(options.seed)
    lines = list(all_lines(options.folder))
    chance.shuffle(lines)
    for path, number, forms in lines:
        yield path, number, *chance.choice(forms)


class Copy:
    """A copy of the sources with a build of its own."""

    def __init__(self, number):
        self.folder = WORK / str(number)
        self.tree, self.build = self.folder / "tree", self.folder / "build"
        shutil.rmtree(self.folder, ignore_errors=True)
        shutil.copytree(ROOT, self.tree, symlinks=True, ignore=shutil.ignore_patterns("build", ".git"))
        launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
        flags = ["-DCMAKE_BUILD_TYPE=Release", "-DDRAL_LTO=OFF"]
        self.usual = {}
        ready = self.run(["cmake", "-S", self.tree, "-B", self.build, *flags, *launcher], 600) and self.make("dral")
        if not ready or self.first_failure() is not None:
            raise SystemExit(f"the tests fail without a fault: see {self.folder}/output")
        self.program = self.hash()

    def run(self, command, limit):
        """Whether the command succeeds in time. It gets no more than 8 GB, and leaves no process behind."""
        env = {name: value for name, value in os.environ.items() if not name.startswith("DRAL_")}
        env.update(CCACHE_SLOPPINESS="pch_defines,time_macros", TMPDIR=str(self.folder))
        with open(self.folder / "output", "wb") as output:
            process = subprocess.Popen(command, cwd=self.folder, env=env, stdin=subprocess.DEVNULL, stdout=output,
                                       stderr=output, start_new_session=True,
                                       preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (8 << 30, 8 << 30)))
            try:
                return process.wait(limit) == 0
            except subprocess.TimeoutExpired:
                return False
            finally:
                try:
                    os.killpg(process.pid, signal.SIGKILL)
                except ProcessLookupError:
                    pass
                process.wait()

    def make(self, *targets):
        return self.run(["cmake", "--build", self.build, "--target", *targets], 900)

    def hash(self):
        return hashlib.sha256((self.build / "dral").read_bytes()).digest()

    def steps(self):
        tests = self.build / "tests"
        dialogues = sorted((self.tree / "tests" / "dialogues").glob("*.txt"))
        return {"bench": [self.tree / "tests" / "check_bench.sh", self.build / "dral"],
                "unit": [tests / "unit_tests", "--gtest_fail_fast", "--gtest_brief"],
                "dialogues": [sys.executable, self.tree / "tests" / "dialogues" / "play.py", self.build / "dral", *dialogues],
                "e2e": [tests / "e2e_tests", "--gtest_fail_fast", "--gtest_brief"]}

    def failing(self, name):
        began = time.monotonic()
        passed = self.run(self.steps()[name], 3 * self.usual.get(name, 300) + 10)
        self.usual.setdefault(name, time.monotonic() - began)
        return not passed

    def first_failure(self):
        """What failed, by name; None when nothing did."""
        for name, command in self.steps().items():
            if name == "unit" and not self.make("unit_tests", "e2e_tests"):
                return "tests do not compile"
            if not self.failing(name):
                continue
            said = (self.folder / "output").read_text("utf-8", "replace")
            failed = list(dict.fromkeys(re.findall(r"\[  FAILED  \] (\w+\.\w+)|(/\S+/dialogues/\w+\.txt): after", said)))
            # A busy machine may make a dialogue or an end-to-end test late: once is no failure.
            again = [path for _, path in failed] if name == "dialogues" else []
            if name == "e2e" and not self.failing(name) or again and self.run(command[:3] + again, 300):
                continue
            return f"{name} {failed[0][0] or pathlib.Path(failed[0][1]).stem}" if failed else name
        return None

    def line(self, path, number):
        return (self.tree / path).read_text().split("\n")[number - 1]

    def verdict(self, path, number, text):
        place = self.tree / path
        original = place.read_text()
        lines = original.split("\n")
        lines[number - 1] = text
        place.write_text("\n".join(lines))
        try:
            if not self.make("dral"):
                return None
            if self.hash() == self.program:
                return "same program"
            failure = self.first_failure()
            return f"noticed: {failure}" if failure else "NOT NOTICED"
        finally:
            place.write_text(original)


def main():
    reader = argparse.ArgumentParser()
    for name, default in (("seed", 1), ("count", 200), ("jobs", os.cpu_count()), ("folder", ""), ("list", ""), ("log", "")):
        reader.add_argument("--" + name, type=type(default), default=default)
    options = reader.parse_args()
    faults, lock, counts, tried = draw(options), threading.Lock(), collections.Counter(), [0]
    log = open(options.log, "a") if options.log else None

    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        copies = list(pool.map(Copy, range(options.jobs)))

    def work(copy):
        while True:
            with lock:
                fault = next(faults, None) if tried[0] < options.count else None
                if fault is None:
                    return
                tried[0] += 1
            path, line, kind, text = fault
            verdict = copy.verdict(path, line, text)
            with lock:
                if verdict is None:
                    tried[0] -= 1
                    continue
                counts[path.split("/")[1], verdict.split(":")[0]] += 1
                shown = copy.line(path, line) if text.strip() == ";" else text
                print(f"{path}:{line}: {kind} | {verdict} | {shown.strip()}", file=log or sys.stdout, flush=True)

    workers = [threading.Thread(target=work, args=(copy,)) for copy in copies]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()
    print(f"{'folder':12} {'noticed':>8} {'same':>8} {'not':>8}")
    for folder in sorted({folder for folder, _ in counts}) + ["all"]:
        of = lambda verdict: sum(n for (f, v), n in counts.items() if v == verdict and folder in (f, "all"))
        print(f"{folder:12} {of('noticed'):8} {of('same program'):8} {of('NOT NOTICED'):8}")


if __name__ == "__main__":
    main()
