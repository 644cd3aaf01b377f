#!/usr/bin/env python3
"""Runs soak while faults occur, and checks the results: drive.py SOAK VXTOOL SECONDS [SVG]

The web server is killed and restarted, and the destination disk of the copies is filled and freed. Files are removed
from the source directory, messages are sent, and suspend and resume are announced. The script needs permission to
mount a file system, so scripts/soak.sh runs it in a separate mount namespace.
"""

import hashlib
import os
import pathlib
import random
import re
import socket
import statistics
import subprocess
import sys
import tempfile
import threading
import time
from collections import Counter

MIB = 1024 * 1024
DOWNLOAD_SIZE = 24 * MIB
DISK_SIZE = 12 * MIB
SOURCE_FILES = 60
SOURCE_FILE_SIZE = 100 * 1000
# Maximum ratio of the memory at the end to that after one minute.
MAX_GROWTH = 1.05


class Faults:
    """Causes the faults, each kind on a separate thread, until the end of the run."""

    def __init__(self, work, vxtool):
        self.work = work
        self.vxtool = vxtool
        self.over = threading.Event()
        self.random = random.Random(1)
        self.sent = []
        self.unsure = []
        self.counts = Counter()
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
        command = [sys.executable, "-m", "http.server", str(self.port), "--bind", "127.0.0.1"]
        quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
        while not self.over.is_set():
            with subprocess.Popen(command, cwd=self.work / "web", **quiet) as server:
                self.over.wait(self.random.uniform(3, 8))
                server.kill()
            self.counts["server restarts"] += 1
            self.over.wait(self.random.uniform(0, 3))

    def fill_disk(self):
        filler = self.work / "disk" / "filler"
        while not self.over.wait(self.random.uniform(4, 8)):
            try:
                filler.write_bytes(bytes(DISK_SIZE + 1))
            except OSError:
                self.counts["disk fillings"] += 1
            self.over.wait(self.random.uniform(1, 4))
            filler.unlink(missing_ok=True)

    def take_files(self):
        while not self.over.wait(0.05):
            file = self.work / "source" / f"{self.random.randrange(SOURCE_FILES)}.bin"
            if file.exists():
                file.unlink()
                self.counts["files taken away"] += 1
            else:
                file.write_bytes(bytes(SOURCE_FILE_SIZE))

    def send_texts(self):
        while not self.over.wait(0.5):
            text = f"text {len(self.sent) + len(self.unsure)}"
            result = subprocess.run([self.vxtool, "single", "vxcommon-soak", text], stdout=subprocess.DEVNULL)
            (self.sent if result.returncode == 0 else self.unsure).append(text)

    def sleep_and_wake(self):
        while not self.over.wait(2):
            for sleeps in ("true", "false"):
                subprocess.run(["dbus-send", "--system", "--type=signal", "/org/freedesktop/login1",
                                "org.freedesktop.login1.Manager.PrepareForSleep", f"boolean:{sleeps}"], check=True)
            self.counts["announced sleeps"] += 1


def start_bus():
    command = ["dbus-daemon", "--session", "--nofork", "--print-address=1"]
    bus = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
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


def measure(pid):
    """Returns the resident memory in MiB and the numbers of descriptors and threads of a process."""
    process = pathlib.Path(f"/proc/{pid}")
    memory = int(re.search(r"VmRSS:\s+(\d+)", (process / "status").read_text())[1]) / 1024
    return memory, len(os.listdir(process / "fd")), len(os.listdir(process / "task"))


def run(command, seconds, faults):
    """Returns the samples taken each second, the counts that the process printed, and its exit code."""
    samples = []
    end = time.monotonic() + seconds - 5
    with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as process:
        time.sleep(1)
        faults.start()
        try:
            while process.poll() is None and time.monotonic() < end:
                samples.append(measure(process.pid))
                time.sleep(1)
            faults.stop()
            output, _ = process.communicate(timeout=120)
        finally:
            faults.over.set()
            process.kill()
    counts = Counter({name: int(count) for name, count in map(str.split, output.splitlines())})
    return samples, counts, process.returncode


