// QoDataChunk: the "data" chunk of the chunk editor. Its samples stay in the source file and are
// copied into the output in blocks when the chunk is written.
#pragma once

#include <qobase/audio/wav_chunk_base.h>
#include <qobase/system/progress.h>

// The samples. They stay in the source file and are copied when the chunk is written.
class QoDataChunk : public QoFormatChunkBase {
 public:
  // The copy block: the progress positions advance by this many bytes.
  static constexpr unsigned int k_copyBlockSize = 16384;

  unsigned int GetChunkID() override;
  unsigned int WriteToFile(const zu::File& out, bool swap) override;
  // Writes the head (the stored size), then copies the body from the source, reporting
  // SetRange(0, size), SetPosition(0) and the bytes copied at the end of each 16 KiB block and
  // of the copy. A source that ends early leaves a chunk of the bytes copied: the head in out is
  // rewritten with that size (kept as the stored size) and the result is still QO::k_chunkSuccess,
  // or k_chunkFailure when out cannot be rewritten in place (append mode, a pipe). A failed write
  // gives k_chunkOutOfSpace when the device is full, else k_chunkFailure.
  virtual unsigned int WriteToFile(const zu::File& out, bool swap, QO::Sonvo::IProgress* progress);
  // The 8-byte head only. QO::k_chunkSuccess or k_chunkFailure.
  virtual unsigned int WriteChunkHeaderToFile(const zu::File& out, bool swap);
  // Sets the size and rewrites the head in place in the source file. QO::k_chunkSuccess or
  // k_chunkFailure (also when the file was not opened for writing or is in append mode).
  virtual unsigned int UpdateChunkSize(unsigned int size, bool swap);

  // Sets the size and rewrites the head of a data chunk whose body starts at `dataOffset` in
  // `out`, returning to out's position. QO::k_chunkSuccess or k_chunkFailure (also for an out in
  // append mode).
  QO::ChunkResult _UpdateChunkSize(const zu::File& out, unsigned int dataOffset, unsigned int size,
                                   bool swap);
};
