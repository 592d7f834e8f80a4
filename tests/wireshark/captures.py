"""Captures of TCP streams, and what tshark shows of them."""
import collections
import os
import re
import struct
import subprocess

PORT = 9000


class Capture:
    """A pcap file in memory. Each stream has its own client address."""

    def __init__(self):
        self.bytes = bytearray(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 262144, 1))
        self.streams = self.packets = 0

    def add_stream(self, segments, snap=262144):
        self.streams += 1
        client = bytes([10]) + self.streams.to_bytes(3, "big")
        sequence = 1
        for segment in segments:
            tcp = struct.pack(">HHIIBBHHH", 40000, PORT, sequence, 1, 0x50, 0x18, 65535, 0, 0)
            ip = struct.pack(">BBHHHBBH4s4s", 0x45, 0, 40 + len(segment), 0, 0x4000, 64, 6, 0, client, b"\x0b\0\0\1")
            packet = bytes(12) + b"\x08\0" + ip + tcp + segment
            head = struct.pack("<IIII", self.packets // 1000, self.packets % 1000, len(packet[:snap]), len(packet))
            self.bytes += head + packet[:snap]
            self.packets += 1
            sequence += len(segment)


class Tshark:
    def __init__(self, work, zel):
        self.work, self.zel = work, zel
        # Without settings and plugins of the user, and with a plugin that takes the place of one for all users.
        self.environment = dict(os.environ, HOME=str(work), XDG_CONFIG_HOME=str(work), WIRESHARK_CONFIG_DIR=str(work))

    def make_dissector(self, dictionary):
        plugins = self.work / ".local/lib/wireshark/plugins"
        plugins.mkdir(parents=True, exist_ok=True)
        subprocess.run([self.zel, "dict", "wireshark", dictionary, "-o", plugins / "zel.lua"], check=True, capture_output=True)

    def run(self, capture, *options, decode_as=True):
        """What tshark writes. Nothing may make the dissector fail."""
        path = self.work / "capture.pcap"
        path.write_bytes(capture.bytes)
        command = ["tshark", "-n", "-r", path, *options]
        command += ["-d", f"tcp.port=={PORT},zel"] if decode_as else []
        result = subprocess.run(command, capture_output=True, text=True, timeout=120, env=self.environment)
        assert result.returncode == 0, result.stderr
        for text in (result.stdout, result.stderr):
            assert "lua error" not in text.lower() and "_ws.lua.proto" not in text, text[:5000]
        return result.stdout

    def streams(self, capture, *options, decode_as=True):
        """The messages of each stream, in order."""
        tree = self.run(capture, "-V", "-O", "zel", *options, decode_as=decode_as)
        streams = {}
        for packet in re.split(r"^Frame \d+: ", tree, flags=re.M)[1:]:
            client = re.search(r"^Internet Protocol.*, Src: ([\d.]+),", packet, flags=re.M)[1]
            streams.setdefault(client, []).extend(map(Shown, re.findall(r"^ZEL, (.*\n(?:[ ].*\n)*)", packet, flags=re.M)))
        return list(streams.values())


def term_of(line):
    """A term or key of a stream, or what is wrong with them; the tree says that in several lines."""
    term = re.match(r"^ +(\S+ [=!<>]=? .*|\S+ order -?\d+)$", line) or re.match(
        r"^ +(?:\[Expert Info.*|[a-z0-9].*)(next term cannot be read|terms than the filter announces)", line)
    return term and term[1]


# A value, or, without a kind, a line about the stream in it.
Row = collections.namedtuple("Row", "repetition field number kind value")


def ordered(rows):
    """In one order for all tools. Without long values, which Wireshark cuts."""
    short = (row for row in rows if len(row.value.encode()) <= 100 and not row.value.endswith("..."))
    return sorted(map(canonical, short), key=str)


def canonical(row):
    """Lua tries 15 to 17 digits: of a few powers of two 16 others than those that it tries are enough."""
    is_number = row.kind == "double" and re.fullmatch(r"-?[\d.]+(e[-+]\d+)?", row.value)
    return row._replace(value=repr(float(row.value))) if is_number else row


class Shown:
    """A message in a tree: its header, and its values by repetition and field, without those that a receiver skips."""
    HEADER = ("Type", "Sub-type", "Service", "Message id", "User data", "Frame", "Field format", "Version", "Encryption",
              "Packing")

    def __init__(self, tree):
        self.tree = tree
        self.name, self.size = re.match(r"(.*), (\d+) bytes", tree).groups()
        self.severities = set(re.findall(r"\[Severity level: (\w+)\]", tree))
        rows = []
        repetition, start = "", None  # where the rows of the last field start, unless a receiver skips it
        for line in tree.splitlines():
            field = re.match(r"^( +)(.+?): (.*) \[(\d+), (\w+), version .*\]$", line)
            cut = re.match(r"^( +)(.+?) \[truncated\]()()(): ", line)
            if heading := re.match(r"^ +Repetition (\d+) of ", line):
                repetition = heading[1]
            elif field or cut:
                indent, name, value, number, kind = (field or cut).groups()
                place, start = repetition if len(indent) > 4 else "", len(rows)
                rows.append(Row(place, name, number, kind, value if field else "..."))
            elif re.match(r"^ +Field \d+: ", line):
                start = None
            elif start is not None and re.match(r"^ +\[Expert Info.*is there once too often", line):
                del rows[start:]
                start = None
            elif start is not None and (term := term_of(line)):
                rows.append(Row(place, name, "", "", term))
        self.rows = ordered(rows)

    def header(self):
        """As Listed has it."""
        lines = {name: value for name, value in re.findall(r"^ +(?:[01. ]+ = )?([\w -]+): (.*)$", self.tree, flags=re.M)[::-1]}
        values = [lines.get(name, "") for name in self.HEADER]
        values[5] = values[5].split(",")[0]
        values[6] = re.sub(r".*\((\d+)\)$", r"\1", values[6])
        values[8:] = [value.split(" ")[0] for value in values[8:]]
        return [self.name, *values]


class Listed:
    """The same in the listing of `zel decode`."""

    def __init__(self, listing):
        head = re.match(r"(\d+): (.*), type (-?\d+), sub-type (-?\d+), \d+ bytes\n"
                        r"  service (.*), message id (.*), user data (.*)\n"
                        r"  (\w+) frame, format (\d+), version (\d+), encryption (\d+), packing (\d+).*\n", listing)
        assert head, listing[:300]
        offset, *self.header = head.groups()
        self.offset = int(offset)
        rows = []
        repetition = ""
        for line in listing[head.end():].splitlines():
            field = re.match(r"^( {4,}(\d+))  (\S+) +(\w+) +(.*)$", line)
            if heading := re.match(r"^    repetition (\d+)$", line):
                repetition = heading[1]
            elif field:
                start, number, name, kind, value = field.groups()
                place = repetition if len(start) > 7 else ""
                rows.append(Row(place, name, number, kind, value))
            elif term := term_of(line):
                rows.append(Row(place, name, "", "", term))
        self.rows = ordered(rows)
