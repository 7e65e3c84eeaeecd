#!/usr/bin/env python3
"""Writes Standard MIDI Files with python3-mido, an implementation independent of ours, and
describes each one as mido reads it back, for the interoperability test.

usage: mido_fixtures.py OUTDIR

For every fixture NAME it writes OUTDIR/NAME.mid and OUTDIR/NAME.txt. The text holds, one item
per line:
  division N
  event TICK SECONDS COUNT HEX  every channel message of mido's merged track, in order: absolute
                                ticks and seconds, how many merged messages (meta and sysex
                                included) came up to it, and its bytes
  end_of_track N                end-of-track events over all tracks
  total_ticks N                 the end of the longest track
  total_seconds S               mido's length of the file
  running_status_saved N        bytes mido saved by running status when writing

Exit status 3 when mido cannot be imported.
"""
import os
import sys

try:
    import mido
except ImportError:
    sys.exit(3)


def vlq_size(value):
    size = 1
    while value >= 0x80:
        value >>= 7
        size += 1
    return size


def full_size(mid):
    """The file size without running status, from mido's own view of the messages."""
    size = 14
    for track in mid.tracks:
        size += 8
        has_end = False
        for msg in track:
            size += vlq_size(msg.time)
            if msg.type == 'sysex':
                size += 1 + vlq_size(len(msg.data) + 1) + len(msg.data) + 1
            else:
                size += len(msg.bytes())
            has_end = has_end or msg.type == 'end_of_track'
        if not has_end:
            size += 4
    return size


def format0():
    mid = mido.MidiFile(type=0, ticks_per_beat=96)
    t = mido.MidiTrack()
    mid.tracks.append(t)
    t.append(mido.MetaMessage('set_tempo', tempo=600000, time=0))
    t.append(mido.MetaMessage('track_name', name='format 0', time=0))
    t.append(mido.Message('program_change', channel=2, program=33, time=0))
    t.append(mido.Message('sysex', data=[0x7E, 0x7F, 0x09, 0x01], time=5))
    for i, note in enumerate([60, 62, 64, 65, 67]):
        t.append(mido.Message('note_on', channel=2, note=note, velocity=90 + i, time=7 if i else 3))
        t.append(mido.Message('note_on', channel=2, note=note, velocity=0, time=24))
    t.append(mido.MetaMessage('set_tempo', tempo=300000, time=11))
    t.append(mido.Message('control_change', channel=2, control=7, value=100, time=5))
    t.append(mido.Message('control_change', channel=2, control=10, value=30, time=3))
    t.append(mido.Message('pitchwheel', channel=2, pitch=-2000, time=9))
    t.append(mido.Message('sysex', data=[0x43, 0x10, 0x4C], time=13))
    t.append(mido.Message('note_on', channel=2, note=72, velocity=100, time=1))
    t.append(mido.Message('note_off', channel=2, note=72, velocity=40, time=17))
    t.append(mido.MetaMessage('set_tempo', tempo=1000000, time=3))
    t.append(mido.Message('aftertouch', channel=2, value=50, time=33))
    t.append(mido.Message('polytouch', channel=2, note=72, value=20, time=1))
    t.append(mido.MetaMessage('end_of_track', time=19))
    return mid


def format1():
    mid = mido.MidiFile(type=1, ticks_per_beat=480)
    conductor = mido.MidiTrack()
    conductor.append(mido.MetaMessage('time_signature', numerator=3, denominator=4, time=0))
    conductor.append(mido.MetaMessage('set_tempo', tempo=500000, time=0))
    conductor.append(mido.MetaMessage('set_tempo', tempo=400000, time=960))
    conductor.append(mido.MetaMessage('set_tempo', tempo=750000, time=1441))
    conductor.append(mido.MetaMessage('end_of_track', time=2000))
    piano = mido.MidiTrack()
    piano.append(mido.Message('program_change', channel=0, program=0, time=0))
    bass = mido.MidiTrack()
    bass.append(mido.Message('program_change', channel=1, program=32, time=0))
    bass.append(mido.Message('sysex', data=[0x41, 0x10, 0x42], time=120))
    for bar in range(8):
        piano.append(mido.Message('note_on', channel=0, note=60 + bar, velocity=80, time=0 if bar == 0 else 120))
        piano.append(mido.Message('note_on', channel=0, note=64 + bar, velocity=70, time=0))
        piano.append(mido.Message('note_off', channel=0, note=60 + bar, velocity=0, time=240))
        piano.append(mido.Message('note_off', channel=0, note=64 + bar, velocity=0, time=120))
        # Lands on the same ticks as the piano's first note of the bar (480 per bar).
        bass.append(mido.Message('note_on', channel=1, note=36 + bar, velocity=100,
                                 time=360 if bar == 0 else 240))
        bass.append(mido.Message('note_on', channel=1, note=36 + bar, velocity=0, time=240))
    piano.append(mido.Message('control_change', channel=0, control=64, value=127, time=7))
    piano.append(mido.Message('control_change', channel=0, control=64, value=0, time=77))
    mid.tracks.extend([conductor, piano, bass])
    return mid


def steady():
    """No tempo change after the start, so tick totals compare exactly."""
    mid = mido.MidiFile(type=1, ticks_per_beat=192)
    a = mido.MidiTrack()
    a.append(mido.MetaMessage('set_tempo', tempo=450000, time=0))
    a.append(mido.MetaMessage('end_of_track', time=100000))
    b = mido.MidiTrack()
    for i in range(300):
        b.append(mido.Message('note_on', channel=9, note=36 + i % 12, velocity=1 + i % 127, time=i * 3 % 200))
        b.append(mido.Message('note_on', channel=9, note=36 + i % 12, velocity=0, time=5))
    b.append(mido.Message('sysex', data=[1, 2, 3], time=20000))
    mid.tracks.extend([a, b])
    return mid


def describe(mid, path):
    lines = ['division %d' % mid.ticks_per_beat]
    merged = mido.merge_tracks(mid.tracks)
    tick = 0
    seconds = 0.0
    timed = list(mid)  # delta times in seconds, over the same merged track
    assert len(timed) == len(merged)
    for count, (msg, timed_msg) in enumerate(zip(merged, timed), start=1):
        tick += msg.time
        seconds += timed_msg.time
        if not msg.is_meta and msg.type != 'sysex':
            lines.append('event %d %.9f %d %s' % (tick, seconds, count, msg.hex()))
    lines.append('end_of_track %d' % sum(
        1 for track in mid.tracks for msg in track if msg.type == 'end_of_track'))
    lines.append('total_ticks %d' % max(sum(msg.time for msg in track) for track in mid.tracks))
    lines.append('total_seconds %.9f' % mid.length)
    lines.append('running_status_saved %d' % (full_size(mid) - os.path.getsize(path)))
    return '\n'.join(lines) + '\n'


def main():
    if len(sys.argv) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    outdir = sys.argv[1]
    for name, make in (('format0', format0), ('format1', format1), ('steady', steady)):
        mid = make()
        path = os.path.join(outdir, name + '.mid')
        mid.save(path)
        # Read back what was written, so the description is mido's view of the file itself.
        reread = mido.MidiFile(path)
        with open(os.path.join(outdir, name + '.txt'), 'w') as out:
            out.write(describe(reread, path))
    return 0


if __name__ == '__main__':
    sys.exit(main())
