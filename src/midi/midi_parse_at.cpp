// QoMidiParseAt: the structure check of a Standard MIDI File held in memory and the event walk.
#include <qobase/midi/midi_parse_at.h>

#include <cstdlib>
#include <cstring>

#include "midi/midi_track_reader.h"

namespace {

uint32_t ReadBig16(const unsigned char* p) { return (uint32_t{p[0]} << 8) | p[1]; }

uint32_t ReadBig32(const unsigned char* p) {
  return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | p[3];
}

constexpr size_t k_headerSize = 14;
constexpr size_t k_chunkHeaderSize = 8;
// The converted stream's own header: division and tempo.
constexpr size_t k_streamHeaderSize = 6;

}  // namespace

QoMidiParseAt::QoMidiParseAt() = default;

QoMidiParseAt::~QoMidiParseAt() {
  std::free(m_tracks);
  std::free(m_convertedBuffer);
}

void QoMidiParseAt::Reset() {
  std::free(m_tracks);
  std::free(m_convertedBuffer);
  m_buffer = nullptr;
  m_bufferSize = 0;
  m_convertedBuffer = nullptr;
  m_convertedSize = 0;
  m_numEvents = 0;
  m_stream = QoMidiTrack{};
  m_lengthTicks = 0;
  m_tempo = 120.0f;
  m_format = 0;
  m_numTracks = 0;
  m_division = 0;
  m_tracks = nullptr;
  m_flags = 0;
  m_streamHeader = nullptr;
}

void QoMidiParseAt::SetBuffer(const unsigned char* data, unsigned int size) {
  m_flags &= ~(k_flagStructureValid | k_flagStructureChecked);
  m_buffer = nullptr;
  m_bufferSize = 0;
  if (!data || size == 0) return;
  m_buffer = data;
  m_bufferSize = size;
  QuickParse();
  if (!(m_flags & k_flagStructureValid)) {
    m_buffer = nullptr;
    m_bufferSize = 0;
  }
}

void QoMidiParseAt::QuickParse() {
  if ((m_flags & k_flagStructureChecked) || !m_buffer) return;
  m_flags |= k_flagStructureChecked;
  m_flags &= ~k_flagStructureValid;
  // The table always matches m_numTracks: the old one goes before the header is read.
  std::free(m_tracks);
  m_tracks = nullptr;

  const unsigned char* data = m_buffer;
  const size_t size = m_bufferSize;
  if (size < k_headerSize || std::memcmp(data, "MThd", 4) != 0 || ReadBig32(data + 4) != 6) return;
  m_format = ReadBig16(data + 8);
  if (m_format > 1) return;
  m_numTracks = ReadBig16(data + 10);
  if (m_numTracks == 0 || (m_format == 0 && m_numTracks != 1)) return;
  m_division = ReadBig16(data + 12);
  if (m_division & 0x8000) return;  // SMPTE time code

  m_tracks = static_cast<QoMidiTrack*>(std::calloc(m_numTracks, sizeof(QoMidiTrack)));
  if (!m_tracks) return;

  size_t position = k_headerSize;
  for (uint32_t i = 0; i < m_numTracks; ++i) {
    QoMidiTrack& track = m_tracks[i];
    track.trackIndex = static_cast<uint8_t>(i);
    track.deltaTicks = qo_midi::k_noDelta;
    if (size - position < k_chunkHeaderSize) return;
    const unsigned char* chunk = data + position;
    const size_t length = ReadBig32(chunk + 4);
    position += k_chunkHeaderSize;
    if (length > size - position) return;
    if (length != 0 && std::memcmp(chunk, "MTrk", 4) == 0) {
      track.start = data + position;
      track.end = track.start + length;
    }
    position += length;
  }
  if (position != size) return;
  m_flags |= k_flagStructureValid;
}

unsigned int QoMidiParseAt::Validate() {
  const uint32_t structure = k_flagStructureValid | k_flagStructureChecked;
  if ((m_flags & structure) != structure || !m_tracks) return k_validateFailed;
  if (m_division == 0) return k_validateZeroDivision;
  for (uint32_t i = 0; i < m_numTracks; ++i) {
    if (!qo_midi::StartTrack(m_tracks[i])) return k_validateFailed;
  }
  // Nothing is written here, so the tracks are walked one after the other rather than merged by
  // time: a track's events are checked in the same order either way.
  for (uint32_t i = 0; i < m_numTracks; ++i) {
    QoMidiTrack& track = m_tracks[i];
    while (track.cursor) {
      if (!qo_midi::AdvanceTrack(track)) return k_validateFailed;
    }
  }
  return k_validateOk;
}

