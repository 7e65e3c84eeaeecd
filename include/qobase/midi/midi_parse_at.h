// Standard MIDI File parser. It checks a file held in memory (formats 0 and 1, ticks-per-quarter
// division), validates every event of every track, and converts the file into one time-ordered
// event stream at a single tempo, the converted MIDI stream:
//
//   bytes 0-1  division, big-endian, as in the file's header
//   bytes 2-5  tempo in beats per minute, IEEE-754 single, little-endian (120.0 = 00 00 F0 42)
//   then       events: a shortest-form delta time, then a channel event (running status) or an
//              end-of-track FF 2F 00.
//
// System-exclusive and meta events other than end-of-track are dropped (their delta times carry
// over), tempo changes are baked into the delta times, and notes and sustain pedals still on at
// the end are closed by appended events.
//
//   QoMidiParseAt parser;
//   parser.SetBuffer(bytes, size);
//   if (parser.Validate() == 0 && parser.GetMidiInfo(info) && parser.ResetNextEvent())
//     while (parser.GetNextEvent(event, delta)) { ... }
#pragma once

#include <qobase/midi/midi_active_notes.h>
#include <qobase/midi/midi_event.h>
#include <qobase/midi/midi_track.h>

#include <cstdint>

class QoMidiParseAt {
 public:
  using NoteChanPair = QoMidiNoteChanPair;

  // Bits of GetFlags().
  static constexpr uint32_t k_flagStructureValid = 1;
  static constexpr uint32_t k_flagStructureChecked = 2;
  static constexpr uint32_t k_flagConverted = 4;

  // Results of Validate().
  static constexpr unsigned int k_validateOk = 0;
  static constexpr unsigned int k_validateFailed = 2;
  static constexpr unsigned int k_validateZeroDivision = 4;

  QoMidiParseAt();
  virtual ~QoMidiParseAt();
  QoMidiParseAt(const QoMidiParseAt&) = delete;
  QoMidiParseAt& operator=(const QoMidiParseAt&) = delete;

  // Hands the parser a file's bytes (not copied: they must stay valid until the conversion is
  // done) and checks the structure. Clears the structure flags only, so a stream converted
  // earlier is kept. When the structure is not valid, or data is null or size 0, the parser
  // holds no buffer afterwards.
  void SetBuffer(const unsigned char* data, unsigned int size);
  // Checks the header and the chunk layout, once per buffer; sets k_flagStructureValid on success.
  void QuickParse();
  // 0 when the structure and every event are valid; 2 for a bad structure or a malformed event;
  // 4 when the division is 0.
  unsigned int Validate();
  // Fills `info` from the converted stream, converting first when needed. False (info.valid
  // false) when the structure is not valid or the conversion fails.
  bool GetMidiInfo(QoMidiInfo& info);
  // Converts into the parser's own buffer (twice the file size plus 1024 bytes). False and no
  // buffer on failure.
  bool _Convert();
  // Writes the converted stream into `out`; `size` is the capacity in and the length out. When a
  // stream was converted earlier, copies it. False when `out` is null, `size` too small, the
  // structure invalid or an event malformed.
  bool Convert(unsigned char* out, unsigned int& size);
  // Puts the stream cursor on the first converted event, converting first when needed. False
  // when the structure is not valid or the conversion fails.
  bool ResetNextEvent();
  // Reports the event under the stream cursor and its delta time, then steps on. False when
  // nothing was converted or the walk is over.
  bool GetNextEvent(QoMidiEventEx& event, unsigned int& deltaTicks);
  // Fills `event` from a track's current event without moving; returns its type.
  uint8_t GetMidiEvent(const QoMidiTrack* track, QoMidiEventEx& event) const;
  // Applies a written event to the list of sounding notes: a note on appends, a note off (or note
  // on with velocity 0) removes the oldest matching entry, control change 120 or 123 removes the
  // whole channel. False only when memory runs out.
  bool UpdateActiveNoteList(QoMidiActiveNotes& notes, const QoMidiTrack* track);

  // Forgets the buffer, the track table and any converted stream: the state of a new parser.
  void Reset();

  uint32_t GetFlags() const { return m_flags; }
  uint32_t GetFormat() const { return m_format; }
  uint32_t GetNumTracks() const { return m_numTracks; }
  uint32_t GetDivision() const { return m_division; }
  // The track table (GetNumTracks() entries), or null before a structure check got that far.
  const QoMidiTrack* GetTracks() const { return m_tracks; }

 private:
  bool ConvertEvents(unsigned char* out, unsigned int& size);
  bool CopyConverted(unsigned char* out, unsigned int& size) const;
  uint32_t ConvertedLength() const;

  const unsigned char* m_buffer = nullptr;
  uint32_t m_bufferSize = 0;
  unsigned char* m_convertedBuffer = nullptr;
  uint32_t m_convertedSize = 0;
  uint32_t m_numEvents = 0;
  QoMidiTrack m_stream{};
  uint64_t m_lengthTicks = 0;
  float m_tempo = 120.0f;
  uint32_t m_format = 0;
  uint32_t m_numTracks = 0;
  uint32_t m_division = 0;
  QoMidiTrack* m_tracks = nullptr;
  uint32_t m_flags = 0;
  // Start of the converted stream's header (the parser's buffer or a caller's), while converted.
  const unsigned char* m_streamHeader = nullptr;
};
