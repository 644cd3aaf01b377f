#!/usr/bin/env python3
"""Runs soak among faults and judges it: drive.py SOAK VXTOOL SECONDS [SVG]

Meanwhile the web server is killed and started again, the disk that is copied to is filled and freed, files vanish from
the folder that is copied, texts are handed over, and the system says that it sleeps and wakes. Needs to be allowed to
mount a file system: scripts/soak.sh gives it a mount namespace of its own.
"""

import collections
import csv
import hashlib
import os
import pathlib
import random
import re
import socket
import subprocess
import sys
import tempfile
import threading
import time

MIB = 1024 * 1024
DOWNLOAD_SIZE = 24 * MIB
DISK_SIZE = 12 * MIB
SOURCE_FILES = 60
SOURCE_FILE_SIZE = 100 * 1000
# How much more memory, of what it was after a minute, the end may show.
MAX_GROWTH = 1.05


class Faults:
    """What happens to the process, each on a thread of its own until the end."""

    def __init__(self, work, vxtool):
        self.work = work
        self.vxtool = vxtool
        self.over = threading.Event()
        self.random = random.Random(1)
        self.sent = []
        self.unsure = []
        self.sleeps = 0
        self.restarts = 0
        self.fillings = 0
        self.vanished = 0
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            self.port = probe.getsockname()[1]
        kinds = (self.restart_server, self.fill_disk, self.take_files, self.send_texts, self.sleep_and_wake)
        self.threads = [threading.Thread(target=kind) for kind in kinds]

    def start(self):
        for thread in self.threads:
            thread.start()

    def stop(self):
        self.over.set()
        for thread in self.threads:
            thread.join()

    def restart_server(self):
        while not self.over.is_set():
            server = subprocess.Popen(
                [sys.executable, "-m", "http.server", str(self.port), "--bind", "127.0.0.1", "--directory",
                 str(self.work / "web")], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            self.over.wait(self.random.uniform(3, 8))
            server.kill()
            server.wait()
            self.restarts += 1
            self.over.wait(self.random.uniform(0, 3))

    def fill_disk(self):
        filler = self.work / "disk" / "filler"
        while not self.over.wait(self.random.uniform(4, 8)):
            try:
                with open(filler, "wb") as file:
                    while True:
                        file.write(bytes(MIB))
                        file.flush()
            except OSError:
                self.fillings += 1
            self.over.wait(self.random.uniform(1, 4))
            filler.unlink(missing_ok=True)

    def take_files(self):
        source = self.work / "source"
        while not self.over.wait(0.05):
            name = source / f"{self.random.randrange(SOURCE_FILES)}.bin"
            if name.exists():
                name.unlink()
                self.vanished += 1
            else:
                name.write_bytes(bytes(SOURCE_FILE_SIZE))

    def send_texts(self):
        number = 0
        while not self.over.wait(0.5):
            number += 1
            text = f"text {number}"
            result = subprocess.run([self.vxtool, "single", "vxcommon-soak", text], stdout=subprocess.DEVNULL)
            (self.sent if result.returncode == 0 else self.unsure).append(text)

    def sleep_and_wake(self):
        while not self.over.wait(2):
            for sleeps in ("true", "false"):
                subprocess.run(["dbus-send", "--system", "--type=signal", "/org/freedesktop/login1",
                                "org.freedesktop.login1.Manager.PrepareForSleep", f"boolean:{sleeps}"], check=True)
            self.sleeps += 1


def start_bus(work):
    config = work / "bus.conf"
    config.write_text(f"""<busconfig><type>system</type><listen>unix:path={work}/bus</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/>
</policy></busconfig>""")
    bus = subprocess.Popen(["dbus-daemon", f"--config-file={config}", "--nofork", "--print-address=1"],
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    os.environ["DBUS_SYSTEM_BUS_ADDRESS"] = bus.stdout.readline().strip()
    return bus


def prepare(work):
    for folder in ("web", "source", "disk", "log", "tmp"):
        (work / folder).mkdir()
    os.environ["TMPDIR"] = str(work / "tmp")
    content = random.Random(2).randbytes(DOWNLOAD_SIZE)
    (work / "web" / "file").write_bytes(content)
    for number in range(SOURCE_FILES):
        (work / "source" / f"{number}.bin").write_bytes(bytes(SOURCE_FILE_SIZE))
    subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={DISK_SIZE}", "tmpfs", work / "disk"], check=True)
    return hashlib.md5(content).hexdigest()


def logged_lines(folder):
    lines = collections.Counter()
    for path in folder.glob("soak.log*"):
        lines.update(re.findall(rb"soak: line (\d+)$", path.read_bytes(), re.MULTILINE))
    return lines


def judge(rows, faults, work):
    """What was promised and does not hold, and the figures."""
    last = {key: int(value) for key, value in rows[-1].items()}
    received = (work / "received.txt").read_text().splitlines()
    twice = [text for text, count in collections.Counter(received).items() if count > 1]
    lines = logged_lines(work / "log")
    memory = [int(row["rss_kib"]) for row in rows]
    first, end = max(memory[30:60], default=0), max(memory[-30:])
    checks = {
        "every acknowledged text arrived": set(faults.sent) <= set(received),
        "none arrived twice": not twice and set(received) <= set(faults.sent + faults.unsure),
        "every log line is there, once": len(lines) == last["lines"] and set(lines.values()) == {1},
        "no download was called complete with wrong bytes": last["downloads_wrong"] == 0,
        "every file job ended, once": last["jobs"] == sum(
            last[key] for key in ("copies", "copies_failed", "removals", "removals_failed")),
        "every sleep and wake was told": last["sleeps"] == last["wakes"] == faults.sleeps,
        "each kind of work succeeded and failed": all(
            last[key] > 0 for key in ("downloads", "downloads_failed", "copies", "copies_failed", "removals")),
        "memory is flat after the first minute": len(memory) < 120 or end <= first * MAX_GROWTH,
        "descriptors are flat": int(rows[-1]["descriptors"]) <= int(rows[min(60, len(rows) - 1)]["descriptors"]) + 8,
    }
    figures = {
        "seconds": last["ms"] // 1000, "texts": len(faults.sent), "texts refused": len(faults.unsure),
        "server restarts": faults.restarts, "disk fillings": faults.fillings, "files taken away": faults.vanished,
        "KiB in the first minute": first, "KiB in the last": end, **last}
    return checks, figures


def plot(rows, path):
    width, height, margin = 640, 300, 60
    seconds = [int(row["ms"]) / 1000 for row in rows]
    memory = [int(row["rss_kib"]) / 1024 for row in rows]
    top = max(memory) * 1.2

    def place(x, y):
        return margin + x / seconds[-1] * (width - margin - 20), height - margin + 20 - y / top * (height - margin - 20)

    points = " ".join(f"{x:.1f},{y:.1f}" for x, y in map(lambda pair: place(*pair), zip(seconds, memory)))
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" font-family="sans-serif" font-size="12">',
        f'<rect width="{width}" height="{height}" fill="white"/>',
        f'<text x="{margin}" y="16" font-size="14">Resident memory (MiB) against time (minutes)</text>']
    for value in range(0, int(top) + 1, 10):
        left, level = place(0, value)
        parts.append(f'<line x1="{left}" y1="{level:.0f}" x2="{width - 20}" y2="{level:.0f}" stroke="#d0d7de"/>')
        parts.append(f'<text x="{left - 6}" y="{level + 4:.0f}" text-anchor="end">{value}</text>')
    for minute in range(0, int(seconds[-1] / 60) + 1, 2):
        x, level = place(minute * 60, 0)
        parts.append(f'<text x="{x:.0f}" y="{level + 18:.0f}" text-anchor="middle">{minute}</text>')
    parts.append(f'<polyline points="{points}" fill="none" stroke="#1f6feb" stroke-width="1.5"/></svg>\n')
    path.write_text("\n".join(parts))


def main(soak, vxtool, seconds, svg=None):
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        md5 = prepare(work)
        bus = start_bus(work)
        faults = Faults(work, vxtool)
        try:
            with open(work / "counts.csv", "w", encoding="utf-8") as counts:
                process = subprocess.Popen(
                    [soak, seconds, folder, f"http://127.0.0.1:{faults.port}/file", str(DOWNLOAD_SIZE), md5],
                    stdout=counts)
                time.sleep(1)
                faults.start()
                time.sleep(max(0, int(seconds) - 5))
                faults.stop()
                code = process.wait(timeout=120)
            with open(work / "counts.csv", encoding="utf-8") as counts:
                rows = list(csv.DictReader(counts))
            checks, figures = judge(rows, faults, work)
            checks["the process ended by itself, with 0"] = code == 0
        finally:
            faults.over.set()
            bus.kill()
            subprocess.run(["umount", "-l", work / "disk"], check=False)
        if svg:
            plot(rows, pathlib.Path(svg))
    for name, value in figures.items():
        print(f"{value:>12,}  {name.replace('_', ' ')}")
    for name, holds in checks.items():
        print(f"{'holds' if holds else 'BROKEN':>12}  {name}")
    return 0 if all(checks.values()) else 1


sys.exit(main(*sys.argv[1:]))
