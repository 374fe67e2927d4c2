#!/usr/bin/python3
"""Makes the ID3 fixtures of tests/data/id3 and the regression files of tests/data/regress.

Each fixture is a second of lame-encoded audio with tags in front of it (and ID3v1 or Lyrics3
behind it): the m_* tags written with mutagen, the r_* tags laid out byte by byte here, covering
what writers do in the wild (v2.2, unsynchronisation, extended headers, footers, compression,
plain v2.4 sizes, tags in a row, ID3v1, Lyrics3). Beside each NAME.mp3, NAME.expect.json lists
what a correct reader sees, in the form tests/data/id3/README.md gives. Pictures are test cards
made with ffmpeg. Running the script again gives the same bytes.

Usage: tools/make-id3-fixtures.py [output folder]   (default tests/data)
"""
import hashlib
import json
import math
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import zlib

from mutagen.id3 import (APIC, COMM, GEOB, ID3, PRIV, TALB, TDRC, TIT2, TPE1, TRCK, TSOP, TXXX,
                         USLT)

TITLE = "Ünïcödé Tïtle – 日本語の題名"
ARTIST = "Björk & 坂本龍一"
ALBUM = "Café Album ß"
TRACK = "3/12"
COMMENT = ("jpn", "Kommentar", "コメント – ça va")
CATALOG = ("CATALOG", "ÄBC-123 – 番号")
LYRICS = ("eng", "", "Line one\nLíne two 歌詞")
BLOB = bytes((i * 37 + 11) % 256 for i in range(306))
PRIVATE = bytes((i * 53 + 5) % 256 for i in range(200))


def run(*command):
    subprocess.run(command, check=True)


def make_media(work):
    """One second of a tone as MPEG audio, and the two pictures."""
    rate = 22050
    samples = b"".join(struct.pack("<h", int(9000 * math.sin(2 * math.pi * 440 * i / rate)))
                       for i in range(rate))
    wav = os.path.join(work, "tone.wav")
    with open(wav, "wb") as f:
        f.write(b"RIFF" + struct.pack("<I", 36 + len(samples)) + b"WAVEfmt "
                + struct.pack("<IHHIIHH", 16, 1, 1, rate, rate * 2, 2, 16)
                + b"data" + struct.pack("<I", len(samples)) + samples)
    mp3 = os.path.join(work, "tone.mp3")
    run("lame", "--quiet", "-t", "-b", "32", "-m", "m", wav, mp3)
    pictures = []
    # mutagen writes frames of one kind smallest first: the front cover comes first, as in the wild.
    for name, size in (("front.jpg", "48x48"), ("back.png", "96x96")):
        path = os.path.join(work, name)
        run("ffmpeg", "-hide_banner", "-loglevel", "error", "-y", "-f", "lavfi", "-i",
            f"testsrc2=size={size}:rate=1", "-frames:v", "1", "-bitexact", path)
        pictures.append(read(path))
    return read(mp3), pictures[0], pictures[1]


def read(path):
    with open(path, "rb") as f:
        return f.read()


# --- Frames laid out by hand ----------------------------------------------------------------------

def encode(text, enc):
    if enc == 0:
        return text.encode("latin-1")
    if enc == 1:
        return b"\xff\xfe" + text.encode("utf-16-le")
    if enc == 2:
        return text.encode("utf-16-be")
    if enc == 3:
        return text.encode("utf-8")
    if enc == "bebom":
        return b"\xfe\xff" + text.encode("utf-16-be")
    raise ValueError(enc)


def term(enc):
    return b"\0" if enc in (0, 3) else b"\0\0"


def code(enc):
    return bytes([1 if enc == "bebom" else enc])


def text_frame(values, enc):
    return code(enc) + term(enc).join(encode(v, enc) for v in values)


def described(desc, value, enc, lang=None):
    return code(enc) + (lang.encode() if lang else b"") + encode(desc, enc) + term(enc) + encode(value, enc)


