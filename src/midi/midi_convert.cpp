// QoMidiParseAt's conversion: merges the tracks by time and writes the converted MIDI stream.
#include <qobase/midi/midi_parse_at.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <new>

#include "midi/midi_track_reader.h"

namespace {

constexpr size_t k_streamHeaderSize = 6;
// Room a written channel or end-of-track event, or a closing note off, may need at most.
constexpr size_t k_eventRoom = 10;
constexpr uint8_t k_controllerSustain = 64;
constexpr uint8_t k_controllerAllSoundOff = 0x78;
constexpr uint8_t k_controllerAllNotesOff = 0x7B;
constexpr uint8_t k_statusMeta = 0xFF;
constexpr uint8_t k_metaEndOfTrack = 0x2F;
constexpr uint8_t k_metaSetTempo = 0x51;
constexpr float k_defaultTempo = 120.0f;  // beats per minute until a tempo event says otherwise

// Writes a delta time in its shortest form; the value is taken modulo 2^28.
inline unsigned char* WriteVlq(unsigned char* w, uint64_t value) {
  uint32_t v = static_cast<uint32_t>(value & 0x0FFFFFFFu);
  if (v < 0x80) {
    *w++ = static_cast<unsigned char>(v);
    return w;
  }
  unsigned char bytes[4];
  int count = 0;
  bytes[count++] = static_cast<unsigned char>(v & 0x7F);
  for (v >>= 7; v != 0; v >>= 7) bytes[count++] = static_cast<unsigned char>(0x80 | (v & 0x7F));
  while (count > 0) *w++ = bytes[--count];
  return w;
}

inline void WriteFloatLittleEndian(unsigned char* w, float value) {
  uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  for (int i = 0; i < 4; ++i) w[i] = static_cast<unsigned char>(bits >> (8 * i));
}

// A delta time expressed in ticks of the stream's tempo: floor(d * scale + 0.5), the product
// in single precision. A result that is not a number counts as 0; a huge one is held at the
// largest 32-bit value so it can never overflow the conversion.
inline uint64_t ScaleDelta(uint32_t delta, float scale) {
  if (scale == 1.0f && delta < (1u << 24)) return delta;  // exact in single precision
  const float product = static_cast<float>(delta) * scale;
  const double rounded = std::floor(static_cast<double>(product) + 0.5);
  if (!(rounded > 0.0)) return 0;
  if (rounded >= 4294967295.0) return 0xFFFFFFFFu;
  return static_cast<uint64_t>(rounded);
}

// The note list change a written channel event makes.
inline bool ApplyToNotes(QoMidiActiveNotes& notes, const uint8_t* event) {
  const uint8_t type = event[0] & 0xF0;
  const uint8_t channel = event[0] & 0x0F;
  if (type == 0x90 && event[2] != 0) return notes.PushBack(event[1], channel);
  if (type == 0x80 || type == 0x90) {
    notes.RemoveFirst(event[1], channel);
  } else if (type == 0xB0 &&
             (event[1] == k_controllerAllNotesOff || event[1] == k_controllerAllSoundOff)) {
    notes.RemoveChannel(channel);
  }
  return true;
}

// The merge order: the earliest event first, the lower track index on equal times.
struct Pending {
  uint64_t time;
  uint32_t track;
};

inline bool Earlier(const Pending& a, const Pending& b) {
  return a.time < b.time || (a.time == b.time && a.track < b.track);
}

void SiftDown(Pending* heap, size_t count, size_t i) {
  const Pending item = heap[i];
  for (;;) {
    size_t child = 2 * i + 1;
    if (child >= count) break;
    if (child + 1 < count && Earlier(heap[child + 1], heap[child])) ++child;
    if (!Earlier(heap[child], item)) break;
    heap[i] = heap[child];
    i = child;
  }
  heap[i] = item;
}

// The bytes from the first track's data to the last track's end; empty tracks have no data.
size_t TrackDataSpan(const QoMidiTrack* tracks, uint32_t count) {
  const unsigned char* firstData = nullptr;
  const unsigned char* lastEnd = nullptr;
  for (uint32_t i = 0; i < count; ++i) {
    if (!tracks[i].start) continue;
    if (!firstData) firstData = tracks[i].start;
    lastEnd = tracks[i].end;
  }
  return firstData ? static_cast<size_t>(lastEnd - firstData) : 0;
}

// The tracks merged by time: a heap holding each live track's next event time. It owns the
// heap's memory.
class TrackMerge {
 public:
  // Puts every track on its first event. False when memory runs out or a track's first delta
  // time is malformed.
  bool Start(QoMidiTrack* tracks, uint32_t count) {
    m_tracks = tracks;
    m_heap.reset(new (std::nothrow) Pending[count]);
    if (!m_heap) return false;
    m_live = 0;
    for (uint32_t i = 0; i < count; ++i) {
      if (!qo_midi::StartTrack(tracks[i])) return false;
      if (tracks[i].cursor) m_heap[m_live++] = Pending{tracks[i].deltaTicks, i};
    }
    for (size_t i = m_live / 2; i-- > 0;) SiftDown(m_heap.get(), m_live, i);
    return true;
  }

