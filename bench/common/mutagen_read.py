#!/usr/bin/python3
"""The mutagen side of the format benchmarks: the same tags and audio facts as their TagLib
readers, for every file given, in one process.
Usage: mutagen_read.py mp4|asf FILE..."""
import sys


def mp4_facts(path):
    from mutagen.mp4 import MP4
    f = MP4(path)
    tags = f.tags or {}
    total = sum(len(tags[key][0]) for key in ("\xa9nam", "\xa9ART", "\xa9alb", "\xa9gen") if key in tags)
    total += tags["trkn"][0][0] if "trkn" in tags else 0
    return f, total + sum(len(c) for c in tags.get("covr", []))


def asf_facts(path):
    from mutagen.asf import ASF
    f = ASF(path)
    tags = f.tags
    keys = ("Title", "Author", "WM/AlbumTitle", "WM/Genre", "WM/TrackNumber")
    total = sum(len(str(tags[key][0])) for key in keys if key in tags)
    return f, total + sum(len(p.value) for p in tags.get("WM/Picture", []))


def main():
    facts = {"mp4": mp4_facts, "asf": asf_facts}[sys.argv[1]]
    failures = 0
    total = 0
    for path in sys.argv[2:]:
        try:
            f, tag_total = facts(path)
        except Exception:  # a file mutagen cannot read counts, it does not stop the run
            failures += 1
            continue
        total += tag_total + int(f.info.length * 1000) + f.info.bitrate + f.info.sample_rate + f.info.channels
    print(total)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
