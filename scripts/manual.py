#!/usr/bin/env python3
"""Writes what a program built from this tree says of itself into the files that tell it to people and shells:

    manual.py PROGRAM            writes docs/dral.6, docs/dral.bash, docs/dral.cfg.example, and README.md's tables
    manual.py --check PROGRAM    says which of them do not fit the program, and exits with 1 when there are any

PROGRAM may be several words, an emulator before the program. What it says is `dral --tables` (src/frontend/manual.h says
how that reads). The words around the tables stand in scripts/manual/, where a line @NAME@ stands for a table; in README.md
a table stands between <!-- NAME --> and <!-- end -->.
"""
import collections, itertools, pathlib, re, subprocess, sys, textwrap

ROOT = pathlib.Path(__file__).resolve().parent.parent
FIELDS = {
    "program": "name",
    "switch": "group name value meaning example files",
    "option": "name type default low high meaning example switch console files",
    "uci": "name value meaning example",
    "console": "name value meaning example",
    "set": "name value meaning example",
    "status": "name meaning",
}


def read_tables(program):
    """The rows of each table, as tuples with names."""
    tables = {name: [] for name in FIELDS}
    kinds = {name: collections.namedtuple(name, fields) for name, fields in FIELDS.items()}
    for line in subprocess.run([*program, "--tables"], capture_output=True, text=True, check=True).stdout.splitlines():
        table, *fields = line.split("\t")
        if table in kinds:  # later fields and tables are for later readers
            kind = kinds[table]
            tables[table].append(kind(*fields[:len(kind._fields)]))
    return tables


def span(option):
    if option.low and option.high:
        return f"{option.low} to {option.high}"
    return f"{option.low} to full strength" if option.low else ""


def listed(tables):
    return [o for o in tables["option"] if o.name]


def settings(tables):
    """What the console's `set` changes: its own names, and options."""
    kind = type(tables["set"][0])
    of_options = [kind(o.console, "number", f"{o.meaning} ({o.default}; {span(o)})" if o.low else o.meaning, "")
                  for o in tables["option"] if o.console]
    return tables["set"] + of_options


def merged(rows, same=lambda row: row.meaning):
    """Rows that say the same as the one before share a line."""
    groups = []
    for row in rows:
        alike = groups and (row.meaning == "the same" or same(row) == same(groups[-1][0]))
        groups[-1].append(row) if alike else groups.append([row])
    return groups


def switch_groups(tables):
    ranges = {o.switch: span(o) for o in tables["option"] if o.switch and o.low}
    rows = [s._replace(meaning=s.meaning + f" ({ranges[s.name]})" if s.name in ranges else s.meaning)
            for s in tables["switch"]]
    return [(group, merged(part, lambda row: (row.value, row.meaning)))
            for group, part in itertools.groupby(rows, lambda row: row.group)]


def option_groups(tables):
    return merged(listed(tables), lambda o: (o.type, o.low, o.high, o.meaning))


# README.md

def cell(text):
    return text.replace("|", "\\|").replace("<", "&lt;")


def code(text):
    return f"`{text}`" if text else ""


def markdown(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "---|" * len(head)]
    for row in rows:
        lines.append("|" + "".join(f" {field} |" if field else " |" for field in row))
    return lines


def markdown_commands(rows):
    def row(group):
        names = ", ".join(f"`{c.name}`" for c in group)
        return [names + (f" {cell(group[0].value)}" if group[0].value else ""), cell(group[0].meaning),
                code(group[0].example)]

    table = [row(group) for group in merged(rows)]
    columns = 3 if any(r[2] for r in table) else 2
    return markdown(["command", "effect", "example"][:columns], [r[:columns] for r in table])


def readme_tables(tables):
    def names(group):
        return ", ".join(f"`{row.name}`" for row in group)

    def defaults(group):
        values = [o.default for o in group]
        return values[0] if len(set(values)) == 1 else " ".join(values)

    switches = [[names(group), cell(group[0].value), cell(group[0].meaning), code(group[0].example)]
                for _, groups in switch_groups(tables) for group in groups]
    options = [[names(group), group[0].type, defaults(group), span(group[0]), cell(group[0].meaning)]
               for group in option_groups(tables)]
    return {
        "switches": markdown(["switch", "value", "effect", "example"], switches),
        "options": markdown(["option", "type", "default", "range", "meaning"], options),
        "uci": markdown_commands(tables["uci"]),
        "console": markdown_commands(tables["console"]),
        "set": markdown_commands(settings(tables)),
    }


