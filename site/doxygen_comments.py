#!/usr/bin/python3
"""Doxygen's input filter: shows it the headers' plain comments as documentation of what they stand
before or behind. doxygen_comments.py HEADER prints the header."""
import pathlib
import re
import sys


def escaped(text):
    """Text without a meaning to doxygen; what stands in backquotes is code."""
    text = re.sub(r"([\\@<>#%&])", r"\\\1", text)
    text = re.sub(r"`([^`]*)`", r"<tt>\1</tt>", text)
    # A plain quotation mark at the begin of a line would be a request in a manual page.
    return re.sub(r'"([^"]*)"', r"&ldquo;\1&rdquo;", text)


def body(lines):
    """The text of a comment: lists stay lists, other indented lines are tables and stay as they are."""
    out, table, item = [], [], False

    def end_table():
        if table:
            out.extend(["@verbatim", *table, "@endverbatim"])
            table.clear()

    for line in lines:
        item = bool(re.match(r" +- ", line)) or (item and line.startswith("  "))
        if line.startswith("  ") and not item:
            table.append(line)
            continue
        if line or not table:
            end_table()
            out.append(escaped(line))
    end_table()
    return out


def plain(block):
    """The lines of a comment without its marks, both of C and of C++."""
    text = "\n".join(block)
    if text.lstrip().startswith("//"):
        return [re.sub(r"^\s*// ?", "", line) for line in block]
    lines = text.strip()[2:].removesuffix("*/").split("\n")
    return [re.sub(r"^\s*\*? ?", "", lines[0])] + [re.sub(r"^ *\* ?|^ {3}", "", line).rstrip() for line in lines[1:]]


def behind(line):
    """A line of code whose comment, if it has one behind it, becomes that of what it declares."""
    code, mark, text = line.partition("/*")
    return f"{code}/**<{escaped(text)}" if mark else line


class Filter:
    """Prints a header line by line; knows the group that it is in and what was said last."""

    def __init__(self, name):
        self.name, self.group, self.first, self.last = name, "", True, []

    def comment(self, block, attached):
        lines = plain(block)
        while lines and not lines[-1].strip():
            lines.pop()
        title = re.fullmatch(r"--- (.*?) -+", lines[0])
        opening = []
        if title:
            if self.group:
                print("/** @} */")
            self.group = re.sub(r"\W+", "_", f"{self.name}_{title[1]}".lower())
            print(f"/** @defgroup {self.group} {title[1]}", *body(lines[1:]), "@{ */", sep="\n")
            return
        if self.first:
            opening = [f"@file {self.name}"]
        elif not attached:
            opening = [f"@addtogroup {self.group}" if self.group else f"@file {self.name}", "@details"]
        self.first = False
        self.last = ["/**", *opening, *body(lines), "*/"]
        print("\n".join(self.last))

    def code(self, line, neighbour):
        # One comment stands before all functions that follow each other without an empty line.
        if re.match(r"TAVO_API|TVO_API", line) and neighbour and self.last:
            print("\n".join(self.last))
        structure = re.match(r"typedef struct (\w+) \{", line)
        if structure and not self.last:  # every page needs a line on what it is of
            print(f"/** Structure {structure[1]}. */")
        if self.group and line.startswith("#ifdef __cplusplus"):
            print("/** @} */")
            self.group = ""
        print(behind(line))


def main(path):
    lines = path.read_text(encoding="utf-8").split("\n")
    out, at, neighbour = Filter(path.name), 0, False
    while at < len(lines):
        start = at
        if re.match(r"\s*//", lines[at]):
            while re.match(r"\s*//", lines[at]):
                at += 1
        elif re.match(r"\s*/\*", lines[at]):
            while "*/" not in lines[at]:
                at += 1
            at += 1
        else:
            if not lines[at].strip():
                out.last, neighbour = [], False
            out.code(lines[at], neighbour)
            neighbour = lines[at].endswith(";")
            at += 1
            continue
        out.comment(lines[start:at], bool(lines[at].strip()))
        neighbour = False


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]))