def picture(mime, kind, desc, data, enc, v22=False):
    head = (b"JPG" if mime == "image/jpeg" else b"PNG") if v22 else mime.encode() + b"\0"
    return code(enc) + head + bytes([kind]) + encode(desc, enc) + term(enc) + data


def geob(enc):
    return (code(enc) + b"application/octet-stream\0" + encode("blob.bin", enc) + term(enc)
            + encode("Blob", enc) + term(enc) + BLOB)


def standard_frames(enc, front, back, v22=False, pictures=True, front_desc="Front ©"):
    """The usual set: (v2.3 id, payload, what the expect file says)."""
    frames = [
        ("TIT2", text_frame([TITLE], enc), {"text": [TITLE]}),
        ("TPE1", text_frame([ARTIST], enc), {"text": [ARTIST]}),
        ("TALB", text_frame([ALBUM], enc), {"text": [ALBUM]}),
        ("TRCK", text_frame([TRACK], enc), {"text": [TRACK]}),
        ("COMM", described(COMMENT[1], COMMENT[2], enc, COMMENT[0]),
         {"lang": COMMENT[0], "desc": COMMENT[1], "text": [COMMENT[2]]}),
        ("TXXX", described(*CATALOG, enc), {"desc": CATALOG[0], "text": [CATALOG[1]]}),
        ("USLT", described(LYRICS[1], LYRICS[2], enc, LYRICS[0]),
         {"lang": LYRICS[0], "desc": LYRICS[1], "text": [LYRICS[2]]}),
        ("GEOB", geob(enc), binary("application/octet-stream", BLOB, desc="Blob", filename="blob.bin")),
    ]
    if pictures:
        frames += [
            ("APIC", picture("image/jpeg", 3, front_desc, front, enc, v22),
             binary("image/jpeg", front, desc=front_desc, type=3)),
            ("APIC", picture("image/png", 4, "Back", back, enc, v22),
             binary("image/png", back, desc="Back", type=4)),
        ]
    return frames


def binary(mime, data, **fields):
    return dict(mime=mime, **fields, size=len(data), sha1=hashlib.sha1(data).hexdigest())


V22_IDS = {"TIT2": "TT2", "TPE1": "TP1", "TALB": "TAL", "TRCK": "TRK", "COMM": "COM", "TXXX": "TXX",
           "USLT": "ULT", "GEOB": "GEO", "APIC": "PIC"}


def synchsafe(n):
    return bytes([(n >> 21) & 0x7F, (n >> 14) & 0x7F, (n >> 7) & 0x7F, n & 0x7F])


def unsynchronise(data):
    out = bytearray()
    for i, b in enumerate(data):
        out.append(b)
        if b == 0xFF and (i + 1 == len(data) or data[i + 1] == 0 or data[i + 1] >= 0xE0):
            out.append(0)
    return bytes(out)


def frame_bytes(fid, payload, major, flags=0, plain_size=False):
    if major == 2:
        return V22_IDS[fid].encode() + len(payload).to_bytes(3, "big") + payload
    size = len(payload).to_bytes(4, "big") if major == 3 or plain_size else synchsafe(len(payload))
    return fid.encode() + size + flags.to_bytes(2, "big") + payload


def tag(major, body, flags=0, padding=0, footer=False):
    size = len(body) + padding
    head = b"ID3" + bytes([major, 0, flags]) + synchsafe(size)
    return head + body + bytes(padding) + (b"3DI" + head[3:] if footer else b"")


def v23_compressed(payload):
    return len(payload).to_bytes(4, "big") + zlib.compress(payload, 9)


def v24_compressed(payload):
    return synchsafe(len(payload)) + zlib.compress(payload, 9)


def crc_bytes(data):
    return zlib.crc32(data).to_bytes(4, "big")


# --- Trailing tags --------------------------------------------------------------------------------

