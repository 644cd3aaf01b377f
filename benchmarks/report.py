#!/usr/bin/env python3
"""Generates the performance page from the results of one benchmark run.

usage: report.py TOPICS_JSON RESULTS_DIRECTORY [DOCS_DIRECTORY]

Benchmarks are named TOPIC/VARIANT or TOPIC/VARIANT/SIZE. The variant "vxcommon" is the library; the others are its
peers. Without DOCS_DIRECTORY, the page is written to standard output and no plots are created.
"""

import json
import math
import pathlib
import platform
import re
import sys

OURS = "vxcommon"
SETTING = re.compile(r"(real|process|manual)_time|(iterations|repeats|threads):\d+")
NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
COLOURS = ["#1f6feb", "#d1242f", "#1a7f37", "#9a6700", "#8250df", "#bf3989", "#0a7d91", "#57606a"]


def load(folder):
    """Returns the medians of all result files as {topic: {size or None: {variant: benchmark}}}."""
    topics = {}
    for path in sorted(folder.glob("*.json")):
        # The results are in their random order of execution; restore the order of the program.
        benchmarks = json.loads(path.read_text())["benchmarks"]
        benchmarks.sort(key=lambda benchmark: (benchmark["family_index"], benchmark["per_family_instance_index"]))
        for benchmark in benchmarks:
            if benchmark.get("error_occurred"):
                sys.exit(f"error: {benchmark['name']}: {benchmark['error_message']}")
            if benchmark.get("aggregate_name", "median") != "median":
                continue
            parts = [part for part in benchmark["run_name"].split("/") if not SETTING.fullmatch(part)]
            size = int(parts[2]) if len(parts) > 2 else None
            topics.setdefault(parts[0], {}).setdefault(size, {})[parts[1]] = benchmark
    return topics


def seconds_text(nanoseconds):
    for unit, factor in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= factor:
            return f"{nanoseconds / factor:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def time_of(benchmark):
    """Returns the nanoseconds per iteration."""
    return benchmark["real_time"] * NANOSECONDS[benchmark["time_unit"]]


def cost(benchmark):
    """Returns the nanoseconds per item or, if the number of items is unknown, per iteration."""
    if "items_per_second" in benchmark:
        return 1e9 / benchmark["items_per_second"]
    return time_of(benchmark)


def cell(benchmark):
    text = seconds_text(cost(benchmark))
    if "items_per_second" in benchmark:
        text += " an item"
    if "bytes_per_second" in benchmark:
        text += f", {benchmark['bytes_per_second'] / 1e6:.4g} MB/s"
    if "peak_mib" in benchmark:
        text += f", {benchmark['peak_mib']:.3g} MiB"
    if "bytes an item" in benchmark:
        text += f", {benchmark['bytes an item']:.3g} bytes"
    return text


def table(sizes, limits):
    variants = list(dict.fromkeys(variant for row in sizes.values() for variant in row))
    variants.sort(key=lambda variant: variant != OURS)
    peers = [variant for variant in variants if variant != OURS] if OURS in variants else []
    header = ([] if None in sizes else ["size"]) + variants + [f"{OURS} / {peer}" for peer in peers]
    lines = ["| " + " | ".join(header) + " |", "|" + "---|" * len(header)]
    for size, row in sorted(sizes.items(), key=lambda item: item[0] or 0):
        cells = [] if size is None else [f"{size:,}"]
        cells += [cell(row[variant]) if variant in row else "" for variant in variants]
        for peer in peers:
            if peer not in row or OURS not in row:
                cells.append("")
                continue
            ratio = cost(row[OURS]) / cost(row[peer])
            limit = limits.get(peer)
            cells.append(f"{ratio:.2f}" + (f" (at most {limit:.2f})" if limit else ""))
        lines.append("| " + " | ".join(cells) + " |")
    return lines


def summary(described, topics):
    """Returns a table of the topics with a limit, each with the worst ratio of its sizes."""
    lines = ["| Path | Peer | Ratio | At most |", "|---|---|---|---|"]
    for topic, about in described.items():
        for peer, limit in about.get("limits", {}).items():
            rows = [row for row in topics.get(topic, {}).values() if OURS in row and peer in row]
            if rows:
                ratio = max(cost(row[OURS]) / cost(row[peer]) for row in rows)
                lines.append(f"| {topic} | {peer} | {ratio:.2f} | {limit:.2f} |")
    return lines