uint32_t QoMidiParseAt::ConvertedLength() const {
  return static_cast<uint32_t>(m_stream.end - m_streamHeader);
}

bool QoMidiParseAt::CopyConverted(unsigned char* out, unsigned int& size) const {
  const uint32_t length = ConvertedLength();
  if (size < length) return false;
  std::memcpy(out, m_streamHeader, length);
  size = length;
  return true;
}

bool QoMidiParseAt::_Convert() {
  const uint64_t wanted = uint64_t{m_bufferSize} * 2 + 1024;
  const bool converted = (m_flags & k_flagConverted) != 0;
  unsigned int capacity = wanted > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<unsigned int>(wanted);
  if (converted && capacity < ConvertedLength()) capacity = ConvertedLength();
  unsigned char* buffer = static_cast<unsigned char*>(std::malloc(capacity));
  if (!buffer) return false;
  unsigned int size = capacity;
  if (converted) {
    // Move a stream converted into a caller's buffer (or an earlier own buffer) into this one.
    CopyConverted(buffer, size);
    std::free(m_convertedBuffer);
    m_convertedBuffer = buffer;
    m_convertedSize = size;
    m_streamHeader = buffer;
    m_stream.start = buffer + k_streamHeaderSize;
    m_stream.end = buffer + size;
    m_stream.cursor = nullptr;
    return true;
  }
  m_stream = QoMidiTrack{};
  if (!Convert(buffer, size)) {
    std::free(buffer);
    std::free(m_convertedBuffer);
    m_convertedBuffer = nullptr;
    m_convertedSize = 0;
    return false;
  }
  std::free(m_convertedBuffer);
  m_convertedBuffer = buffer;
  m_convertedSize = size;
  return true;
}

bool QoMidiParseAt::Convert(unsigned char* out, unsigned int& size) {
  if (!out || size == 0) return false;
  if (m_flags & k_flagConverted) return CopyConverted(out, size);
  return ConvertEvents(out, size);
}

bool QoMidiParseAt::GetMidiInfo(QoMidiInfo& info) {
  info.valid = false;
  if (!(m_flags & k_flagStructureValid)) return false;
  if (!(m_flags & k_flagConverted) && !_Convert()) return false;
  info.valid = true;
  info.tempo = m_tempo;
  info.division = ReadBig16(m_streamHeader);
  info.numEvents = m_numEvents;
  info.lengthTicks = m_lengthTicks;
  return true;
}

bool QoMidiParseAt::ResetNextEvent() {
  if (!(m_flags & k_flagStructureValid)) return false;
  if (!(m_flags & k_flagConverted) && !_Convert()) return false;
  m_stream.runningStatus = 0;
  m_stream.cursor = nullptr;
  m_stream.deltaTicks = qo_midi::k_noDelta;
  const unsigned char* p = m_stream.start;
  uint32_t delta = 0;
  if (!qo_midi::ReadVlq(p, m_stream.end, delta) || p >= m_stream.end) return false;
  qo_midi::LoadEventBytes(m_stream, p);
  m_stream.cursor = p;
  m_stream.deltaTicks = delta;
  return true;
}

bool QoMidiParseAt::GetNextEvent(QoMidiEventEx& event, unsigned int& deltaTicks) {
  const uint32_t all = k_flagStructureValid | k_flagStructureChecked | k_flagConverted;
  if ((m_flags & all) != all || !m_stream.cursor) return false;
  GetMidiEvent(&m_stream, event);
  deltaTicks = m_stream.deltaTicks;
  qo_midi::AdvanceTrack(m_stream);  // a failed step leaves the cursor null, ending the walk
  return true;
}

uint8_t QoMidiParseAt::GetMidiEvent(const QoMidiTrack* track, QoMidiEventEx& event) const {
  const uint8_t status = track->eventBytes[0];
  event.type = status >= 0xF0 ? status : static_cast<uint8_t>(status & 0xF0);
  if (event.type == 0x90 && track->eventBytes[2] == 0) event.type = 0x80;
  event.channel = status & 0x0F;
  event.firstData = track->eventBytes[1];
  event.secondData = track->eventBytes[2];
  return event.type;
}
