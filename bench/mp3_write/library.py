#!/usr/bin/python3
"""A title change on fresh copies of a whole mixed library, as a user tags a library for the first
time: tagvera set (one job and one per core), a TagLib program and mutagen, alternated run by run.
Each writer gets its own fresh copy of the corpus per run, synced before the clock starts; mutagen
and TagLib do not sync, so their time includes one `sync` after the batch, as the fair comparison
with a command that returns with its writes on disk. Prints files/s by the clock and by CPU time
(user + system of the writer and its sync) and how each writer placed its tags, told by the files
themselves: in place (the same file, its audio where it was; an ID3v1 record may have been added
at the end), replaced (a new file under the old name) or shifted (the same file with its audio
moved, which a kill can leave half-moved).
Usage: library.py CORPUS_DIR TAGLIB_WRITER RUNS BUILD_DIR [BUILD_DIR...]
(each BUILD_DIR with cli/tagvera and src/libtagvera.so: builds of two commits side by side)"""
import os
import resource
import shutil
import subprocess
import sys
import tempfile
import time

MUTAGEN_WRITER = r'''
import sys
from mutagen.id3 import ID3, ID3NoHeaderError, TIT2
for path in sys.argv[2:]:
    try:
        tag = ID3(path)
    except ID3NoHeaderError:
        tag = ID3()
    tag.add(TIT2(encoding=3, text=sys.argv[1]))
    tag.save(path)
'''


def fresh_copy(corpus, into):
    shutil.rmtree(into, ignore_errors=True)
    shutil.copytree(corpus, into)
    os.sync()
    return sorted(os.path.join(into, name) for name in os.listdir(into) if name.endswith(".mp3"))


def audio_start(path):
    """Where the audio begins: after the ID3v2 tag at the start of the file, if there is one."""
    with open(path, "rb") as f:
        head = f.read(10)
    if len(head) < 10 or head[:3] != b"ID3":
        return 0
    size = (head[6] << 21) | (head[7] << 14) | (head[8] << 7) | head[9]
    return 10 + size + (10 if head[5] & 0x10 else 0)


def placements(files, before):
    counts = {"in place": 0, "replaced": 0, "shifted": 0, "unchanged": 0}
    for path in files:
        (old, old_audio), new = before[path], os.stat(path)
        if new.st_ino != old.st_ino:
            counts["replaced"] += 1
        elif audio_start(path) != old_audio:
            counts["shifted"] += 1
        elif new.st_mtime_ns != old.st_mtime_ns:
            counts["in place"] += 1
        else:
            counts["unchanged"] += 1
    return counts


def timed(command):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.perf_counter()
    failed = subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, check=False)
    wall = time.perf_counter() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    cpu = (after.ru_utime - before.ru_utime) + (after.ru_stime - before.ru_stime)
    if failed.returncode != 0:
        print("  (exit %d: %s)" % (failed.returncode, failed.stderr.decode(errors="replace").strip()[:200]))
    return wall, cpu


def writers_for(builds, taglib):
    cores = os.cpu_count() or 1
    writers = []
    for build in builds:
        command = [os.path.join(build, "cli", "tagvera"), "--library", os.path.join(build, "src", "libtagvera.so")]
        label = " (%s)" % os.path.basename(os.path.normpath(build)) if len(builds) > 1 else ""
        for jobs in sorted({1, cores}):
            writers.append(("tagvera set -j%d%s" % (jobs, label),
                            lambda files, title, c=command, j=jobs: c + ["set", "-q", "-j%d" % j, *files,
                                                                         "Track:Name=" + title]))
    writers.append(("TagLib + sync", lambda files, title: ["sh", "-c", '"$0" "$@" && sync', taglib, *files]))
    writers.append(("mutagen + sync", lambda files, title: ["sh", "-c", '/usr/bin/python3 -c "$0" "$@" && sync',
                                                            MUTAGEN_WRITER, title, *files]))
    return writers


def main():
    corpus, taglib, runs, builds = sys.argv[1], sys.argv[2], int(sys.argv[3]), sys.argv[4:]
    work = tempfile.mkdtemp(prefix="tagvera-library-")
    os.environ["TAGVERA_PREFERENCES"] = os.path.join(work, "preferences")
    try:
        for run in range(1, runs + 1):
            print("run %d of %d, load average %.1f" % (run, runs, os.getloadavg()[0]))
            for name, command in writers_for(builds, taglib):
                files = fresh_copy(corpus, os.path.join(work, "copy"))
                before = {path: (os.stat(path), audio_start(path)) for path in files}
                wall, cpu = timed(command(files, "Library title %d" % run))
                counts = placements(files, before)
                print("  %-28s %6.0f files/s clock (%5.2f s)  %6.0f files/s CPU (%5.2f s)  %s" % (
                    name, len(files) / wall, wall, len(files) / max(cpu, 1e-6), cpu,
                    ", ".join("%s %d" % item for item in counts.items() if item[1])))
    finally:
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