def plot(topic, sizes):
    """Returns an SVG of time against size, both logarithmic; a straight line of slope 1 is linear growth."""
    width, height, margin = 640, 360, 50
    legend_width = 190
    points = {}
    for size, row in sorted(sizes.items()):
        for variant, benchmark in row.items():
            points.setdefault(variant, []).append((size, time_of(benchmark)))
    xs = [math.log10(x) for line in points.values() for x, _ in line]
    ys = [math.log10(y) for line in points.values() for _, y in line]
    low_y, high_y = math.floor(min(ys)), math.ceil(max(ys))

    def place(x, y):
        across = (math.log10(x) - min(xs)) / (max(xs) - min(xs))
        up = (math.log10(y) - low_y) / max(high_y - low_y, 1)
        return margin + across * (width - legend_width - margin - 20), height - margin - up * (height - 2 * margin)

    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" font-family="sans-serif" font-size="12">',
        f'<rect width="{width}" height="{height}" fill="white"/>',
        f'<text x="{margin}" y="24" font-size="14">{topic}: time against size</text>',
    ]
    for exponent in range(low_y, high_y + 1):
        left, level = place(10 ** min(xs), 10**exponent)
        right, _ = place(10 ** max(xs), 10**exponent)
        parts.append(f'<line x1="{left:.0f}" y1="{level:.0f}" x2="{right:.0f}" y2="{level:.0f}" stroke="#d0d7de"/>')
        parts.append(f'<text x="{left - 6:.0f}" y="{level + 4:.0f}" text-anchor="end">{seconds_text(10**exponent)}</text>')
    for size in sorted(sizes):
        x, _ = place(size, 10**low_y)
        parts.append(f'<text x="{x:.0f}" y="{height - margin + 20}" text-anchor="middle">{size:,}</text>')
    for number, (variant, line) in enumerate(points.items()):
        colour = COLOURS[number % len(COLOURS)]
        dash = ' stroke-dasharray="5 3"' if number >= len(COLOURS) else ""
        path = " ".join(f"{x:.1f},{y:.1f}" for x, y in (place(*point) for point in line))
        level = margin + 10 + number * 18
        parts.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"{dash}/>')
        parts.append(f'<line x1="{width - 185}" y1="{level - 4}" x2="{width - 165}" y2="{level - 4}" '
                     f'stroke="{colour}" stroke-width="2"{dash}/>')
        parts.append(f'<text x="{width - 160}" y="{level}">{variant}</text>')
    return "\n".join(parts + ["</svg>", ""])


def processor():
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.processor()


def context(folder):
    machine = json.loads(sorted(folder.glob("*.json"))[0].read_text())["context"]
    system = platform.freedesktop_os_release().get("PRETTY_NAME", platform.system())
    return f"{machine['date'][:10]}, {system}, {machine['num_cpus']} cores of {processor()}"


def page(described, topics, folder, plot_folder):
    lines = [
        "# Performance",
        "",
        "Generated by `scripts/bench.sh`; do not edit. Every row comes from one run on one machine: "
        f"{context(folder)}. Each figure is the median of several interleaved repetitions. The ratios matter; "
        "below 1, the library is faster. \"At most\" is the limit that the project has set for a ratio.",
        "",
        *summary(described, topics),
    ]
    title = None
    known = [topic for topic in described if topic in topics]
    for topic in known + [topic for topic in topics if topic not in described]:
        about = described.get(topic, {})
        if about.get("title", "Others") != title:
            title = about.get("title", "Others")
            lines += ["", f"## {title}"]
        lines += ["", f"### {topic[0].upper()}{topic[1:]}", ""]
        if "text" in about:
            lines += [about["text"], ""]
        lines += table(topics[topic], about.get("limits", {}))
        if plot_folder and len(topics[topic]) > 2:
            name = "".join(letter if letter.isalnum() else "-" for letter in topic) + ".svg"
            (plot_folder / name).write_text(plot(topic, topics[topic]))
            lines += ["", f"![{topic}]({plot_folder.name}/{name})"]
    return "\n".join(lines) + "\n"


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    described = json.loads(pathlib.Path(sys.argv[1]).read_text())
    results = pathlib.Path(sys.argv[2])
    if len(sys.argv) == 3:
        print(page(described, load(results), results, None))
        return
    docs = pathlib.Path(sys.argv[3])
    plots = docs / "performance"
    plots.mkdir(parents=True, exist_ok=True)
    for old in plots.glob("*.svg"):
        old.unlink()
    (docs / "performance.md").write_text(page(described, load(results), results, plots))


main()
