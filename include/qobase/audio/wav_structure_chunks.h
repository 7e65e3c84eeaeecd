// The chunks that give a WAVE file its shape: the "RIFF"/"RIFX" container head, the "fmt "
// format and the "JUNK" filler that puts the next chunk's body on an aligned offset. The "data"
// chunk, whose samples are copied from the source file when written, is in wav_data_chunk.h,
// included here.
//
//   QoRiffChunk riff;   riff.Init(source, nullptr);
//   QoDataChunk data;   data.Init(source, &riff);
//   riff.WriteToFile(out, false);  ...  data.WriteToFile(out, false, progress);
//   riff.UpdateRiffChunkSize(out, false);
#pragma once

#include <qobase/audio/wav_chunk_base.h>
#include <qobase/audio/wav_data_chunk.h>

// The 12-byte container head: ID, size, form type.
class QoRiffChunk : public QoFormatChunkBase {
 public:
  QoRiffChunk();

  // Reads the container head at offset 0 and its form type; false for any other file, and for
  // a stream that is no regular file.
  bool Init(const zu::File& file, QoFormatChunkBase* parent) override;
  // Always 12: the head and the form type.
  unsigned int GetFileChunkSize() const override;
  // "RIFX" for a big-endian file, else "RIFF".
  unsigned int GetChunkID() override;
  // Writes the head with the stored size and the form type. Writing with `swap` makes the ID
  // "RIFX"; without, the container keeps the ID it was read with.
  unsigned int WriteToFile(const zu::File& out, bool swap) override;
  // Patches the head at offset 0 of `out` with the stored ID and its size (file size - 8) and
  // returns to the position out had. QO::k_chunkSuccess, or k_chunkFailure when out cannot be
  // measured, positioned or written in place (an append-mode stream).
  virtual unsigned int UpdateRiffChunkSize(const zu::File& out, bool swap);

  uint32_t GetFormType() const { return m_formType; }

 private:
  uint32_t m_formType;
};

// The format, held in the 24-byte compact form whatever form the file had; the chunk as the file
// stores it can be written back unchanged (WriteToFileAsStored).
class QoFmtChunk : public QoFormatChunkBase {
 public:
  QoFmtChunk();

  // Opt-in, off by default, kept by Reset: Init reads a body of 40 bytes or more with tag 0xFFFE
  // and a sub-format QO::IsKnownSubFormat accepts by the published extensible layout (channel
  // mask at body offset 20, sub-format at 24), so the channel configuration comes from the mask
  // the file names. Other bodies are read the default way.
  void SetStandardExtensibleLayout(bool on) { m_standardLayout = on; }
  bool GetStandardExtensibleLayout() const { return m_standardLayout; }

  // Reads a format body of 16 bytes or more: the compact 24-byte form, or a PCM, float or
  // extensible record whose channel layout becomes a packed channel configuration. False for a
  // shorter or truncated body or a format without channels.
  bool Init(const zu::File& file, QoFormatChunkBase* parent) override;
  // Also forgets the stored facts (not the opt-in).
  void Reset() override;
  unsigned int GetChunkID() override;
  // "fmt " of size 24 holding the compact form (swapped when `swap`). A chunk result code.
  unsigned int WriteToFile(const zu::File& out, bool swap) override;
  // "fmt " of size 20 in the plain PCM form: tag 1, the basic fields, cbSize 4 and the two
  // bytes after it. A chunk result code.
  virtual unsigned int WriteToFileNotExtensible(const zu::File& out, bool swap);
  // Stores `format` and rewrites the chunk in place in the file it was found in. QO::k_chunkFailure
  // when not valid, when the chunk in the file is not the 24-byte compact form (another size would
  // be overwritten or leave a gap), or when the file was not opened for writing.
  virtual unsigned int UpdateFormatInfo(WaveFormatExtensible& format, bool swap);

  // Copies the format out; false when not valid.
  bool GetFormatInfo(WaveFormatExtensible* format) const;
  void SetFormatInfo(WaveFormatExtensible* format);
  // An extensible format of 3 or more channels that named no speakers: the default layout for
  // its channel count was assumed.
  bool HasUnspecifiedChannelMask() const;

  // The chunk exactly as the source file stores it: head, body of the stored size (every byte,
  // whatever the layout) and a 0 pad byte after an odd body, whatever SetFormatInfo stored. For
  // a caller that keeps the format. A chunk result code: k_chunkFailure when not valid, when `swap`
  // does not match the source's byte order (stored bytes cannot be reordered), or when the source
  // no longer gives the whole body; k_chunkOutOfSpace when a write fails because the device is
  // full.
  virtual unsigned int WriteToFileAsStored(const zu::File& out, bool swap);
  // The format chunk as the file stores it; filled once its body is read (even when Init then
  // refuses it), all zero (bodySize 0) otherwise.
  const QoWaveFormatFacts& GetStoredFormat() const { return m_storedFormat; }

 private:
  // Takes a record in the 44-byte layout, numbers in host order, as the format.
  bool TakeFormatRecord(WAVEFORMATEXTENSIBLE& record);

  WaveFormatExtensible m_format;
  bool m_unspecifiedChannelMask;
  bool m_standardLayout;
  QoWaveFormatFacts m_storedFormat;
};

// Filler that aligns the body of the chunk written after it.
class QoJunkChunk : public QoFormatChunkBase {
 public:
  explicit QoJunkChunk(unsigned int alignment);

  // Always succeeds: the filler exists in every file and its size is decided when it is written.
  bool Init(const zu::File& file, QoFormatChunkBase* parent) override;
  unsigned int GetChunkID() override;
  // At out's position: nothing when no filler is needed, else "JUNK" and zeros. QO::k_chunkSuccess
  // or k_chunkFailure.
  unsigned int WriteToFile(const zu::File& out, bool swap) override;
  // The filler size for a chunk written at `position`, such that the body of the next chunk
  // starts at a multiple of the alignment. False (size 0) when no filler is needed.
  // Alignment 16: position 36 gives 12 (next body at 64); position 40 gives false.
  virtual bool ComputeJunkSize(long long position);

 private:
  uint32_t m_alignment;
};
