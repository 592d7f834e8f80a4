"""Random dictionaries and messages."""
import json
import struct

HEADER = [{"id": number, "name": f"HDR_{number}", "type": kind}
          for number, kind in enumerate(["short", "long", "int", "long", "short", "int", "bytes11"], 1)]
TYPES = ["short", "long", "int", "chars", "text", "float", "double", "datetime", "money", "bytes10", "bytes11"]
MARKER = 140
# Names that are the same in filters, and characters that could break a script or a filter.
NAMES = ["Lot-Size", "LOT.SIZE", 'A"B', "back\\slash", "]]--", "%d%s", "1st", "{x}", "'", "~"]


def dictionary(random, odd=True):
    """Odd ones have lists that name fields again, and negative sub-types."""
    fields = [*HEADER, {"id": MARKER, "name": "MARK", "type": "short"}]
    numbers = random.sample([number for number in range(8, 400) if number != MARKER], 40)
    for i, number in enumerate(numbers):
        kind = TYPES[i % len(TYPES)] if i > 3 else "short long int short".split()[i]
        field = {"id": number, "name": NAMES[i - 4] if 4 <= i < 4 + len(NAMES) else f"FIELD_{number}", "type": kind,
                 "text": random.choice(["", "What it is", 'a "quoted" \\ text\u00fc'])}
        if kind == "chars":
            field["length"] = random.randint(1, 12)
        if random.random() < 0.15:
            field["version"] = random.randint(2, 4)
        fields.append(field)
    by_number = {field["id"]: field["name"] for field in fields}
    return {"fields": fields, "messages": [message(random, i, by_number, numbers, odd) for i in range(12)]}


def message(random, number, names, numbers, odd):
    counts, others = numbers[:4], numbers[4:]
    entries = [names[field] for field in random.sample(others, random.randint(0, 8))]
    entries += [entry for entry in entries if odd and random.random() < 0.2]
    others = [field for field in others if odd or names[field] not in entries]
    if number % 3:
        group = [names[field] for field in random.sample(others, random.randint(1, 5))]
        group += [entry for entry in group if odd and random.random() < 0.2]
        marked = [{"field": "MARK", "presence": "mandatory"}] if number % 3 == 1 else []
        count = {"field": names[random.choice(counts)], "presence": "mandatory"}
        entries.insert(random.randint(0, len(entries)), {"group": {"count": count, "fields": marked + group}})
    return {"type": random.choice([-2, 3, 700]), "subType": number - (3 if odd else 0), "name": f"MESSAGE_{number}", "fields": entries}


def bytes_of(random, most):
    return bytes(random.randrange(256) for _ in range(random.randint(0, most)))


def text(random, most):
    kind = random.randrange(6)
    if kind == 0:
        return {"hex": bytes_of(random, most).hex()}
    alphabet = ["ABCDEFGH 123", 'a"\\\n\t\x1b\x7f', "\u00fc\u20ac\U0001f600\u0085", "ABC\0"][max(0, kind - 2)]
    made = "".join(random.choice(alphabet) for _ in range(random.randint(0, most)))
    return made.encode()[:most].decode(errors="ignore")


def number(random, bits):
    return random.choice([0, 1, -1, 2 ** (bits - 1) - 1, -(2 ** (bits - 1)), random.randrange(-1000, 1000),
                          random.randrange(-(2 ** (bits - 1)), 2 ** (bits - 1))])


def counted(count, items):
    return (4 + len(items)).to_bytes(2, "big") + count.to_bytes(2, "big") + items


def stream(random, fields):
    """Sort data or a filter, which may end within a term, announce another number of terms, or hold what cannot be read."""
    chosen = random.sample(list(fields.values()), 3)
    if random.random() < 0.3:
        return counted(3, b"".join(struct.pack(">Hh", each["id"], random.randrange(-2, 3)) for each in chosen))
    terms = b""
    for each in chosen:
        sizes = {"short": 2, "long": 4, "int": 4, "float": 4, "double": 8, "datetime": 8, "money": 6}
        size = sizes.get(each["type"])
        data = bytes_of(random, 20) if size is None else bytes(random.choice([0, 1, 20, 64]) for _ in range(size))
        prefix = len(data).to_bytes(2, "big") if size is None else b""
        terms += struct.pack(">HH", each["id"], random.randint(1, 6)) + prefix + data
    return counted(random.choice([3, 3, 3, 2]), terms[:random.choice([None, None, -1])])


