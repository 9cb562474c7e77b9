#!/usr/bin/python3
"""Measures how the time per record and the memory of the command line grow with a survey.

Generates surveys of points, all in one block, which is what holds most records back, runs each verb
on them in a process of its own, and writes the table and the chart into docs/performance.md, between
the marks that stand there. The benchmark programs' ratios go in beside them when they are built.

    bench/growth.py [--tool build/linux/bin/tavo] [--sizes 100000,1000000,4000000,7000000]
                    [--rounds 3] [--bench build/linux/bin]
"""
import argparse
import os
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs" / "performance.md"
CHART = ROOT / "docs" / "growth.svg"
PROGRAMS = ["analyse", "build", "store", "durable"]
# What is drawn, and the arguments; a verb may use what those in front of it made.
VERBS = {
    "check": ["check", "survey.tvo"],
    "import": ["import", "survey.tvo", "-o", "complete.dat", "--overwrite"],
    "import --compatible": ["import", "--compatible", "survey.tvo", "-o", "plain.dat", "--overwrite"],
    "verify": ["verify", "complete.dat"],
    "verify, compatible": ["verify", "plain.dat"],
    "build": ["build", "complete.dat", "-o", "built.tvo", "--overwrite"],
    "build, compatible": ["build", "plain.dat", "-o", "built.tvo", "--overwrite"],
    "format": ["format", "survey.tvo", "-o", "formatted.tvo", "--overwrite"],
}


def generate(path, count):
    """A survey of so many points, their numbers ascending."""
    with open(path, "w", encoding="ascii") as file:
        file.write("DATABASE\nPOINTS (PointNo,PointID,JobNo,CLASS,East,North,Elevation,Code)\n")
        for i in range(1, count + 1):
            file.write(f'{i},"P{i}",{i % 9},MEAS,{600000 + i % 9973 * .37:.4f},'
                       f'{200000 + i % 7919 * .13:.4f},{400 + i % 977 * .01:.4f},"TREE";\n')
        file.write("END POINTS\nEND DATABASE\n")


def run(command, folder):
    """Processor seconds and peak memory in bytes of a command."""
    with open(os.devnull, "wb") as nowhere:
        process = subprocess.Popen(command, cwd=folder, stdout=nowhere)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{' '.join(command)}: exit status {process.returncode}")
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024


def measure(tool, sizes, rounds):
    """{verb: [(nanoseconds of processor time per record, peak in MiB), one for each size]}."""
    results = {verb: [] for verb in VERBS}
    for count in sizes:
        with tempfile.TemporaryDirectory() as folder:
            generate(os.path.join(folder, "survey.tvo"), count)
            for verb, arguments in VERBS.items():
                runs = [run([tool, *arguments], folder) for _ in range(rounds)]
                time = statistics.median(seconds for seconds, _ in runs)
                results[verb].append((time * 1e9 / count, max(peak for _, peak in runs) / 2**20))
                print(f"{count:>9} {verb:<20} {time * 1e9 / count:7.0f} ns a record, "
                      f"{results[verb][-1][1]:6.1f} MiB", flush=True)
    return results


def machine():
    """The processor, how many of them, the memory and the system."""
    processor = re.search(r"model name\s*:\s*(.*)", pathlib.Path("/proc/cpuinfo").read_text()).group(1)
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    system = re.search(r'PRETTY_NAME="(.*)"', pathlib.Path("/etc/os-release").read_text()).group(1)
    return f"{processor}, {os.cpu_count()} cores, {memory:.0f} GiB of memory, {system}"


def short(count):
    return f"{count // 1000000} million" if count >= 1000000 else f"{count // 1000} thousand"


def table(results, sizes, place, form):
    head = "| | " + " | ".join(map(short, sizes)) + " |"
    lines = [head + (" last : first |" if place == 0 else "")]
    lines.append("|---" * lines[0].count(" | ") + "|---|")
    for verb, measured in results.items():
        line = f"| {verb} | " + " | ".join(form.format(row[place]) for row in measured) + " |"
        lines.append(line + (f" {measured[-1][0] / measured[0][0]:.2f} |" if place == 0 else ""))
    return "\n".join(lines)


def draw(results, sizes):
    import matplotlib
    matplotlib.use("svg")
    matplotlib.rcParams.update({"svg.hashsalt": "tavo", "svg.fonttype": "none", "font.size": 10})
    from matplotlib import pyplot
    names = list(dict.fromkeys(re.split("[ ,]", verb)[0] for verb in results))
    figure, (times, peaks) = pyplot.subplots(1, 2, figsize=(10, 4.2))
    for axes, place, title in ((times, 0, "Processor time per record, ns"),
                               (peaks, 1, "Peak memory, MiB")):
        for verb, measured in results.items():
            style = "--" if "compatible" in verb else "-"
            axes.plot(sizes, [row[place] for row in measured], style, marker="o", markersize=4,
                      color=f"C{names.index(re.split('[ ,]', verb)[0])}", label=verb)
        axes.set_xscale("log")
        axes.set_xticks(sizes, [f"{count / 1e6:g} M" for count in sizes])
        axes.minorticks_off()
        axes.set_ylim(bottom=0)
        axes.set_title(title)
        axes.set_xlabel("records")
        axes.grid(alpha=.3)
    handles, labels = times.get_legend_handles_labels()
    figure.legend(handles, labels, loc="lower center", ncol=4, frameon=False)
    figure.tight_layout(rect=(0, .14, 1, 1))
    figure.savefig(CHART, metadata={"Date": None})


def replace(page, mark, text):
    """Puts a text between the marks <!-- MARK --> and <!-- end of MARK -->."""
    pattern = rf"(<!-- {mark} -->\n).*?(<!-- end of {mark} -->)"
    result, count = re.subn(pattern, lambda found: found[1] + text + "\n" + found[2], page, flags=re.S)
    if count != 1:
        sys.exit(f"{PAGE}: the marks of '{mark}' are missing")
    return result


def ratios_of(output):
    """The lines of a benchmark program that compare, without the single times."""
    plain = re.sub(r"\x1b\[[0-9;]*m", "", output)
    wanted = [line.rstrip() for line in plain.splitlines()
              if re.search(r"times as fast|the store's time|rounds|\( *[\d.]+\)|KiB$| store  ", line)
              and not re.search(r"^\s+L\d ", line)]
    return "```\n" + "\n".join(wanted) + "\n```"


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--tool", default=str(ROOT / "build/linux/bin/tavo"))
    parser.add_argument("--sizes", default="100000,1000000,4000000,7000000")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--bench", default=str(ROOT / "build/linux/bin"))
    options = parser.parse_args()
    sizes = [int(size) for size in options.sizes.split(",")]
    page = PAGE.read_text(encoding="utf-8")
    results = measure(os.path.abspath(options.tool), sizes, options.rounds)
    draw(results, sizes)
    page = replace(page, "machine", machine())
    page = replace(page, "time", table(results, sizes, 0, "{:.0f}"))
    page = replace(page, "memory", table(results, sizes, 1, "{:.1f}"))
    for name in PROGRAMS:
        program = pathlib.Path(options.bench) / f"{name}_bench"
        if not program.exists():
            print(f"{program} is not built, its ratios stay as they are")
            continue
        output = subprocess.run([program], check=True, capture_output=True, text=True).stdout
        page = replace(page, f"{name} ratios", ratios_of(output))
    PAGE.write_text(page, encoding="utf-8")


if __name__ == "__main__":
    main()
