#!/usr/bin/python3
"""The mutagen side of the MP3 reading benchmark: the same tags and audio facts as taglib_read,
for every file given (or every .mp3 below a folder), in one process, one line per file."""
import os
import sys

from mutagen.mp3 import MP3


def files_of(args):
    for arg in args:
        if os.path.isdir(arg):
            found = []
            for root, _, names in os.walk(arg):
                found += [os.path.join(root, n) for n in names if n.endswith(".mp3")]
            yield from sorted(found)
        else:
            yield arg


def first(tags, key):
    frame = tags.get(key) if tags else None
    return str(frame.text[0]) if frame is not None and getattr(frame, "text", None) else ""


def main():
    failures = 0
    out = sys.stdout
    for path in files_of(sys.argv[1:]):
        try:
            audio = MP3(path)
        except Exception as e:  # a file mutagen cannot read counts, it does not stop the run
            out.write("%s\terror %s\n" % (path, e))
            failures += 1
            continue
        tags = audio.tags
        comment = ""
        pictures = 0
        if tags:
            comms = tags.getall("COMM")
            comment = str(comms[0].text[0]) if comms and comms[0].text else ""
            pictures = sum(len(p.data) for p in tags.getall("APIC"))
        info = audio.info
        out.write("%s\t%s\t%s\t%s\t%s\t%s\t%s\t%d\t%d\t%d\t%d\t%d\n" % (
            path, first(tags, "TIT2"), first(tags, "TPE1"), first(tags, "TALB"), first(tags, "TRCK"),
            first(tags, "TCON"), comment, pictures, int(info.length * 1000), info.bitrate, info.sample_rate,
            info.channels))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
