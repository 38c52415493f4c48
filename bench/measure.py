"""measure.py BUILD_FOLDER [PAGES_FOLDER] [--quick]: every figure beside its peer, in alternating rounds, and beside the
last one measured here, as a table on standard output and as JSON in bench.json beside the build folder. scripts/bench
prepares and runs it."""
import argparse
import json
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

from pictures import write_pages
from printers import Chromium, Ostrel
from processes import ProcessTree

PEERS = {"gmime": "GMime", "system": "open, read 64 KiB, close", "regex": "the same rules in PCRE2, no JIT",
         "memmem": "memmem, one word", "table": "one hash table of the identifiers"}


MORE_IS_BETTER = {"MB/s", "messages a second"}


def say(text):
    print(text, file=sys.stderr, flush=True)


def row(topic, case, unit, ours, peer_name=None, peers=None):
    """One line of the table; ours and peers are the values of the rounds, or one value."""
    values = lambda rounds: [] if rounds is None else rounds if isinstance(rounds, list) else [rounds]
    ours, peers = values(ours), values(peers)
    result = {"topic": topic, "case": case, "unit": unit, "ostrel": statistics.median(ours), "rounds": ours}
    if peers:
        result |= {"peer": peer_name, "peerValue": statistics.median(peers), "peerRounds": peers}
        if result["peerValue"]:
            result["ratio"] = result["ostrel"] / result["peerValue"]
            result["ahead"] = result["ratio"] > 1 if unit in MORE_IS_BETTER else result["ratio"] < 1
    return result


# ---- Stores ----

def sample_store(build, scratch, count=None):
    """The sample store, or one of that many messages; written anew when the program that writes it is newer."""
    program = build / "tools/ostrel-sample"
    folder = scratch / f"store-{count or 'sample'}"
    stamp = scratch / f"{folder.name}.stamp"
    if not stamp.exists() or stamp.stat().st_mtime < program.stat().st_mtime:
        say(f"Writing {folder.name}")
        stamp.unlink(missing_ok=True)
        shutil.rmtree(folder, ignore_errors=True)
        subprocess.run([program, folder, *([str(count)] if count else [])], check=True)
        stamp.touch()
    return folder


def sample_pages(build, store, folder):
    """The pages of a store's messages, as an export would print them."""
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    for message in sorted(store.rglob("*.emlx")):
        page = subprocess.run([build / "tools/ostrel-inspect", "page", message], capture_output=True)
        if page.returncode == 0:   # one of the sample files is damaged on purpose
            (folder / f"{message.stem}.html").write_bytes(page.stdout)
    return folder


# ---- Print ----

def print_round(printer, pages, output):
    """Milliseconds, processor milliseconds and bytes per page."""
    shutil.rmtree(output, ignore_errors=True)
    output.mkdir(parents=True)
    processor, start = printer.tree.processor_seconds(), time.monotonic()
    for page in pages:
        printer.print(page, output / f"{page.stem}.pdf")
    elapsed = time.monotonic() - start
    processor = printer.tree.processor_seconds() - processor
    size = sum(pdf.stat().st_size for pdf in output.iterdir())
    return [1000 * elapsed / len(pages), 1000 * processor / len(pages), size / len(pages)]


def measure_print(build, scratch, name, folder, rounds):
    pages = sorted(folder.glob("*.html"))
    if not pages:
        sys.exit(f"There are no *.html pages in {folder}.")
    say(f"Printing {len(pages)} pages: {name}")
    printers = [Ostrel(build / "bench/print-pages"), Chromium()]
    figures = {printer.name: [] for printer in printers}
    for number in range(rounds + 1):
        for printer in printers if number % 2 else reversed(printers):
            figure = print_round(printer, pages, scratch / "printed" / printer.name / name)
            if number:   # the first round warms up
                figures[printer.name].append(figure)
    memory = [printer.tree.memory() / 1e6 for printer in printers]
    for printer in printers:
        printer.close()
    case = f"{len(pages)} page{'s' * (len(pages) > 1)}, {name}"
    labels = ["ms a page", "processor ms a page", "bytes a page"]
    columns = [[list(column) for column in zip(*figures[printer.name])] for printer in printers]
    return [row("print", case, label, ours, "Chromium", peers) for label, ours, peers in zip(labels, *columns)] + [
        row("print", case, "MB of memory afterwards", memory[0], "Chromium", memory[1])]


# ---- What runs inside one process ----

def bench_program(build, store, *options):
    return [str(build / "bench/ostrel-bench"), str(store), *options]


