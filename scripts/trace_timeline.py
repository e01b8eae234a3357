#!/usr/bin/python3
"""Checks a trace in the ftrace text format, sums up its cached runs and draws one of them.

usage: trace_timeline.py TRACE_TXT CHART_PNG

TRACE_TXT is what scripts/trace.sh wrote: a "# tracer: nop" header, then one ftrace event per line
("<thread>-<tid> [<cpu>] <seconds>: <event>: <arguments>"), the trace sections as
"tracing_mark_write: B|<pid>|<name>" and "tracing_mark_write: E|<pid>". Every event line must have
the shape that Perfetto's systrace importer reads; the script fails on the first that does not.

The sections of each thread are paired into slices. The client's cached runs are the sections
"client cmd_cachedAndRun" of the sample workload; for the run of median length the chart shows the
client's call and every section of the serving process that lies inside it, one lane per thread,
nested sections below their parent. The medians of all runs are printed.
"""
import re
import statistics
import sys
from collections import defaultdict

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

# The line shape of Perfetto's systrace importer: task-tid, an optional "(tgid)", [cpu], up to five
# flag characters, the time in seconds, the event name and its arguments.
LINE = re.compile(
    r"^(?P<task>.*)-(?P<tid>\d+)\s+\(?\s*(?:\d+|-+)?\)?\s?\[(?P<cpu>\d+)\]\s*"
    r"[a-zA-Z0-9.]{0,5}\s+(?P<seconds>\d+\.\d+):\s+(?P<event>\S+):\s*(?P<arguments>.*)$"
)
MARKER = re.compile(r"^(?P<phase>[BE])\|(?P<pid>\d+)(?:\|(?P<name>.*))?$")
CLIENT_CACHED_RUN = "client cmd_cachedAndRun"


class Slice:
    def __init__(self, name, pid, tid, task, start, depth):
        self.name, self.pid, self.tid, self.task = name, pid, tid, task
        self.start, self.end, self.depth = start, None, depth


def read_slices(path):
    """The completed slices of every thread, from the file's trace markers."""
    with open(path) as file:
        lines = file.read().splitlines()
    if not lines or not lines[0].startswith("# tracer"):
        sys.exit("%s: no \"# tracer\" header: not in the ftrace text format" % path)
    open_slices = defaultdict(list)
    slices = []
    for number, line in enumerate(lines, 1):
        if line.startswith("#") or not line.strip():
            continue
        match = LINE.match(line)
        if match is None:
            sys.exit("%s:%d: not an ftrace event line: %s" % (path, number, line))
        if match["event"] != "tracing_mark_write":
            continue
        marker = MARKER.match(match["arguments"])
        if marker is None:
            continue
        tid = int(match["tid"])
        seconds = float(match["seconds"])
        stack = open_slices[tid]
        if marker["phase"] == "B":
            stack.append(Slice(marker["name"], int(marker["pid"]), tid, match["task"].strip(),
                               seconds, len(stack)))
        elif not stack:
            sys.exit("%s:%d: a section ends that thread %d never began" % (path, number, tid))
        else:
            finished = stack.pop()
            finished.end = seconds
            slices.append(finished)
    for tid, stack in sorted(open_slices.items()):
        if stack:
            sys.exit("%s: thread %d never ends its section \"%s\"" % (path, tid, stack[-1].name))
    return slices


def inside(outer, slices):
    """The slices of other processes that lie within outer's time."""
    return [s for s in slices if s.pid != outer.pid and s.start >= outer.start and s.end <= outer.end]


def microseconds(seconds):
    return seconds * 1e6


def print_medians(runs, slices):
    by_name = defaultdict(list)
    for run in runs:
        by_name[run.name].append(run.end - run.start)
        for part in inside(run, slices):
            by_name[part.name].append(part.end - part.start)
    print("%d cached runs; median length of each section, in microseconds:" % len(runs))
    for name, lengths in sorted(by_name.items(), key=lambda item: -statistics.median(item[1])):
        print("  %-40s %9.1f  (%d)" % (name, microseconds(statistics.median(lengths)), len(lengths)))


def draw(run, parts, chart_path):
    lanes = [(run.pid, run.tid, "client %s-%d" % (run.task, run.tid))]
    for part in sorted(parts, key=lambda s: s.start):
        if all(part.tid != lane[1] for lane in lanes):
            lanes.append((part.pid, part.tid, "service %s-%d\n(pid %d)" % (part.task, part.tid, part.pid)))
    depth = max([0] + [part.depth for part in parts]) + 1
    figure, axes = plt.subplots(figsize=(11, 1.6 + 1.0 * depth * len(lanes)))
    colours = ["#4c72b0", "#dd8452", "#55a868", "#c44e52", "#8172b3", "#937860"]
    names = sorted({part.name for part in parts} | {run.name})
    total = microseconds(run.end - run.start)
    ticks = []
    # Sections too short to hold their label are named in the legend instead.
    legend = []
    for lane_index, (_, tid, label) in enumerate(lanes):
        base = lane_index * (depth + 0.5)
        ticks.append((base + (depth - 1) / 2, label))
        for item in [run] + parts:
            if item.tid != tid:
                continue
            left = microseconds(item.start - run.start)
            width = microseconds(item.end - item.start)
            y = base + (0 if item is run else item.depth)
            colour = colours[names.index(item.name) % len(colours)]
            bar = axes.barh(y, width, left=left, height=0.8, color=colour, edgecolor="black")
            text = "%s\n%.1f us" % (item.name, width)
            if width > 0.15 * total:
                axes.text(left + width / 2, y, text, ha="center", va="center", fontsize=8,
                          color="white")
            else:
                legend.append((bar, "%s, %.1f us at %.1f us" % (item.name, width, left)))
    axes.set_yticks([tick for tick, _ in ticks], [label for _, label in ticks])
    axes.invert_yaxis()
    axes.set_xlabel("microseconds from the client's call")
    axes.set_title("One cached run: the client's call and the service's sections on its binder thread")
    axes.set_xlim(left=0, right=total * 1.02)
    if legend:
        axes.legend([bar for bar, _ in legend], [text for _, text in legend], loc="upper center",
                    bbox_to_anchor=(0.5, -0.18), ncol=min(3, len(legend)), fontsize=8,
                    frameon=False)
    figure.tight_layout()
    figure.savefig(chart_path, dpi=100)
    plt.close(figure)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    trace_path, chart_path = sys.argv[1:]
    slices = read_slices(trace_path)
    runs = [s for s in slices if s.name == CLIENT_CACHED_RUN]
    runs = [run for run in runs if inside(run, slices)]
    if not runs:
        sys.exit("%s: no \"%s\" section with the service's sections inside it" %
                 (trace_path, CLIENT_CACHED_RUN))
    print_medians(runs, slices)
    median = sorted(runs, key=lambda run: run.end - run.start)[len(runs) // 2]
    draw(median, inside(median, slices), chart_path)
    print("chart of the run of median length: %s" % chart_path)


if __name__ == "__main__":
    main()
