"""Random dictionaries and messages, rows of cases, and the command, whose answers the package has to match."""

import json
import os
import random
import subprocess
from pathlib import Path

import generated

ROOT = Path(__file__).resolve().parents[2]
COMMAND = os.environ["ZEL_COMMAND"]


def cases(name):
    """The rows of a file, as their cells."""
    rows = (ROOT / "tests/python/cases" / name).read_text().splitlines()
    return [row.split("|") for row in rows if not row.startswith("#")]


def run(*arguments, given=b""):
    return subprocess.run([COMMAND, *map(str, arguments)], input=given, capture_output=True, check=True).stdout


def value(rng: random.Random, kind: str, length: int, full: bool):
    text = "".join(rng.choice("AZ a\0é") for _ in range(rng.choice([1, 3, 20, 90]))).rstrip("\0") or "x"
    return {
        "short": lambda: rng.choice([0, -1, 32767, -32768]), "long": lambda: rng.randint(-2**31, 2**31 - 1),
        "int": lambda: rng.randint(-9, 9), "double": lambda: rng.choice([rng.random(), "NaN", "-Infinity", 0, 1e300]),
        "float": lambda: rng.choice([0.1, 3.5, "Infinity", {"hex": "7fa00000"}, 16777216]),
        "chars": lambda: rng.choice(["A" * length, "", {"hex": "fc" * length}]),
        "text": lambda: rng.choice([text, {"hex": "4dfc6c"}] + ([] if full else [""])),
        "bytes10": lambda: rng.randbytes(rng.choice([1, 3, 40])).hex(),
        "bytes11": lambda: rng.choice(["00", "ff00" * rng.randint(1, 12)]),
        "money": lambda: rng.choice(["101.50", "-1 1/2", "25000000.50", "7", {"amount": 16, "displayCode": 16},
                                     {"amount": -3, "displayCode": 600}, {"amount": 1, "displayCode": 3}]),
        "datetime": lambda: rng.choice(["1999-11-30", "09:05:07", "2024-02-29T24:00:00", "", "2155-12-31T23:59:59",
                                        {"day": 31, "month": 2, "year": 99, "hour": 25, "minute": 0, "second": 0,
                                         "extra": 1, "kind": 3}]),
    }[kind]()


def message(rng: random.Random, made: dict, number: int) -> dict:
    kind = rng.choice(made["messages"])
    types = {each["name"]: each for each in made["fields"]}
    form = rng.choice([0, 0, 1, 2])

    def values(listed):
        found = {}
        for each in listed:
            name = each if isinstance(each, str) else each["field"]
            # In format 1 no id tells which values are missing.
            if form == 1 or isinstance(each, dict) or rng.random() < 0.7:
                found[name] = value(rng, types[name]["type"], types[name].get("length", 0), form == 1)
        return found

    simple = [each for each in kind["fields"] if not isinstance(each, dict) or "group" not in each]
    group = next((each["group"] for each in kind["fields"] if isinstance(each, dict) and "group" in each), None)
    found = {"name": kind["name"], "messageId": [number, 1, 2], "serviceId": [65535, 7], "format": form,
             "packFlags": rng.choice([1, 1, 5, 9]), "frame": rng.choice(["long", "short"]), "fields": values(simple)}
    found.update({"varUserData": "00ff"} if rng.random() < 0.2 else {"userData": -5})
    if group:
        # Without a repetition there is no place for what comes after the group.
        least = 1 if kind["fields"][-1] in simple else 0
        found["group"] = [{**values(group["fields"])} for _ in range(rng.choice([least, 1, 2, 20]))]
        for at, each in enumerate(found["group"]):
            each.update({"MARK": at + 1} if "MARK" in each else {})
    return found


def capture(seed: int, folder, count: int = 60):
    """Path of a source, path of a capture, and the lines that the command decodes it to."""
    rng = random.Random(seed)
    made = generated.dictionary(rng, odd=False)
    dictionary, target = folder / f"{seed}.json", folder / f"{seed}.zel"
    dictionary.write_text("// made\n" + json.dumps(made))
    lines = "".join(json.dumps(message(rng, made, number + 1)) + "\n" for number in range(count))
    target.write_bytes(run("encode", "-d", dictionary, given=lines.encode()))
    found = [json.loads(line) for line in run("decode", "--json", "-d", dictionary, target).splitlines()]
    for line in found:
        line.pop("order", None)  # what records do not tell
    return dictionary, target, found
