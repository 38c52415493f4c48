"""Exports a large sample store in one run and shows what each thousand messages took: soak.py BUILD_FOLDER [COUNT]."""
import os
import pathlib
import subprocess
import sys
import tempfile
import time

from processes import ProcessTree

STEP = 1000         # messages a row
INTERVAL = 1.0      # seconds between two looks
PROGRAMS = {"export": "ostrel-export", "web": "WebKitWebProces", "network": "WebKitNetworkPr"}   # as the kernel cuts names


def printed(destination):
    """How many PDFs stand in the one export folder."""
    for folder in os.scandir(destination):
        return sum(name.endswith(".pdf") for name in os.listdir(folder))
    return 0


class Row:
    def __init__(self, number, started):
        self.number, self.started = number, started
        self.memory, self.by_program, self.processes, self.handles = 0, {}, 0, 0   # at most

    def look(self, tree):
        self.memory = max(self.memory, tree.memory())
        for name, size in tree.own_memory_by_program().items():
            self.by_program[name] = max(self.by_program.get(name, 0), size)
        processes, handles = tree.open_handles()
        self.processes, self.handles = max(self.processes, processes), max(self.handles, handles)

    def show(self, done, now, processor):
        count, elapsed = done - self.number, max(now - self.started, 1e-9)
        sizes = [self.memory] + [self.by_program.get(name, 0) for name in PROGRAMS.values()]
        print(f"{done:8} {count / elapsed:7.1f} {1000 * processor / max(count, 1):9.1f} "
              + " ".join(f"{size / 1e6:8.1f}" for size in sizes) + f" {self.processes:9} {self.handles:7}", flush=True)


def soak(build, store, destination, settings):
    process = subprocess.Popen([build / "tools/ostrel-export", store, destination], stdout=subprocess.DEVNULL,
                               env=os.environ | {"XDG_CONFIG_HOME": settings})   # none stored: the defaults
    tree = ProcessTree(process.pid)
    print("Memory in MB, at most: all that the processes use and share with whoever else runs the same programs; then each "
          "one's own.")
    print(f"{'messages':>8} {'a sec.':>7} {'proc. ms':>9} " + " ".join(f"{name:>8}" for name in ["all", *PROGRAMS])
          + f" {'processes':>9} {'handles':>7}")
    row, used, before = None, 0, 0
    while process.poll() is None:
        done, now, used = printed(destination), time.monotonic(), tree.processor_seconds() or used
        if row is None and done:
            row, before = Row(done, now), used   # from the first page on
        if row:
            row.look(tree)
            if done - row.number >= STEP:
                row.show(done, now, used - before)
                row, before = Row(done, now), used
        time.sleep(INTERVAL)
    if row:
        row.show(printed(destination), time.monotonic(), used - before)
    return process.returncode


def main():
    build, count = pathlib.Path(sys.argv[1]), int(sys.argv[2]) if len(sys.argv) > 2 else 20_000
    with tempfile.TemporaryDirectory(prefix="ostrel-soak-") as scratch:
        scratch = pathlib.Path(scratch)
        subprocess.run([build / "tools/ostrel-sample", scratch / "Mail", str(count)], check=True)
        for name in ("out", "settings"):
            (scratch / name).mkdir()
        sys.exit(soak(build, scratch / "Mail", scratch / "out", str(scratch / "settings")))


if __name__ == "__main__":
    main()
