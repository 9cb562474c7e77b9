#!/usr/bin/python3
"""Makes the documents' site: make_site.py PREFIX OUT. PREFIX is an installed copy, whose tool is asked for
the format and the messages and run for every output that a page shows; OUT/api holds doxygen's pages.
OUT/site is then the site, which needs no network. A command that fails, a page that nothing links to and a
link to nothing fail."""
import json
import pathlib
import re
import shutil
import subprocess
import sys

import commands

TREE = commands.TREE
KINDS = {"container": "holds further blocks and nothing else", "items": "item lines, one a value",
         "data": "data lines under a list of columns", "collected": "data lines, completed by EXTRAINFO",
         "extrainfo": "completes the lines of the block around it by their number or identifier",
         "time tagged": "lines of a fixed layout",
         "operations": "pairs of an operation and its points"}


def excerpt(lines, path, keywords):
    """The lines of an example that are those of one block and of what stands around it in its blocks."""
    out, stack, definition = [], [], False
    for line in lines:
        words = re.match(r"\s*(END )?([A-Z][A-Z0-9_]+)\s*(\(.*)?$", line.split(";")[0].rstrip())
        inside = path[:len(stack)] == stack
        if definition:
            definition = ")" not in line
        elif words and words[1]:
            if inside and stack == path:
                return [*out, line, *(f"{'  ' * depth}END {path[depth]}" for depth in range(len(path) - 2, -1, -1))]
            stack = stack[:-1]
            continue
        elif words and words[2] in keywords:
            stack = [*stack, words[2]]
            inside = path[:len(stack)] == stack
            definition = bool(words[3]) and ")" not in line
        if inside and stack and line.strip() and not line.lstrip().startswith(";"):
            out.append(line)
    return []


def with_units(lines, path, units):
    """The same behind the units of its file, which stand in a HEADER that it may begin with itself."""
    if path[0] != "HEADER":
        return [*units, *lines]
    at = next(number for number, line in enumerate(lines) if line.split()[0] == path[-1])
    return [*lines[:at], *units[units.index(next(line for line in units if "UNITS" in line)):-1], *lines[at:]]


def example(block, keywords, tool):
    """An example of a block, out of the examples, that the check has nothing to say about."""
    path = block["block"].split("/")
    strict = "warning,empty" if block.get("dataType") else "warning"
    for source in [*sorted((TREE / "examples").rglob("*.tvo")), *(TREE / "site/examples").glob("*.tvo")]:
        text = source.read_text(encoding="utf-8").split("\n")
        lines, units = excerpt(text, path, keywords), excerpt(text, ["HEADER", "UNITS"], keywords)
        for attempt in ([lines, with_units(lines, path, units)] if lines else []):
            (tool.folder / "block.tvo").write_text("\n".join(attempt) + "\n", encoding="utf-8")
            if tool.run(f"tavo check --quiet --fail-on {strict} block.tvo; echo $?") == "0":
                return "\n".join(attempt)
    sys.exit(f"site: no example has a block {block['block']} that is without findings by itself")


def format_pages(tool):
    """The tree of blocks, and a page for each."""
    blocks = tool.json("tavo schema --format json")["blocks"]
    keywords = {block["keyword"] for block in blocks}
    pages, tree = {}, []
    for block in blocks:
        path = block["block"].split("/")
        name = f"{'-'.join(path)}.md"
        tree.append(f"{'    ' * (len(path) - 1)}- [{path[-1]}]({name}): {KINDS[block['kind']]}")
        around = [f"[{word}]({'-'.join(path[:depth + 1])}.md)" for depth, word in enumerate(path[:-1])]
        inner = [other["block"] for other in blocks if other["block"].rpartition("/")[0] == block["block"]]
        place = "in " + " / ".join(around) if around else "at the top of a file"
        text = [f"# {' / '.join(path)}", "", f"Stands {place}; {KINDS[block['kind']]}."]
        if inner:
            text += ["", "Blocks in it: " + ", ".join(
                f"[{other.rpartition('/')[2]}]({other.replace('/', '-')}.md)" for other in inner) + "."]
        if block.get("dataType"):
            text += ["", f"Records: type {block['columnsType']} for its columns, type {block['dataType']} with "
                         f"{block['recordSize']} bytes for its {'items' if block['kind'] == 'items' else 'lines'}."]
        if block.get("fields"):
            text += ["", "| column | type | width | unit | words | key or reference |", "|---|---|---|---|---|---|"]
            text += [field_row(field) for field in block["fields"]]
        text += ["", "## Example", "", "`tavo check` has nothing to say about it:", "",
                 "```", example(block, keywords, tool), "```"]
        pages[f"format/{name}"] = "\n".join(text) + "\n"
    introduction = (TREE / "site/format.md").read_text(encoding="utf-8")
    return {"format/index.md": introduction + "\n" + "\n".join(tree) + "\n"} | pages


def field_row(field):
    width = next((f"{field[what]} {what}" for what in ("characters", "bits") if what in field), "")
    unit = field.get("unit", "")
    if unit and field.get("converted"):
        unit += ", kept in metres" if unit == "linear" else ", kept in radians"
    key = {"part": "key, or a part of it", "identifier": "key where there is no number"}.get(
        field.get("key", ""), field.get("key", ""))
    reference = f"refers to {field['refersTo']}" if "refersTo" in field else ""
    return (f"| `{field['name']}` | {field['type']} | {width} | {unit} | {' '.join(field.get('words', []))} | "
            f"{'; '.join(filter(None, (key, reference)))} |")


