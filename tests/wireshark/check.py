#!/usr/bin/env -S python3 -B
"""Compares what tshark shows with the dissector and what `zel decode` shows of the same bytes.

    check.py ZEL SOURCE_FOLDER WORK_FOLDER

Exit status 77: nothing was tested, because tshark is not installed.
"""
import collections
import json
import math
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import zlib

import generated
from captures import ERROR, PORT, WARNING, Capture, Tshark

SEED = 20240517
MUTANTS = 3000


def frame(message, short=False):
    return b"\1\x10" + len(message).to_bytes(2, "little") + message if short else \
        b"\1\x30" + len(message).to_bytes(4, "little") + message


def split_frames(stream):
    at, frames = 0, []
    while at < len(stream):
        head = 4 if stream[at + 1] >> 4 == 1 else 6
        size = head + int.from_bytes(stream[at + 2:at + head], "little")
        frames.append((head, stream[at:at + size]))
        at += size
    return frames


class Dictionary:
    """A source, and the filter names of its fields."""

    def __init__(self, path):
        self.path = path
        self.source = json.loads(re.sub(r"^\s*//.*$", "", path.read_text(), flags=re.M))
        self.filters, self.types, used = {}, {}, set()
        for field in sorted(self.source["fields"], key=lambda each: each["id"]):
            name = "zel.field." + re.sub(r"[^a-z0-9_]", "_", field["name"].lower())
            name += f"_{field['id']}" if name in used else ""
            used.add(name)
            self.filters[field["name"]], self.types[field["name"]] = name, field["type"]


def escaped(characters):
    plain = json.dumps(characters, ensure_ascii=False)[1:-1]
    for short, code in (("\\t", "\\u0009"), ("\\r", "\\u000d"), ("\\b", "\\u0008"), ("\\f", "\\u000c"), ("\x7f", "\\u007f")):
        plain = plain.replace(short, code)
    return re.sub("[\x80-\x9f]", lambda found: f"\\u{ord(found[0]):04x}", plain)


def as_shown(value, padding):
    """A text, or bytes that are not UTF-8: those are escaped, and so is a text that Wireshark would cut."""
    if isinstance(value, dict):
        raw = bytes.fromhex(value["hex"]).rstrip(padding)
        try:
            value = raw.decode()
        except UnicodeDecodeError:
            return "".join(escaped(chr(c)) if c < 0x80 else f"\\x{c:02x}" for c in raw)
    return escaped(value) if "\0" in value else value


def is_same_number(shown, value, digits, least):
    number = float(shown)
    if isinstance(value, (str, dict)):
        return math.isnan(number) if value != "Infinity" and value != "-Infinity" else number == float(value)
    return math.isclose(number, value, rel_tol=10 ** -digits, abs_tol=least)


def money_number(text):
    parts = re.fullmatch(r"(-?)(?:(\d+)(?:\.(\d+))?)?(?: ?(?<!\d)(\d+)/(\d+))?", text)
    if not parts:
        parts = re.fullmatch(r"(-?)()()(\d+)/(\d+)", text)
    sign, whole, decimals, numerator, denominator = parts.groups()
    number = float(f"{whole or 0}.{decimals or 0}") + (int(numerator) / int(denominator) if numerator else 0)
    return -number if sign else number


def is_same(kind, shown, text, value):
    if kind in ("short", "long", "int"):
        return int(shown) == value
    if kind in ("float", "double"):
        return is_same_number(shown, value, *((5, 1e-40) if kind == "float" else (14, 1e-310)))
    if kind in ("chars", "text"):
        return shown == as_shown(value, b"\0" if kind == "chars" else b"")
    if kind == "datetime":
        if isinstance(value, dict):
            return shown == "day {day}, month {month}, year 1900 + {year}, hour {hour}, minute {minute}, " \
                            "second {second}, extra {extra}, kind {kind}".format(**value)
        return shown == (value or "(none)")
    if kind == "money":
        if isinstance(value, dict):
            return re.sub(r"^.*\((.*)\)$", r"\1", text) == "amount {amount}, display code {displayCode}".format(**value)
        return text == value and is_same_number(shown, money_number(value), 14, 0)
    return shown.replace(":", "") == value


