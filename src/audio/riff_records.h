// The byte layout of the marker records a WAVE file stores: chunk heads, "cue " records, "labl"
// sub-chunks and the "smpl" head with its loops. The reader, the writer and the chunk editor all
// code these records here; each keeps its own rules for what it tolerates in a damaged file.
#pragma once

#include <qobase/audio/wave_format.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qobase_audio {

// Stored sizes of the records, independent of the host's struct layout.
constexpr uint32_t k_chunkHeadSize = 8;
constexpr uint32_t k_cueRecordSize = 24;
// A "labl" sub-chunk before its text: the ID "labl", the size, the cue ID.
constexpr uint32_t k_labelHeadSize = 12;
constexpr uint32_t k_samplerHeadSize = 36;
constexpr uint32_t k_samplerLoopSize = 24;

// A u32 between host order and the file's order; the same step both ways. `swap` is true for a
// big-endian ("RIFX") file.
inline uint32_t FileOrder32(uint32_t value, bool swap) {
  return swap ? __builtin_bswap32(value) : value;
}

// A body size with the pad byte that follows an odd body.
constexpr uint64_t PaddedSize(uint64_t size) { return size + (size & 1); }

// The stored size of a "labl" sub-chunk holding `textSize` text bytes, head and pad included.
constexpr uint64_t LabelSubChunkSize(uint32_t textSize) {
  return k_labelHeadSize + PaddedSize(textSize);
}

// Decoding: each reads exactly its stored size from `stored` and returns host order.
RIFFHEADER DecodeChunkHead(const void* stored, bool swap);
WAV_CUE DecodeCue(const void* stored, bool swap);
SAMPLER DecodeSamplerHead(const void* stored, bool swap);
SAMPLER_LOOP DecodeSamplerLoop(const void* stored, bool swap);

// Encoding: each appends the stored bytes of its record to `out`.
void AppendChunkHead(std::vector<unsigned char>& out, uint32_t id, uint32_t size, bool swap);
void AppendCue(std::vector<unsigned char>& out, const WAV_CUE& cue, bool swap);
// A "LIST" head of body size `size` followed by its list type ("adtl" for labels).
void AppendListHead(std::vector<unsigned char>& out, uint32_t size, uint32_t listType, bool swap);
// The cue count, then one record per cue: a "cue " body.
void AppendCueBody(std::vector<unsigned char>& out, const WAV_CUE* cues, size_t count, bool swap);
// A whole "labl" sub-chunk: head (size textSize + 4), cue ID, the text, a 0 pad byte when the
// text size is odd. LabelSubChunkSize(textSize) bytes.
void AppendLabel(std::vector<unsigned char>& out, uint32_t cueID, const void* text,
                 uint32_t textSize, bool swap);
void AppendSamplerHead(std::vector<unsigned char>& out, const SAMPLER& sampler, bool swap);
void AppendSamplerLoop(std::vector<unsigned char>& out, const SAMPLER_LOOP& loop, bool swap);

}  // namespace qobase_audio
