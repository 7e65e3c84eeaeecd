// Short forms of the WAVE byte builders (wav_builder.h) for the chunk editor tests, plus the cue,
// label and sampler bodies those tests need.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

namespace qotest {

std::string U16(uint16_t value, bool bigEndian = false);
std::string U32(uint32_t value, bool bigEndian = false);
// ID, size (of `body`, or `size` when given), body, and a 0 pad byte after an odd body.
std::string Chunk(const std::string& id, const std::string& body, bool bigEndian = false);
std::string ChunkWithSize(const std::string& id, uint32_t size, const std::string& body, bool bigEndian = false);
// "RIFF"/"RIFX", the size of "WAVE" + chunks, "WAVE", chunks.
std::string Riff(const std::string& chunks, bool bigEndian = false);
// The 16-byte PCM format body.
std::string PcmFormatBody(uint16_t channels, uint32_t rate, uint16_t bits, bool bigEndian = false);
// `frames` frames of 16-bit samples counting up from `first` (little-endian).
std::string Pcm16Samples(uint32_t frames, uint16_t channels, int first = 1);
// A "cue " body: count, then one record per position with IDs 1, 2, ...
std::string CueBody(const std::initializer_list<uint32_t>& positions, bool bigEndian = false);
// A "labl" sub-chunk with the text and its NUL.
std::string LablChunk(uint32_t id, const std::string& text, bool bigEndian = false);
// A "smpl" body with `loops` loops, the first [start, end].
std::string SmplBody(uint32_t loops, uint32_t start, uint32_t end, bool bigEndian = false);

}  // namespace qotest