def differences(dictionary, shown, members, where):
    """Compares what tshark shows of a message or a repetition with the members that `zel decode` writes."""
    rest = {name: list(values) for name, values in shown.items() if name.startswith("zel.field.")}
    for member, value in members.items():
        name = re.sub(r"\[\d+\]$", "", member)
        kind, filter_name = dictionary.types[name], dictionary.filters[name]
        # Money has a text and a number, but no number when its display code is invalid.
        numbers, texts = rest.get(filter_name, []), rest.get(filter_name + ".text", [])
        text = texts.pop(0) if texts else None
        number = numbers.pop(0) if numbers and not (text or "").startswith("amount") else None
        if number is None and text is None or not is_same(kind, number, text, value):
            yield f"{where}{member}: {number} {text}, expected {value}"
    left = {name: values for name, values in rest.items() if values}
    if left:
        yield f"{where}more: {left}"


def header_of(decoded):
    user_data = {"zel.userdata": str(decoded["userData"])} if "userData" in decoded else {}
    return {"zel.message": decoded["name"], "zel.type": str(decoded["type"]), "zel.subtype": str(decoded["subType"]),
            "zel.service": "{}.{}".format(*decoded["serviceId"]), "zel.msgid": "{}.{}.{}".format(*decoded["messageId"]),
            "zel.format": str(decoded["format"]), "zel.version": str(decoded["version"]),
            "zel.packing": str(decoded["packFlags"]), "zel.encryption": str(decoded["encryptFlag"]), **user_data}


def message_differences(dictionary, shown, decoded):
    for name, value in header_of(decoded).items():
        if shown.outside.get(name) != [value]:
            yield f"{name}: {shown.outside.get(name)}, expected {value}"
    if "varUserData" in decoded and shown.outside["zel.varuserdata"][0].replace(":", "") != decoded["varUserData"]:
        yield "zel.varuserdata"
    yield from differences(dictionary, shown.outside, decoded["fields"], "")
    group = decoded.get("group", [])
    for repetition in set(shown.group) | set(range(1, len(group) + 1)):
        members = group[repetition - 1] if repetition <= len(group) else {}
        yield from differences(dictionary, shown.group.get(repetition, {}), members, f"{repetition}: ")


def decode(zel, dictionary, stream):
    """By offset: the message as JSON or None, and whether a fault was reported."""
    result = subprocess.run([zel, "decode", "--json", "-d", dictionary.path], input=stream, capture_output=True)
    messages = {each["offset"]: each for each in map(json.loads, result.stdout.decode().splitlines())}
    complaints = {int(number) for number in re.findall(r": offset (\d+), message", result.stderr.decode())}
    return messages, complaints


def mutated(rng, message):
    made = bytearray(message)
    for _ in range(rng.choice([1, 1, 1, 2, 4])):
        at = rng.choice([rng.randrange(len(made)), rng.randrange(min(len(made), 40))])
        made[at] = rng.choice([0, 1, 255, rng.randrange(256), made[at] ^ 1 << rng.randrange(8)])
    kind = rng.randrange(6)
    if kind == 0:
        made = made[:rng.randrange(len(made) + 1)]
    elif kind == 1:
        made += bytes(rng.randrange(256) for _ in range(rng.randrange(1, 9)))
    return bytes(made)


