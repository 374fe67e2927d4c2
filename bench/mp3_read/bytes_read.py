#!/usr/bin/python3
"""Sums, per file of a corpus, the bytes a traced program read from it: reads strace output made
with -y (file descriptors annotated with their paths) and prints median, 90th percentile, maximum
and mean bytes per file, overall and per kind of file (the name after the corpus number).
Usage: bytes_read.py STRACE_LOG CORPUS_DIR"""
import os
import re
import statistics
import sys

CALL = re.compile(r'^(?:\d+\s+)?(read|pread64|readv|preadv|preadv2)\((\d+)<([^>]*)>,.*\)\s+=\s+(\d+)')
# With several threads strace splits a call in two lines: "PID pread64(3</path>, <unfinished ...>"
# and later "PID <... pread64 resumed>..., 0) = 16384".
UNFINISHED = re.compile(r'^(\d+)\s+(?:read|pread64|readv|preadv|preadv2)\(\d+<([^>]*)>,.*<unfinished \.\.\.>')
RESUMED = re.compile(r'^(\d+)\s+<\.\.\. (?:read|pread64|readv|preadv|preadv2) resumed>.*\)\s+=\s+(\d+)')


def main():
    log, corpus = sys.argv[1], os.path.realpath(sys.argv[2])
    per_file = {os.path.join(corpus, n): 0 for n in os.listdir(corpus) if os.path.isfile(os.path.join(corpus, n))}
    pending = {}
    with open(log, errors="replace") as f:
        for line in f:
            m = CALL.match(line)
            if m and m.group(3) in per_file:
                per_file[m.group(3)] += int(m.group(4))
                continue
            m = UNFINISHED.match(line)
            if m:
                pending[m.group(1)] = m.group(2)
                continue
            m = RESUMED.match(line)
            if m and pending.get(m.group(1)) in per_file:
                per_file[pending.pop(m.group(1))] += int(m.group(2))
    def summary(values):
        values = sorted(values)
        p90 = values[min(len(values) - 1, int(len(values) * 0.9))]
        return "median %8.0f  p90 %8.0f  max %9.0f  mean %9.0f  (%d files)" % (
            statistics.median(values), p90, values[-1], statistics.mean(values), len(values))
    print("all        " + summary(per_file.values()))
    kinds = {}
    for path, n in per_file.items():
        kind = os.path.splitext(os.path.basename(path).split("_", 1)[1])[0]
        kinds.setdefault(kind, []).append(n)
    for kind in sorted(kinds):
        print("  %-20s %s" % (kind, summary(kinds[kind])))


if __name__ == "__main__":
    main()
