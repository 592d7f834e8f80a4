#!/usr/bin/env python3
"""Measures the Python package on messages of 35 fields, beside `zel decode --json` parsed by Python's json.

    bench/python.py BUILD [MEGABYTES]      for example: bench/python.py build/release 1000

BUILD has bin/zel and lib/libzel.so. MEGABYTES is the size of the capture that Dask reads, 1000 without it; 0 leaves it
out. Seconds are processor time of all processes, the best of three runs; those of Dask are of the clock, the best of three.
"""

import json
import os
import resource
import subprocess
import sys
import tempfile
import time
from pathlib import Path

BUILD = Path(sys.argv[1]).resolve()
MEGABYTES = int(sys.argv[2]) if len(sys.argv) > 2 else 1000
os.environ["ZEL_LIBRARY"] = str(BUILD / "lib" / "libzel.so")
os.environ["PYTHONPATH"] = str(Path(__file__).resolve().parents[1] / "python")
sys.path.insert(0, os.environ["PYTHONPATH"])

import numpy as np  # noqa: E402
import zel  # noqa: E402
from zel import reading  # noqa: E402

TYPES = ["text"] * 9 + ["short"] * 7 + ["long"] * 8 + ["money"] * 4 + ["datetime"] * 3 + ["double"] * 2 + ["float", "chars"]
NAMES = [f"{kind.upper()}_{number}" for number, kind in enumerate(TYPES)]
FEW = [NAMES[4], NAMES[9], NAMES[16], NAMES[24], NAMES[28]]
WORDS = np.array([b"BARLEY-MAY25", b"RYE", b"ORD-2024-000117", b"hand over at the mill"])
PART = 2000


def source():
    header = ["short", "long", "long", "long", "short", "long", "bytes11"]
    fields = [{"id": number + 1, "name": f"HEADER_{number + 1}", "type": kind} for number, kind in enumerate(header)]
    fields += [{"id": 10 + number, "name": name, "type": kind, **({"length": 3} if kind == "chars" else {})}
               for number, (name, kind) in enumerate(zip(NAMES, TYPES))]
    listed = [{"field": name, "presence": "mandatory"} if number < 4 else name for number, name in enumerate(NAMES)]
    return {"fields": fields, "messages": [{"type": 1, "subType": 1, "name": "WIDE", "fields": listed},
                                           {"type": 1, "subType": 2, "name": "OTHER", "fields": []}]}


def rows(random):
    values = {
        "text": lambda: WORDS[random.integers(0, len(WORDS), PART)],
        "short": lambda: random.integers(0, 10, PART), "long": lambda: random.integers(0, 10**6, PART),
        "money": lambda: zel.money(random.uniform(1, 999, PART), 20),
        "datetime": lambda: np.datetime64("2024-05-17T09:00:00") + random.integers(0, 28800, PART).astype("m8[s]"),
        "double": lambda: random.uniform(0, 100, PART), "float": lambda: random.integers(1, 9, PART) * 0.125,
        "chars": lambda: np.full(PART, b"EUR"),
    }
    return {name: values[kind]() for name, kind in zip(NAMES, TYPES)}


def processor():
    used = [resource.getrusage(who) for who in (resource.RUSAGE_SELF, resource.RUSAGE_CHILDREN)]
    return sum(each.ru_utime + each.ru_stime for each in used)


def best(what, runs=3, clock=processor):
    seconds = []
    for _ in range(runs):
        start = clock()
        result = what()
        seconds.append(clock() - start)
        del result
    return min(seconds)


def parsed(capture, image):
    with subprocess.Popen([BUILD / "bin" / "zel", "decode", "--json", "-d", image, capture], stdout=subprocess.PIPE) as zel_:
        return [json.loads(line) for line in zel_.stdout]


class Timed:
    """A function of the library, and the seconds spent in it."""

    def __init__(self, function):
        self.function, self.seconds = function, 0.0

    def __call__(self, *arguments):
        start = time.process_time()
        result = self.function(*arguments)
        self.seconds += time.process_time() - start
        return result


def c_share(capture, **options):
    """Of the time of the quickest of some reads, that spent in the library."""
    real, runs = reading.lib.ZELUnpackRun, []
    for _ in range(7):
        timed = reading.lib.ZELUnpackRun = Timed(real)
        start = time.process_time()
        rows = zel.read(capture, "WIDE", **options)
        runs.append((time.process_time() - start, timed.seconds))
        del rows
    reading.lib.ZELUnpackRun = real
    whole, inside = min(runs)
    return inside / whole


