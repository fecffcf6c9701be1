#!/usr/bin/env python3
"""Compares README.md's tables of switches, options and console commands with what the program knows.

    check_manual.py PROGRAM

Options and commands are those that the program lists. It does not list its switches: these are the words in the sources
that begin with a dash and stand alone in quotes.
"""
import pathlib, re, subprocess, sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def said(*words, line):
    run = subprocess.run([sys.argv[1], *words], input=line, capture_output=True, text=True, check=True)
    return run.stdout.split("\n")


def table(heading):
    """The rows of the table in a section: names in the first column, and the other columns."""
    section = (ROOT / "README.md").read_text().split(f"\n## {heading}\n")[1].split("\n## ")[0]
    rows = [line.strip("| ").split(" | ") for line in section.split("\n") if line.startswith("| `")]
    return [(name, [c.strip(" |") for c in row[1:]]) for row in rows for name in re.findall(r"`([^`]+)`", row[0])]


def compare(what, listed, documented):
    for name in sorted(set(listed) ^ set(documented)):
        sys.exit(f"{what} {name}: only {'the program has it' if name in listed else 'in the manual'}")


sources = "".join((ROOT / "src" / s).read_text() for s in ("frontend/command_line.cpp", "engine/options.cpp"))
switches = [name for name, _ in table("Switches")] + ["-scan_pgn", "-scan_pgn2", "-scan_pgn3"]
compare("switch", re.findall(r'"(-[a-z]\w*)"', sources), switches)

options = {m[1]: m[2] for line in said(line="uci\n") if (m := re.match(r"option name (\w+) type (.*)", line))}
compare("option", options, [name for name, _ in table("Options")])
for name, (kind, default, limits, *_) in table("Options"):
    numbers = re.fullmatch(r"(-?\d+) to (-?\d+)", limits)
    if kind == "check" or kind == "number" and numbers:
        shown = f"{'check' if kind == 'check' else 'spin'} default {default}"
        shown += " min %s max %s" % numbers.groups() if numbers else ""
        compare(name, [options[name]], [shown])

commands = [line[2:].split(" ")[0] for line in said("-c", line="help\n") if re.match(r"  \S", line) and len(line) > 30]
compare("command", commands, [name for name, _ in table("Console commands")])