def id3v1(title, year, comment, genre, track=0):
    def field(text, width):
        data = text.encode("latin-1")[:width]
        return data + bytes(width - len(data))
    comment_width = 28 if track else 30
    tail = field(comment, comment_width) + (bytes([0, track]) if track else b"")
    return (b"TAG" + field(title, 30) + field("V1 Artist", 30) + field("V1 Album", 30)
            + year.encode() + tail + bytes([genre]))


V11 = id3v1("V1.1 Title", "2001", "short comment", 13, track=7)
V11_FRAMES = [
    ("TIT2", {"text": ["V1.1 Title"]}), ("TPE1", {"text": ["V1 Artist"]}),
    ("TALB", {"text": ["V1 Album"]}), ("TYER", {"text": ["2001"]}),
    ("COMM", {"lang": "", "desc": "", "text": ["short comment"]}), ("TRCK", {"text": ["7"]}),
    ("TCON", {"text": ["(13)"], "alt": ["Pop", "13"]}),
]


def lyrics3v2(fields):
    body = b"IND0000210" + b"".join(k.encode() + b"%05d" % len(v) + v for k, v in fields)
    return b"LYRICSBEGIN" + body + b"%06d" % (len(b"LYRICSBEGIN") + len(body)) + b"LYRICS200"


# --- Fixtures -------------------------------------------------------------------------------------

def expect_frames(frames):
    return [dict(id=fid, **expected) for fid, _, expected in frames]


def write_fixture(out, name, data, version, frames, note, loose=False, second=None):
    with open(os.path.join(out, name + ".mp3"), "wb") as f:
        f.write(data)
    expect = {"name": name, "version": version, "frames": frames}
    if second is not None:
        expect["second_tag"] = second
    expect.update(note=note, loose=loose)
    with open(os.path.join(out, name + ".expect.json"), "w", encoding="utf-8") as f:
        json.dump(expect, f, ensure_ascii=False, indent=1)
        f.write("\n")