def peak():
    """The most memory that this process has had, in MB. What getrusage says a process takes over from its parent."""
    with open("/proc/self/status", encoding="ascii") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmHWM")) / 1024


def show(what, seconds, messages, beside):
    print(f"{what:44} {seconds / messages * 1e6:9.3f} us/message {beside / (seconds / messages):8.1f} times as fast")


def measure_reading(folder, image, part):
    capture = folder / "capture.zel"
    capture.write_bytes(part * 50)
    messages = 50 * PART
    beside = best(lambda: parsed(capture, image)) / messages
    show("zel decode --json, parsed by json", beside * messages, messages, beside)
    all_of = best(lambda: zel.read(capture, "WIDE"))
    show("zel.read, 35 columns", all_of, messages, beside)
    show("zel.read, 35 columns, mask=False", best(lambda: zel.read(capture, "WIDE", mask=False)), messages, beside)
    few = best(lambda: zel.read(capture, "WIDE", FEW))
    show("zel.read, 5 of 35 columns", few, messages, beside)
    show("zel.frame, 35 columns", best(lambda: zel.frame(capture, "WIDE")), messages, beside)
    show("zel.frame, 5 of 35 columns", best(lambda: zel.frame(capture, "WIDE", FEW)), messages, beside)
    table = zel.read(capture, "WIDE")
    show("zel.write, 35 columns", best(lambda: zel.write(folder / "out.zel", "WIDE", table)), messages, beside)
    print(f"5 of 35 columns: {all_of / few:.2f} times as fast as all")
    print(f"in the library: {c_share(capture):.0%} of zel.read, {c_share(capture, mask=False):.0%} with mask=False")


def measure_dask(folder, part):
    import zel.dask
    from dask.distributed import Client, LocalCluster

    capture = folder / "large.zel"
    with open(capture, "wb") as file:
        for _ in range(MEGABYTES * 10**6 // len(part) + 1):
            file.write(part)
    start = time.monotonic()
    blocks = len(zel.blocks.blocks(capture, "16MB", index=True))
    print(f"capture of {capture.stat().st_size / 1e6:.0f} MB: {blocks} blocks of 16 MB found in "
          f"{time.monotonic() - start:.2f} s")
    seconds, busy = {1: [], 2: []}, {1: [], 2: []}

    def table(blocksize):
        return zel.dask.read(capture, "WIDE", [NAMES[0], NAMES[16]], blocksize=blocksize, index=True)

    # In turns, for the sake of a machine that has other things to do.
    for workers, blocksize in [(1, "4MB"), (1, "64MB"), *[(1, "16MB"), (2, "16MB")] * 3]:
        with LocalCluster(n_workers=workers, threads_per_worker=1, dashboard_address=None) as cluster, \
                Client(cluster, set_as_default=True) as client:
            table(blocksize).partitions[:workers].compute()  # the workers import what they need
            before = client.run(time.process_time)
            took = best(lambda: table(blocksize).groupby(NAMES[0])[NAMES[16]].sum().compute(), 1, time.monotonic)
            used = max(after - before[worker] for worker, after in client.run(time.process_time).items())
            memory = max(client.run(peak).values())
            print(f"{workers} worker{'s' if workers > 1 else ' '}, blocks of {blocksize:>4}: {took:6.2f} s, "
                  f"at most {used:5.2f} s of processor time and {memory:4.0f} MB in a worker")
            if blocksize == "16MB":
                seconds[workers].append(took)
                busy[workers].append(used)
    # The second is what two workers would be on a machine that has nothing else to do.
    print(f"two workers: {min(seconds[1]) / min(seconds[2]):.2f} times as fast as one; "
          f"one has {min(busy[1]) / min(busy[2]):.2f} times the processor time of either")


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        (folder / "wide.json").write_text(json.dumps(source()))
        dictionary = zel.Dictionary(folder / "wide.json")
        image = folder / "wide.img"
        image.write_bytes(dictionary.image)
        zel.use(dictionary)
        zel.write(folder / "part.zel", "WIDE", rows(np.random.default_rng(1)))
        part = (folder / "part.zel").read_bytes()
        print(f"{PART} messages of {len(part) / PART:.0f} bytes; load of the machine {os.getloadavg()[0]:.1f}")
        measure_reading(folder, image, part)
        if MEGABYTES:
            measure_dask(folder, part)


if __name__ == "__main__":
    main()