def message_pages(tool):
    """A page for every number that the check and the library give."""
    topics = tool.json("tavo explain --all --format json")["topics"]
    pages, rows = {}, ["# Messages", "", "Every number that the library and `tavo check` give. "
                       "`tavo explain CODE` says the same.", "", "| number | kind | in the log or on the screen |", "|---|---|---|"]
    for topic in topics:
        # A status and a rule have no words of the log; their first sentence tells what they are.
        topic.setdefault("name", topic["meaning"].partition(". ")[0].rstrip("."))
        rows.append(f"| [{topic['code']}]({topic['code']}.md) | {topic['kind']} | {topic['name']} |")
        text = [f"# {topic['code']} {topic['name']}", "", f"Kind: {topic['kind']}.", "", topic["meaning"]]
        for key, title in (("cause", "Usual cause"), ("wrong", "Wrong"), ("right", "Right")):
            if topic.get(key):
                text += ["", f"## {title}", "", topic[key] if key == "cause" else f"```\n{topic[key].rstrip()}\n```"]
        pages[f"messages/{topic['code']}.md"] = "\n".join(text) + "\n"
    return {"messages/index.md": "\n".join(rows) + "\n"} | pages


def tool_pages(tool):
    """The help of the tool and of each verb, beside the page of examples in site/pages."""
    top = tool.run("tavo --help")
    verbs = re.findall(r"^  ([a-z]+) ", top.partition("\nVerbs:\n")[2].partition("\n\n")[0] + " ", re.MULTILINE)
    text = ["# Verbs and options", "", "What `tavo --help` and `tavo VERB --help` print.", "", "```", top, "```"]
    for verb in verbs:
        text += ["", f"## tavo {verb}", "", "```", tool.run(f"tavo {verb} --help"), "```"]
    return {"verbs.md": "\n".join(text) + "\n"}


def written_pages(tool, source):
    """The pages of docs/ and site/pages, and those at the top of the tree, with links as they are here; the
    README's commands are run, too."""
    pages = {}
    for path in sorted([*TREE.glob("*.md"), *(TREE / "docs").glob("*.md"), *(TREE / "site/pages").glob("*.md")]):
        text = path.read_text(encoding="utf-8")
        if path.parent == TREE:
            text = re.sub(r"\]\((docs|site/pages)/", "](", text).replace("](LICENSE)", "](license.md)")
        pages[path.name.lower()] = commands.played(str(path.relative_to(TREE)), text, tool)
    commands.check_all_used()
    pages["license.md"] = (TREE / "LICENSE").read_text(encoding="utf-8").replace("MIT License", "# Licence: MIT", 1)
    pages.pop("readme.md")
    pages.pop("messages.md", None)  # every message has a page of its own here
    for name, text in pages.items():
        text = text.replace("](messages.md", "](messages/index.md")
        text = re.sub(r"\]\((?:\.\./)?(CHANGELOG|SECURITY|SUPPORT|CONTRIBUTING)\.md",
                      lambda link: f"]({link[1].lower()}.md", text)
        text = text.replace("](../README.md", "](index.md")
        # What is in the tree and not on the site is named, not linked.
        pages[name] = re.sub(r"\[([^]]*)\]\(\.\./[^)]*\)", r"\1", text)
    for other in (TREE / "docs").iterdir():
        if other.is_dir():
            shutil.copytree(other, source / other.name)
        elif other.suffix != ".md":
            shutil.copy(other, source)
    return pages


def title(text):
    return re.search(r"^# (.*)$", text, re.MULTILINE)[1].replace("`", "")


def navigation(pages):
    """Every page has its place: that of navigation.json, or it stands under "More"."""
    plan = json.loads((TREE / "site/navigation.json").read_text(encoding="utf-8"))
    named = {name for names in plan.values() for name in names}
    plan["More"] = sorted(name for name in pages if "/" not in name and name not in named)
    nav = []
    for heading, names in plan.items():
        entries = []
        for name in names:
            group = [page for page in pages if name.endswith("/") and page.startswith(name)]
            entries += [{title(pages[page]): page} for page in group or [name] if page in pages]
        if entries:
            nav.append({heading: entries})
    return nav


def main(prefix, out):
    source, scratch = out / "source", out / "scratch"
    for folder in (source, scratch, out / "site"):
        shutil.rmtree(folder, ignore_errors=True)
    shutil.copytree(out / "api", source / "api")
    tool = commands.Tool(prefix, scratch)
    pages = written_pages(tool, source) | tool_pages(tool) | format_pages(tool) | message_pages(tool)
    for name, text in pages.items():
        (source / name).parent.mkdir(parents=True, exist_ok=True)
        (source / name).write_text(text, encoding="utf-8")
    version = tool.run("tavo --version").split()[-1]
    (source / "wide.css").write_text(".md-grid { max-width: 76rem }\n"
                                     ".md-typeset table:not([class]) { font-size: .62rem }\n"
                                     "td code { white-space: nowrap }\n")
    (out / "mkdocs.yml").write_text(json.dumps({
        "site_name": f"TAVO {version}", "docs_dir": "source", "site_dir": "site", "use_directory_urls": False,
        "strict": True, "plugins": [], "extra_css": ["wide.css"], "nav": navigation(pages),
        "theme": {"name": "material", "font": False},
        "markdown_extensions": ["tables", "fenced_code", "toc", "sane_lists"]}, indent=1))
    subprocess.run(["mkdocs", "build", "--quiet", "--strict", "--config-file", out / "mkdocs.yml"], check=True)
    # Of no use to pages in a folder: the map for search engines, and the search, which needs a server.
    for left in ("sitemap.xml", "sitemap.xml.gz", "assets/javascripts/lunr", "assets/javascripts/workers"):
        path = out / "site" / left
        shutil.rmtree(path) if path.is_dir() else path.unlink()
    print(f"site: {len(pages)} pages in {out / 'site'}")


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve())
