#!/usr/bin/python3
"""Writes XML documents with Python's xml.etree and the events expat reports for each.

Output: tests/data/xml/etree/NAME.xml and NAME.events. An events file has one line per event,
in the document's own character set, with bytes outside printable ASCII (and quotes and
backslashes) written as \\xHH:

    start NAME @LINE a="v" ...   attributes in document order
    end NAME
    text "..."                   character data inside the root element
    comment "..."
    pi TARGET a="v" ...          the XML declaration too, as target "xml"

Text is what expat decodes, encoded back the way ElementTree writes it: characters the character
set cannot hold stay character references, and in attribute values tab, line feed and carriage
return stay the references ElementTree writes for them. The parser under test replaces only the
five predefined entities, so those are the forms it must deliver.
"""
import os
import re
import sys
import xml.etree.ElementTree as ET
import xml.parsers.expat

OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "data", "xml", "etree")

WORDS = {
    "US-ASCII": ["Beyonc\u00e9", "D\u00e9j\u00e0 vu", "\u8868\u793a", "plain words"],
    "ISO-8859-1": ["Caf\u00e9 M\u00fcller", "Bj\u00f6rk", "\u00c6r\u00f8", "\u00bfQu\u00e9?"],
    "UTF-8": ["Caf\u00e9", "\u8868\u793a", "\uc18c\ub140", "\u03a9\u03bc\u03ad\u03b3\u03b1", "\U0001f3b5"],
    # Several of these have a second byte of 0x5C, and the half-width katakana are single bytes.
    "Shift-JIS": ["\u8868\u793a", "\u30bd\u30d5\u30c8", "\u80fd\u529b", "\uff76\uff80\uff76\uff85", "\u65e5\u672c\u8a9e"],
    "Big5": ["\u8a31\u529f\u84cb", "\u4e2d\u6587", "\u97f3\u6a02"],
    "GB2312": ["\u4e2d\u6587", "\u97f3\u4e50", "\u6b4c\u624b"],
    "EUC-KR": ["\uc18c\ub140\uc2dc\ub300", "\uc74c\uc545", "\uac00\uc218"],
}

SPECIAL = "A & B <live> \"q\" 'a'"


def escaped(data: bytes) -> str:
    out = []
    for b in data:
        if 0x20 <= b < 0x7F and b not in (0x22, 0x5C):
            out.append(chr(b))
        else:
            out.append("\\x%02X" % b)
    return "".join(out)


def library(words):
    root = ET.Element("library", {"owner": words[0], "note": SPECIAL})
    root.append(ET.Comment(" made by xml.etree "))
    root.append(ET.ProcessingInstruction("xml-stylesheet", 'href="style.xsl" type="text/xsl"'))
    for i, word in enumerate(words):
        track = ET.SubElement(root, "track", {"n": str(i + 1), "title": word, "tabbed": "a\tb\nc"})
        ET.SubElement(track, "artist").text = word + " " + SPECIAL
        ET.SubElement(track, "empty")
        album = ET.SubElement(track, "album", {"year": str(1990 + i)})
        album.text = word
        ET.SubElement(album, "disc", {"n": "1"}).tail = " after the disc "
    ET.indent(root, space="  ")
    return root


def kjmetadata(pretty, count):
    root = ET.Element("KJMETADATA")
    track = ET.SubElement(root, "PROP", {"name": "Track", "type": "group"})
    ET.SubElement(track, "PROP", {"name": "Title", "type": "text", "value": SPECIAL})
    ET.SubElement(track, "PROP", {"name": "Number", "type": "number", "flags": "readonly,type", "value": "7"})
    ET.SubElement(track, "PROP", {"name": "Cover", "type": "binary", "value": "0a1b2c3d4e5f" * 8})
    ET.SubElement(track, "PROP", {"name": "Picture", "type": "reference", "flags": "private"})
    stats = ET.SubElement(root, "PROP", {"name": "Statistics", "type": "group"})
    for i in range(count):
        ET.SubElement(stats, "PROP", {"name": "Field %d" % i, "type": "text", "value": "v\u00e9%d" % i})
    if pretty:
        ET.indent(root, space="\t")
    return root


class Recorder:
    def __init__(self, codec):
        self.codec = codec
        self.lines = []
        self.text = []
        self.depth = 0

    def enc(self, s):
        return s.encode(self.codec, "xmlcharrefreplace")

    def attr(self, s):
        return self.enc(s.replace("\t", "&#09;").replace("\n", "&#10;").replace("\r", "&#13;"))

    def flush(self):
        if self.text:
            if self.depth > 0:
                self.lines.append(b'text "' + escaped(self.enc("".join(self.text))).encode() + b'"')
            self.text = []

    def attach(self, parser):
        def start(name, attrs):
            self.flush()
            line = b"start " + escaped(self.enc(name)).encode() + b" @%d" % parser.CurrentLineNumber
            for k, v in zip(attrs[0::2], attrs[1::2]):
                line += b" " + escaped(self.enc(k)).encode() + b'="' + escaped(self.attr(v)).encode() + b'"'
            self.lines.append(line)
            self.depth += 1

        def end(name):
            self.flush()
            self.depth -= 1
            self.lines.append(b"end " + escaped(self.enc(name)).encode())

        def data(text):
            self.text.append(text)

        def comment(text):
            self.flush()
            self.lines.append(b'comment "' + escaped(self.enc(text)).encode() + b'"')

        def pi(target, data):
            self.flush()
            line = b"pi " + escaped(self.enc(target)).encode()
            for k, _, v in re.findall(r"(\S+?)=([\"'])(.*?)\2", data):
                line += b" " + escaped(self.enc(k)).encode() + b'="' + escaped(self.enc(v)).encode() + b'"'
            self.lines.append(line)

        def decl(version, encoding, standalone):
            line = b'pi xml version="' + version.encode() + b'"'
            if encoding:
                line += b' encoding="' + encoding.encode() + b'"'
            self.lines.append(line)

        parser.ordered_attributes = True
        parser.buffer_text = True
        parser.buffer_size = 1 << 20
        parser.StartElementHandler = start
        parser.EndElementHandler = end
        parser.CharacterDataHandler = data
        parser.CommentHandler = comment
        parser.ProcessingInstructionHandler = pi
        parser.XmlDeclHandler = decl


def write(name, document: bytes, codec):
    recorder = Recorder(codec)
    parser = xml.parsers.expat.ParserCreate()
    recorder.attach(parser)
    # pyexpat reads multi-byte sets only as text it is handed already decoded.
    parser.Parse(document.decode(codec), True)
    with open(os.path.join(OUT, name + ".xml"), "wb") as f:
        f.write(document)
    with open(os.path.join(OUT, name + ".events"), "wb") as f:
        f.write(b"\n".join(recorder.lines) + b"\n")


def main():
    os.makedirs(OUT, exist_ok=True)
    for charset, words in WORDS.items():
        document = ET.tostring(library(words), encoding=charset, xml_declaration=True)
        write("library-" + charset.lower(), document, charset)
    write("kjmetadata-pretty", ET.tostring(kjmetadata(True, 20), encoding="us-ascii", xml_declaration=False),
          "us-ascii")
    write("kjmetadata-flat", ET.tostring(kjmetadata(False, 300), encoding="us-ascii", xml_declaration=False),
          "us-ascii")
    print("wrote fixtures to", os.path.normpath(OUT), file=sys.stderr)


if __name__ == "__main__":
    main()