def check_labels(tshark, dictionary, capture, stream):
    """Short values in the command's listing are the same in the tree; long ones are cut."""
    def is_short(value):
        return len(value.encode()) <= 100 and not value.endswith("...")
    numbers = ",".join(str(each["id"]) for each in dictionary.source["fields"] if each["type"].startswith("bytes"))
    listing = subprocess.run([tshark.zel, "decode", "-d", dictionary.path, "--streams", numbers], input=stream,
                             capture_output=True).stdout.decode()
    listed = re.findall(r"^ {4,}(\d+)  (\S+) +(\w+) +(.*)$", listing, flags=re.M)
    tree = tshark.run(capture, "-V", "-O", "zel", "-o", f"zel.streams:{numbers}")
    lines = re.findall(r"^ +(.+?): (.*) \[(\d+), (\w+), version .*\]$", tree, flags=re.M)
    shown = [(number, name, kind, value) for name, value, number, kind in lines]
    # The terms and keys of streams, and what is wrong with them.
    for pattern in (r"^ +()()(\S+ [=!<>]=?) (.*)$", r"^ +()(.*) (order) (-?\d+)$",
                    r"()()()(next term cannot be read|terms than the filter announces)"):
        listed += re.findall(pattern, listing, flags=re.M)
        shown += re.findall(pattern, tree, flags=re.M)
    expected, found = (collections.Counter(row for row in rows if is_short(row[3])) for rows in (listed, shown))
    assert not expected - found and len(expected) > 400, (len(expected), expected - found)


def header_size(message):
    return 32 if message[27] == 6 else 30 + int.from_bytes(message[28:30], "big")


def lengthened(message):
    """Makes the first field one byte longer, in format 2."""
    at = header_size(message)
    size = int.from_bytes(message[at + 2:at + 4], "big")
    return message[:at + 2] + (size + 1).to_bytes(2, "big") + message[at + 4:at + 4 + size] + b"\0" + message[at + 4 + size:]


def recompressed(rng, message):
    """A message with a payload that zlib compressed in some way, perhaps damaged or with wrong lengths."""
    at = header_size(message)
    plain = message[at:] * rng.choice([1, 1, 5])
    squeeze = zlib.compressobj(rng.choice([0, 1, 9]), zlib.DEFLATED, -15, 9, rng.randrange(5))
    data = bytearray(squeeze.compress(plain) + squeeze.flush())
    if rng.random() < 0.4:
        data[rng.randrange(min(len(data), rng.choice([5, 1000])))] ^= 1 << rng.randrange(8)
    data += rng.choice([b"", b"", b"x"])
    sizes = [len(plain) + rng.choice([0, 0, 0, 1, -1]), len(data) + rng.choice([0, 0, 0, -1, 1])]
    framing = b"".join(size.to_bytes(4, "big") for size in sizes)
    return message[:2] + b"\5" + message[3:at] + framing + bytes(data)


def verdict(is_refused, is_told):
    return "refused" if is_refused else "told" if is_told else "good"


