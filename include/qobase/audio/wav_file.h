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
//
// An edit that must keep everything it does not change writes the format as stored and carries
// over every chunk the editor does not load, in order around the samples:
//
//   wav.SetStandardExtensibleLayout(true);   // before Open
//   wav.Open(source, false);                 // then check GetDroppedOnLoad() == 0
//   wav.WriteRiffChunk(out, swap);           wav.WriteFormatChunkAsStored(out, swap);
//   wav.WriteCarriedChunksBeforeData(out, swap);
//   wav.WriteCueChunk(out, swap);  wav.WriteListChunk(out, swap);  wav.WriteSmplChunk(out, swap);
//   wav.WriteJunkChunk(out, swap); wav.WriteDataChunk(out, swap);
//   wav.WriteCarriedChunksAfterData(out, swap);  wav.UpdateRiffChunkSize(out, swap);
#pragma once

#include <qobase/audio/wav_marker_chunks.h>
#include <qobase/audio/wav_structure_chunks.h>
#include <qobase/files/file.h>
#include <qobase/files/path.h>

#include <cstdint>
#include <vector>

// A chunk of the source that no chunk object loaded, to be copied over byte for byte.
struct QoCarriedChunk {
  uint32_t chunkID;   // four characters in file order
  uint32_t listType;  // for a "LIST": the four characters of its list type ("INFO"), else 0
  uint32_t offset;    // absolute offset of the chunk head in the source
  uint32_t size;      // body size as stored, pad byte not counted
  bool beforeData;    // found before the data chunk the editor loaded
  bool complete;      // the whole body lies inside the file
};

class QoWavFile {
 public:
  QoWavFile();
  virtual ~QoWavFile();
  QoWavFile(const QoWavFile&) = delete;
  QoWavFile& operator=(const QoWavFile&) = delete;

  // Opens `path` for reading and loads its chunks, wherever they are in the container (the
  // first of each kind). False when the file cannot be read, is no RIFF/RIFX container, has no
  // usable format chunk, or (unless formatOnly) has no data chunk. Missing cue, label and
  // sampler chunks leave their members invalid. A stream that is no regular file (a pipe, a
  // device) is no RIFF container. Unless formatOnly, every chunk that no member loaded is
  // recorded for GetCarriedChunks.
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

  // Opt-in for the format chunk, off by default, taking effect at the next Open: a published
  // 40-byte extensible body with a known sub-format is read by its own layout, so the channel
  // configuration comes from the mask the file names (QoFmtChunk::SetStandardExtensibleLayout).
  void SetStandardExtensibleLayout(bool on) { m_fmtChunk.SetStandardExtensibleLayout(on); }
  // The format chunk as the file stores it (tag, body size, bits, valid bits, mask, sub-format,
  // published layout used); all zero (bodySize 0) when no format body was read. A caller that
  // cannot write a format back exactly refuses it by these facts.
  const QoWaveFormatFacts& GetStoredFormat() const { return m_fmtChunk.GetStoredFormat(); }
  // The format chunk byte for byte as the source stores it (tag, size, extensible layout and
  // mask kept). False when there is no format, when `swap` does not give the source's byte
  // order, or on a failed read or write.
  bool WriteFormatChunkAsStored(const zu::File& out, bool swap);

  // The chunks of the source that no member loaded, in file order: "bext", "fact", "iXML",
  // "LIST" of another type than "adtl", "JUNK", "PAD ", unknown IDs, and a further chunk of a
  // loaded kind. A "cue ", "smpl" or "LIST"/"adtl" here is one its member did not load (a second
  // one, or one without cue points, loops or labels): a caller that writes its own chunk of that
  // kind decides whether to keep both. Empty when closed or opened with formatOnly.
  const std::vector<QoCarriedChunk>& GetCarriedChunks() const { return m_carriedChunks; }
  // Copy the carried chunks found before, or after, the loaded data chunk, each byte for byte
  // with a 0 pad byte after an odd body, so an output keeps their order around the samples.
  // The after-data writer first writes the pad byte the data chunk needs when out's position is
  // odd (the data copy writes none), even with no chunk to carry. True with nothing to write;
  // false when a chunk must be written but `swap` does not give the source's byte order, a
  // chunk is not complete in the source, or a read or write fails.
  bool WriteCarriedChunksBeforeData(const zu::File& out, bool swap);
  bool WriteCarriedChunksAfterData(const zu::File& out, bool swap);
  // What writing the loaded chunks back would lose (QO::ChunkDrop flags): the cue, label and
  // sampler members' GetDroppedOnLoad, trailing bytes too few for a chunk head, and chunks
  // past the number the editor records. 0 when nothing is lost.
  unsigned int GetDroppedOnLoad() const;

  zu::File m_file;
  QoRiffChunk m_riffChunk;
  QoFmtChunk m_fmtChunk;
  QoDataChunk m_dataChunk;
  QoCueChunk m_cueChunk;
  QoListChunk m_listChunk;
  QoSmplChunk m_smplChunk;
  QoJunkChunk m_junkChunk;

 private:
  // Walks the container once and records every chunk that no member loaded.
  void RecordCarriedChunks();
  bool IsLoadedChunk(uint32_t bodyOffset) const;
  bool WriteCarriedChunks(const zu::File& out, bool swap, bool beforeData);

  std::vector<QoCarriedChunk> m_carriedChunks;
  unsigned int m_walkDrops = 0;
};
