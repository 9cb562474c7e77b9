#!/usr/bin/python3
"""Writes the manual pages and the shell completions of the tool from what its --help prints, which
is made of the table of options: tool_pages.py TOOL OUT. OUT/man1 and OUT/completions are made anew."""
import datetime
import os
import pathlib
import re
import subprocess
import sys

# Where the argument parser begins what a row says.
TEXT_COLUMN = 30


class Option:
    """A row under "Options:" or "Positionals:": its words, its argument and what it does."""

    def __init__(self, head, text):
        self.many = head.endswith("...")
        names, _, argument = head.removesuffix("...").strip().partition(" ")
        self.names = names.split(",")
        # What follows = is the default, unless it is a part of the argument: RULE=LEVEL.
        self.argument, self.default = re.fullmatch(r"(.*?)(?:=([a-z0-9].*))?", argument.strip()).groups()
        self.text = text
        self.choices = (self.argument.split("|")
                        if re.fullmatch(r"[a-z]+(\|[a-z]+)+", self.argument) else [])

    @property
    def takes_value(self):
        return bool(self.argument)


class Help:
    """What --help prints: one line on what it is, how it is called, its rows by heading, its prose."""

    def __init__(self, tool, *verb):
        call = [tool, *verb, "--help"]
        lines = subprocess.run(call, check=True, capture_output=True, text=True).stdout.splitlines()
        self.name = " ".join(["tavo", *verb])
        self.summary = lines[0].rstrip(".")
        self.usage = next(line for line in lines if line.startswith("Usage: ")).removeprefix("Usage: ")
        self.rows, heading, at = {}, "", 0
        for number, line in enumerate(lines):
            if re.fullmatch(r"[A-Z][a-z]+:", line):
                heading, at = line[:-1], number
                self.rows[heading] = []
            elif heading and line.startswith("  "):
                head, text = line[:TEXT_COLUMN], line[TEXT_COLUMN:]
                if not head.strip():  # more of what the row above says
                    row = self.rows[heading][-1]
                    row.text = f"{row.text} {text}".strip()
                elif head.endswith(" ") or not text:
                    self.rows[heading].append(Option(head.strip(), text))
                else:
                    self.rows[heading].append(Option(line.strip(), ""))
                at = number
            elif heading and line:
                break
        self.prose, self.examples, self.status = sort_prose(lines[at + 1:])

    @property
    def options(self):
        return self.rows.get("Options", [])

    @property
    def words(self):
        return [name for option in self.options for name in option.names]


def sort_prose(lines):
    """Paragraphs, the lines of the examples, and the sentence on the exit status."""
    paragraphs, examples, status, into = [], [], [], None
    for line in lines:
        if not line:
            into = None
        elif line.startswith("Example: ") or (into is examples and line.startswith(" ")):
            into = examples
            into.append(line.removeprefix("Example: ").strip())
        elif into is examples:  # a long one goes on
            into[-1] += f" {line}"
        elif line.startswith("Exit status: ") or into is status:
            into = status
            into.append(line.removeprefix("Exit status: "))
        else:
            if into is None:
                into = []
                paragraphs.append(into)
            into.append(line)
    return [" ".join(paragraph) for paragraph in paragraphs], examples, " ".join(status)


def roff(text):
    """Text as roff takes it: a hyphen that can be copied, nothing that begins a request."""
    text = text.replace("\\", r"\e").replace("-", r"\-")
    return re.sub(r"^([.'])", r"\\&\1", text, flags=re.MULTILINE)


def option_rows(rows):
    for row in rows:
        names = ", ".join(rf"\fB{roff(name)}\fR" for name in row.names)
        argument = rf" \fI{roff(row.argument)}\fR" if row.argument else ""
        default = f" (default: {roff(row.default)})" if row.default else ""
        yield f".TP\n{names}{argument}{' ...' if row.many else ''}\n{roff(row.text)}{default}"


def man_page(page, version, date, others):
    name = page.name.replace(" ", "-")
    out = [f'.TH {roff(name.upper())} 1 "{date}" "tavo {version}" "TAVO surveys"', ".SH NAME",
           f"{roff(name)} \\- {roff(page.summary[0].lower() + page.summary[1:])}", ".SH SYNOPSIS",
           rf"\fB{roff(page.name)}\fR " + roff(page.usage.removeprefix(page.name).strip())]
    if page.prose:
        out.append(".SH DESCRIPTION")
        out.append("\n.PP\n".join(roff(paragraph) for paragraph in page.prose))
    for heading, title in (("Verbs", "VERBS"), ("Positionals", "ARGUMENTS"), ("Options", "OPTIONS")):
        if page.rows.get(heading):
            out.append(f".SH {title}")
            out.extend(option_rows(page.rows[heading]))
    if page.status:
        out += [".SH EXIT STATUS", roff(page.status)]
    if page.examples:
        out += [".SH EXAMPLES", ".nf", *(roff(line) for line in page.examples), ".fi"]
    out.append(".SH SEE ALSO")
    out.append(",\n".join(f".BR {roff(other)} (1)" for other in others if other != name))
    return "\n".join(out) + "\n"


