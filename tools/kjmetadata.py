#!/usr/bin/env python3
"""KJMETADATA documents written and read by Python's xml.etree, independently of tagvera.

    kjmetadata.py fixture OUT   writes the document of the tests' every-type tree
    kjmetadata.py dump FILE     lists every PROP of a document as the XML parser sees it

The tree below mirrors EveryTypeTree() in tests/metaprop_serialize/serialize_support.cpp; change
both together. The fixture is committed as tests/data/metaprop/every_type.xml.
"""
import struct
import sys
import xml.etree.ElementTree as ET

ALPHABET = "0123456789abcdefghijklmnopqrstuvwxyzABCDE"
FLAG_NAMES = [(0x01, "readonly"), (0x02, "private"), (0x04, "type"), (0x10, "shortcut"),
              (0x20, "stagnant"), (0x40, "flatten")]


def radix41(data: bytes) -> str:
    out = []
    for i in range(0, len(data), 4):
        n = int.from_bytes(data[i:i + 4].ljust(4, b"\0"), "big")
        for _ in range(6):
            n, digit = divmod(n, 41)
            out.append(ALPHABET[digit])
    return "".join(out)


def flags(bits):
    return ",".join(name for bit, name in FLAG_NAMES if bits & bit)


# (name, type name, flag bits, value attribute or None, children)
def text(name, value, kind="text", bits=0):
    return (name, kind, bits, value, [])


def number(name, value, bits=0):
    return (name, "number", bits, str(value), [])


def group(name, children, bits=0):
    return (name, "group", bits, None, children)


TREE = [
    group("Album", [text("Name", "P\u00f6rtrait <in> \"Jazz\" & 'Blues'"), number("Year", 1959)]),
    group("Artist", [text("Name", "Bill Evans Trio")]),
    group("Track", [
        text("Name", "Autumn Leaves"), text("CD Track #", "07"), text("Genre", "Jazz"),
        text("Comments", "first;second", "textlist"), text("CD TOC", "1+96+1234"),
        ("Explicit", "flag", 0, "0", []), ("Favourite", "flag", 0, "1", []),
    ]),
    group("Statistics", [
        number("FileSize", 123456, 0x01), text("Filename", "/music/a.mp3", bits=0x01),
        text("MimeType", "audio/mpeg", bits=0x03), number("Length", 0xFFFFFFFF, 0x01),
        number("Channels", 0, 0x01),
    ], 0x01),
    group("Web Links", [text("Home", "http://example.com/?a=1&b=2", "url")]),
    group("Dates", [text("Released", "1959-12-28", "date")]),
    group("Files", [text("Playlist", "C:\\Music\\list.m3u", "filename")]),
    group("Binary", [
        ("Twelve", "binary", 0, radix41(bytes.fromhex("00017f80ff10203040506070")), []),
        ("Eight", "binary", 0, radix41(bytes.fromhex("deadbeefffffffff")), []),
        ("Zeros", "binary", 0, radix41(bytes(4)), []),
    ]),
    group("Flags", [
        text("ReadOnly", "r", bits=0x01), text("Private", "p", bits=0x03), text("TypeFlag", "t", bits=0x04),
        text("Shortcut", "s", bits=0x10), text("Stagnant", "g", bits=0x20), text("AllNamed", "a", bits=0x77),
    ], 0x10 | 0x20),
    group("Flat", [text("Inner", "inside a flatten group")], 0x40),
    group("Deep", [group("L1", [group("L2", [text("L3", "three levels down")])])]),
    ("Nothing", "none", 0, None, []),
    ("Ref", "reference", 0, None, []),
    text("Special <name> & \"quotes\" 'too'", "<>&\"'"),
    text("Empty", ""),
]


def element(parent, node):
    name, kind, bits, value, children = node
    e = ET.SubElement(parent, "PROP")
    e.set("name", name)
    e.set("type", kind)
    if bits:
        e.set("flags", flags(bits))
    if value is not None:
        e.set("value", value)
    # Children in byte order of their UTF-8 names, as the tree enumerates them.
    for child in sorted(children, key=lambda c: c[0].encode()):
        element(e, child)


def fixture(out_path):
    root = ET.Element("KJMETADATA")
    for node in sorted(TREE, key=lambda c: c[0].encode()):
        element(root, node)
    ET.indent(root, space="  ")
    # No XML declaration: the bytes are UTF-8, read by tagvera as single-byte US-ASCII.
    with open(out_path, "wb") as f:
        f.write(ET.tostring(root, encoding="unicode").encode("utf-8") + b"\n")


def show(value):
    return "".join(c if 32 <= ord(c) < 127 and c != "\\" else "\\u%04x" % ord(c) for c in value)


def dump(path):
    def walk(e, depth):
        for child in e:
            if child.tag.upper() != "PROP":
                continue
            attrs = {k.lower(): v for k, v in child.attrib.items()}
            parts = [attrs.get(k) for k in ("name", "type", "flags", "value")]
            print("  " * depth + " | ".join("-" if p is None else show(p) for p in parts))
            walk(child, depth + 1)

    root = ET.parse(path).getroot()
    if root.tag.upper() != "KJMETADATA":
        sys.exit("not a KJMETADATA document: " + root.tag)
    walk(root, 0)


if __name__ == "__main__":
    if len(sys.argv) == 3 and sys.argv[1] == "fixture":
        fixture(sys.argv[2])
    elif len(sys.argv) == 3 and sys.argv[1] == "dump":
        dump(sys.argv[2])
    else:
        sys.exit(__doc__)
