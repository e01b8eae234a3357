#!/usr/bin/python3
"""Draws the charts of the benchmark figures and writes their table into the performance page.

usage: plot_benchmarks.py FIGURES_DIR PERFORMANCE_MD

FIGURES_DIR holds what scripts/benchmarks.sh wrote: <name>.json (Google Benchmark), <name>_ratios.json
(the ratios and bounds each benchmark printed) and machine.json. The PNG charts go beside them; the
parts of PERFORMANCE_MD between the "generated" markers are replaced by the table and the machine.
"""
import json
import os
import re
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

SUITES = ["registry", "interface_call", "isolation", "process"]
TO_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def load(directory):
    """Nanoseconds per iteration by benchmark name, the ratio entries, and the machine."""
    times, ratios = {}, []
    for suite in SUITES:
        with open(os.path.join(directory, suite + ".json")) as file:
            for run in json.load(file)["benchmarks"]:
                if run.get("run_type") == "iteration" and not run.get("error_occurred"):
                    times[run["name"]] = run["real_time"] * TO_NS[run["time_unit"]]
        with open(os.path.join(directory, suite + "_ratios.json")) as file:
            ratios.extend(json.load(file))
    with open(os.path.join(directory, "machine.json")) as file:
        machine = json.load(file)
    return times, ratios, machine


def microseconds(times, name):
    return times[name] / 1e3


def bar_chart(path, title, labels, values, unit, log=False):
    figure, axes = plt.subplots(figsize=(8, 0.6 * len(labels) + 1.4))
    bars = axes.barh(labels, values, color="#4c72b0")
    axes.bar_label(bars, labels=["%.3g %s" % (value, unit) for value in values], padding=3)
    axes.invert_yaxis()
    axes.set_xlabel(unit)
    if log:
        axes.set_xscale("log")
    axes.set_xlim(right=max(values) * (4 if log else 1.3))
    axes.set_title(title)
    figure.tight_layout()
    figure.savefig(path, dpi=100)
    plt.close(figure)


def draw_calls(directory, times):
    names = [
        ("bare mutex + map look-up (10^3)", "BM_BareMutexMapLookup/1000"),
        ("cmd_run on the service object", "BM_DirectCmdRun"),
        ("cmd_run through the proxy, in process", "BM_ProxyCmdRun"),
        ("raw Unix socket ping-pong", "BM_SocketPingPong"),
        ("cmd_run across processes", "BM_CrossProcessCmdRun"),
    ]
    present = [(label, name) for label, name in names if name in times]
    bar_chart(os.path.join(directory, "calls.png"), "One call through ITovanDravik, no-op driver",
              [label for label, _ in present], [microseconds(times, name) for _, name in present],
              "µs", log=True)


def draw_scaling(directory, times):
    figure, (left, right) = plt.subplots(1, 2, figsize=(11, 4.2))
    for label, prefix in [("registry look-up", "BM_RegistryLookup/"),
                          ("memAlloc + memFree", "BM_MemAllocFreePair/"),
                          ("bare mutex + map look-up", "BM_BareMutexMapLookup/")]:
        points = sorted((int(name[len(prefix):]), value / 1e3) for name, value in times.items()
                        if name.startswith(prefix))
        left.plot([x for x, _ in points], [y for _, y in points], marker="o", label=label)
    left.set_xscale("log")
    left.set_yscale("log")
    left.set_xlabel("live objects")
    left.set_ylabel("µs per operation")
    left.set_title("Look-ups and allocations under load")
    left.legend()
    deletions = sorted((int(match.group(1)), value / 1e3) for name, value in times.items()
                       for match in [re.fullmatch(r"BM_DeleteSession/(\d+)/1000000", name)]
                       if match)
    right.plot([k for k, _ in deletions], [y for _, y in deletions], marker="o",
               label="beside 10^6 objects")
    if "BM_DeleteSession/1000/1000" in times:
        right.plot([1000], [times["BM_DeleteSession/1000/1000"] / 1e3], marker="s",
                   linestyle="none", label="beside 10^3 objects")
    right.set_xscale("log")
    right.set_yscale("log")
    right.set_xlabel("objects in the deleted session (k)")
    right.set_ylabel("µs per deletion")
    right.set_title("Deleting a session of k objects")
    right.legend()
    figure.tight_layout()
    figure.savefig(os.path.join(directory, "scaling.png"), dpi=100)
    plt.close(figure)