def raw_fixtures(out, audio, front, back):
    def plain(major, enc, **options):
        frames = standard_frames(enc, front, back, v22=major == 2, front_desc="Front" if major == 2 else "Front ©")
        return frames, b"".join(frame_bytes(fid, p, major, **options) for fid, p, _ in frames)

    def put(name, major, frames, body, note, flags=0, padding=0, footer=False, trailer=b"", **more):
        data = tag(major, body, flags, padding, footer) + audio + trailer
        write_fixture(out, name, data, f"2.{major}", expect_frames(frames), note, **more)

    frames, body = plain(2, 1)
    put("r_v22", 2, frames, body, "v2.2, UTF-16 text, PIC JPG and PNG, GEO")
    put("r_v22_unsync", 2, frames, unsynchronise(body), "v2.2, whole-tag unsynchronisation", flags=0x80)

    frames, body = plain(3, 1)
    put("r_v23_utf16", 3, frames, body, "v2.3, UTF-16 with BOM")
    put("r_v23_unsync", 3, frames, unsynchronise(body), "v2.3, whole-tag unsynchronisation", flags=0x80)
    put("r_v23_padded", 3, frames, body, "v2.3, 8 KiB padding", padding=8192)
    put("r_v23_exthdr", 3, frames, (6).to_bytes(4, "big") + bytes(6) + body, "v2.3, extended header",
        flags=0x40)
    put("r_v23_exthdr_crc", 3, frames, (10).to_bytes(4, "big") + b"\x80\0" + bytes(4) + crc_bytes(body) + body,
        "v2.3, extended header with CRC", flags=0x40)
    compressed = b"".join(frame_bytes(fid, v23_compressed(p), 3, flags=0x0080) if fid in ("TIT2", "USLT", "GEOB", "APIC")
                          else frame_bytes(fid, p, 3) for fid, p, _ in frames)
    put("r_v23_compressed", 3, frames, compressed, "v2.3, TIT2, USLT, GEOB and APIC zlib-compressed")
    small = frames[:8]
    put("r_v23_plus_v11", 3, small, b"".join(frame_bytes(fid, p, 3) for fid, p, _ in small),
        "v2.3 UTF-16 and an ID3v1.1 record at the end (the ID3v2 tag wins)", trailer=V11)
    bebom = [("TIT2", text_frame([TITLE], "bebom"), {"text": [TITLE]}),
             ("TPE1", text_frame([ARTIST], "bebom"), {"text": [ARTIST]})]
    put("r_v23_utf16_bebom", 3, bebom, b"".join(frame_bytes(fid, p, 3) for fid, p, _ in bebom),
        "v2.3, UTF-16 with the big-endian BOM FE FF")

    for enc, name in ((3, "r_v24_utf8"), (1, "r_v24_utf16"), (2, "r_v24_utf16be")):
        frames, body = plain(4, enc)
        put(name, 4, frames, body, f"v2.4, encoding {enc}, synchsafe frame sizes past 127 bytes")
    frames, body = plain(4, 3)
    put("r_v24_unsync", 4, frames,
        b"".join(frame_bytes(fid, unsynchronise(p), 4, flags=0x0002) for fid, p, _ in frames),
        "v2.4, unsynchronisation per frame and in the header", flags=0x80)
    put("r_v24_exthdr", 4, frames, synchsafe(6) + b"\x01\x00" + body, "v2.4, extended header without flags",
        flags=0x40)
    crc = zlib.crc32(body)
    put("r_v24_exthdr_crc", 4, frames,
        synchsafe(12) + b"\x01\x20\x05" + bytes([(crc >> 28) & 0x7F]) + synchsafe(crc & 0x0FFFFFFF) + body,
        "v2.4, extended header with CRC-32", flags=0x40)
    put("r_v24_footer", 4, frames, body, "v2.4 with a footer, no padding", flags=0x10, footer=True)
    put("r_v24_padded", 4, frames, body, "v2.4 UTF-8, 8 KiB padding, and an ID3v1.1 record", padding=8192,
        trailer=V11)
    put("r_v24_plain_sizes", 4, frames, b"".join(frame_bytes(fid, p, 4, plain_size=True) for fid, p, _ in frames),
        "v2.4 with plain (not synchsafe) frame sizes, a common writer bug")
    put("r_v24_compressed", 4, frames,
        b"".join(frame_bytes(fid, v24_compressed(p), 4, flags=0x0009) for fid, p, _ in frames),
        "v2.4, compressed frames with a data length indicator")
    extra = [("TDRC", text_frame(["2024-05-06"], 3), {"text": ["2024-05-06"]}),
             ("TSOP", text_frame(["Sort Artist"], 3), {"text": ["Sort Artist"]}),
             ("TMOO", text_frame(["Calm"], 3), {"text": ["Calm"]})]
    odd = frame_bytes("RVA2", b"track\0\x01\xfe\x00\x00", 4) + frame_bytes("XYZW", b"unknown frame", 4)
    put("r_v24_unknown", 4, frames + extra, body + b"".join(frame_bytes(f, p, 4) for f, p, _ in extra) + odd,
        "v2.4 UTF-8 with TDRC, TSOP, TMOO, RVA2 and an unknown XYZW frame", loose=True)
    small = frames[:3] + extra[:1]
    put("r_v24_small", 4, small, b"".join(frame_bytes(fid, p, 4) for fid, p, _ in small),
        "v2.4 UTF-8, every frame under 128 bytes")
    multi = [("TPE1", text_frame([ARTIST, "Second Artist"], 3), {"text": [ARTIST, "Second Artist"]}),
             ("TIT2", text_frame([TITLE], 3), {"text": [TITLE]})]
    put("r_v24_multi", 4, multi, b"".join(frame_bytes(fid, p, 4) for fid, p, _ in multi),
        "v2.4, TPE1 with two NUL-separated values")

    first = [("TIT2", text_frame(["First tag title ä"], 0), {"text": ["First tag title ä"]}),
             ("TPE1", text_frame(["First"], 0), {"text": ["First"]})]
    first_tag = tag(3, b"".join(frame_bytes(fid, p, 3) for fid, p, _ in first))
    for name, major, second in (
            ("r_two_tags", 4, [("TIT2", "Second tag title 日本"), ("TALB", ALBUM)]),
            ("r_two_tags_v23", 3, [("TIT2", "Second v2.3 tag title"), ("TALB", "Album 2")])):
        enc = 3 if major == 4 else 1
        body = b"".join(frame_bytes(fid, text_frame([t], enc), major) for fid, t in second)
        write_fixture(out, name, first_tag + tag(major, body) + audio, "2.3", expect_frames(first),
                      f"a v2.3 tag straight followed by a v2.{major} tag",
                      second=[{"id": fid, "text": [t]} for fid, t in second])

    v1_frames = [("TIT2", {"text": ["V1 Title Café"]}), ("TPE1", {"text": ["V1 Artist"]}),
                 ("TALB", {"text": ["V1 Album"]}), ("TYER", {"text": ["1999"]}),
                 ("COMM", {"lang": "", "desc": "", "text": ["V1 comment"]}),
                 ("TCON", {"text": ["(17)"], "alt": ["Rock", "17"]})]
    write_fixture(out, "r_v1", audio + id3v1("V1 Title Café", "1999", "V1 comment", 17), "1.0",
                  [dict(id=i, **e) for i, e in v1_frames], "ID3v1 only", loose=True)
    write_fixture(out, "r_v11", audio + V11, "1.1", [dict(id=i, **e) for i, e in V11_FRAMES],
                  "ID3v1.1 only (track 7)", loose=True)
    lyrics_text = "[00:01]Lyrics line one\r\n[00:02]line two"
    block = lyrics3v2([("LYR", lyrics_text.encode()), ("ETT", b"Lyrics3 Title"), ("EAR", b"Lyrics3 Artist"),
                       ("EAL", b"Lyrics3 Album"), ("INF", b"info text")])
    record = id3v1("Lyrics3 Title", "2001", "short comment", 13, track=7)
    frames = [("TIT2", {"text": ["Lyrics3 Title"]}), ("TPE1", {"text": ["Lyrics3 Artist"]}),
              ("TALB", {"text": ["Lyrics3 Album"]})] + V11_FRAMES[3:] + [
              ("USLT", {"lang": "", "desc": "", "text": [lyrics_text.replace("\r\n", "\n")]})]
    write_fixture(out, "r_lyrics3v2", audio + block + record, "1.1", [dict(id=i, **e) for i, e in frames],
                  "a Lyrics3 v2.00 block and ID3v1.1 (ETT, EAR and EAL extend the ID3v1 fields)", loose=True)


