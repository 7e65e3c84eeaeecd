// File-level steps shared by the chunk walks: how far a walk may go in a file, and a chunk copied
// from a source file byte for byte.
#pragma once

#include <qobase/audio/wav_chunk_base.h>
#include <qobase/files/file.h>

#include <cstdint>

namespace qobase_audio {

// The size of the regular file open in `file`, counting what a writable stream still buffers; 0
// for anything else (a pipe, a device, a closed handle). A chunk walk never passes it, so a walk
// over a stream whose end is unknown, such as /dev/zero or a pipe fed forever, ends at once
// instead of reading headers without end.
uint64_t GetWalkLimit(const zu::File& file);

// The chunk result for a write that has just failed: k_chunkOutOfSpace when zu::File reports a
// full device, else k_chunkFailure.
QO::ChunkResult WriteFailureResult();

// Copies the chunk whose head starts at `headOffset` in `source` (the 8-byte head and `bodySize`
// body bytes, exactly as stored) to out's position, then a 0 pad byte after an odd body. A chunk
// result code (QO::ChunkResult): 1 when the source cannot give every byte or a write fails, 2
// when a write fails because the device is full.
unsigned int CopyStoredChunk(const zu::File& source, uint64_t headOffset, uint32_t bodySize,
                             const zu::File& out);

}  // namespace qobase_audio
