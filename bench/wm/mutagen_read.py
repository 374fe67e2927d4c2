#!/usr/bin/python3
"""The mutagen side of the Windows Media benchmark: the same tags and audio facts as the TagLib
reader, for every file given, in one process."""
import sys

from mutagen.asf import ASF


def main():
    failures = 0
    total = 0
    for path in sys.argv[1:]:
        try:
            f = ASF(path)
        except Exception:  # a file mutagen cannot read counts, it does not stop the run
            failures += 1
            continue
        tags = f.tags
        for key in ("Title", "Author", "WM/AlbumTitle", "WM/Genre", "WM/TrackNumber"):
            total += len(str(tags[key][0])) if key in tags else 0
        total += sum(len(p.value) for p in tags.get("WM/Picture", []))
        total += int(f.info.length * 1000) + f.info.bitrate + f.info.sample_rate + f.info.channels
    print(total)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