def value(random, field, fields):
    kind = field["type"]
    if kind in ("short", "long", "int"):
        return number(random, 16 if kind == "short" else 32)
    if kind in ("float", "double"):
        digits = "".join(random.choice("0123456789abcdef") for _ in range(8 if kind == "float" else 16))
        small = random.choice([0, 0.125, -1.5, 1e5, 1e-7, 123456.75])
        return random.choice([small, "NaN", "-Infinity", {"hex": digits}])
    if kind == "datetime":
        record = {key: random.randint(0, most) for key, most in
                  [("day", 32), ("month", 13), ("year", 255), ("hour", 25), ("minute", 60), ("second", 60), ("kind", 4)]}
        return random.choice(["2024-05-17T09:30:00", "1999-11-30", "24:00:59", "", record])
    if kind == "money":
        codes = [1, 2, 4, 8, 16, 32, 64, 128, 256, 10, 20, 30, 40, 50, 512, 550, 611, 612, 32767, 0, 3, 100, -5]
        amount = random.choice([number(random, 32), number(random, 32), 25000000, 20000000, 2000000100])
        return {"amount": amount, "displayCode": random.choice(codes)}
    if kind == "chars":
        return text(random, field["length"]) if random.random() < 0.9 else ""
    if kind == "text":
        return text(random, random.choice([3, 20, 200]))
    return (stream(random, fields) if random.random() < 0.3 else bytes_of(random, random.choice([4, 60]))).hex()


def values(random, fields, entries, version, dense):
    """Members for these entries. Without markers a field that is missing would be taken from the next repetition."""
    made, seen = {}, {}
    for entry in entries:
        name = entry["field"] if isinstance(entry, dict) else entry
        seen[name] = seen.get(name, 0) + 1
        is_new = version and fields[name].get("version", 1) > version
        needed = isinstance(entry, dict) or dense
        if not is_new and (needed or random.random() < 0.7 and seen[name] == 1):
            made[name if seen[name] == 1 else f"{name}[{seen[name]}]"] = value(random, fields[name], fields)
    return made


def lines(random, source, count):
    """Messages as `zel encode` reads them, one a line. It refuses some: hexadecimal texts that do not fit, say."""
    fields = {field["name"]: field for field in source["fields"]}
    for number_of_line in range(count):
        kind = random.choice(source["messages"])
        version = random.choice([0, 0, 1, 3])
        made = {"name": kind["name"], "frame": random.choice(["short", "long"]), "version": version,
                "format": random.randrange(3), "packFlags": random.choice([1, 5, 5, 9, 13]),
                "encryptFlag": random.choice([0, 0, 7]), "serviceId": [random.randrange(65536) for _ in range(2)],
                "messageId": [number_of_line % 65535 + 1, 1, 1]}
        made.update(random.choice([{"userData": number(random, 32)}, {"varUserData": bytes_of(random, 9).hex()}]))
        before, group = [], None
        for entry in kind["fields"]:
            if isinstance(entry, dict) and "group" in entry:
                group = entry["group"]
            else:
                before.append(entry)
        made["fields"] = values(random, fields, before, version, False)
        if group:
            marked = any(fields[e["field"] if isinstance(e, dict) else e]["id"] == MARKER for e in group["fields"])
            made["group"] = [values(random, fields, group["fields"], version, not marked)
                             for _ in range(random.randrange(1, 5))]
        if made["format"] != 1 and random.random() < 0.2:
            members = [key.split("[")[0] for part in [made["fields"], *made.get("group", [])] for key in part]
            members += [group["count"]["field"]] if group else []
            made["packFlags"] = 1
            made["order"] = [fields[name]["id"] for name in random.sample(members, len(members))]
        yield json.dumps(made)
