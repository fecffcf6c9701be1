#!/usr/bin/env python3
"""Plays dialogues with the program and compares what it says, line by line.

    play.py [--record] PROGRAM FILE...      PROGRAM may be several words, an emulator before the program

A dialogue is a text file. It runs in an empty folder of its own. Each line is a mark, a blank and a text:

    # TEXT          a remark; empty lines are remarks too
    + NAME          puts a file into the folder, or into one below it; the `| ` lines that follow are its content
    @ NAME = DATA   puts a link there to a file or folder of tests/data
    $ dral WORDS    starts the program (shell quoting), when the one before has ended
    > LINE          sends a line
    < LINE          is the next line that the program says; `< ...` stands for any lines, or none, before the next
    ! LINE          is the next line on standard error
    = STATUS        the input ends, nothing more is said on either stream, and this is the exit status; where a dialogue
                    starts the program again or ends without it, it stands for `= 0`
    ? NAME          is a file that was written; the `| ` lines that follow are its content
    - NAME          is a file that is not there

In `<`, `!` and the `| ` lines below `?` stand for what may differ: %d a whole number, %f a number with decimals, %s a
word, %* any text; %% is a percent sign. A line `| ...` below `?` stands for any lines. Of a long search, two
kinds of lines depend on the clock alone and are left out: "info currmove", and "info depth" without a line of play.

--record writes what the program says into the files instead of comparing it: all up to the last of some `<` lines, which
has to match. Lines that match stay; in new ones times and rates become patterns. Groups with `< ...` stay as they are.

DRAL_BINARY names another program to use in place of PROGRAM. DRAL_TEST_TIMEOUT_SCALE multiplies the 20 seconds within
which a line has to come.
"""
import concurrent.futures, os, pathlib, queue, re, shlex, shutil, subprocess, sys, tempfile, threading

DATA = pathlib.Path(__file__).resolve().parent.parent / "data"
TIMEOUT = 20 * float(os.environ.get("DRAL_TEST_TIMEOUT_SCALE", "1"))
PATTERNS = {"%d": r"-?\d+", "%f": r"-?\d+\.\d+", "%s": r"\S+", "%*": ".*", "%%": "%"}
LEFT_OUT = re.compile(r"info (currmove |depth \d+ time )")
CLOCKED = [(re.compile(r"\b(time|nps)(=? *) \d+\.\d+"), r"\1\2 %f"), (re.compile(r"\b(time|nps)(=? *) \d+"), r"\1\2 %d"),
           (re.compile(r"\bin \d+\.\d+ seconds"), "in %f seconds"), (re.compile(r"\bet= \d\.\d+"), "et= %f")]


class Failure(Exception):
    pass


def matches(wanted, line):
    parts = re.split(r"(%[dfs*%])", wanted)
    return re.fullmatch("".join(PATTERNS.get(part, re.escape(part)) for part in parts), line) is not None


def compare(wanted, said):
    """Compares a file with what it should hold."""
    start = 0
    for at, line in enumerate(wanted + [None]):
        anything = at > 0 and wanted[at - 1] == "..."
        if line == "...":
            continue
        fits = [i for i in range(start, len(said)) if matches(line, said[i])] if line is not None else [len(said)]
        if not fits or (fits[0] != start and not anything):
            raise Failure(f"wanted: {line}\nholds:  {said[start] if start < len(said) else '(nothing more)'}")
        start = fits[0] + 1


class Program:
    """The running program. Lines arrive by a thread a stream, None after the last."""

    def __init__(self, command, folder):
        pipe = subprocess.PIPE
        self.process = subprocess.Popen(command, cwd=folder, stdin=pipe, stdout=pipe, stderr=pipe)
        self.lines = {"<": queue.Queue(), "!": queue.Queue()}
        for mark, stream in (("<", self.process.stdout), ("!", self.process.stderr)):
            threading.Thread(target=self.read, args=(stream, self.lines[mark]), daemon=True).start()

    @staticmethod
    def read(stream, lines):
        for line in stream:
            lines.put(line.decode("utf-8", "surrogateescape").rstrip("\r\n"))
        lines.put(None)

    def next_line(self, mark):
        """The next line; None after the last one, and where none comes in time."""
        try:
            while (line := self.lines[mark].get(timeout=TIMEOUT)) is not None and LEFT_OUT.match(line):
                pass
            return line
        except queue.Empty:
            return None

    def send(self, text):
        try:
            self.process.stdin.write((text + "\n").encode("utf-8", "surrogateescape"))
            self.process.stdin.flush()
        except OSError:
            raise Failure("the program no longer reads its input") from None

    def rest(self, mark):
        lines = []
        while (line := self.next_line(mark)) is not None:
            lines.append(line)
        return lines


