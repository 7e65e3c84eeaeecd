// Decoding and encoding of the WAVE marker records.
#include "audio/riff_records.h"

#include <qobase/audio/wav_byte_swap.h>

#include <cstring>

namespace qobase_audio {
namespace {

static_assert(sizeof(RIFFHEADER) == k_chunkHeadSize, "chunk head layout");
static_assert(sizeof(WAV_CUE) == k_cueRecordSize, "cue record layout");
static_assert(sizeof(SAMPLER) == k_samplerHeadSize, "sampler head layout");
static_assert(sizeof(SAMPLER_LOOP) == k_samplerLoopSize, "sampler loop layout");

// The records are plain u32 fields with no padding, so their stored form is their memory form
// with the numeric fields swapped (WavByteSwapHelpers leaves four-character codes alone).
template <typename Record>
Record Decode(const void* stored, bool swap) {
  Record record;
  std::memcpy(&record, stored, sizeof(record));
  if (swap) WavByteSwapHelpers::Convert(record);
  return record;
}

void AppendBytes(std::vector<unsigned char>& out, const void* data, size_t size) {
  const unsigned char* bytes = static_cast<const unsigned char*>(data);
  out.insert(out.end(), bytes, bytes + size);
}

template <typename Record>
void Append(std::vector<unsigned char>& out, Record record, bool swap) {
  if (swap) WavByteSwapHelpers::Convert(record);
  AppendBytes(out, &record, sizeof(record));
}

void AppendU32(std::vector<unsigned char>& out, uint32_t value, bool swap) {
  const uint32_t stored = FileOrder32(value, swap);
  AppendBytes(out, &stored, 4);
}

}  // namespace

RIFFHEADER DecodeChunkHead(const void* stored, bool swap) {
  return Decode<RIFFHEADER>(stored, swap);
}

WAV_CUE DecodeCue(const void* stored, bool swap) { return Decode<WAV_CUE>(stored, swap); }

SAMPLER DecodeSamplerHead(const void* stored, bool swap) { return Decode<SAMPLER>(stored, swap); }

SAMPLER_LOOP DecodeSamplerLoop(const void* stored, bool swap) {
  return Decode<SAMPLER_LOOP>(stored, swap);
}

void AppendChunkHead(std::vector<unsigned char>& out, uint32_t id, uint32_t size, bool swap) {
  AppendBytes(out, &id, 4);
  AppendU32(out, size, swap);
}

void AppendListHead(std::vector<unsigned char>& out, uint32_t size, uint32_t listType, bool swap) {
  AppendChunkHead(out, QO::k_fccLIST, size, swap);
  AppendBytes(out, &listType, 4);
}

void AppendCue(std::vector<unsigned char>& out, const WAV_CUE& cue, bool swap) {
  Append(out, cue, swap);
}

void AppendCueBody(std::vector<unsigned char>& out, const WAV_CUE* cues, size_t count, bool swap) {
  out.reserve(out.size() + 4 + count * k_cueRecordSize);
  AppendU32(out, static_cast<uint32_t>(count), swap);
  for (size_t i = 0; i < count; ++i) AppendCue(out, cues[i], swap);
}

void AppendLabel(std::vector<unsigned char>& out, uint32_t cueID, const void* text,
                 uint32_t textSize, bool swap) {
  AppendChunkHead(out, QO::k_fccLabl, textSize + 4, swap);
  AppendU32(out, cueID, swap);
  AppendBytes(out, text, textSize);
  if (textSize & 1) out.push_back(0);
}

void AppendSamplerHead(std::vector<unsigned char>& out, const SAMPLER& sampler, bool swap) {
  Append(out, sampler, swap);
}

void AppendSamplerLoop(std::vector<unsigned char>& out, const SAMPLER_LOOP& loop, bool swap) {
  Append(out, loop, swap);
}

}  // namespace qobase_audio
