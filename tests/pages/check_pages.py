"""Compares the manual pages and completions with the tool: check_pages.py TOOL PAGES. The pages are read
as man shows them, the completions are asked of the shells, of those that are there."""
import pathlib
import re
import shutil
import subprocess
import sys

tool, pages = sys.argv[1], pathlib.Path(sys.argv[2])


def output(*words, **more):
    done = subprocess.run(words, capture_output=True, text=True, check=True, **more)
    return done.stdout + done.stderr


def words_of_help(*verb):
    """The words that begin the rows of a help text: options, and verbs of the tool's own."""
    rows = re.findall(r"^  (\S+)", output(tool, *verb, "--help").split("\nPositionals:\n")[-1], re.MULTILINE)
    return {word for row in rows for word in row.split(",") if re.fullmatch(r"--?[a-z][\w-]*|[a-z]+", word)}


def values_of_help(*verb):
    """The options whose value is one of some words, with these."""
    rows = re.findall(r"^  (?:-\w,)?(--[\w-]+) ([a-z]+(?:\|[a-z]+)+)", output(tool, *verb, "--help"), re.MULTILINE)
    return {option: set(words.split("|")) for option, words in rows}


def man(verb):
    page = pages / "man1" / ("-".join(["tavo", *verb]) + ".1")
    shown = output("man", "--warnings", "-E", "UTF-8", "-l", page,
                   env={"MANWIDTH": "200", "MANPAGER": "cat", "PATH": "/usr/bin:/bin"})
    assert "warning" not in shown.partition("NAME")[0], shown
    return set(re.findall(r"(?<![\w-])--?[a-z][\w-]*|^ {7}[a-z]+", shown.replace("\b", ""), re.MULTILINE))


def bash(verb, starts=("-", "''")):
    asks = "; ".join(f"ask {' '.join(['tavo', *verb])} {start}" for start in starts)
    script = f'''source {pages}/completions/tavo.bash
        ask() {{ COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); COMPREPLY=(); _tavo; printf '%s\\n' "${{COMPREPLY[@]}}"; }}
        {asks}'''
    return set(output("bash", "-c", script).split())


def fish(verb, starts=("-", "--", "")):
    script = f"source {pages}/completions/tavo.fish\n" + "\n".join(
        f"complete -C '{' '.join(['tavo', *verb])} {start}'" for start in starts)
    return set(re.findall(r"^\S+", output("fish", "--no-config", "-c", script), re.MULTILINE))


def zsh(verb, starts=()):
    text = (pages / "completions/_tavo").read_text()
    output("zsh", "-n", pages / "completions/_tavo")
    part = text.partition(f"    {verb[0]})\n")[2].partition(";;")[0] if verb else text.partition("case ")[0]
    for option in starts:
        return set(re.search(rf"'\*?{option.strip()}\[.*?\]:value:\(([^)]*)\)'", part)[1].split())
    rows = re.findall(r"'\*?(--?[\w-]+)\[|^  '([a-z]+):", part, re.MULTILINE)
    return {word for row in rows for word in row}


# What stands for a word that is still empty.
shells = {shell: empty for shell, empty in ((bash, "''"), (fish, ""), (zsh, "")) if shutil.which(shell.__name__)}
judges = [man, *shells]
verbs = sorted(word for word in words_of_help() if not word.startswith("-"))
assert len(verbs) > 7, verbs
faults, count = [], 0
for verb in [[], *([name] for name in verbs)]:
    wanted = words_of_help(*verb)
    assert "--help" in wanted
    for judge in judges:
        missing = wanted - {word.strip() for word in judge(verb)}
        if missing:
            faults.append(f"{judge.__name__}: tavo {' '.join(verb)} lacks {sorted(missing)}")
    values = values_of_help(*verb)
    count += len(values)
    for option, words in values.items():
        for shell, empty in shells.items():
            shown = shell(verb, [f"{option} {empty}"])
            if shown != words:
                faults.append(f"{shell.__name__}: tavo {' '.join(verb)} {option} takes {sorted(words)}, not {sorted(shown)}")
assert count > 12, count
print("\n".join(faults) or f"{len(verbs)} verbs, {count} options with words, by {', '.join(judge.__name__ for judge in judges)}")
sys.exit(bool(faults))
