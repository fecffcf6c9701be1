#!/usr/bin/env python3
"""Speaks to the engine as a script does that takes the UCI protocol by its letter, and checks every line of the answers.

    strict_client_test.py PROGRAM       PROGRAM may be several words, an emulator before the program

The engine runs with -strict. Whatever comes has to be a well-formed line of the protocol, when it is due and not before:
one bestmove for each go, and none after it.

DRAL_BINARY names another program to use in place of PROGRAM; DRAL_TEST_TIMEOUT_SCALE multiplies the 20 seconds within
which a line has to come.
"""
import asyncio, os, re, shlex, sys

SCALE = float(os.environ.get("DRAL_TEST_TIMEOUT_SCALE", "1"))
TIMEOUT = 20 * SCALE
MOVE = r"[a-h][1-8][a-h][1-8][qrbn]?"
NUMBER = r"\d+"
INFO = {"depth": NUMBER, "seldepth": NUMBER, "time": NUMBER, "nodes": NUMBER, "nps": NUMBER, "hashfull": r"1000|\d{1,3}",
        "tbhits": NUMBER, "multipv": r"[1-9]\d*", "currmove": MOVE, "currmovenumber": r"[1-9]\d*",
        "score": r"(cp -?\d{1,4}|mate -?[1-9]\d*)( (low|upp)erbound)?", "pv": rf"{MOVE}( {MOVE})*"}
LINES = [r"id (name|author) \S.*", "uciok", "readyok", rf"bestmove (0000|{MOVE}( ponder {MOVE})?)", r"info string \S.*",
         r"option name \S+ type (button|check default (true|false)|string default.*|spin default -?\d+ min -?\d+ max -?\d+)"]
MATED, STALEMATED = "R5k1/5ppp/8/8/8/8/8/6K1 b - - 0 1", "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1"
MATE_IN_2, FORCED = "7k/8/5K2/8/8/8/8/R7 w - - 0 1", "7k/6pp/8/8/8/8/r7/1r4K1 w - - 0 1"
PROMOTIONS = "r1bq1rk1/pP3ppp/2n2n2/2bpp3/4P3/2NP1N2/PP3PPP/R1BQKB1R w KQ - 0 1"
FIFTY = "8/8/8/3k4/8/8/7R/K7 b - - 120 90"


def is_info(line):
    """Whether each keyword of an info line comes once and has a value of its form behind it."""
    parts = re.split(rf" ({'|'.join(INFO)})\b", line)
    keys, values = parts[1::2], [v.strip() for v in parts[2::2]]
    return (parts[0] == "info" and keys and len(set(keys)) == len(keys) and "  " not in line
            and all(re.fullmatch(INFO[k], v) for k, v in zip(keys, values)))


class Engine:
    """The engine and what it has said since somebody last looked."""

    async def start(self, command):
        pipe = asyncio.subprocess.PIPE
        self.process = await asyncio.create_subprocess_exec(*command, stdin=pipe, stdout=pipe)
        self.heard = []

    def send(self, *lines):
        self.process.stdin.write("".join(line + "\n" for line in lines).encode())

    async def line(self):
        raw = (await asyncio.wait_for(self.process.stdout.readline(), TIMEOUT)).decode()
        assert raw.endswith("\n"), f"the engine ended with {raw!r}"
        line = raw.rstrip("\r\n")
        assert any(re.fullmatch(form, line) for form in LINES) or is_info(line), f"no line of the protocol: {line!r}"
        self.heard.append(line)
        return line

    async def until(self, word):
        """The lines up to one that begins with the word."""
        self.heard = []
        while (await self.line()).split()[0] != word:
            pass
        return self.heard

    async def quiet(self):
        """Nothing but info comes until the engine has answered that it is ready."""
        self.send("isready")
        for line in (await self.until("readyok"))[:-1]:
            assert line.startswith("info"), f"not due: {line}"

    async def ask(self, *lines):
        """Sends lines of which the last leads to a bestmove: the move, and the lines before it."""
        self.send(*lines)
        said = await self.until("bestmove")
        await self.quiet()
        return said[-1].split()[1], said[:-1]


async def handshake(engine):
    engine.send("uci")
    said = await engine.until("uciok")
    options = [line.split()[2] for line in said if line.startswith("option")]
    assert {"Hash", "Threads", "MultiPV", "Ponder"} <= set(options) and "Strict" not in options
    engine.send("setoption name Hash value 2", "setoption name Ponder value true", "debug on", "nonsense", "ucinewgame")
    await engine.quiet()


