"""Captures of TCP streams, and what tshark shows of them."""
import json
import os
import struct
import subprocess

PORT = 9000
ERROR, WARNING = "8388608", "6291456"


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
        # Without settings and plugins of the user.
        self.environment = dict(os.environ, HOME=str(work), XDG_CONFIG_HOME=str(work), WIRESHARK_CONFIG_DIR=str(work))

    def make_dissector(self, dictionary):
        self.lua = self.work / (dictionary.stem + ".lua")
        subprocess.run([self.zel, "dict", "wireshark", dictionary, "-o", self.lua], check=True, capture_output=True)

    def run(self, capture, *options, decode_as=True):
        """What tshark writes. Nothing may make the dissector fail."""
        path = self.work / "capture.pcap"
        path.write_bytes(capture.bytes)
        command = ["tshark", "-n", "-X", f"lua_script:{self.lua}", "-r", path, *options]
        command += ["-d", f"tcp.port=={PORT},zel"] if decode_as else []
        result = subprocess.run(command, capture_output=True, text=True, timeout=120, env=self.environment)
        assert result.returncode == 0, result.stderr
        for text in (result.stdout, result.stderr):
            assert "lua error" not in text.lower() and "_ws.lua.proto" not in text, text[:5000]
        return result.stdout

    def streams(self, capture, *options, decode_as=True):
        """The messages of each stream, in order."""
        shown = self.run(capture, "-T", "json", "-J", "zel tcp", *options, decode_as=decode_as)
        streams = {}
        for packet in json.loads(shown, object_pairs_hook=Pairs):
            layers = packet["_source"]["layers"]
            found = streams.setdefault(int(layers["tcp"]["tcp.stream"]), [])
            found += [Message(value) for key, value in layers if key == "zel"]
        return [streams[number] for number in sorted(streams)]


class Pairs(list):
    """An object of JSON that may have a key twice."""

    def __getitem__(self, key):
        return next(value for name, value in self if name == key)


def is_unlisted(tree):
    return any(key == "_ws.expert" and "zel.problem.field_unlisted" in dict(value) for key, value in tree)


class Message:
    """The values in a tree, by filter name: of the message, and of each repetition of its group. Values that a receiver
    skips are left out."""

    def __init__(self, tree):
        self.outside, self.group, self.severities = {}, {}, set()
        self.collect(tree, self.outside)

    def collect(self, tree, into):
        repetition = None
        for key, value in tree:
            if key == "_ws.expert":
                self.severities.add(value["_ws.expert.severity"])
            elif key == "zel.repetition":
                repetition = int(value)
            elif isinstance(value, list):
                is_group = key == "zel.repetition_tree"
                branch = self.group.setdefault(repetition, {}) if is_group else into
                if is_unlisted(value):
                    branch = {}
                    into[key.removesuffix("_tree")].pop()
                self.collect(value, branch)
            else:
                into.setdefault(key, []).append(value)

    def __eq__(self, other):
        return vars(self) == vars(other)
