#!/usr/bin/env python3
"""Tries in the program for Windows what only Windows has, or has in its own way.

    windows_test.py PROGRAM     PROGRAM is several words: wine, and the program

Needs x86_64-w64-mingw32-gcc, for a timer library that refuses.

DRAL_BINARY names another program to use in place of PROGRAM; DRAL_TEST_TIMEOUT_SCALE multiplies all limits of time.
"""
import fcntl, os, pathlib, pty, re, select, shlex, shutil, struct, subprocess, sys, tempfile, termios, threading, time

SCALE = float(os.environ.get("DRAL_TEST_TIMEOUT_SCALE", "1"))
DATA = pathlib.Path(__file__).resolve().parent.parent / "data"
COMMAND = shlex.split(os.environ.get("DRAL_BINARY", shlex.join(sys.argv[1:])))
COMMAND[-1] = os.path.abspath(COMMAND[-1])
QUEEN = "position fen 8/8/8/8/8/5K2/4Q3/6k1 w - -"
TIMER = """int timeGetDevCaps(unsigned *range, unsigned size) { range[0] = %d; range[1] = %d; return %d; }
int timeBeginPeriod(unsigned period) { return period == %d ? 0 : 97; }
int timeEndPeriod(unsigned period) { return 0; }"""
UNKNOWN, REFUSED = b"\n\nerror setting timer resolution\n\ninfo", b"\n\nError setting timer resolution\ninfo"
NAME = "Größe 世界"  # not all of it is in any one code page


class Engine:
    def __init__(self, *switches, folder=None):
        pipe = subprocess.PIPE
        words = [*COMMAND, "-hash", "1", *switches]
        self.process = subprocess.Popen(words, cwd=folder, stdin=pipe, stdout=pipe, stderr=pipe)

    def write(self, text):
        self.process.stdin.write(text.encode("utf-8", "surrogateescape"))
        self.process.stdin.flush()

    def hear(self, word):
        """All that it says up to a line with the word."""
        said = ""
        while word not in said:
            line = self.process.stdout.readline()
            assert line, f"ended with {self.process.wait()} in place of {word}"
            said += line.decode("utf-8", "surrogateescape")
        return said

    def ask(self, *lines):
        self.write("\n".join(lines) + "\n")
        return self.hear("bestmove" if lines[-1].startswith(("go", "stop")) else "readyok")

    def end(self, warnings=b""):
        errors = self.process.communicate(b"quit\n", 20 * SCALE)[1]
        assert (self.process.returncode, errors) == (0, warnings), (self.process.returncode, errors)


def whole(data=b"", *switches, command=COMMAND, **more):
    """All that a run says about some input."""
    done = subprocess.run([*command, "-hash", "1", *switches], capture_output=True, timeout=60 * SCALE,
                          **({"input": data} | more))
    assert (done.returncode, done.stderr) == (0, b""), (switches, done)
    return done.stdout


def input_in_pieces(folder):
    engine, many = Engine(), 40000  # more than a pipe holds, so that both sides have to wait at times
    for piece in ("isr", "e", "ady\nisready\r\nisr", "eady\n" + "isready\n" * many):
        threading.Thread(target=engine.write, args=[piece]).start()
        time.sleep(0.05)
    for _ in range(3 + many):
        engine.hear("readyok")
    engine.write("go infinite\nisready" + "x" * 300000 + "\n")  # a piece of a line that is none
    assert "readyok" not in engine.ask("stop")
    engine.end()


def input_from_elsewhere(folder):
    (folder / "lines").write_bytes(b"isready\r\ngo depth 2\r\nisready")
    with open(folder / "lines") as lines:
        for said in (whole(input=None, stdin=lines), whole((folder / "lines").read_bytes())):
            assert said.count(b"readyok") == 2 and b"bestmove" in said and b"\r" not in said, said
    whole(input=None, stdin=subprocess.DEVNULL)


def answers_in_time(folder):
    engine = Engine()
    for before, line, times in ((["isready"], "isready", 200), (["go infinite", "isready"], "stop", 40)):
        taken = []
        for _ in range(times):
            engine.ask(*before)
            for asked in ("isready", line):
                began = time.perf_counter()
                engine.ask(asked)
                taken.append(time.perf_counter() - began)
        assert sorted(taken)[times] < 0.01 * SCALE, sorted(taken)
    engine.end()


def timer(folder):
    for library, (least, most, fails, granted, message) in enumerate([
            (1, 1000, 0, 5, b""), (1, 2, 0, 2, b""), (20, 99, 0, 20, b""), (1, 1000, 97, 5, UNKNOWN), (1, 1000, 0, 0, REFUSED)]):
        place = folder / str(library)
        place.mkdir()
        shutil.copy(COMMAND[-1], place / "dral.exe")
        (place / "timer.c").write_text(TIMER % (least, most, fails, granted))
        subprocess.run(["x86_64-w64-mingw32-gcc", "-shared", "-o", place / "winmm.dll", place / "timer.c"], check=True)
        said = whole(command=[*COMMAND[:-1], str(place / "dral.exe")], env=os.environ | {"WINEDLLOVERRIDES": "winmm=n"})
        assert message in said and (message or b"timer" not in said), said