def mutagen_fixtures(out, audio, front, back, work):
    long_text = "x" * 300
    for name, major, enc in (("m_v23_latin1", 3, 0), ("m_v23_utf16", 3, 1), ("m_v24_latin1", 4, 0),
                             ("m_v24_utf16", 4, 1), ("m_v24_utf16be", 4, 2), ("m_v24_utf8", 4, 3),
                             ("m_v24_utf8_multi", 4, 3)):
        latin = enc == 0
        title = "Café Déjà Vu" if latin else TITLE
        artists = ["Motörhead"] if latin else [ARTIST] + (["Second Artist"] if name.endswith("multi") else [])
        frames = [
            (TIT2(encoding=enc, text=[title]), "TIT2", {"text": [title]}),
            (TALB(encoding=enc, text=[ALBUM]), "TALB", {"text": [ALBUM]}),
            (TRCK(encoding=enc, text=[TRACK]), "TRCK", {"text": [TRACK]}),
            (TPE1(encoding=enc, text=artists), "TPE1", {"text": artists}),
            (TXXX(encoding=enc, desc="LONG", text=[long_text]), "TXXX", {"desc": "LONG", "text": [long_text]}),
            (GEOB(encoding=enc, mime="application/octet-stream", filename="blob.bin", desc="Blob", data=BLOB),
             "GEOB", binary("application/octet-stream", BLOB, filename="blob.bin", desc="Blob")),
            (APIC(encoding=enc, mime="image/jpeg", type=3, desc="Front ©", data=front),
             "APIC", binary("image/jpeg", front, type=3, desc="Front ©")),
            (APIC(encoding=enc, mime="image/png", type=4, desc="Back", data=back),
             "APIC", binary("image/png", back, type=4, desc="Back")),
            (PRIV(owner="example.org/test", data=PRIVATE), "PRIV", dict(owner="example.org/test",
                                                                       size=len(PRIVATE),
                                                                       sha1=hashlib.sha1(PRIVATE).hexdigest())),
        ]
        if not latin:
            frames += [
                (COMM(encoding=enc, lang=COMMENT[0], desc=COMMENT[1], text=[COMMENT[2]]), "COMM",
                 {"lang": COMMENT[0], "desc": COMMENT[1], "text": [COMMENT[2]]}),
                (TXXX(encoding=enc, desc=CATALOG[0], text=[CATALOG[1]]), "TXXX",
                 {"desc": CATALOG[0], "text": [CATALOG[1]]}),
                (USLT(encoding=enc, lang=LYRICS[0], desc=LYRICS[1], text=LYRICS[2]), "USLT",
                 {"lang": LYRICS[0], "desc": LYRICS[1], "text": [LYRICS[2]]}),
            ]
        if major == 3:
            frames.append((TDRC(encoding=enc, text=["2024"]), "TYER", {"text": ["2024"]}))
        else:
            frames += [(TDRC(encoding=enc, text=["2024-05-06"]), "TDRC", {"text": ["2024-05-06"]}),
                       (TSOP(encoding=enc, text=["Sort Artist"]), "TSOP", {"text": ["Sort Artist"]})]
        path = os.path.join(work, name + ".mp3")
        with open(path, "wb") as f:
            f.write(audio)
        tags = ID3()
        for frame, _, _ in frames:
            tags.add(frame)
        if major == 3:
            tags.update_to_v23()
        tags.save(path, v2_version=major, padding=lambda info: 256)
        encoding = ["Latin-1", "UTF-16 with BOM", "UTF-16BE", "UTF-8"][enc]
        write_fixture(out, name, read(path), f"2.{major}", [dict(id=fid, **e) for _, fid, e in frames],
                      f"written with mutagen, v2.{major}, all text {encoding}")