async def waits_for(word, engine, position, go):
    """No answer before the word, though the search may have ended long ago."""
    engine.send(f"position {position}", go)
    await asyncio.sleep(min(0.15 * SCALE, 0.3))
    await engine.quiet()
    return (await engine.ask(word))[0]


async def waiting(engine):
    for fen, best in [(MATED, "0000"), (STALEMATED, "0000"), (MATE_IN_2, "f6g6"), (FIFTY, "d5c4"), (FORCED, None)]:
        for go, word in [("go infinite", "stop"), ("go ponder wtime 1000 btime 1000", "ponderhit"),
                         ("go ponder movetime 1", "stop")]:
            move = await waits_for(word, engine, "fen " + fen, go)
            assert best in (None, move), f"{go} in {fen}: {move}"
    assert await waits_for("stop", engine, "startpos", "go infinite") != "0000"
    engine.send("stop", "ponderhit", "stop")
    await engine.quiet()


async def limits(engine):
    move, said = await engine.ask("position startpos", "go depth 8 searchmoves a2a3 h2h3")
    assert move in ("a2a3", "h2h3") and all(l.split(" pv ")[1][:4] in ("a2a3", "h2h3") for l in said if " pv " in l)
    assert " depth 8 " in said[-1]
    engine.send(f"position fen {PROMOTIONS}", "go infinite")
    while not (line := await engine.line()).startswith("info currmove b7"):
        pass
    assert re.fullmatch(MOVE[:-1], line.split()[2]), f"without its piece: {line}"
    await engine.ask("stop")
    move, said = await engine.ask(f"position fen {MATE_IN_2}", "go mate 2")
    assert move == "f6g6" and " score mate 2 " in said[-1]
    for threads in (1, 3):
        engine.send(f"setoption name Threads value {threads}")
        said = (await engine.ask("position startpos", "go nodes 30000"))[1]
        assert int(re.search(r" nodes (\d+)", said[-1])[1]) <= 30300, said[-1]  # captures are searched to their end
    engine.send("setoption name Threads value 1")
    for _ in range(2):  # nothing remains of the first
        said = (await engine.ask("position startpos", "go depth 5"))[1]
        assert " depth 5 " in said[-1] and " depth 6 " not in "".join(said)


async def positions(engine):
    engine.send("position startpos moves e2e4", "position startpos moves e2e5", "position fen 8/8/8 w - - 0 1")
    engine.send("isready")
    assert sum("position unchanged" in line for line in await engine.until("readyok")) == 2
    assert (await engine.ask("go depth 1"))[0][1] in "78", "Black is to move"


async def quick_cycles(engine):
    """Games' worth of searches that are stopped, overtaken or hit at once: one answer each."""
    for i in range(10 if "DRAL_TEST_SHORT" in os.environ else 50):
        engine.send("ucinewgame", "position startpos moves " + " ".join(["g1f3 g8f6 f3g1 f6g8"] * (i % 3)))
        for go in ("go infinite", "go ponder wtime 500 btime 500", f"go nodes {50 * i + 1}", "go movetime 1"):
            engine.send(go, "stop")
        engine.send("go infinite", "go depth 2")
        for _ in range(6):
            await engine.until("bestmove")
        await engine.quiet()


async def game(engines):
    """The engines play each other until one has no move, or long enough."""
    moves = []
    for ply in range(120):
        engine = engines[ply % 2]
        best, _ = await engine.ask(" ".join(["position startpos moves"] + moves), "go wtime 400 btime 400 winc 10 binc 10")
        if best == "0000":
            break
        moves.append(best)
        assert not [line for line in engine.heard if "position unchanged" in line]
    assert len(moves) > 8


async def main(command):
    engines = [Engine(), Engine()]
    for engine in engines:
        await engine.start(command + ["-strict", "-hash", "1"])
        await handshake(engine)
    for part in (waiting, limits, positions, quick_cycles):
        await part(engines[0])
    await game(engines)
    for engine in engines:
        engine.send("go infinite", "quit")
        assert await asyncio.wait_for(engine.process.wait(), TIMEOUT) == 0


program = os.environ.get("DRAL_BINARY", " ".join(sys.argv[1:]))
asyncio.run(main([program] if os.path.exists(program) else shlex.split(program)))
