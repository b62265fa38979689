#!/usr/bin/python3
"""What was measured, as text: report.py [--put NAME] KIND FILE..., KIND being

  results MACHINE CALLS BENCHMARKS.json...   Google Benchmark's results, and what scripts/count-system-calls prints; fails
                                             when a promise is broken that holds whatever the machine does meanwhile
  comparison MACHINE PICTURE ALL.json ONE.json   two runs of compare.py, on all processors and on one
  footprint LINES                                lines of WHAT,VALUE,UNIT

MACHINE is a text about the machine. The text goes to standard output and, by --put, into docs/performance.md too, where
NAME marks its place.
"""
import argparse
import json
import re
import sys

TITLES = {"library": "skylark_io", "plain": "sockets", "joined": "one segment", "zeromq": "ZeroMQ",
          "zeromqRouter": "ZeroMQ router", "nng": "nng", "nngAio": "nng aio"}


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def size_name(size):
    for unit, name in ((1 << 20, "MiB"), (1 << 10, "KiB")):
        if size >= unit:
            return f"{size // unit} {name}"
    return f"{size} bytes"


def figure(value):
    return f"{value:.0f}" if value >= 100 else f"{value:.1f}" if value >= 10 else f"{value:.2f}"


def table(*rows):
    return "\n".join("| " + " | ".join(row) + " |" for row in (rows[0], ["---"] * len(rows[0]), *rows[1:])) + "\n"


def medians(path):
    """Of repeated runs the medians, of single ones the runs themselves."""
    for run in json.loads(read(path))["benchmarks"]:
        if "error_message" in run:
            raise SystemExit(f"{run['name']}: {run['error_message']}")
        if run.get("aggregate_name", "median") == "median":
            yield run


def row(run):
    name, *arguments = [part for part in run["run_name"].split("/") if not re.match("manual_time|real_time|.*:", part)]
    name = re.sub("[A-Z]", lambda letter: " " + letter[0].lower(), name)
    if len(arguments) == 2:
        name += " " + size_name(int(arguments[1]))
    value, unit = run["real_time"], run["time_unit"]
    if "us" in run:
        value, unit = run["us"], "us"
    ratio = f"{run['ratio']:.3f}" if "ratio" in run else ""
    return [arguments[0] if arguments else "box", name, figure(value), unit, ratio, run.get("label", "")]


def results(machine, calls_file, *benchmarks):
    calls = {words[0]: float(words[2]) for words in map(str.split, read(calls_file).splitlines()) if words[1] == "total"}
    runs = [run for path in benchmarks for run in medians(path)]
    allocations = max(run["allocations"] for run in runs if "allocations" in run)
    text = read(machine) + "\n" + table(["of", "what", "median", "unit", "ratio", "to"], *map(row, runs)) + "\n"
    # Setting up takes a call more or less from one run to the other.
    promises = [
        (allocations < 100, "messages allocate nothing", f"{allocations:.0f} in a run, the benchmark's own"),
        (all(abs(count - 10) < 0.01 for count in (calls["library"], calls["plain"])),
         "a round trip costs ten system calls, as over plain sockets", calls["library"])]
    for kept, what, measured in promises:
        text += f"- {'kept' if kept else 'BROKEN'}: {what} ({measured})\n"
    return text, all(kept for kept, _, _ in promises)


def comparison_table(runs, quantity, contenders, *more):
    rows = {}
    for run in runs:
        if run["quantity"] == quantity:
            rows.setdefault((run["exchange"], run["size"]), []).append(
                figure(run["median"]) + (f" ({run['ratio']:.2f})" if run["contender"] != contenders[0] else ""))
    return table(["", *(TITLES[contender] for contender in contenders)],
                 *([f"{name}, {size_name(size)}", *cells] for (name, size), cells in sorted(rows.items())), *more)


def comparison(machine, picture, everywhere, one_processor):
    runs, alone = json.loads(read(everywhere)), json.loads(read(one_processor))
    contenders = list(dict.fromkeys(run["contender"] for run in runs))
    # What the processes have needed in the end is what all of it needs.
    memory = [figure(run["median"]) for run in runs if run["quantity"].startswith("peak")][-len(contenders):]
    draw([run for run in runs if run["quantity"] == "time"], contenders, picture)
    return "\n".join((
        read(machine), "Time of a round trip, or of a message of the stream, in µs; and the largest resident memory of\nboth ends:\n",
        comparison_table(runs, "time", contenders, ["memory in the end, KiB", *memory]),
        "Processor time of both ends for it, in µs:\n",
        comparison_table(runs, "processor time", contenders),
        "Time with client and server on one processor, in µs:\n",
        comparison_table(alone, "time", contenders))), True


def draw(runs, contenders, picture):
    import matplotlib # only here: the rest needs nothing but Python
    matplotlib.use("svg")
    import matplotlib.pyplot as plot
    matplotlib.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "skylark_io"})
    whole, panels = plot.subplots(1, 2, figsize=(10, 4.5), layout="constrained")
    for panel, name, title in zip(panels, ("round trip", "stream"), ("Round trip", "One-way stream, time a message")):
        for contender in contenders:
            points = sorted((run["size"], run["median"]) for run in runs
                            if (run["exchange"], run["contender"]) == (name, contender))
            panel.loglog(*zip(*points), marker="o", markersize=4, label=TITLES[contender])
        sizes = [size for size, _ in points]
        panel.set_xticks(sizes, map(size_name, sizes))
        panel.minorticks_off()
        panel.set(title=title, xlabel="payload of a message", ylabel="µs")
        panel.grid(alpha=0.4)
    panels[0].legend(fontsize="small")
    whole.savefig(picture, metadata={"Date": None})


def footprint(lines):
    rows = [line.split(",") for line in read(lines).splitlines()]
    return table(["what", "value"], *([what, f"{value} {unit}".strip()] for what, value, unit in rows)), True


def put(name, text):
    page = read("docs/performance.md")
    begin, end = f"<!-- {name} -->\n", f"<!-- end of {name} -->\n"
    before, found, rest = page.partition(begin)
    _, ended, after = rest.partition(end)
    if not (found and ended):
        raise SystemExit(f"no place for {name}")
    with open("docs/performance.md", "w", encoding="utf-8") as file:
        file.write(before + begin + text + end + after)


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--put")
    parser.add_argument("kind", choices=("results", "comparison", "footprint"))
    parser.add_argument("file", nargs="+")
    arguments = parser.parse_args()
    text, kept = globals()[arguments.kind](*arguments.file)
    print(text, end="")
    if arguments.put:
        put(arguments.put, text)
    sys.exit(not kept)


if __name__ == "__main__":
    main()
