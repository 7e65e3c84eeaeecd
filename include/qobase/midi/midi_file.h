// QoMidiFile: a Standard MIDI File on disk. Opens and loads the file, validates it with the
// parser, hands out its information and its converted events, and writes the converted MIDI
// stream (see midi_parse_at.h) to another file.
//
//   QoMidiFile midi;
//   if (midi.Open(path) == QO::k_resultSuccess && midi.Validate() == QO::k_resultSuccess) {
//     midi.GetEvents(events);
//     midi.Convert(outputPath);
//   }
//
// One object can serve several files: Open starts over with a fresh parser.
#pragma once

#include <qobase/files/file.h>
#include <qobase/files/path.h>
#include <qobase/midi/midi_event.h>
#include <qobase/midi/midi_parse_at.h>
#include <qobase/result_code.h>

#include <cstdint>
#include <vector>

class QoMidiFile {
 public:
  // One converted event and its delta time in ticks of the stream's tempo.
  struct QoMidiFileEvent {
    QoMidiEventEx event;
    uint32_t deltaTicks;
  };

  QoMidiFile();
  virtual ~QoMidiFile();
  QoMidiFile(const QoMidiFile&) = delete;
  QoMidiFile& operator=(const QoMidiFile&) = delete;

  // Closes any open file, forgets everything loaded and resets the parser, then opens `path`
  // for reading. k_resultSuccess; k_resultFileNotFound when the file cannot be opened or its
  // size cannot be had.
  QO::ResultCode Open(const zu::Path& path);
  // Reads the whole file from the current position, checks it and converts it. k_resultSuccess;
  // k_resultInvalidFile when the
  // file is not open, cannot be read, or is not a valid MIDI file (GetValidateResult() then
  // tells which check failed).
  QO::ResultCode Validate();
  // Reads the whole file from the current position, without validating and without handing it
  // to the parser (a later Convert then has no MIDI data to convert and gives k_resultFailure).
  // k_resultSuccess; k_resultOutOfMemory when memory runs out; k_resultFileNotFound when the
  // read fails.
  QO::ResultCode Read();
  // The converted file's information; false before a successful Validate.
  bool GetMidiInfo(QoMidiInfo& info) const;
  // Replaces `events` by the converted events in stream order (empty when no event was counted).
  // k_resultSuccess; k_resultFailure before a successful Validate (the vector untouched);
  // k_resultOutOfMemory when memory runs out.
  QO::ResultCode GetEvents(std::vector<QoMidiFileEvent>& events);
  // Writes the converted stream to `destination`, creating its folder and replacing the file.
  // k_resultSuccess; k_resultFailure when nothing was opened, the conversion fails or the file
  // cannot be written.
  QO::ResultCode Convert(const zu::Path& destination);
  // Closes the file; what was loaded stays.
  void Close();
  // Frees what was loaded (size 0, not validated); the file stays open.
  void Release();

  // The parser's last Validate result: 0 valid, 2 structure or event fault, 4 division 0; 1
  // when the file could not be loaded; 0 before any Validate.
  unsigned int GetValidateResult() const { return m_validateResult; }
  // The size Open found, 0 after Release.
  uint64_t GetFileSize() const { return m_fileSize; }

 private:
  void FreeFileData();
  bool LoadFileData();

  zu::File m_file;
  unsigned char* m_fileData = nullptr;
  unsigned char* m_convertedData = nullptr;
  uint64_t m_fileSize = 0;
  bool m_validated = false;
  QoMidiInfo m_info{};
  QoMidiParseAt m_parser;
  uint32_t m_validateResult = 0;
};
