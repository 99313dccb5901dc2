#!/usr/bin/env python3
"""Times `tessline decode --summary` as a whole process against `grep -c RECV` on the same file.

The two run in turn, so that a machine that changes its speed changes both; the ratio is taken pair by
pair. grep writes to a pipe: to /dev/null it would stop at the first match. Peak memory is that of the
decoding process, for a small and a large input through a pipe.
"""
import argparse
import os
import pathlib
import statistics
import subprocess
import sys
import time


def run(arguments, stdin=None):
    """Runs a command; gives its wall seconds and its peak memory in MiB."""
    reader, writer = os.pipe()
    start = time.perf_counter()
    child = subprocess.Popen(arguments, stdin=stdin, stdout=writer)
    os.close(writer)
    while os.read(reader, 1 << 16):
        pass
    os.close(reader)
    _, status, usage = os.wait4(child.pid, 0)
    child.returncode = os.waitstatus_to_exitcode(status)
    seconds = time.perf_counter() - start
    if child.returncode != 0:
        sys.exit(f"{arguments[0]} failed with {child.returncode}")
    return seconds, usage.ru_maxrss / 1024


def compare(tessline, capture, threads, runs):
    decode = [tessline, "decode", "--summary", "--threads", str(threads), capture]
    grep = ["grep", "-c", "RECV", capture]
    run(grep), run(decode)
    pairs = [(run(decode), run(grep)) for _ in range(runs)]
    ratios = [ours[0] / theirs[0] for ours, theirs in pairs]
    ours = statistics.median(pair[0][0] for pair in pairs)
    theirs = statistics.median(pair[1][0] for pair in pairs)
    peak = max(pair[0][1] for pair in pairs)
    print(f"  {threads} thread{'s' if threads > 1 else ' '}  {ours * 1000:6.0f} ms   grep {theirs * 1000:6.0f} ms   "
          f"ratio {statistics.median(ratios):.2f}  ({min(ratios):.2f} to {max(ratios):.2f})   peak {peak:.0f} MiB")


def peak_memory(tessline, size):
    source = subprocess.Popen([tessline, "simulate", "--bytes", size], stdout=subprocess.PIPE)
    seconds, peak = run([tessline, "decode", "--summary"], stdin=source.stdout)
    source.stdout.close()
    source.wait()
    print(f"  {size:>5}  peak {peak:.0f} MiB   ({seconds:.1f} s, writer included)")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("tessline", help="the command to measure")
    parser.add_argument("directory", help="where the capture is kept between runs")
    parser.add_argument("--runs", type=int, default=11)
    options = parser.parse_args()
    directory = pathlib.Path(options.directory)
    directory.mkdir(parents=True, exist_ok=True)
    capture = directory / "capture-400M.txt"
    if not capture.exists():
        partial = capture.with_suffix(".part")
        with partial.open("wb") as output:
            subprocess.run([options.tessline, "simulate", "--bytes", "400M"], stdout=output, check=True)
        partial.rename(capture)
    print(f"tessline decode --summary against grep -c RECV, {capture.stat().st_size / 1e6:.0f} MB in the page cache, "
          f"{options.runs} pairs:")
    for threads in (1, 2):
        compare(options.tessline, str(capture), threads, options.runs)
    print("peak memory of decode --summary reading a pipe:")
    for size in ("100M", "4G"):
        peak_memory(options.tessline, size)


if __name__ == "__main__":
    main()
