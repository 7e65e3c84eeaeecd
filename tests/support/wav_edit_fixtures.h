// Short forms of the WAVE byte builders (wav_builder.h) for the chunk editor tests, the cue,
// label and sampler bodies those tests need, and helpers that open, write and read back files.
#pragma once

#include <qobase/audio/wav_file.h>

#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "wav_builder.h"

namespace qotest {

inline std::string U16(uint16_t value, bool big = false) {
  return ByteBuilder(big).U16(value).Bytes();
}
inline std::string U32(uint32_t value, bool big = false) {
  return ByteBuilder(big).U32(value).Bytes();
}
// ID, size (of `body`, or `size` when given), body, and a 0 pad byte after an odd body.
inline std::string Chunk(const std::string& id, const std::string& body, bool big = false) {
  return ByteBuilder(big).Chunk(id, body).Bytes();
}
inline std::string ChunkWithSize(const std::string& id, uint32_t size, const std::string& body,
                                 bool big = false) {
  return ByteBuilder(big).ChunkWithSize(id, size, body).Bytes();
}
// "RIFF"/"RIFX", the size of "WAVE" + chunks, "WAVE", chunks.
inline std::string Riff(const std::string& chunks, bool big = false) {
  return WaveFile(big, chunks);
}
// The 16-byte PCM format body.
inline std::string PcmFormatBody(uint16_t channels, uint32_t rate, uint16_t bits,
                                 bool big = false) {
  return FmtBody(big, 1, channels, rate, bits);
}
// A "labl" sub-chunk with the text and its NUL.
inline std::string LablChunk(uint32_t id, const std::string& text, bool big = false) {
  return Chunk("labl", U32(id, big) + text + std::string(1, '\0'), big);
}
// `count` 16-bit little-endian values counting up from 1.
std::string Pcm16Samples(uint32_t count);
// A "cue " body: count, then one record per position with IDs 1, 2, ...
std::string CueBody(const std::initializer_list<uint32_t>& positions, bool big = false);
// A "smpl" body with `loops` loops, the first [start, end].
std::string SmplBody(uint32_t loops, uint32_t start, uint32_t end, bool big = false);

// A file opened through the C library in `mode`, with its container chunk loaded (`ok`). The
// chunk objects are given `file`, a borrowed handle on the stream.
struct OpenedWav {
  explicit OpenedWav(const std::string& path, const char* mode = "rb");
  ~OpenedWav();
  FILE* stream;
  zu::File file;
  QoRiffChunk riff;
  bool ok;
};

// The bytes that chunk.WriteToFile(out, swap) writes into a new file, after "result N: " when
// the result N is not success.
std::string Written(QoFormatChunkBase& chunk, bool swap);

// Writes container, format (the compact form, or the plain one), cue points, labels, sampler,
// filler and data into a new file, then patches the container size.
bool WriteAll(QoWavFile& wav, const std::string& path, bool swap, bool compact = true);

// Writes what a marker edit that keeps everything writes: container, format as stored, carried
// chunks before the data, cue points, labels, sampler, filler, data, carried chunks after it.
bool WriteKeepingEverything(QoWavFile& wav, const std::string& path, bool swap);

// The chunks of a whole little-endian WAVE file as (ID, body) pairs in file order.
std::vector<std::pair<std::string, std::string>> ChunksOf(const std::string& file);

// A file read back by QoWavFileReader: markers as "ID@position:label", the loop, the data offset
// and the 16-bit samples of `channels` channels.
struct ReadBack {
  ReadBack(const std::string& path, unsigned int channels);
  bool ok;
  std::vector<std::string> markers;
  unsigned int loopStart = 0, loopEnd = 0, dataOffset = 0;
  std::vector<short> samples;
};

}  // namespace qotest