def log_in_use(folder):
    engine = Engine("-log", folder=folder)
    engine.ask("isready")
    said = whole(b"go depth 1\n", "-log", cwd=folder)
    assert b"\n\nlog file in use.\ninfo" in said, said
    engine.end()
    log = (folder / "dral.log").read_bytes()
    assert b"readyok\n" in log and b"depth" not in log and b"\r" not in log, log
    assert b"in use" not in whole(b"", "-log", cwd=folder)


def names(folder):
    place = folder / NAME / "a b"
    place.mkdir(parents=True)
    shutil.copy(DATA / "polyglot/performance.bin", place / (NAME + ".bin"))
    shutil.copy(DATA / "polyglot/performance.bin", place / "büch.bin")
    (place / (NAME + ".cfg")).write_text("MultiPV = 2\n")
    full = "Z:" + str(place).replace("/", "\\") + "\\"
    for prefix in ("", ".\\", full, full.replace("\\", "/"), "\\\\?\\" + full):
        engine = Engine("-cfg", prefix + NAME + ".cfg", folder=place)
        assert "\ninfo string MultiPV set to 2\n" in engine.ask("isready"), prefix
        book = ["setoption name OwnBook value true", "setoption name OwnBook_File value "]
        assert "book move" in engine.ask(book[0], book[1] + prefix + NAME + ".bin", "go depth 1"), prefix
        engine.end()
    engine = Engine(folder=place)
    assert "book move" in engine.ask(book[0], book[1] + "b\udcfcch.bin", "go depth 1"), "in the code page"
    engine.end()


def tables(folder):
    for n, files in enumerate((["KQvK.rtbw"], ["KQvK.rtbw", "KQvK.rtbz", "KRvK.rtbw"])):
        (folder / f"{n} é").mkdir()
        for file in files:
            shutil.copy(DATA / "syzygy" / file, folder / f"{n} é")
    (folder / "0 é/KQvK.rtbw").write_bytes(b"no table")
    engine, remove = Engine(folder=folder), [*COMMAND[:-1], "cmd", "/c", "del", "1 é\\KQvK.rtbw"]
    for path, removed in ((f"1 é;Z:{folder}/0 é", False), ("Z:" + str(folder).replace("/", "\\") + "\\0 é;1 é", True)):
        said = engine.ask("setoption name SyzygyPath value " + path, QUEEN, "go depth 2")
        assert "found 2 tablebases" in said and (int(re.search(r"tbhits (\d+)", said)[1]) < 9) == removed, said
        subprocess.run(remove, cwd=folder, capture_output=True)  # cannot remove what is mapped
        assert (folder / "1 é/KQvK.rtbw").exists() != removed
    engine.end(b"Corrupted table.\n")


def threads_and_memory(folder):
    engine = Engine("-threads", "33")
    for threads, megabytes in ((128, 3), (32, 600), (1, 0), (2, 3)):
        engine.ask(f"setoption name Threads value {threads}", f"setoption name Hash value {megabytes}", "go depth 5")
        deadline = time.monotonic() + 10 * SCALE  # memory for the table is found in the background
        held = -1
        while held < megabytes and time.monotonic() < deadline:
            status = pathlib.Path(f"/proc/{engine.process.pid}/status").read_text()
            held = int(re.search(r"VmRSS:\s+(\d+)", status)[1]) // 1024
        assert megabytes <= held < megabytes + 150 + 4 * threads, (threads, megabytes, held)
    engine.end()


def console(folder):
    """What a person types, and letters of several bytes on the screen."""
    screen, keys = pty.openpty()
    fcntl.ioctl(keys, termios.TIOCSWINSZ, struct.pack("4H", 50, 150, 0, 0))
    person = subprocess.Popen([*COMMAND, "-hash", "1"], stdin=keys, stdout=keys, stderr=keys, start_new_session=True,
                              env=os.environ | {"TERM": "xterm"}, preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
    os.close(keys)
    for typed, shown in (("", "nps="), (f"setoption name OwnBook_File value {NAME}\r", f"set to '{NAME}'"),
                         ("isxx\x7f\x7fready\r", "readyok"), ("quit\r", "quit")):
        time.sleep(0.5 * SCALE)  # what is typed ahead of the program is not for it
        os.write(screen, typed.encode())
        said = ""
        while shown.replace(" ", "") not in said.replace(" ", ""):
            assert select.select([screen], [], [], 20 * SCALE)[0], said
            said += re.sub(r"\x1b\[[0-9;?]*[A-Za-z]", "", os.read(screen, 65536).decode("utf-8", "replace"))
    assert person.wait(20 * SCALE) == 0


for part in (input_in_pieces, input_from_elsewhere, answers_in_time, timer, log_in_use, names, tables, threads_and_memory,
             console):
    print(f"windows: {part.__name__}", flush=True)
    with tempfile.TemporaryDirectory() as name:
        part(pathlib.Path(name))
