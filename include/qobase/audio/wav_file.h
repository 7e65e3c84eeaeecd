// QoWavFile: an existing WAVE file loaded chunk by chunk for editing. Open loads the container,
// format, data, cue, label, sampler and filler chunks into the public chunk members; the caller
// changes them and writes a new file piece by piece, the samples copied from the source:
//
//   QoWavFile wav;
//   wav.Open(source, false);
//   unsigned int id = wav.m_cueChunk.AddCue(48000);
//   wav.m_listChunk.AddLabel(id, "Verse");
//   wav.WriteRiffChunk(out, false);   wav.WriteFormatChunk(out, false);
//   wav.WriteCueChunk(out, false);    wav.WriteListChunk(out, false);
//   wav.WriteSmplChunk(out, false);   wav.WriteJunkChunk(out, false);
//   wav.WriteDataChunk(out, false);   wav.UpdateRiffChunkSize(out, false);
//
// The filler written just before the data puts the first sample on a 16-byte boundary. The
// source file is only read; the chunks keep handles on it, so it stays open until Close.
#pragma once

#include <qobase/audio/wav_marker_chunks.h>
#include <qobase/audio/wav_structure_chunks.h>
#include <qobase/files/file.h>
#include <qobase/files/path.h>

class QoWavFile {
 public:
  QoWavFile();
  virtual ~QoWavFile();
  QoWavFile(const QoWavFile&) = delete;
  QoWavFile& operator=(const QoWavFile&) = delete;

  // Opens `path` for reading and loads its chunks, wherever they are in the container (the
  // first of each kind). False when the file cannot be read, is no RIFF/RIFX container, has no
  // usable format chunk, or (unless formatOnly) has no data chunk. Missing cue, label and
  // sampler chunks leave their members invalid.
  virtual bool Open(const zu::Path& path, bool formatOnly);
  // Closes the source and empties every chunk member.
  virtual void Close();

  // The format; false when none is loaded.
  bool GetFormat(WaveFormatExtensible* format) const;
  void SetFormat(WaveFormatExtensible* format);
  // Bytes before the first sample (the data chunk's body offset); 0 without data.
  unsigned int GetFileHeaderSize() const;
  // Whole frames of data over the sample rate, in seconds; 0.0 without a format.
  double GetFileDuration() const;

  // Writers into `out` at its position, true on success. The cue, label, sampler and filler
  // writers write nothing and return true when their chunk is not valid.
  bool WriteRiffChunk(const zu::File& out, bool swap);
  // The 24-byte compact format.
  bool WriteFormatChunk(const zu::File& out, bool swap);
  // The 20-byte plain PCM format.
  bool WriteFormatChunkNotExtensible(const zu::File& out, bool swap);
  // The data head and the samples copied from the source.
  bool WriteDataChunk(const zu::File& out, bool swap);
  bool WriteCueChunk(const zu::File& out, bool swap);
  bool WriteListChunk(const zu::File& out, bool swap);
  bool WriteSmplChunk(const zu::File& out, bool swap);
  // Filler sized from out's position so that the next chunk's body is 16-byte aligned.
  bool WriteJunkChunk(const zu::File& out, bool swap);
  // Patches the container size at the start of `out` once everything is written.
  bool UpdateRiffChunkSize(const zu::File& out, bool swap);

  // Sorts the cue points by position (stable).
  void SortCueChunk();

  zu::File m_file;
  QoRiffChunk m_riffChunk;
  QoFmtChunk m_fmtChunk;
  QoDataChunk m_dataChunk;
  QoCueChunk m_cueChunk;
  QoListChunk m_listChunk;
  QoSmplChunk m_smplChunk;
  QoJunkChunk m_junkChunk;
};
