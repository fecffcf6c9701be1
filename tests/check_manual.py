#!/usr/bin/env python3
"""Whether what is written from the program's tables holds in use.

    check_manual.py PROGRAM [WORDS]

The example of a configuration file sets every option, and to its default; the ranges are those that the protocol lists;
the completion offers what fits; the manual page is well formed, where a program that tells is installed.
"""
import os, pathlib, re, shutil, subprocess, sys, tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCS = ROOT / "docs"
PROGRAM = [os.path.abspath(word) if os.path.exists(word) else word for word in sys.argv[1:]]


def said(words, given=""):
    run = subprocess.run(words, input=given, capture_output=True, text=True, check=True)
    return (run.stdout + run.stderr).splitlines()


def expect(what, wanted, found):
    if wanted != found:
        sys.exit(f"{what}:\n  wanted {wanted}\n  found  {found}")


def listing(*words):
    lines = said([*PROGRAM, *words], "uci\n")
    lines = [re.sub(r"(UCI_Elo .* max) \d+", r"\1 full strength", line) for line in lines]  # of this machine
    return [l for l in lines if " set to " in l], [l for l in lines if l.startswith("option ")]


folder = tempfile.TemporaryDirectory()
os.chdir(folder.name)
lines = (DOCS / "dral.cfg.example").read_text().splitlines()
pathlib.Path("all.cfg").write_text("".join(re.sub(r"^#(?=\w)", "", line) + "\n" for line in lines))
_, options = listing()
replies, with_file = listing("-cfg", "all.cfg")
expect("options that the example leaves as they are", [re.sub("ConfigFilePath.*", "", o) for o in options],
       [re.sub("ConfigFilePath.*", "", o) for o in with_file])
expect("options that the example sets", {o.split()[2] for o in options} - {"Clear_Hash"} | {"Strict"},
       {r.split()[2] for r in replies})

readme = (ROOT / "README.md").read_text()
for name, low, high in re.findall(r"option name (\w+) type spin .* min (\S+) max (.*)", "\n".join(options)):
    if not re.search(rf"\| `{name}` \| number \| \S+ \| {low if name != 'UCI_Elo' else 1500} to {high} \|", readme):
        sys.exit(f"README.md has another range for {name}")

for name in "a.pgn", "b.epd", "c c.epd", "d.epdx":
    pathlib.Path(name).touch()
pathlib.Path("folder").mkdir()
for typed, wanted in (("-anepd", ""), ["folder", "b.epd", "c c.epd"]), (("-tbpath", "f"), ["folder"]), (
        ("-hash", ""), []), (("-d", "3", "-ben"), ["-bench", "-bench2"]), (("be",), ["bench"]), (("--he",), ["--help"]):
    words = ["bash", "-c", 'source "$0"; COMP_WORDS=(dral "$@"); COMP_CWORD=$#; _dral; printf "%s\\n" "${COMPREPLY[@]}"']
    expect(f"completion of {typed}", sorted(wanted), sorted(filter(None, said(words + [str(DOCS / "dral.bash"), *typed]))))

if shutil.which("mandoc"):
    expect("mandoc", [], said(["mandoc", "-T", "lint", str(DOCS / "dral.6")]))
if shutil.which("man"):
    warned = subprocess.run(["man", "--warnings", "-l", DOCS / "dral.6"], capture_output=True, text=True)
    expect("man", "", warned.stderr)