def judge(samples, counts, faults, work):
    """Returns the checks, each with its result, and the figures."""
    received = Counter((work / "received.txt").read_text().splitlines())
    lines = Counter()
    for path in (work / "log").glob("soak.log*"):
        lines.update(re.findall(rb"soak: line (\d+)$", path.read_bytes(), re.MULTILINE))
    memory, descriptors, threads = zip(*samples)
    # Average over one minute, because the memory varies with each download.
    early, end = statistics.mean(memory[60:120] or memory), statistics.mean(memory[-60:])
    ended = sum(counts[key] for key in ("copies", "copies_failed", "removals", "removals_failed"))
    kinds = ("downloads", "downloads_failed", "copies", "copies_failed", "removals")
    checks = {
        "every acknowledged text arrived": set(faults.sent) <= set(received),
        "none arrived twice": set(received.values()) == {1} and set(received) <= set(faults.sent + faults.unsure),
        "every log line is there, once": len(lines) == counts["lines"] and set(lines.values()) == {1},
        "no download was called complete with wrong bytes": counts["downloads_wrong"] == 0,
        "every file job ended, once": counts["jobs"] == ended,
        "every sleep and wake was emitted": counts["sleeps"] == counts["wakes"] == faults.counts["announced sleeps"],
        "each kind of work succeeded and failed": all(counts[kind] > 0 for kind in kinds),
        "memory is flat after the first minute": len(memory) < 180 or end <= early * MAX_GROWTH,
        "descriptors and threads are flat": all(
            numbers[-1] <= numbers[:61][-1] + 8 for numbers in (descriptors, threads)),
    }
    figures = {"texts": len(faults.sent), "texts refused": len(faults.unsure), **faults.counts, **counts,
               "MiB in the second minute": round(early, 1), "MiB in the last": round(end, 1)}
    return checks, figures


def plot(memory, path):
    top = max(memory) * 1.2

    def x(second):
        return round(60 + second / len(memory) * 560, 1)

    def y(mib):
        return round(260 - mib / top * 220, 1)

    points = " ".join(f"{x(second)},{y(mib)}" for second, mib in enumerate(memory))
    lines = [f'<line x1="60" y1="{y(mib)}" x2="620" y2="{y(mib)}" stroke="#d0d7de"/>'
             f'<text x="54" y="{y(mib) + 4}" text-anchor="end">{mib}</text>' for mib in range(0, int(top) + 1, 10)]
    minutes = [f'<text x="{x(minute * 60)}" y="278" text-anchor="middle">{minute}</text>'
               for minute in range(0, len(memory) // 60 + 1, 2)]
    path.write_text("\n".join([
        '<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 640 300" font-family="sans-serif" font-size="12">',
        '<rect width="640" height="300" fill="white"/>',
        '<text x="60" y="16" font-size="14">Resident memory (MiB) against time (minutes)</text>', *lines, *minutes,
        f'<polyline points="{points}" fill="none" stroke="#1f6feb" stroke-width="1.5"/></svg>\n']))


def main(soak, vxtool, seconds, svg=None):
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        md5 = prepare(work)
        bus = start_bus()
        try:
            faults = Faults(work, vxtool)
            url = f"http://127.0.0.1:{faults.port}/file"
            samples, counts, code = run([soak, seconds, folder, url, str(DOWNLOAD_SIZE), md5], int(seconds), faults)
            checks, figures = judge(samples, counts, faults, work)
            checks["the process ended by itself, with 0"] = code == 0
        finally:
            bus.kill()
            subprocess.run(["umount", "-l", work / "disk"], check=False)
    if svg:
        plot([memory for memory, _, _ in samples], pathlib.Path(svg))
    for name, value in figures.items():
        print(f"{value:>12,}  {name.replace('_', ' ')}")
    for name, holds in checks.items():
        print(f"{'holds' if holds else 'BROKEN':>12}  {name}")
    return 0 if all(checks.values()) else 1


sys.exit(main(*sys.argv[1:]))