class Dialogue:
    def __init__(self, command, path, record):
        self.command, self.record = command, record
        self.lines = path.read_text("utf-8", "surrogateescape").removesuffix("\n").split("\n")
        self.out, self.program, self.anything = [], None, False
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="dral-dialogue-"))

    def take(self, mark):
        """The texts of the lines with this mark that follow."""
        texts = []
        while self.lines and self.lines[0][:1] == mark:
            texts.append(self.lines.pop(0)[1:].removeprefix(" "))
        return texts

    def expect(self, wanted, mark):
        """The lines up to the one that matches, which has to be the next unless others may come before it."""
        said = []
        while True:
            said.append(self.program.next_line(mark))
            if said[-1] is not None and matches(wanted, said[-1]):
                self.anything = False
                return said
            if said[-1] is None or not self.anything:
                shown = ("(nothing more, or not in time)" if line is None else line for line in said[-10:])
                raise Failure(f"wanted: {wanted}" + "".join(f"\nsaid:   {line}" for line in shown))

    def hear(self, wanted):
        """A group of `<` lines."""
        if self.record and "..." not in wanted:
            said = []
            for _ in range(wanted.count(wanted[-1])):  # it may come before as well
                self.anything = True
                said += self.expect(wanted[-1], "<")
            return [next((w for w in wanted if matches(w, line)), pattern(line)) for line in said]
        for text in wanted:
            if text == "...":
                self.anything = True
            else:
                self.expect(text, "<")
        return wanted

    def end(self, status):
        if self.program is None:
            return
        try:
            self.program.process.stdin.close()
        except OSError:
            pass  # it has ended by itself
        rest, errors = self.program.rest("<"), self.program.rest("!")
        try:
            ended = self.program.process.wait(TIMEOUT)
        except subprocess.TimeoutExpired:
            raise Failure("the program does not end in time") from None
        if self.record and not self.anything:
            self.out += ["< " + pattern(line) if line else "<" for line in rest]
        elif rest and not self.anything:
            raise Failure("said, and not expected:\n" + "\n".join(rest[:10]))
        if errors or ended != status:
            raise Failure(f"ended with {ended}" + "".join("\n! " + line for line in errors))
        self.program, self.anything = None, False

    def step(self, line):
        mark, text = line[:1], line[1:].removeprefix(" ")
        if mark in ("$", "?", "-"):
            self.end(0)
        if mark == "=":
            self.end(int(text))
        self.out.append(line)
        if mark == "$":
            self.program = Program(self.command + shlex.split(text)[1:], self.folder)
        elif mark == ">":
            self.program.send(text)
        elif mark == "<":
            self.out[-1:] = [("< " + said if said else "<") for said in self.hear([text] + self.take("<"))]
        elif mark == "!":
            self.expect(text, "!")
        elif mark == "+":
            content = self.take("|")
            (self.folder / text).parent.mkdir(parents=True, exist_ok=True)
            (self.folder / text).write_bytes("".join(c + "\n" for c in content).encode("utf-8", "surrogateescape"))
            self.out += ["| " + c if c else "|" for c in content]
        elif mark == "@":
            name, source = text.split(" = ")
            (self.folder / name).symlink_to(DATA / source)
        elif mark == "?":
            wanted = self.take("|")
            said = (self.folder / text).read_text("utf-8", "surrogateescape").split("\n")
            if not said[-1]:
                said.pop()  # the last line has its end
            if self.record and "..." not in wanted:
                wanted = [next((w for w in wanted if matches(w, line)), pattern(line)) for line in said]
            compare(wanted, said)
            self.out += [("| " + w if w else "|") for w in wanted]
        elif mark == "-":
            if (self.folder / text).exists():
                raise Failure(f"{text} is there")
        elif mark not in ("#", "", "="):
            raise Failure(f"no such mark: {line}")

    def play(self):
        try:
            while self.lines:
                self.step(self.lines.pop(0))
            self.end(0)
        finally:
            if self.program is not None:
                self.program.process.kill()
            shutil.rmtree(self.folder, ignore_errors=True)


def pattern(line):
    line = line.replace("%", "%%")
    for what, by in CLOCKED:
        line = what.sub(by, line)
    return line


def main(words):
    record = words[0] == "--record"
    program, *files = words[record:]
    program = os.environ.get("DRAL_BINARY", program)
    command = [program] if os.path.exists(program) else shlex.split(program)
    command[-1] = os.path.abspath(command[-1])

    def play(name):
        """What went wrong, or nothing."""
        path = pathlib.Path(name)
        dialogue = Dialogue(command, path, record)
        try:
            dialogue.play()
        except (Failure, OSError, ValueError) as failure:
            return f"{name}: after line {len(dialogue.out)}: {(dialogue.out or [''])[-1]}\n{failure}"
        if record:
            path.write_text("\n".join(dialogue.out) + "\n", "utf-8", "surrogateescape")
        return ""

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        failures = [failure for failure in pool.map(play, files) if failure]
    print("\n".join(failures), end="\n" if failures else "")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