def check_against_decode(tshark, dictionary, rng):
    """Random messages of a dictionary, whole, truncated at every length, damaged, and compressed by another compressor, each
    with the right frame."""
    text = "\n".join(generated.lines(rng, dictionary.source, 250))
    encoded = subprocess.run([tshark.zel, "encode", "-d", dictionary.path], input=text.encode(), capture_output=True)
    frames = [whole for _, whole in split_frames(encoded.stdout)]
    assert len(frames) > 150, encoded.stderr.decode()[:2000]
    capture = Capture()
    capture.add_stream(frames)
    check_labels(tshark, dictionary, capture, encoded.stdout)
    messages = [whole[head:] for head, whole in split_frames(encoded.stdout)]
    short = min((m for m in messages if 80 < len(m)), key=len)
    frames += [frame(short[:size]) for size in range(len(short))]
    frames += [frame(mutated(rng, rng.choice(messages)), rng.random() < 0.5) for _ in range(MUTANTS // 4)]
    plain = [message for message in messages if not message[2] & 4 and len(message) > header_size(message)]
    frames += [frame(lengthened(message)) for message in plain if message[3] >> 4 == 2]
    frames += [frame(recompressed(rng, message)) for message in plain for _ in range(3)]
    decoded, told = decode(tshark.zel, dictionary, b"".join(frames))
    capture = Capture()
    for first in range(0, len(frames), 100):
        capture.add_stream(frames[first:first + 100])
    shown = [message for stream in tshark.streams(capture) for message in stream]
    assert len(shown) == len(frames), (len(shown), len(frames))
    offset, counts = 0, {}
    for whole, message in zip(frames, shown):
        expected = verdict(offset not in decoded, offset in told)
        found = verdict(ERROR in message.severities, WARNING in message.severities)
        # The command does not report missing fields in compressed payloads, or with a negative number of fields.
        is_silent = "zel.compressed" in message.outside or int(message.outside.get("zel.numfields", ["0"])[0]) < 0
        assert expected == found or is_silent and expected == "good" and found == "told", \
            f"{dictionary.path}: {expected}, shown as {found}: {whole.hex()} {vars(message)}"
        if expected != "refused":
            wrong = list(message_differences(dictionary, message, decoded[offset]))
            assert not wrong, f"{dictionary.path}: {whole.hex()} {wrong} {decoded[offset]}"
        counts[expected] = counts.get(expected, 0) + 1
        offset += len(whole)
    print(f"{dictionary.path.name}: {counts}")
    assert min(counts.values()) > 30 and len(counts) == 3, counts


def check_segments(tshark, orders):
    """A stream split at every place, in segments of each small size, and in one."""
    whole = tshark_of(tshark, [[orders]])[0]
    assert len(whole) == 5 and not any(message.severities for message in whole)
    streams = [[orders[:at], orders[at:]] for at in range(1, len(orders))]
    streams += [[orders[at:at + size] for at in range(0, len(orders), size)] for size in (1, 7, 100)]
    for segments, messages in zip(streams, tshark_of(tshark, streams)):
        assert messages == whole, f"split at {len(segments[0])}: {len(messages)} messages"


def tshark_of(tshark, streams, **options):
    capture = Capture()
    for segments in streams:
        capture.add_stream(segments)
    return tshark.streams(capture, **options)


def check_lost_frames(tshark, orders):
    """Bytes that are not a frame are shown as such, and the frame after them is found."""
    good = split_frames(orders)[1][1]
    user_data = b"\0\7\xff\xff"
    rows = {
        "junk in front": [b"junk" + good], "junk between": [good + bytes(40) + good, good], "SOH again": [b"\1" * 9 + good],
        "negative length": [b"\1\x30\0\0\0\x80" + good, good], "junk cut": [b"xx" + good[:9], good[9:]],
        "too long": [b"\1\x30" + (12322).to_bytes(4, "little") + good[4:] + good],
        "far too long": [b"\1\x30" + (77854).to_bytes(4, "little") + good[4:30] + user_data + good],
    }
    for name, messages in zip(rows, tshark_of(tshark, list(rows.values()))):
        junk = sum(len(value) for message in messages for value in message.outside.get("zel.noframe", []))
        frames = [message for message in messages if message.outside.get("zel.message") == ["CANCEL_ORDER"]]
        size = sum(map(len, rows[name])) - len(good) * len(frames)
        assert frames and (junk + 1) // 3 == size, f"{name}: {junk} {len(frames)} {size}"
    # The longest frame, in many segments.
    message = good[4:30] + user_data + bytes(65535) + bytes(12288)
    longest = frame(message)
    shown = tshark_of(tshark, [[longest[at:at + 1400] for at in range(0, len(longest), 1400)] + [good]])[0]
    assert [each.outside["zel.frame.length"] for each in shown] == [["77853"], ["76"]]


def check_damage(tshark, orders, rng):
    """Streams damaged anywhere, frames included, in segments of any size, cut by the capture: no failure, no loop."""
    capture = Capture()
    for _ in range(MUTANTS):
        stream = mutated(rng, orders)
        cut = rng.randrange(1, len(orders))
        capture.add_stream([stream[:cut], stream[cut:]], snap=rng.choice([262144, 262144, 150]))
    shown = tshark.run(capture, "-T", "fields", "-e", "tcp.stream", "-e", "zel.message", "-e", "_ws.expert")
    assert len(shown.splitlines()) == 2 * MUTANTS


def check_claims(tshark, orders):
    """Without a port, only a stream that starts with a frame is claimed."""
    head, first = split_frames(orders)[0]
    others = [b"GET / HTTP/1.1\r\n\r\n", first[:head + 27], first[:head + 7] + b"\x7f" + first[head + 8:],
              first[:head + 17] + b"\x7f" + first[head + 18:], b"\2" + first[1:], bytes(100)]
    claimed, *not_claimed = tshark_of(tshark, [[orders[:300], orders[300:]]] + [[other] for other in others], decode_as=False)
    assert [message.outside["zel.message"][0] for message in claimed][-1] == "CANCEL_ORDER" and len(claimed) == 5
    assert not any(not_claimed)


def check_filters(tshark, orders):
    capture = Capture()
    capture.add_stream([whole for _, whole in split_frames(orders)])
    rows = {
        'zel.type == 10 && zel.subtype == 1 && zel.message == "NEW_ORDER" && zel.msgid == "101.1.1" && zel.version < 1'
        ' && zel.service == "1.20" && zel.field.limit_price > 101.4 && zel.field.limit_price.text == "101.50"'
        ' && zel.field.symbol matches "^barley" && zel.field.entered_at >= "2024-05" && zel.repetition == 2'
        ' && zel.field.route_token[0:2] == 00:11 && zel.field.quantity == 1500': "1",
        'zel.filter.term == "LIMIT_PRICE <= 101.50" && zel.sort.key contains "ENTERED_AT"': "4",
        'zel.packing.compressed == 1 && zel.field.leg_symbol == "BARLEY-AUG25"': "3",
    }
    for filter_text, expected in rows.items():
        assert tshark.run(capture, "-Y", filter_text, "-T", "fields", "-e", "frame.number").split() == [expected], filter_text
    streams = tshark.streams(capture, "-o", "zel.streams:200")
    assert "zel.filter.term" not in streams[0][3].outside
    shown = tshark.run(capture, "-o", "zel.statistics:TRUE", "-T", "fields", "-e", "_ws.col.Info", "-o", f"zel.ports:{PORT}")
    assert shown.split()[:5] == "NEW_ORDER CANCEL_ORDER MULTI_LEG_ORDER ORDER_QUERY CANCEL_ORDER".split()
    assert re.search(r"messages +message\n +2 +CANCEL_ORDER\n +1 +MULTI_LEG_ORDER\n", shown), shown


def check_page(tshark, source):
    """Each command of the page writes what the page shows, where "..." matches anything."""
    for folder in ("zeldata", "examples"):
        (tshark.work / folder).symlink_to((source / folder).resolve())
    environment = dict(tshark.environment, PATH=f"{os.path.dirname(tshark.zel)}:{os.environ['PATH']}")
    blocks = re.findall(r"^```\n(\$ .*?)^```", (source / "docs/wireshark.md").read_text(), flags=re.M | re.S)
    rows = re.findall(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", "".join(blocks), flags=re.M)
    assert len(rows) > 6
    for command, expected in rows:
        written = subprocess.run(["bash", "-c", command], capture_output=True, text=True, cwd=tshark.work, env=environment)
        pattern = "(?:.*\n)*".join(map(re.escape, re.split(r"^\.\.\.\n", expected, flags=re.M)))
        shown = re.sub(" +\n", "\n", written.stdout)
        assert re.fullmatch(pattern, shown), f"{command}: {shown} {written.stderr}"


def main(zel, source, work):
    if not shutil.which("tshark"):
        print("THE DISSECTOR WAS NOT TESTED: tshark is not here; script/bootstrap --wireshark installs it")
        return 77
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    rng = random.Random(SEED)
    tshark = Tshark(work, zel)
    for name in ("first", "second"):
        path = work / f"{name}.json"
        path.write_text(json.dumps(generated.dictionary(rng)))
        tshark.make_dissector(path)
        check_against_decode(tshark, Dictionary(path), rng)
    sample = Dictionary(source / "zeldata/sample.json")
    tshark.make_dissector(sample.path)
    check_against_decode(tshark, sample, rng)
    orders = subprocess.run([zel, "encode", "-d", sample.path, source / "examples/orders.jsonl"], check=True,
                            capture_output=True).stdout
    check_segments(tshark, orders)
    check_lost_frames(tshark, orders)
    check_damage(tshark, orders, rng)
    check_claims(tshark, orders)
    check_filters(tshark, orders)
    check_page(tshark, source)
    return 0


if __name__ == "__main__":
    os.environ["LC_ALL"] = "C.UTF-8"
    sys.exit(main(os.path.abspath(sys.argv[1]), pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])))
