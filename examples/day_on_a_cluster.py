"""A day's captures on a cluster: orders and quantities by symbol, right even though a worker dies in the middle.

    python3 examples/day_on_a_cluster.py [--plot FILE] [CAPTURE...]

Without captures three are made, of orders whose prices wander through a day. The cluster is one of two processes on
this machine; a `dask.distributed.Client("tcp://scheduler:8786")` in its place works on many.
"""

import argparse
import os
import signal
import sys
import tempfile
import time
from pathlib import Path

import numpy as np
import pandas
import zel
import zel.dask
from dask.distributed import Client, LocalCluster

SYMBOLS = np.array([b"BARLEY-MAY25", b"RYE-MAY25", b"OATS-JUL25", b"WHEAT-SEP25"])
OPENING = np.datetime64("2024-05-17T09:00:00")


def make_capture(path: Path, seed: int, orders: int = 60_000) -> None:
    """Orders of a morning or an afternoon: the prices of each symbol wander from trade to trade."""
    random = np.random.default_rng(seed)
    symbol = random.integers(0, len(SYMBOLS), orders)
    price = 95 + 5.0 * symbol
    for number in range(len(SYMBOLS)):
        mine = symbol == number
        price[mine] += np.cumsum(random.normal(0, 0.05, mine.sum()))
    second = np.sort(random.integers(0, 8 * 3600, orders))
    zel.write(path, "NEW_ORDER", {
        "CLIENT_ORDER_REF": np.char.add("A-", np.arange(orders).astype("U6")),
        "SYMBOL": SYMBOLS[symbol],
        "SIDE": random.integers(1, 3, orders),
        "QUANTITY": random.integers(1, 500, orders) * 10,
        "LIMIT_PRICE": zel.money(price, 20),
        "ENTERED_AT": OPENING + second.astype("m8[s]"),
    })


def sums_by_symbol(captures):
    """Orders and sum of quantities, by symbol; nothing is read yet."""
    orders = zel.dask.read(captures, "NEW_ORDER", ["SYMBOL", "QUANTITY"], blocksize="256KB", index=True)
    return orders.groupby("SYMBOL").QUANTITY.agg(["count", "sum"])


def wait_for(what, seconds=60):
    end = time.monotonic() + seconds
    while not what():
        if time.monotonic() > end:
            sys.exit("the cluster does not come to it")
        time.sleep(0.005)


def plot(captures, path: str) -> None:
    """The mean price of each minute, symbol by symbol."""
    import matplotlib

    matplotlib.use("Agg")
    from matplotlib import dates, pyplot

    figure, axes = pyplot.subplots(figsize=(8, 3.5))
    orders = zel.frame(captures[0], "NEW_ORDER", ["SYMBOL", "LIMIT_PRICE", "ENTERED_AT"])
    for symbol, mine in orders.groupby("SYMBOL"):
        by_minute = mine.groupby(mine.ENTERED_AT.dt.floor("min")).LIMIT_PRICE.mean()
        axes.plot(by_minute.index.to_numpy(), by_minute.to_numpy(), label=symbol, linewidth=1)
    axes.xaxis.set_major_formatter(dates.DateFormatter("%H:%M"))
    axes.set_ylabel("limit price")
    axes.legend(ncols=2, fontsize="small")
    axes.grid(alpha=0.3)
    figure.tight_layout()
    figure.savefig(path, dpi=80)


def main() -> None:
    arguments = argparse.ArgumentParser()
    arguments.add_argument("--plot", metavar="FILE", help="draw the prices of the first capture")
    arguments.add_argument("captures", nargs="*", metavar="CAPTURE")
    given = arguments.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        captures = given.captures
        if not captures:
            captures = [str(Path(folder) / f"part{number}.zel") for number in range(3)]
            for number, path in enumerate(captures):
                make_capture(Path(path), seed=number)
        if given.plot:
            plot(captures, given.plot)

        with LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None) as cluster, Client(cluster) as client:
            process = client.run(os.getpid)
            running = client.compute(sums_by_symbol(captures))
            # One worker is killed as soon as it has done some blocks; another does them again.
            wait_for(lambda: any(client.has_what().values()))
            victim = next(process[worker] for worker, done in client.has_what().items() if done)
            if running.done():
                sys.exit("all was done before a worker could be killed: take larger captures")
            os.kill(victim, signal.SIGKILL)
            sums = running.result(timeout=120)
            if victim in client.run(os.getpid, on_error="ignore").values():
                sys.exit("the worker lives")
            print(f"worker {victim} was killed")
        print(sums.sort_index().to_string())

        alone = pandas.concat([zel.frame(path, "NEW_ORDER", ["SYMBOL", "QUANTITY"]) for path in captures])
        expected = alone.groupby("SYMBOL").QUANTITY.agg(["count", "sum"])
        if not (sums.sort_index() == expected).to_numpy().all():
            sys.exit(f"these are not the sums of one process:\n{expected}")
        print(f"{int(sums['count'].sum())} orders, the same sums as in one process")


if __name__ == "__main__":
    main()
