#!/usr/bin/env python3
"""Has two programs play each other with clocks, and a third judge every move.

    match.py A B GAMES [SECONDS [INCREMENT]]        A and B may be several words each, an emulator before the program

B judges. Colours alternate, and each opening is played twice. A game ends by mate, stalemate, the third repetition, the
fifty-move rule, or undecided after 200 plies. Prints the score from A's point of view, and the least time that the clock of
either program came down to. Fails when a move is illegal, a program ends, or one oversteps its time.

DRAL_TEST_TIMEOUT_SCALE multiplies the 100 milliseconds that a program may be late: a busy machine wakes it late.
"""
import collections, os, re, shlex, subprocess, sys, time

SCALE = float(os.environ.get("DRAL_TEST_TIMEOUT_SCALE", "1"))
LATE = 0.1 * SCALE  # seconds
LONGEST = 200       # plies
OPENINGS = ["e2e4 e7e5 g1f3 b8c6", "d2d4 d7d5 c2c4 e7e6", "e2e4 c7c5 g1f3 d7d6", "d2d4 g8f6 c2c4 g7g6",
            "c2c4 e7e5 b1c3 g8f6", "e2e4 e7e6 d2d4 d7d5", "e2e4 c7c6 d2d4 d7d5", "g1f3 d7d5 g2g3 g8f6",
            "d2d4 f7f5 g2g3 g8f6", "e2e4 d7d5 e4d5 d8d5"]


class Program:
    def __init__(self, command, *switches):
        pipe = subprocess.PIPE
        self.name = command
        words = shlex.split(command) + ["-hash", "16", *switches]
        self.process = subprocess.Popen(words, stdin=pipe, stdout=pipe, text=True)
        self.ask("isready", "readyok")

    def ask(self, text, last):
        """The lines up to one that begins with `last`."""
        self.process.stdin.write(text + "\n")
        self.process.stdin.flush()
        lines = []
        while not lines or not lines[-1].startswith(last):
            line = self.process.stdout.readline()
            assert line, f"{self.name} ended after {text}"
            lines.append(line.rstrip())
        return lines


class Judge(Program):
    def look(self, moves):
        """The position (placement, side, castling, en passant), its legal moves, and whether it is check."""
        said = self.ask(f"position startpos moves {' '.join(moves)}\nd\ngo perft 1", "info string visited")
        said = [line.removeprefix("info string ") for line in said]
        fen = next(line for line in said if line.count("/") == 7)
        legal = {line.split(":")[0] for line in said if re.fullmatch(r"[a-h][1-8][a-h][1-8][qrbn]?: 1", line)}
        return fen, legal, "checkers none" not in said


def play(judge, players, opening, seconds, increment):
    """A game: what White scores and why, or who failed and how; the least time of either side."""
    moves, clocks, least = opening.split(), [seconds, seconds], [seconds, seconds]
    seen, unchanged, before = collections.Counter(), 0, None
    for player in players:
        player.ask("ucinewgame\nisready", "readyok")
    while True:
        fen, legal, check = judge.look(moves)
        side = len(moves) % 2
        men = re.sub(r"[\d/]", "", fen.split()[0])
        pawns = [(i, c) for i, c in enumerate(re.sub(r"\d", lambda n: "." * int(n[0]), fen.split()[0])) if c in "pP"]
        seen[fen] += 1
        unchanged = unchanged + 1 if before == (len(men), pawns) else 0
        before = len(men), pawns
        if not legal:
            return (side if check else 0.5), "mate" if check else "stalemate", least, moves
        for why, over in {"repetition": seen[fen] > 2, "fifty moves": unchanged >= 100,
                          "undecided": len(moves) >= LONGEST}.items():
            if over:
                return 0.5, why, least, moves
        milliseconds = [max(1, round(clock * 1000)) for clock in clocks]
        step = round(increment * 1000)
        players[side].ask(f"position startpos moves {' '.join(moves)}\nisready", "readyok")
        began = time.monotonic()
        said = players[side].ask("go wtime {} btime {} winc {} binc {}".format(*milliseconds, step, step), "bestmove")
        clocks[side] -= time.monotonic() - began
        least[side] = min(least[side], clocks[side])
        move = said[-1].split()[1]
        if move not in legal:
            return side, f"illegal move {move}", least, moves
        if clocks[side] < -LATE:
            return side, "time", least, moves
        clocks[side] += increment
        moves.append(move)


def main(a, b, games, seconds="1", increment="0.02"):
    programs, judge = [Program(a), Program(b)], Judge(b, "-strict")
    score, ends, least = collections.Counter(), collections.Counter(), [float(seconds)] * 2
    for game in range(int(games)):
        swap = game % 2
        players, opening = programs[::-1] if swap else programs, OPENINGS[game // 2 % len(OPENINGS)]
        white, why, left, moves = play(judge, players, opening, float(seconds), float(increment))
        score[1 - white if swap else white] += 1
        least = [min(pair) for pair in zip(least, left[::-1] if swap else left)]
        ends[why] += 1
        if why == "time" or why.startswith("illegal"):
            print(f"game {game + 1}: {why} of {(a, b)[(len(moves) + swap) % 2]} after {' '.join(moves)}")
    print(f"+{score[1]} -{score[0]} ={score[0.5]}:", ", ".join(f"{count} {why}" for why, count in ends.items()))
    print("left on the clocks, at the least: {:.0f} ms and {:.0f} ms".format(*(1000 * left for left in least)))
    for program in programs + [judge]:
        program.process.stdin.write("quit\n")
        program.process.stdin.close()
        assert program.process.wait(20 * SCALE) == 0, f"{program.name} ended with {program.process.returncode}"
    return 1 if any(why == "time" or why.startswith("illegal") for why in ends) else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