  bool Empty() const { return m_live == 0; }
  // The time and the track of the earliest event.
  uint64_t Time() const { return m_heap[0].time; }
  QoMidiTrack& Track() const { return m_tracks[m_heap[0].track]; }

  // Steps the earliest event's track on. False when its next event is malformed.
  bool Advance() {
    QoMidiTrack& track = Track();
    if (!qo_midi::AdvanceTrack(track)) return false;
    if (track.cursor) {
      m_heap[0].time += track.deltaTicks;
    } else {
      m_heap[0] = m_heap[--m_live];
    }
    if (m_live > 0) SiftDown(m_heap.get(), m_live, 0);
    return true;
  }

 private:
  QoMidiTrack* m_tracks = nullptr;
  std::unique_ptr<Pending[]> m_heap;
  size_t m_live = 0;
};

// Which channels' sustain pedals are down (bit n: channel n).
class SustainPedals {
 public:
  void Apply(const uint8_t* event) {
    if ((event[0] & 0xF0) != 0xB0 || event[1] != k_controllerSustain) return;
    const uint32_t bit = 1u << (event[0] & 0x0F);
    m_down = event[2] >= 64 ? (m_down | bit) : (m_down & ~bit);
  }
  bool IsDown(uint32_t channel) const { return (m_down & (1u << channel)) != 0; }

 private:
  uint32_t m_down = 0;
};

// Where the merged events are written and what they have counted so far.
struct StreamCursor {
  unsigned char* w;
  uint8_t lastStatus;
  uint64_t lengthTicks;
  uint32_t numEvents;
};

// One conversion into the caller's buffer: the stream header, then the merged events with their
// delta times in the stream's tempo and channel statuses run together, then the events that
// leave no pedal down and no note sounding. The tempo and the counters it keeps are the
// parser's own, so a failed conversion leaves them as far as it got.
class EventConverter {
 public:
  EventConverter(unsigned char* out, size_t size, float& tempo, uint64_t& lengthTicks,
                 uint32_t& numEvents)
      : m_out(out),
        m_w(out),
        m_limit(out + size),
        m_tempo(tempo),
        m_lengthTicks(lengthTicks),
        m_numEvents(numEvents) {}

  // The division as the file stores it, then the tempo, little-endian float.
  void WriteHeader(unsigned char divisionHigh, unsigned char divisionLow) {
    *m_w++ = divisionHigh;
    *m_w++ = divisionLow;
    m_tempo = k_defaultTempo;
    WriteFloatLittleEndian(m_w, m_tempo);
    m_w += 4;
  }

  // Writes every event of the merged tracks. False when the buffer is full or an event is
  // malformed.
  bool WriteMerged(TrackMerge& merge) {
    // Held in a local while the events are written: the byte stores cannot alias it, so it can
    // stay in registers.
    StreamCursor cursor{m_w, 0, 0, 0};
    const auto finish = [this, &cursor](bool ok) {
      m_w = cursor.w;
      m_lengthTicks = cursor.lengthTicks;
      m_numEvents = cursor.numEvents;
      return ok;
    };
    float scale = 1.0f;
    uint64_t carried = 0;  // delta time of the events that wrote nothing, carried to the next
    uint64_t now = 0;
    while (!merge.Empty()) {
      const uint32_t delta = static_cast<uint32_t>(merge.Time() - now);
      now = merge.Time();
      carried += ScaleDelta(delta, scale);
      const uint8_t* event = merge.Track().eventBytes;
      const uint8_t status = event[0];
      if (status >= 0x80 && status < 0xF0) {
        if (!WriteChannelEvent(cursor, carried, event)) return finish(false);
        carried = 0;
      } else if (status == k_statusMeta && event[1] == k_metaEndOfTrack) {
        if (!WriteEndOfTrack(cursor, carried)) return finish(false);
        carried = 0;
      } else if (status == k_statusMeta && event[1] == k_metaSetTempo) {
        scale = TakeTempo(event, cursor.lengthTicks);
      }
      // System-exclusive and other meta events write nothing; their delta stays in `carried`.
      if (!merge.Advance()) return finish(false);
    }
    return finish(true);
  }

