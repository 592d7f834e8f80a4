#!/usr/bin/env -S python3 -B
"""Compares what tshark shows with the dissector and what `zel decode` shows of the same bytes.

    check.py ZEL SOURCE_FOLDER WORK_FOLDER

Exit status 77: nothing was tested, because tshark is not installed.
"""
import collections
import json
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import zlib

from captures import PORT, Capture, Listed, Tshark

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
import generated  # noqa: E402

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


def encode(zel, path, lines):
    return subprocess.run([zel, "encode", "-d", path], input=lines.encode(), capture_output=True).stdout


def decode(zel, path, streams, frames):
    """The messages by offset, and the offsets where a fault was reported."""
    result = subprocess.run([zel, "decode", "-d", path, "--streams", streams], input=b"".join(frames), capture_output=True)
    shown = re.split(r"^message \d+ at offset ", result.stdout.decode(), flags=re.M)[1:]
    complaints = {int(number) for number in re.findall(r": offset (\d+), message", result.stderr.decode())}
    # A message that cannot be read is shown by its bytes, below a line without a full header.
    listed = map(Listed, (each for each in shown if re.match(r".*\n  service ", each)))
    return {each.offset: each for each in listed}, complaints


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


def check_against_decode(tshark, path, rng):
    """Random messages of a dictionary, whole, truncated at every length, damaged, and compressed by another compressor, each
    with the right frame."""
    source = json.loads(re.sub(r"^\s*//.*$", "", path.read_text(), flags=re.M))
    split = split_frames(encode(tshark.zel, path, "\n".join(generated.lines(rng, source, 250))))
    frames = [whole for _, whole in split]
    messages = [whole[head:] for head, whole in split]
    assert len(frames) > 150, len(frames)
    undamaged = set(frames)
    short = min((m for m in messages if 80 < len(m)), key=len)
    frames += [frame(short[:size]) for size in range(len(short))]
    frames += [frame(mutated(rng, rng.choice(messages)), rng.random() < 0.5) for _ in range(MUTANTS // 4)]
    plain = [message for message in messages if not message[2] & 4 and len(message) > header_size(message)]
    frames += [frame(lengthened(message)) for message in plain if message[3] >> 4 == 2]
    frames += [frame(recompressed(rng, message)) for message in plain for _ in range(3)]
    streams = ",".join(str(each["id"]) for each in source["fields"] if each["type"].startswith("bytes"))
    decoded, told = decode(tshark.zel, path, streams, frames)
    shown = tshark_of(tshark, [frames[first:first + 100] for first in range(0, len(frames), 100)],
                      options=["-o", f"zel.streams:{streams}"])
    shown = [message for stream in shown for message in stream]
    assert len(shown) == len(frames), (len(shown), len(frames))
    offset, counts = 0, collections.Counter()
    for whole, message in zip(frames, shown):
        expected = verdict(offset not in decoded, offset in told)
        found = verdict("Error" in message.severities, "Warning" in message.severities)
        # The command does not report missing fields in compressed payloads, or with a negative number of fields.
        is_silent = re.search("Compressed: True|Number of fields: -", message.tree)
        assert expected == found or is_silent and expected == "good" and found == "told", \
            f"{path}: {expected}, shown as {found}: {whole.hex()} {message.tree}"
        if expected != "refused":
            listed = decoded[offset]
            assert message.header() == listed.header, f"{whole.hex()} {message.header()} {listed.header}"
            # Of damaged streams the two show different parts.
            found, wanted = ([row for row in rows if row.kind or whole in undamaged] for rows in (message.rows, listed.rows))
            assert found == wanted, f"{whole.hex()} {[row for row in found + wanted if found.count(row) != wanted.count(row)]}"
        counts[expected] += 1
        offset += len(whole)
    print(f"{path.name}: {counts}")
    assert len(counts) == 3, counts
    assert min(counts.values()) > 30, counts


def check_segments(tshark, orders):
    """A stream split at every place, in segments of each small size, and in one."""
    whole = tshark_of(tshark, [[orders]])[0]
    assert len(whole) == 5 and not any(message.severities for message in whole)
    streams = [[orders[:at], orders[at:]] for at in range(1, len(orders))]
    streams += [[orders[at:at + size] for at in range(0, len(orders), size)] for size in (1, 7, 100)]
    for segments, messages in zip(streams, tshark_of(tshark, streams)):
        assert [message.rows for message in messages] == [message.rows for message in whole], f"split at {len(segments[0])}"


def tshark_of(tshark, streams, options=(), **settings):
    capture = Capture()
    for segments in streams:
        capture.add_stream(segments)
    return tshark.streams(capture, *options, **settings)


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
        junk = sum(int(message.size) for message in messages if message.name == "no frame")
        frames = [message for message in messages if message.name == "CANCEL_ORDER"]
        assert frames, name
        assert junk == sum(map(len, rows[name])) - len(good) * len(frames), f"{name}: {junk} {len(frames)}"
    # The longest frame, in many segments.
    message = good[4:30] + user_data + bytes(65535) + bytes(12288)
    longest = frame(message)
    shown = tshark_of(tshark, [[longest[at:at + 1400] for at in range(0, len(longest), 1400)] + [good]])[0]
    assert [(each.name, each.size) for each in shown] == [("CANCEL_ORDER", "77859"), ("CANCEL_ORDER", "80")]


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
    assert [message.name for message in claimed][3:] == ["ORDER_QUERY", "CANCEL_ORDER"]
    assert not any(not_claimed)


def check_filters(tshark, sample, orders):
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
    # What filters compare is not what labels show: display code, number; text, characters.
    values = [(4, "-308641.75", "A1", "A1"), (256, "-4822.52734375", {"hex": "41FF"}, r"A\xff"), (30, "-1234.567", "A\0", r"A\u0000"),
              (550, "-1234567.38", "\u00fc\"", "\u00fc\""), (0, "", {"hex": "F880"}, r"\xf8\x80")]
    lines = [json.dumps({"name": "EXECUTION", "fields": {
        "TRADE_NUMBER": text, "CLIENT_ORDER_REF": "A1", "AVERAGE_PRICE": 0.375, "LIQUIDITY_FLAG": "M",
        "TRADE_PRICE": {"amount": -1234567, "displayCode": code}}}) for code, _, text, _ in values]
    executions = Capture()
    executions.add_stream([whole for _, whole in split_frames(encode(tshark.zel, sample, "\n".join(lines)))])
    shown = tshark.run(executions, "-Y", 'zel.field.average_price == 0.375 && zel.field.liquidity_flag == "M"',
                       "-T", "fields", "-e", "zel.field.trade_price", "-e", "zel.field.trade_number")
    assert shown.split("\n")[:-1] == [f"{number}\t{characters}" for _, number, _, characters in values], shown
    assert "Filter of 2 terms" not in tshark.run(capture, "-V", "-o", "zel.streams:200")
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
        check_against_decode(tshark, path, rng)
    sample = source / "zeldata/sample.json"
    tshark.make_dissector(sample)
    check_against_decode(tshark, sample, rng)
    orders = encode(zel, sample, (source / "examples/orders.jsonl").read_text())
    check_segments(tshark, orders)
    check_lost_frames(tshark, orders)
    check_damage(tshark, orders, rng)
    check_claims(tshark, orders)
    check_filters(tshark, sample, orders)
    check_page(tshark, source)
    return 0


if __name__ == "__main__":
    os.environ["LC_ALL"] = "C.UTF-8"
    sys.exit(main(os.path.abspath(sys.argv[1]), pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])))
