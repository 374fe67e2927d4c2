"""Prints what mutagen reads from an MP3 file's ID3v2 tag, one "KEY\tvalue" line per frame.

Text frames by id, COMM and USLT as "ID:lang", pictures as the SHA-1 of their data; frames are
taken as the file has them (no conversion to v2.4), plus the tag's version as "version".
"""
import hashlib
import sys

from mutagen.id3 import ID3


def main(path):
    tags = ID3(path, translate=False)
    print("version\t%d.%d" % tags.version[:2])
    for frame in tags.values():
        fid = frame.FrameID
        if fid in ("COMM", "USLT"):
            text = frame.text if isinstance(frame.text, str) else "/".join(frame.text)
            print("%s:%s\t%s" % (fid, frame.lang, text.replace("\n", "\\n")))
        elif fid == "APIC":
            print("APIC\t%s" % hashlib.sha1(frame.data).hexdigest())
        elif hasattr(frame, "text") and fid.startswith("T"):
            print("%s\t%s" % (fid, "/".join(str(t) for t in frame.text)))


if __name__ == "__main__":
    main(sys.argv[1])
