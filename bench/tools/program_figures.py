#!/usr/bin/env python3
"""Figures of the qobase program on a user's workload, each as a ratio measured in one run.

  onsets --jobs 1 and --jobs 2 over a folder of 200 files of 30 s: files per second, best of
      three runs each, interleaved;
  info on a 1-hour WAVE file against a 1-second one: the time of each (headers only, so the
      ratio should stay near 1), best of seven, interleaved;
  onsets --markers on a 600 MB file: the peak resident size, against the same on a 6 MB file.

Usage: program_figures.py QOBASE [SCRATCH]. The scratch folder (default: a fresh one under /tmp)
needs about 2 GB; it is removed at the end.
"""
import os
import resource
import shutil
import struct
import subprocess
import sys
import tempfile
import time

RATE = 44100


def wave_header(channels, frames):
    data = frames * channels * 2
    fmt = struct.pack("<HHIIHH", 1, channels, RATE, RATE * channels * 2, channels * 2, 16)
    return (b"RIFF" + struct.pack("<I", 4 + 8 + len(fmt) + 8 + data) + b"WAVE" + b"fmt " +
            struct.pack("<I", len(fmt)) + fmt + b"data" + struct.pack("<I", data))


def write_hits(path, channels, seconds):
    """16-bit PCM with a decaying click every 0.37 s, streamed out in blocks."""
    frames = int(seconds * RATE)
    period = int(0.37 * RATE)
    one = bytearray()
    for i in range(period):
        level = int(20000 * (0.999 ** i) * (1 if (i * 7919) % 13 > 6 else -1))
        one += struct.pack("<h", level) * channels
    with open(path, "wb") as out:
        out.write(wave_header(channels, frames))
        written = 0
        while written < frames:
            take = min(period, frames - written)
            out.write(one[:take * channels * 2])
            written += take


def run(args):
    start = time.perf_counter()
    subprocess.run(args, check=True, stdout=subprocess.DEVNULL)
    return time.perf_counter() - start


def peak_rss_kib(args):
    """The peak resident size of one child run, from wait4's usage record."""
    child = subprocess.Popen(args, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(child.pid, 0)
    if status != 0:
        raise SystemExit("failed: " + " ".join(args))
    return usage.ru_maxrss


def main():
    qobase = os.path.abspath(sys.argv[1])
    scratch = sys.argv[2] if len(sys.argv) > 2 else tempfile.mkdtemp(prefix="qobase-figures-")
    os.makedirs(scratch, exist_ok=True)
    try:
        folder = os.path.join(scratch, "batch")
        os.makedirs(folder, exist_ok=True)
        write_hits(os.path.join(folder, "take000.wav"), 1, 30.0)
        for i in range(1, 200):
            shutil.copyfile(os.path.join(folder, "take000.wav"),
                            os.path.join(folder, "take%03d.wav" % i))
        best = {1: float("inf"), 2: float("inf")}
        for _ in range(3):
            for jobs in (1, 2):
                best[jobs] = min(best[jobs], run([qobase, "onsets", "--jobs", str(jobs), folder]))
        print("onsets, 200 files of 30 s (mono 16-bit 44.1 kHz), best of 3:")
        for jobs in (1, 2):
            print("  --jobs %d: %.2f s, %.1f files/s" % (jobs, best[jobs], 200 / best[jobs]))
        print("  speed-up --jobs 2 / --jobs 1: %.2f" % (best[1] / best[2]))

        # A 1-hour stereo file as a sparse file: the same size to a reader, no room on the disk.
        hour = os.path.join(scratch, "hour.wav")
        frames = 3600 * RATE
        with open(hour, "wb") as out:
            out.write(wave_header(2, frames))
        os.truncate(hour, len(wave_header(2, frames)) + frames * 4)
        second = os.path.join(scratch, "second.wav")
        write_hits(second, 2, 1.0)
        times = {hour: float("inf"), second: float("inf")}
        for _ in range(7):
            for path in (hour, second):
                times[path] = min(times[path], run([qobase, "info", path]))
        print("info, best of 7: 1-hour file %.4f s, 1-second file %.4f s, ratio %.2f" %
              (times[hour], times[second], times[hour] / times[second]))

        big = os.path.join(scratch, "big.wav")
        write_hits(big, 2, 600e6 / (4 * RATE))
        small = os.path.join(scratch, "small.wav")
        write_hits(small, 2, 6e6 / (4 * RATE))
        rss_big = peak_rss_kib([qobase, "onsets", big, "--markers", os.path.join(scratch, "m1.wav")])
        rss_small = peak_rss_kib([qobase, "onsets", small, "--markers",
                                  os.path.join(scratch, "m2.wav")])
        print("onsets --markers peak resident size: %d MB file %.1f MiB, %d MB file %.1f MiB, "
              "ratio %.2f" % (os.path.getsize(big) // 1000000, rss_big / 1024,
                              os.path.getsize(small) // 1000000, rss_small / 1024,
                              rss_big / rss_small))
    finally:
        if len(sys.argv) <= 2:
            shutil.rmtree(scratch, ignore_errors=True)


if __name__ == "__main__":
    main()
