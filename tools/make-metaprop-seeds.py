#!/usr/bin/env python3
"""Seed corpora of the property-store fuzz targets: small jukebox metadata blocks laid out here,
independently of tagvera's writer, in both byte orders.

    tools/make-metaprop-seeds.py        writes fuzz/corpus/metaprop_*_fuzz/
"""
import os
import struct
import sys

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")


def record(name, kind=0, flags=0, value=b"\0", children=(), big=False):
    """One node record; children is a list of records already encoded, grouped by name in order."""
    u32 = (lambda v: struct.pack(">I", v)) if big else (lambda v: struct.pack("<I", v))
    raw_name = name.encode() + b"\0"
    entries = []
    for child_name, encoded in children:
        if entries and entries[-1][0] == child_name:
            entries[-1][1].append(encoded)
        else:
            entries.append((child_name, [encoded]))
    value_offset = 28 + len(raw_name)
    table_offset = value_offset + 4 + len(value)
    offset = table_offset + 8 * len(entries)
    table, body = b"", b""
    for _, records in entries:
        table += u32(offset) + u32(len(records))
        for r in records:
            body += r
            offset += len(r)
    head = b"".join(u32(v) for v in (offset, kind, flags, value_offset, table_offset, len(entries), len(raw_name)))
    return head + raw_name + u32(len(value)) + value + table + body


def block(root, big=False, magic=b"KJMD"):
    return magic + (struct.pack(">I", 1) if big else struct.pack("<I", 1)) + root + b"\0"


def text(s):
    return s.encode() + b"\0"


def sample(big):
    def rec(name, *args, **kw):
        return (name, record(name, *args, big=big, **kw))

    track = rec("Track", 9, 0, children=[
        rec("Name", 1, 0, text("So What")),
        rec("CD Track #", 1, 0, text("01")),
    ])
    album = rec("Album", 9, 0, children=[
        rec("Name", 1, 0, text("Kind of Blue")),
        rec("Cover Art", 10, 0, b"\x89PNG....", children=[rec("DataSize", 4, 4, struct.pack("<I", 8))]),
    ])
    stats = rec("Statistics", 9, 1, children=[
        rec("Length", 4, 1, struct.pack("<I", 545)),
        rec("MimeType", 1, 3, text("audio/mpeg")),
        rec("VBR", 3, 1, b"\x01"),
    ])
    credits = [rec("Credits", 9, 0, children=[rec("Producer", 1, 0, text("Teo Macero"))]),
               rec("Credits", 9, 0, children=[rec("Engineer", 1, 0, text("Fred Plaut"))])]
    binary = rec("Blob", 5, 0x10, bytes(range(16)))
    return record("", 0, 0, children=[album, binary] + credits + [stats, track], big=big)


def write(target, name, data):
    folder = os.path.join(ROOT, "fuzz", "corpus", target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as f:
        f.write(data)


def main():
    little, big = block(sample(False)), block(sample(True), big=True)
    variant = block(sample(False), magic=b"KJAD")
    empty = block(record(""))
    # read_binary: option byte (1 keep references, 2 big-endian), then the block.
    write("metaprop_read_binary_fuzz", "little.bin", b"\x00" + little)
    write("metaprop_read_binary_fuzz", "big_keep.bin", b"\x03" + big)
    write("metaprop_read_binary_fuzz", "variant.bin", b"\x01" + variant)
    write("metaprop_read_binary_fuzz", "empty.bin", b"\x00" + empty)
    # fast_property: option byte (1 big-endian), a query ending in NUL, then the block.
    write("metaprop_fast_property_fuzz", "name.bin", b"\x00Name\0" + little)
    write("metaprop_fast_property_fuzz", "path_big.bin", b"\x01album:cover art\0" + big)
    write("metaprop_fast_property_fuzz", "fallback.bin", b"\x00Engineer\0" + little)
    # block_roundtrip: a program of additions (see block_roundtrip_fuzz.cpp).
    write("metaprop_block_roundtrip_fuzz", "groups.bin",
          bytes([0, 0, 0, 2, 3, 0, 3, ord("a"), ord("b"), ord("c"), 0, 4, 1, 0x11, 1, 2, 3, 4,
                 5, 5, 0, 1, 1, 2, 0, 6, 6, 0, 2] + list(range(8)) + [7, 7, 0x10, 3, 0x41, 0x42, 0x43]))
    write("metaprop_block_roundtrip_fuzz", "names.bin", bytes([9, 201, 0, 4, ord("<"), ord("&"), ord("'"), 0x81,
                                                               1, ord("x"), 8, 8, 0x40]))
    return 0


if __name__ == "__main__":
    sys.exit(main())
