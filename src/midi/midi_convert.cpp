// QoMidiParseAt's conversion: merges the tracks by time and writes the converted MIDI stream.
#include <qobase/midi/midi_parse_at.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "midi/midi_track_reader.h"

namespace {

constexpr size_t k_streamHeaderSize = 6;
// Room a written channel or end-of-track event, or a closing note off, may need at most.
constexpr size_t k_eventRoom = 10;
constexpr uint8_t k_controllerSustain = 64;
constexpr uint8_t k_controllerAllSoundOff = 0x78;
constexpr uint8_t k_controllerAllNotesOff = 0x7B;

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

  // The output must at least hold the span of the track data; empty tracks have no data.
  const unsigned char* firstData = nullptr;
  const unsigned char* lastEnd = nullptr;
  for (uint32_t i = 0; i < m_numTracks; ++i) {
    if (!m_tracks[i].start) continue;
    if (!firstData) firstData = m_tracks[i].start;
    lastEnd = m_tracks[i].end;
  }
  const size_t span = firstData ? static_cast<size_t>(lastEnd - firstData) : 0;
  if (size < span + 2 || size < k_streamHeaderSize) return false;

  unsigned char* w = out;
  unsigned char* const limit = out + size;
  *w++ = m_buffer[12];
  *w++ = m_buffer[13];
  m_tempo = 120.0f;
  WriteFloatLittleEndian(w, m_tempo);
  w += 4;

  Pending* heap = static_cast<Pending*>(std::malloc(sizeof(Pending) * m_numTracks));
  if (!heap) return false;
  size_t live = 0;
  for (uint32_t i = 0; i < m_numTracks; ++i) {
    if (!qo_midi::StartTrack(m_tracks[i])) {
      std::free(heap);
      return false;
    }
    if (m_tracks[i].cursor) heap[live++] = Pending{m_tracks[i].deltaTicks, i};
  }
  for (size_t i = live / 2; i-- > 0;) SiftDown(heap, live, i);

  m_lengthTicks = 0;
  m_numEvents = 0;
  float scale = 1.0f;
  uint64_t carried = 0;
  uint64_t now = 0;
  uint8_t lastStatus = 0;
  uint32_t sustain = 0;  // bit n: channel n's pedal is down
  QoMidiActiveNotes notes;
  bool ok = true;

  while (live > 0) {
    QoMidiTrack& track = m_tracks[heap[0].track];
    const uint32_t delta = static_cast<uint32_t>(heap[0].time - now);
    now = heap[0].time;
    carried += ScaleDelta(delta, scale);

    const uint8_t* event = track.eventBytes;
    const uint8_t status = event[0];
    if (status >= 0x80 && status < 0xF0) {
      if (static_cast<size_t>(limit - w) < k_eventRoom) {
        ok = false;
        break;
      }
      w = WriteVlq(w, carried);
      if (status != lastStatus) *w++ = status;
      *w++ = event[1];
      if (qo_midi::ChannelEventSize(status) == 3) *w++ = event[2];
      if (!ApplyToNotes(notes, event)) {
        ok = false;
        break;
      }
      if ((status & 0xF0) == 0xB0 && event[1] == k_controllerSustain) {
        if (event[2] >= 64) {
          sustain |= 1u << (status & 0x0F);
        } else {
          sustain &= ~(1u << (status & 0x0F));
        }
      }
      m_lengthTicks += carried;
      ++m_numEvents;
      lastStatus = status;
      carried = 0;
    } else if (status == 0xFF && event[1] == 0x2F) {
      if (static_cast<size_t>(limit - w) < k_eventRoom) {
        ok = false;
        break;
      }
      w = WriteVlq(w, carried);
      *w++ = 0xFF;
      *w++ = 0x2F;
      *w++ = 0x00;
      m_lengthTicks += carried;
      ++m_numEvents;
      lastStatus = 0;
      carried = 0;
    } else if (status == 0xFF && event[1] == 0x51) {
      const uint32_t microseconds = (uint32_t{event[3]} << 16) | (uint32_t{event[4]} << 8) | event[5];
      const float tempo = 60000000.0f / static_cast<float>(microseconds);
      if (m_lengthTicks == 0) {
        m_tempo = tempo;
        WriteFloatLittleEndian(out + 2, m_tempo);
      }
      scale = m_tempo / tempo;
    }
    // System-exclusive and other meta events write nothing; their delta stays in `carried`.

    if (!qo_midi::AdvanceTrack(track)) {
      ok = false;
      break;
    }
    if (track.cursor) {
      heap[0].time = now + track.deltaTicks;
    } else {
      heap[0] = heap[--live];
    }
    if (live > 0) SiftDown(heap, live, 0);
  }
  std::free(heap);
  if (!ok) return false;

  // Pedals still down are released, then notes still sounding are stopped, all at delta 0.
  for (uint32_t channel = 0; channel < 16; ++channel) {
    if (!(sustain & (1u << channel))) continue;
    if (limit - w < 4) return false;
    *w++ = 0x00;
    *w++ = static_cast<unsigned char>(0xB0 | channel);
    *w++ = k_controllerSustain;
    *w++ = 0x00;
    ++m_numEvents;
  }
  QoMidiNoteChanPair pair;
  int previousChannel = -1;
  while (!notes.Empty()) {
    if (static_cast<size_t>(limit - w) < k_eventRoom) return false;
    notes.PopFront(pair);
    *w++ = 0x00;
    if (pair.channel != previousChannel) *w++ = static_cast<unsigned char>(0x80 | pair.channel);
    *w++ = pair.note;
    *w++ = 0x00;
    previousChannel = pair.channel;
    ++m_numEvents;
  }
  // A stream whose events all sit at tick 0 still lasts one tick.
  if (m_lengthTicks == 0) {
    if (static_cast<size_t>(limit - w) < k_eventRoom) return false;
    *w++ = 0x01;
    *w++ = 0xFF;
    *w++ = 0x2F;
    *w++ = 0x00;
    m_lengthTicks = 1;
  }

  size = static_cast<unsigned int>(w - out);
  m_flags |= k_flagConverted;
  m_streamHeader = out;
  m_stream.start = out + k_streamHeaderSize;
  m_stream.end = w;
  m_stream.cursor = nullptr;
  m_stream.deltaTicks = 0;
  m_stream.runningStatus = 0;
  return true;
}
