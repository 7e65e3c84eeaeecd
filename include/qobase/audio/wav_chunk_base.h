// QoFormatChunkBase: one chunk of an existing RIFF/WAVE file, loaded for editing. A chunk object
// finds its chunk in a file (Init), keeps its own handle on that file's stream so it can read
// its body later, and writes itself out again, either into a new file or in place.
//
// The write and update operations return a chunk result code (QO::ChunkResult): k_chunkSuccess
// (0), k_chunkFailure (1, also for a chunk that is not valid), k_chunkOutOfSpace (2, a write
// failed because the device is full). Unlike the library's result codes, success is 0 here.
#pragma once

#include <qobase/audio/wave_format.h>
#include <qobase/files/file.h>

#include <cstdint>

namespace QO {
enum ChunkResult : unsigned int {
  k_chunkSuccess = 0,
  k_chunkFailure = 1,
  k_chunkOutOfSpace = 2,  // a write failed and zu::File::GetLastError() reported out of space
};

// What loading a chunk into its object left out, so that writing the object back would not give
// the bytes of the file (QoFormatChunkBase::GetDroppedOnLoad, QoWavFile::GetDroppedOnLoad).
enum ChunkDrop : unsigned int {
  k_droppedNothing = 0,
  // Label list: sub-chunks other than "labl" ("ltxt", "note", ...), or what follows a label
  // that runs past the list.
  k_droppedListSubChunks = 0x1,
  k_droppedSamplerLoops = 0x2,  // sampler loops after the first
  k_droppedSamplerData = 0x4,   // sampler-specific data, or bytes after the loops
  // A cue count that does not match the chunk size: the chunk is written back with the records
  // that were read and their count.
  k_droppedCueRecords = 0x8,
  // (QoWavFile) bytes at the end of the file too few for a chunk head.
  k_droppedTrailingBytes = 0x10,
  // (QoWavFile) more chunks than the editor keeps a record of; the rest are not carried over.
  k_droppedExcessChunks = 0x20,
  // (QoWavFile) a chunk head named "RIFX" inside a little-endian file, which turns the walk
  // big-endian for every chunk after it. Neither it nor the chunks after it are carried over: an
  // edit writes the file in one byte order, in which their stored heads would read otherwise.
  k_droppedAfterByteOrderSwitch = 0x40,
};
}  // namespace QO

class QoFormatChunkBase {
 public:
  QoFormatChunkBase();
  virtual ~QoFormatChunkBase();
  QoFormatChunkBase(const QoFormatChunkBase&) = delete;
  QoFormatChunkBase& operator=(const QoFormatChunkBase&) = delete;

  // The chunk exists: found in a file or created by an add operation.
  virtual bool IsValid() const;
  // Finds the first chunk whose head IsValidChunk accepts: in the container body of `parent`
  // (from just after its form type), or from the start of the file without a parent. False
  // when none is found before the file ends or a chunk size wraps the 32-bit offset. The scan
  // never passes the end of a regular file and finds nothing in a pipe or a device.
  virtual bool Init(const zu::File& file, QoFormatChunkBase* parent);
  // Back to empty: no header, no offset, no file handle, not valid.
  virtual void Reset();
  // Head plus body plus pad byte: size + (size & 1) + 8.
  virtual unsigned int GetFileChunkSize() const;
  // Absolute offset of the body in the file it was found in.
  virtual unsigned int GetDataOffset() const;
  // Reads up to `size` body bytes from body offset `offset`; the count read, 0 when the file
  // cannot be positioned there.
  virtual unsigned int ReadData(void* buffer, unsigned int size, unsigned int offset);
  virtual unsigned int GetChunkID() = 0;
  // Writes the chunk at out's position, sizes swapped when `swap`. A chunk result code.
  virtual unsigned int WriteToFile(const zu::File& out, bool swap) = 0;
  // Whether the chunk head found at a scan position is this chunk: its ID is GetChunkID().
  virtual bool IsValidChunk(const RIFFHEADER& header, unsigned int dataOffset);

  // The body size as it will be written.
  unsigned int GetSize() const { return m_header.size; }
  // The container is "RIFX": numbers in the file are big-endian.
  bool NeedSwapRead() const;
  // Writes the 8-byte head (size swapped when `swap`); false when not valid or on a short write.
  bool WriteChunkHeader(const zu::File& out, bool swap);
  // What the last Init found in the chunk but did not load (QO::ChunkDrop flags); 0 for a chunk
  // that is not valid, whose bytes the object never stands for.
  unsigned int GetDroppedOnLoad() const { return m_droppedOnLoad; }

 protected:
  // Replaces the chunk's own handle by one on `file`'s stream.
  void AttachFile(const zu::File& file);
  // Writes `size` bytes and classifies a failure: k_chunkOutOfSpace when the device is full,
  // else k_chunkFailure.
  static unsigned int WriteBytes(const zu::File& out, const void* bytes, unsigned int size);
  // Whether a write after positioning `file` lands where it was positioned: the stream is open
  // for writing and not in append mode (which sends every write to the end of the file).
  static bool CanRewrite(const zu::File& file);
  // Reads up to `size` bytes at absolute offset `position` through the chunk's own handle.
  unsigned int ReadAt(void* buffer, unsigned int size, long long position);
  // Rewrites the chunk over its place in its own file and returns to the previous position.
  // Refused (k_chunkFailure) unless the chunk was found in the file, still has the body size it
  // has there, and the stream writes in place (CanRewrite), so nothing outside the chunk is
  // ever touched.
  unsigned int RewriteInPlace(bool swap);

  RIFFHEADER m_header;
  uint32_t m_dataOffset;
  zu::File* m_file;
  bool m_valid;
  bool m_needSwap;
  // Body size of the chunk as found in the file (0 for a chunk that was created).
  uint32_t m_sizeInFile;
  // QO::ChunkDrop flags of the last Init.
  unsigned int m_droppedOnLoad;
};
