#!/usr/bin/python3
"""Runs a command several times with its output discarded and prints the best wall time and the
best CPU time (user + system of the command and its children) in seconds: "WALL CPU".
The machine is shared, so CPU time is the steadier figure.
Usage: time_runs.py RUNS COMMAND..."""
import resource
import subprocess
import sys
import time


def main():
    runs, command = int(sys.argv[1]), sys.argv[2:]
    best_wall = best_cpu = None
    for _ in range(runs):
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        start = time.perf_counter()
        subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
        wall = time.perf_counter() - start
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        cpu = (after.ru_utime - before.ru_utime) + (after.ru_stime - before.ru_stime)
        best_wall = wall if best_wall is None else min(best_wall, wall)
        best_cpu = cpu if best_cpu is None else min(best_cpu, cpu)
    print("%.4f %.4f" % (best_wall, best_cpu))


if __name__ == "__main__":
    main()