  // At delta 0: pedals still down are released, then notes still sounding are stopped.
  bool CloseSounding() {
    for (uint32_t channel = 0; channel < 16; ++channel) {
      if (!m_pedals.IsDown(channel)) continue;
      if (m_limit - m_w < 4) return false;
      *m_w++ = 0x00;
      *m_w++ = static_cast<unsigned char>(0xB0 | channel);
      *m_w++ = k_controllerSustain;
      *m_w++ = 0x00;
      ++m_numEvents;
    }
    QoMidiNoteChanPair pair;
    int previousChannel = -1;
    while (!m_notes.Empty()) {
      if (!HasRoom(m_w)) return false;
      m_notes.PopFront(pair);
      *m_w++ = 0x00;
      if (pair.channel != previousChannel) *m_w++ = static_cast<unsigned char>(0x80 | pair.channel);
      *m_w++ = pair.note;
      *m_w++ = 0x00;
      previousChannel = pair.channel;
      ++m_numEvents;
    }
    return true;
  }

  // A stream whose events all sit at tick 0 still lasts one tick: an end of track at delta 1.
  bool LastAtLeastOneTick() {
    if (m_lengthTicks != 0) return true;
    if (!HasRoom(m_w)) return false;
    *m_w++ = 0x01;
    *m_w++ = k_statusMeta;
    *m_w++ = k_metaEndOfTrack;
    *m_w++ = 0x00;
    m_lengthTicks = 1;
    return true;
  }

  unsigned char* End() const { return m_w; }

 private:
  bool HasRoom(const unsigned char* w) const {
    return static_cast<size_t>(m_limit - w) >= k_eventRoom;
  }

  // A channel event, its status left out when it repeats the last one written.
  bool WriteChannelEvent(StreamCursor& cursor, uint64_t delta, const uint8_t* event) {
    if (!HasRoom(cursor.w)) return false;
    const uint8_t status = event[0];
    unsigned char* w = WriteVlq(cursor.w, delta);
    if (status != cursor.lastStatus) *w++ = status;
    *w++ = event[1];
    if (qo_midi::ChannelEventSize(status) == 3) *w++ = event[2];
    cursor.w = w;
    if (!ApplyToNotes(m_notes, event)) return false;
    m_pedals.Apply(event);
    Count(cursor, delta);
    cursor.lastStatus = status;
    return true;
  }

  // An end of track, after which the next channel event writes its status again.
  bool WriteEndOfTrack(StreamCursor& cursor, uint64_t delta) {
    if (!HasRoom(cursor.w)) return false;
    unsigned char* w = WriteVlq(cursor.w, delta);
    *w++ = k_statusMeta;
    *w++ = k_metaEndOfTrack;
    *w++ = 0x00;
    cursor.w = w;
    Count(cursor, delta);
    cursor.lastStatus = 0;
    return true;
  }

  // A tempo event before the first tick that counts sets the stream's tempo; every one sets the
  // scale of the delta times that follow. Returns that scale.
  float TakeTempo(const uint8_t* event, uint64_t lengthTicks) {
    const uint32_t microseconds = (uint32_t{event[3]} << 16) | (uint32_t{event[4]} << 8) | event[5];
    const float tempo = 60000000.0f / static_cast<float>(microseconds);
    if (lengthTicks == 0) {
      m_tempo = tempo;
      WriteFloatLittleEndian(m_out + 2, m_tempo);
    }
    return m_tempo / tempo;
  }

  static void Count(StreamCursor& cursor, uint64_t delta) {
    cursor.lengthTicks += delta;
    ++cursor.numEvents;
  }

  unsigned char* const m_out;
  unsigned char* m_w;
  unsigned char* const m_limit;
  float& m_tempo;
  uint64_t& m_lengthTicks;
  uint32_t& m_numEvents;
  SustainPedals m_pedals;
  QoMidiActiveNotes m_notes;
};

}  // namespace

bool QoMidiParseAt::UpdateActiveNoteList(QoMidiActiveNotes& notes, const QoMidiTrack* track) {
  if (!track) return true;
  const uint8_t status = track->eventBytes[0];
  if (status < 0x80 || status >= 0xF0) return true;
  return ApplyToNotes(notes, track->eventBytes);
}

bool QoMidiParseAt::ConvertEvents(unsigned char* out, unsigned int& size) {
  QuickParse();
  if (!(m_flags & k_flagStructureValid) || !m_tracks) return false;
  // The output must at least hold the span of the track data.
  const size_t span = TrackDataSpan(m_tracks, m_numTracks);
  if (size < span + 2 || size < k_streamHeaderSize) return false;

  EventConverter converter(out, size, m_tempo, m_lengthTicks, m_numEvents);
  converter.WriteHeader(m_buffer[12], m_buffer[13]);
  TrackMerge merge;
  if (!merge.Start(m_tracks, m_numTracks) || !converter.WriteMerged(merge) ||
      !converter.CloseSounding() || !converter.LastAtLeastOneTick()) {
    return false;
  }

  unsigned char* const end = converter.End();
  size = static_cast<unsigned int>(end - out);
  m_flags |= k_flagConverted;
  m_streamHeader = out;
  m_stream.start = out + k_streamHeaderSize;
  m_stream.end = end;
  m_stream.cursor = nullptr;
  m_stream.deltaTicks = 0;
  m_stream.runningStatus = 0;
  return true;
}