def draw_isolation(directory, times):
    figure, axes = plt.subplots(figsize=(8, 3.6))
    groups = [("empty cmd_run", "BM_EmptyRunIdle", "BM_EmptyRunBesideLongRun"),
              ("memAlloc + memFree", "BM_MemAllocFreeIdle", "BM_MemAllocFreeBesideLongRun")]
    groups = [group for group in groups if group[1] in times and group[2] in times]
    positions = range(len(groups))
    idle = axes.bar([p - 0.2 for p in positions], [times[g[1]] / 1e3 for g in groups], 0.4,
                    label="idle service")
    busy = axes.bar([p + 0.2 for p in positions], [times[g[2]] / 1e3 for g in groups], 0.4,
                    label="another session running 100 ms")
    axes.bar_label(idle, fmt="%.3g µs")
    axes.bar_label(busy, fmt="%.3g µs")
    axes.set_xticks(list(positions), [g[0] for g in groups])
    axes.set_ylabel("µs per call on the measured session")
    axes.set_title("Isolation between sessions (reference driver, in process)")
    axes.legend(loc="lower right")
    figure.tight_layout()
    figure.savefig(os.path.join(directory, "isolation.png"), dpi=100)
    plt.close(figure)


def draw_goals(directory, ratios):
    """Every goal as the share of its allowance used: under 1 is met."""
    labels = [entry["label"] for entry in ratios]
    shares = [entry["ratio"] / entry["goal"] if "ratio" in entry
              else entry["measured_ns"] / (entry["goal_seconds"] * 1e9) for entry in ratios]
    figure, axes = plt.subplots(figsize=(10, 0.45 * len(labels) + 1.4))
    colors = ["#55a868" if entry["met"] else "#c44e52" for entry in ratios]
    bars = axes.barh(labels, shares, color=colors)
    axes.bar_label(bars, fmt="%.2f", padding=3)
    axes.axvline(1.0, color="black", linestyle="--", linewidth=1)
    axes.invert_yaxis()
    axes.set_xlabel("figure / goal (green: met, red: missed; the dashed line is the goal)")
    axes.set_xlim(right=max(shares + [1.0]) * 1.15)
    axes.set_title("Goals")
    figure.tight_layout()
    figure.savefig(os.path.join(directory, "goals.png"), dpi=100)
    plt.close(figure)


def readable(nanoseconds):
    for unit, scale in [("s", 1e9), ("ms", 1e6), ("µs", 1e3)]:
        if nanoseconds >= scale:
            return "%.3g %s" % (nanoseconds / scale, unit)
    return "%.3g ns" % nanoseconds


def figures_table(ratios):
    lines = ["| figure | measured | baseline | ratio | goal | met |", "|---|---|---|---|---|---|"]
    for entry in ratios:
        met = "yes" if entry["met"] else "**no**"
        if "ratio" in entry:
            lines.append("| %s | `%s` %s | `%s` %s | %.2f | ≤ %.1fx | %s |" % (
                entry["label"], entry["measured"], readable(entry["measured_ns"]),
                entry["baseline"], readable(entry["baseline_ns"]), entry["ratio"], entry["goal"],
                met))
        else:
            lines.append("| %s | `%s` %s | — | — | < %g s | %s |" % (
                entry["label"], entry["measured"], readable(entry["measured_ns"]),
                entry["goal_seconds"], met))
    return "\n".join(lines)


def all_figures_table(times):
    lines = ["| benchmark | real time per iteration |", "|---|---|"]
    lines += ["| `%s` | %s |" % (name, readable(value)) for name, value in times.items()]
    return "\n".join(lines)


def machine_table(machine):
    rows = [("nproc", "nproc"), ("CPU", "cpu"), ("kernel", "kernel"), ("compiler", "compiler"),
            ("load average before the runs", "load_before_runs")]
    return "\n".join(["| | |", "|---|---|"] +
                     ["| %s | %s |" % (label, machine[key]) for label, key in rows])


def replace_section(text, name, content):
    pattern = re.compile(r"(<!-- generated:%s -->\n).*?(<!-- /generated:%s -->)" % (name, name),
                         re.S)
    if not pattern.search(text):
        sys.exit("no generated:%s section in the page" % name)
    return pattern.sub(lambda match: match.group(1) + content + "\n" + match.group(2), text)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    directory, page = sys.argv[1], sys.argv[2]
    times, ratios, machine = load(directory)
    draw_calls(directory, times)
    draw_scaling(directory, times)
    draw_isolation(directory, times)
    draw_goals(directory, ratios)
    with open(page) as file:
        text = file.read()
    text = replace_section(text, "goals", figures_table(ratios))
    text = replace_section(text, "figures", all_figures_table(times))
    text = replace_section(text, "machine", machine_table(machine))
    with open(page, "w") as file:
        file.write(text)


if __name__ == "__main__":
    main()
