// Writes a RIFF/WAVE file in one pass: container head, format, loop, cue and label chunks, the
// data head, samples appended in blocks, and on Close the two sizes that were unknown while
// writing. Little-endian "RIFF" or, on request, big-endian "RIFX".
//
//   QoWavFileWriter writer;
//   writer.Open(path, false);
//   writer.SetFormat(format);
//   writer.SetMarkers(markers);
//   writer.WriteChunks(QO::k_chunksMarkers);  // "smpl", "cue ", "LIST" besides "fmt ", "data"
//   writer.WriteReal32AsPCMData(frames, samples);
//   writer.Close();
#pragma once

#include <qobase/audio/audio_file_reader.h>  // the chunk flags of WriteChunks
#include <qobase/audio/wave_format.h>
#include <qobase/files/file.h>
#include <qobase/files/path.h>

#include <cstdint>
#include <memory>
#include <vector>

class QoWavFileWriter {
 public:
  QoWavFileWriter();
  // Closes the file (sizes patched) and releases the formats and marker labels.
  ~QoWavFileWriter();
  QoWavFileWriter(const QoWavFileWriter&) = delete;
  QoWavFileWriter& operator=(const QoWavFileWriter&) = delete;

  // Creates the parent directory when missing, creates or truncates the file and writes the
  // 12-byte container head with size 0. False when the file cannot be opened or written, or
  // when this writer already has a file open.
  bool Open(const zu::Path& path, bool bigEndian);

  // Keeps a copy of the format to write: the 44-byte record (written as a 44-byte "fmt ") or
  // the 24-byte compact form (a 24-byte "fmt "). The extensible one wins when both are set.
  void SetFormat(const WAVEFORMATEXTENSIBLE& format);
  void SetFormat(const WaveFormatExtensible& format);
  void SetLoopPoints(unsigned int start, unsigned int end);
  // Appends copies of the markers (labels copied too) to the list to write.
  void SetMarkers(const std::vector<QO_WAVE_MARKER>& markers);

  // Writes "fmt ", then "smpl" (flag 0x4), "cue " (0x8, when there are markers), the "LIST"
  // of labels (0x10, when a marker has a label), then the "data" head. False at the first
  // failed write or without a format.
  bool WriteChunks(unsigned int flags);

  // Appends frames of interleaved 16-bit samples; false (nothing written) unless the format
  // holds 2 bytes per sample.
  bool WriteInt16AsPCMData(unsigned int frames, short* samples);
  // Appends frames of interleaved floats as the format's sample width: 4 bytes the float
  // itself, 3 or 2 bytes x * 8388607 or x * 32767 clamped and truncated toward zero (1.0
  // gives 32767, -1.0 gives -32767). False for another width or a short write.
  bool WriteReal32AsPCMData(unsigned int frames, float* samples);

  // Patches the RIFF and data sizes and closes the file (false, file left open, when a patch
  // fails); then forgets loop points and markers. True when nothing was open.
  bool Close();

  bool WriteChunk_FMT();
  bool WriteChunk_SMPL();
  bool WriteChunk_CUE();
  bool WriteChunk_LIST();
  // A "data" head of size 0; does not record where the samples start.
  bool WriteChunk_DATA();
  // An 8-byte chunk head, size in the file's byte order.
  bool WriteRIFFHeader(unsigned int id, unsigned int size);
  // The format in force (extensible, else compact), or null.
  const void* GetFmtEx() const;

 private:
  bool WriteSamples(const void* bytes, size_t size, unsigned int frames);
  void FreeMarkers();
  unsigned int BlockAlign() const;
  unsigned int Channels() const;
  unsigned int SampleRate() const;

  // The output stream's buffer; declared before the file so that it outlives the stream.
  std::unique_ptr<char[]> m_streamBuffer;
  zu::File m_file;
  unsigned int m_chunksWritten;
  uint32_t m_dataStart;
  uint32_t m_dataBytes;
  uint32_t m_loopStart;
  uint32_t m_loopEnd;
  bool m_bigEndian;
  std::vector<QO_WAVE_MARKER> m_markers;
  WAVEFORMATEXTENSIBLE* m_formatEx;
  WaveFormatExtensible* m_format;
};