def benchmark_rounds(build, store, topic, case, rounds):
    """The runs of a case and its peer, in random order, by who."""
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        subprocess.run(bench_program(build, store, f"--benchmark_filter=^{topic}/{case}/",
                                     f"--benchmark_repetitions={rounds}", "--benchmark_min_time=0.2",
                                     "--benchmark_enable_random_interleaving=true",
                                     f"--benchmark_out={out.name}", "--benchmark_out_format=json"),
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        runs = json.load(open(out.name))["benchmarks"]
    by_who = {}
    for run in runs:
        if run["run_type"] == "iteration":
            by_who.setdefault(run["name"].split("/")[2], []).append(run)
    return by_who


def measure_in_process(build, store, topic, rounds):
    """Processor time, so that what else runs on the machine counts as little as possible; where several threads work,
    also the time that passes."""
    listed = subprocess.run(bench_program(build, store, "--benchmark_list_tests=true", f"--benchmark_filter=^{topic}/"),
                            check=True, capture_output=True, text=True).stdout.split("\n")
    results = []
    for case in dict.fromkeys(name.split("/")[1] for name in listed if name):
        say(f"Measuring {topic}: {case}")
        by_who = benchmark_rounds(build, store, topic, case, rounds)
        first = by_who["ostrel"][0]
        who = next((name for name in by_who if name != "ostrel"), None)

        def add(label, unit, value):
            values = {name: [value(run) for run in runs] for name, runs in by_who.items()}
            results.append(row(topic, label, unit, values["ostrel"], PEERS.get(who), values.get(who)))

        if "bytes_per_second" in first:
            add(case, "MB/s", lambda run: run["bytes_per_second"] / 1e6)
            continue
        assert first["time_unit"] == "ms"
        if first["name"].endswith("/real_time"):
            add(case, "ms", lambda run: run["real_time"])
            add(case, "processor ms", lambda run: run["cpu_time"])
        else:
            add(case, "ms", lambda run: run["cpu_time"])
    return results


# ---- Export ----

def export(build, store, scratch):
    """Runs one export; messages exported, seconds, processor seconds and the memory of all its processes over time."""
    destination = scratch / "export"
    shutil.rmtree(destination, ignore_errors=True)
    destination.mkdir(parents=True)
    settings = tempfile.TemporaryDirectory()   # none stored: the defaults
    start = time.monotonic()
    process = subprocess.Popen([build / "tools/ostrel-export", store, destination], stdout=subprocess.DEVNULL,
                               stderr=subprocess.PIPE, text=True, env=os.environ | {"XDG_CONFIG_HOME": settings.name, "LC_ALL": "C.UTF-8"})
    tree, memory, processor = ProcessTree(process.pid), [], 0
    while process.poll() is None:
        memory.append(tree.memory())
        processor = max(processor, tree.processor_seconds())
        time.sleep(0.25)
    elapsed = time.monotonic() - start
    said = process.stderr.read()
    exported = int(said.split("Exported ")[1].split()[0].replace(",", ""))
    shutil.rmtree(destination)
    return exported, elapsed, processor, memory


def measure_export(build, scratch, counts):
    results, before = [], None
    for count in counts:
        store = sample_store(build, scratch, count)
        say(f"Exporting {count} messages")
        exported, elapsed, processor, memory = export(build, store, scratch)
        case = f"{exported} messages"
        results += [row("export", case, "messages a second", exported / elapsed),
                    row("export", case, "processor ms a message", 1000 * processor / exported),
                    row("export", case, "MB of memory, at most", max(memory) / 1e6)]
        tenth = max(1, len(memory) // 10)
        results[-1]["memoryOverTimeMB"] = [round(max(memory[i:i + tenth]) / 1e6, 1)
                                           for i in range(0, len(memory), tenth)]
        now = [exported, exported / elapsed, max(memory) / 1e6]
        if before:
            results += [row("export", f"{exported} messages against {before[0]}", "times the speed", now[1] / before[1]),
                        row("export", f"{exported} messages against {before[0]}", "times the memory", now[2] / before[2])]
        before = now
    return results


def export_with(build, store, scratch, engines, calls):
    """Exports with so many engines and pages under way, 0: as suits the machine. Messages a second, and MB at most."""
    destination = scratch / "export"
    shutil.rmtree(destination, ignore_errors=True)
    destination.mkdir(parents=True)
    process = subprocess.Popen([build / "bench/export-mail", str(engines), str(calls), store, destination],
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    tree, memory = ProcessTree(process.pid), 0
    while process.poll() is None:
        memory = max(memory, tree.memory())
        time.sleep(0.25)
    shutil.rmtree(destination)
    return json.loads(process.stdout.read())["messagesPerSecond"], memory / 1e6


def measure_engines(build, store, scratch, rounds):
    """As an export is, beside one engine that takes turns with us."""
    ours, peers = [], []
    for _ in range(rounds):
        ours.append(export_with(build, store, scratch, 0, 0))
        peers.append(export_with(build, store, scratch, 1, 1))
    return [row("export", "as many engines as suit the machine", unit, [run[i] for run in ours], "one, taking turns",
                [run[i] for run in peers]) for i, unit in enumerate(["messages a second", "MB of memory, at most"])]


# ---- Report ----

def output_of(*command):
    done = subprocess.run(command, capture_output=True, text=True)
    return done.stdout.strip() if done.returncode == 0 else ""


def package_version(name):
    return output_of("dpkg-query", "-W", "-f=${Version}", name)


def overrides(build, store):
    """What became of each thing that stands in the place of others' functions, files and settings, by its name."""
    message = next(iter(sorted(store.rglob("*.emlx"))))
    said = json.loads(output_of(build / "tools/ostrel-inspect", "print", message))
    return {override["name"]: override["effect"] for override in said["overrides"]}


def machine():
    cpu = next((line.split(":")[1].strip() for line in open("/proc/cpuinfo") if line.startswith("model name")), "?")
    memory = int(open("/proc/meminfo").readline().split()[1]) / 1e6
    versions = {"WebKitGTK": "libwebkitgtk-6.0-4", "Chromium": "chromium",
                "GMime": "libgmime-3.0-0", "PCRE2": "libpcre2-8-0"}
    return {"cores": os.cpu_count(), "processor": cpu, "memoryGB": round(memory, 1),
            "debian": pathlib.Path("/etc/debian_version").read_text().strip(), "kernel": os.uname().release,
            "loadBefore": os.getloadavg()[0], "versions": {"g++": output_of("g++", "-dumpfullversion")} |
            {name: package_version(p) for name, p in versions.items()}}


def shown(value):
    return f"{value:,.0f}" if value >= 1000 else f"{value:.3g}"


def last_figures(file):
    """The values of the last run by topic, case and unit; none without one."""
    try:
        return {(r["topic"], r["case"], r["unit"]): r["ostrel"] for r in json.loads(file.read_text())["results"]}
    except (OSError, ValueError, KeyError, TypeError):
        return {}


def print_table(about, results, last):
    versions = ", ".join(f"{name} {version}" for name, version in about["versions"].items())
    print(f"{about['cores']} cores {about['processor']}, {about['memoryGB']} GB, Debian {about['debian']}; {versions}\n")
    for effect in dict.fromkeys(about["overrides"].values()):
        print(f"{effect}: {', '.join(name for name, its in about['overrides'].items() if its == effect)}")
    print()
    lines = [["", "unit", "Ostrel", "last time", "peer", "ratio", "the peer is"]]
    for r in results:
        before = last.get((r["topic"], r["case"], r["unit"]))
        has_peer = "peerValue" in r
        lines.append([f"{r['topic']}: {r['case']}", r["unit"], shown(r["ostrel"]),
                      "" if before is None else shown(before), shown(r["peerValue"]) if has_peer else "",
                      f"{r['ratio']:.2f} {'ahead' if r['ahead'] else 'behind'}" if "ratio" in r else "",
                      r["peer"] if has_peer else ""])
    lines.insert(1, ["---", "---", "---:", "---:", "---:", "---:", "---"])
    widths = [max(len(line[i]) for line in lines) for i in range(len(lines[0]))]
    for line in lines:
        print("| " + " | ".join(cell.rjust(width) if 2 <= i <= 5 else cell.ljust(width)
                                for i, (cell, width) in enumerate(zip(line, widths))) + " |")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("pages", type=pathlib.Path, nargs="?")
    parser.add_argument("--quick", action="store_true", help="fewer rounds, and the small export only")
    arguments = parser.parse_args()
    build = arguments.build.resolve()
    scratch = build / "measuring"
    scratch.mkdir(exist_ok=True)
    rounds = 3 if arguments.quick else 7

    about = machine()
    small, thousand = sample_store(build, scratch), sample_store(build, scratch, 1000)
    about["overrides"] = overrides(build, small)
    results = measure_print(build, scratch, "the sample messages", sample_pages(build, small, scratch / "pages"), rounds)
    for name, folder in write_pages(scratch / "pictures").items():
        results += measure_print(build, scratch, name, folder, rounds)
    if arguments.pages:
        results += measure_print(build, scratch, arguments.pages.name, arguments.pages, rounds)
    results += measure_in_process(build, sample_store(build, scratch, 50000), "scan", rounds)
    for topic in ["parse", "page", "filter", "threads"]:
        results += measure_in_process(build, thousand, topic, rounds)
    say("Exporting with one engine and with several")
    results += measure_engines(build, thousand, scratch, min(rounds, 3))
    results += measure_export(build, scratch, [1000] if arguments.quick else [1000, 5000])

    file = build.parent / "bench.json"
    print_table(about, results, last_figures(file))
    file.write_text(json.dumps({"machine": about, "rounds": rounds, "results": results}, indent=1) + "\n")
    say(f"\nThe same for machines: {file}")


main()