def readme(tables):
    text = (ROOT / "README.md").read_text()
    for name, lines in readme_tables(tables).items():
        pattern = re.compile(rf"(<!-- {name} -->\n).*?(<!-- end -->)", re.S)
        assert pattern.search(text), f"README.md has no place for the table: {name}"
        text = pattern.sub(lambda m: m[1] + "".join(line + "\n" for line in lines) + m[2], text)
    return text.splitlines()


# The manual page

def roff(text):
    return text.replace("\\", "\\e").replace("-", "\\-").replace("'", "\\(aq")


def roff_entry(names, value, meaning, example=""):
    head = ", ".join(f"\\fB{roff(name)}\\fR" for name in names) + (f" \\fI{roff(value)}\\fR" if value else "")
    text = roff(meaning[0].upper() + meaning[1:] + ("" if meaning.endswith(".") else "."))
    if example:
        text += f"\nFor example \\fB{roff(example)}\\fR."
    return [".TP", head, text]


def roff_commands(rows):
    return [line for group in merged(rows)
            for line in roff_entry([c.name for c in group], group[0].value, group[0].meaning, group[0].example)]


def roff_switches(tables):
    lines = []
    for heading, groups in switch_groups(tables):
        lines.append(f".SS {heading}")
        for group in groups:
            lines += roff_entry([s.name for s in group], group[0].value, group[0].meaning, group[0].example)
    return lines


def roff_options(tables):
    lines = []
    for group in option_groups(tables):
        o = group[0]
        default = ", ".join(dict.fromkeys(row.default for row in group))
        of_range = f"{o.type}, {span(o)}" if span(o) else o.type
        lines += roff_entry([row.name for row in group], f"({of_range})", o.meaning, "")
        if default:
            lines[-1] += f"\nDefault: {roff(default)}."
    return lines


def fill(template, tables_of_lines):
    lines = []
    for line in (ROOT / "scripts/manual" / template).read_text().splitlines():
        place = re.fullmatch(r"@(\w+)@", line)
        lines += tables_of_lines[place[1]] if place else [line]
    return lines


def manual_page(tables):
    lines = fill("dral.6", {
        "TITLE": [f'.TH DRAL 6 "2026-11-26" "{tables["program"][0].name}" "Games"'],
        "SWITCHES": roff_switches(tables),
        "OPTIONS": roff_options(tables),
        "UCI": roff_commands(tables["uci"]),
        "CONSOLE": roff_commands(tables["console"]),
        "SET": roff_commands(settings(tables)),
        "STATUS": [line for s in tables["status"] for line in roff_entry([s.name], "", s.meaning)],
    })
    return [part for line in lines for part in (textwrap.wrap(line, 78, break_on_hyphens=False)
                                                if line and not line.startswith(".") else [line])]


# Completion by the shell

def completion(tables):
    switches = tables["switch"]
    endings = dict.fromkeys(s.files for s in switches if s.files not in ("", "/"))
    cases = [f"    {'|'.join(s.name for s in switches if s.files == e)}) _dral_files \"$word\" {e} ;;" for e in endings]
    cases.append(f"    {'|'.join(s.name for s in switches if s.files == '/')}) _dral_files \"$word\" ;;")
    plain = "|".join(s.name for s in switches if s.value and not s.files and not s.value.startswith("["))
    cases.append(f"    {plain}) ;;  # a number")
    return fill("dral.bash", {"CASES": cases, "WORDS": textwrap.wrap(" ".join(s.name for s in switches), 116, break_on_hyphens=False)})


# The example of a configuration file

def example_config(tables):
    lines = []
    for group in option_groups(tables):
        o = group[0]
        if o.type == "button":
            continue
        of_range = {"check": "true or false", "pair": f"opening,endgame: {span(o)}"}.get(o.type, span(o))
        lines += ["", f"# {o.meaning[0].upper()}{o.meaning[1:]}{f' ({of_range})' if of_range else ''}"]
        lines += [f"#{option.name} = {option.default}".rstrip() for option in group]
    return fill("dral.cfg.example", {"OPTIONS": lines})


def main(arguments):
    check = arguments[:1] == ["--check"]
    program = arguments[1:] if check else arguments
    if not program:
        sys.exit(__doc__)
    tables = read_tables(program)
    files = {"README.md": readme, "docs/dral.6": manual_page, "docs/dral.bash": completion,
             "docs/dral.cfg.example": example_config}
    stale = []
    for name, make in files.items():
        path = ROOT / name
        text = "".join(line + "\n" for line in make(tables))
        if path.exists() and path.read_text() == text:
            continue
        stale.append(name)
        if not check:
            path.write_text(text)
            print(f"written: {name}")
    if check and stale:
        sys.exit(f"stale: {', '.join(stale)}; run: scripts/manual.py {' '.join(program)}")


if __name__ == "__main__":
    main(sys.argv[1:])