def block_record(rtype, name, value=b"", children=()):
    """One big-endian jukebox block record, each child under its own table entry."""
    value_at = 28 + len(name) + 1
    table_at = value_at + 4 + len(value)
    child_at = table_at + 8 * len(children)
    table = b""
    for child in children:
        table += struct.pack(">II", child_at, 1)
        child_at += len(child)
    head = struct.pack(">IIIIIII", child_at, rtype, 0, value_at, table_at, len(children), len(name) + 1)
    return head + name.encode() + b"\0" + struct.pack(">I", len(value)) + value + table + b"".join(children)


def regress_files(out, audio):
    """One small file per bug found so far, named after what broke (tests/regress/regress_test.cpp)."""
    files = {
        # Opening it fails (tags, then no MPEG audio); the importer kept its handle on the file.
        "failed_open_kept_the_file_open": tag(3, frame_bytes("TIT2", text_frame(["no audio"], 0), 3))
        + b"not MPEG audio, only text\n" * 40,
        # Written through the importer, whose statistics then gave the size from before the write.
        "size_after_write_was_the_old_one": audio,
        # A URL frame of only its terminator, rendered again on a write as a frame no reader keeps.
        "empty_url_frame_survived_a_write": tag(3, frame_bytes("WOAR", b"\0", 3)
                                                + frame_bytes("TIT2", text_frame(["title"], 0), 3)) + audio,
        # Garbage before the first frame of a file shorter than the scan's window: an empty read.
        "garbage_before_a_short_stream": b"\x00junk" * 60 + audio,
        # A title the tree holds as text, whose data the importer still tried to hand out.
        "data_asked_of_a_text_property": tag(3, frame_bytes("TIT2", text_frame(["title"], 0), 3)) + audio,
        # A broken UTF-8 sequence, replaced once per byte instead of once for the whole sequence.
        "broken_utf8_replaced_per_byte": tag(4, frame_bytes("TIT2", b"\x03A\xe1\x80B", 4)) + audio,
        # A jukebox block whose cover and lyrics were file references: a write copied the file in.
        "jukebox_reference_read_the_named_file": tag(3, frame_bytes("GEOB", b"\0binary\0\0KorvaJukebox:Metadata\0"
            + b"KJMD" + struct.pack(">I", 1) + block_record(9, "Root", children=(
                block_record(9, "Album", children=(block_record(11, "Cover Art", b"/etc/passwd\0"),)),
                block_record(9, "Track", children=(block_record(11, "Lyrics", b"/etc/passwd\0"),)))), 3)) + audio,
        # A play counter longer than 32 bits: id3lib read its tail as a compressed frame of 4 GB.
        "long_counter_read_as_a_frame": tag(3, frame_bytes("PCNT", b"\0\0\0\5" + b"TIT2" + struct.pack(">IH", 8, 0x80)
                                                           + struct.pack(">I", 0xF0000000) + b"xxxx", 3)
                                            + frame_bytes("TIT2", text_frame(["title"], 0), 3)) + audio,
        # Bytes that are not a frame header hid the frames after them; a write dropped those.
        "damaged_tag_lost_later_frames": tag(3, frame_bytes("TIT2", text_frame(["title"], 0), 3)
                                             + b"\x01\x02\x03\x04" + struct.pack(">IH", 10, 0) + b"x" * 10
                                             + frame_bytes("TPE1", text_frame(["artist"], 0), 3), padding=512) + audio,
        # A jukebox block that does not read, which a write replaced by one built from the tree.
        "unreadable_jukebox_block_replaced": tag(3, frame_bytes("TIT2", text_frame(["title"], 0), 3)
                                                 + frame_bytes("GEOB", b"\0binary\0\0KorvaJukebox:Metadata\0KJMD"
                                                               + struct.pack(">I", 1) + b"not a record" * 3, 3), padding=512) + audio,
        # A tag longer than the first read, whose next read failed: taken for a damaged tag, so that
        # `rm` found no cover and `set` wrote the file without it, both with exit status 0.
        "failed_read_taken_for_a_damaged_tag": tag(3, frame_bytes("APIC", picture("image/jpeg", 3, "", b"\xff\xd8"
                                                   + bytes(range(256)) * 80 + b"\xff\xd9", 0), 3), padding=512) + audio,
        # The same for the blocks at the end: a failing read of the Lyrics3 block was taken for damage.
        "failed_read_at_the_end_taken_for_damage": audio + lyrics3v2([("LYR", b"Words of the song"), ("ETT", b"Title")])
        + id3v1("Title", "2026", "", 8),
    }
    os.makedirs(out, exist_ok=True)
    for name, data in files.items():
        with open(os.path.join(out, name + ".mp3"), "wb") as f:
            f.write(data)


def main():
    out = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), "..", "tests", "data")
    work = tempfile.mkdtemp()
    try:
        audio, front, back = make_media(work)
        id3 = os.path.join(out, "id3")
        os.makedirs(id3, exist_ok=True)
        raw_fixtures(id3, audio, front, back)
        mutagen_fixtures(id3, audio, front, back, work)
        regress_files(os.path.join(out, "regress"), audio)
    finally:
        shutil.rmtree(work)


if __name__ == "__main__":
    main()