def quoted(text, close="'"):
    return "'" + text.replace("'", close) + "'"


def bash(top, verbs):
    valued = [(f"{verb}:{name}", option.choices) for verb, page in verbs.items()
              for option in page.options if option.takes_value for name in option.names]
    values = [f"    {name}) words='{' '.join(choices)}' ;;" for name, choices in valued if choices]
    values.append(f"    {' | '.join(name for name, choices in valued if not choices)}) return ;;")
    rows = [f"    {verb}:) words='{' '.join(page.words)}' ;;" for verb, page in verbs.items()]
    return "\n".join([
        "# Completion of tavo for bash. An argument without words of its own is a file.",
        "_tavo() {",
        "  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]} verb=${COMP_WORDS[1]} words",
        "  if ((COMP_CWORD == 1)); then",
        f"    words='{' '.join([*verbs, *top.words])}'",
        "  else",
        "    case $verb:$prev in",
        *["  " + line for line in values],
        "      *)",
        "        [[ $cur == -* ]] || return",
        "        case $verb: in",
        *["      " + line for line in rows],
        "        esac",
        "        ;;",
        "    esac",
        "  fi",
        '  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")',
        "}",
        "complete -o bashdefault -o default -F _tavo tavo", ""])


def zsh(top, verbs):
    def text(words):
        return quoted(re.sub(r"([\[\]:\\])", r"\\\1", words), r"'\''")[1:-1]

    def argument(option):
        if option.choices:
            return f":value:({' '.join(option.choices)})"
        files = option.argument == "PATH"
        return f":{text(option.argument)}:{'_files' if files else ''}" if option.takes_value else ""

    def row(option):
        again = "*" if option.many else ""
        return [f"        '{again}{name}[{text(option.text)}]{argument(option)}' \\" for name in option.names]

    lines = ["#compdef tavo", "# Completion of tavo for zsh.", "local -a verbs", "verbs=("]
    lines += [f"  '{verb}:{text(page.summary)}'" for verb, page in verbs.items()]
    lines += [")", "if ((CURRENT == 2)); then", "  _describe verb verbs",
              "  _arguments " + " ".join(quoted(f"{name}[{text(option.text)}]")
                                         for option in top.options for name in option.names),
              "else", "  local verb=$words[2]", "  shift words", "  ((CURRENT--))", "  case $verb in"]
    for verb, page in verbs.items():
        lines += [f"    {verb})", "      _arguments \\", *(line for option in page.options for line in row(option)),
                  "        '*:file:_files'", "      ;;"]
    return "\n".join(lines + ["  esac", "fi", ""])


def fish(top, verbs):
    def text(words):
        return "'" + words.replace("\\", "\\\\").replace("'", "\\'") + "'"

    def row(condition, option):
        flags = " ".join(f"-l {name[2:]}" if name.startswith("--") else f"-s {name[1:]}" for name in option.names)
        value = f" -x -a '{' '.join(option.choices)}'" if option.choices else " -r" if option.takes_value else ""
        return f"complete -c tavo -n '{condition}' {flags}{value} -d {text(option.text)}"

    lines = ["# Completion of tavo for fish."]
    lines += [row("__fish_use_subcommand", option) for option in top.options]
    for verb, page in verbs.items():
        lines.append(f"complete -c tavo -n __fish_use_subcommand -f -a {verb} -d {text(page.summary)}")
        lines += [row(f"__fish_seen_subcommand_from {verb}", option) for option in page.options]
    return "\n".join(lines) + "\n"


def main(tool, out):
    version = subprocess.run([tool, "--version"], check=True, capture_output=True, text=True).stdout.split()[-1]
    epoch = int(os.environ.get("SOURCE_DATE_EPOCH", "0"))
    date = datetime.datetime.fromtimestamp(epoch, datetime.timezone.utc).date() if epoch else ""
    top = Help(tool)
    verbs = {row.names[0]: Help(tool, row.names[0]) for row in top.rows["Verbs"]}
    names = [page.name.replace(" ", "-") for page in (top, *verbs.values())]
    files = {f"man1/{name}.1": man_page(page, version, date, names)
             for name, page in zip(names, (top, *verbs.values()))}
    files |= {"completions/tavo.bash": bash(top, verbs), "completions/_tavo": zsh(top, verbs),
              "completions/tavo.fish": fish(top, verbs)}
    for folder in ("man1", "completions"):
        (out / folder).mkdir(parents=True, exist_ok=True)
        for old in (out / folder).iterdir():
            if f"{folder}/{old.name}" not in files:
                old.unlink()
    for name, text in files.items():
        (out / name).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main(sys.argv[1], pathlib.Path(sys.argv[2]))
