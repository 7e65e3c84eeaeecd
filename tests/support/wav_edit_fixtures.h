// Short forms of the WAVE byte builders (wav_builder.h) for the chunk editor tests, the cue,
// label and sampler bodies those tests need, and a source file opened for the chunk objects.
#pragma once

#include <qobase/audio/wav_file.h>

#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <string>
#include <vector>

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
// `count` 16-bit little-endian values counting up from 1.
std::string Pcm16Samples(uint32_t count);
// A "cue " body: count, then one record per position with IDs 1, 2, ...
std::string CueBody(const std::initializer_list<uint32_t>& positions, bool bigEndian = false);
// A "labl" sub-chunk with the text and its NUL.
std::string LablChunk(uint32_t id, const std::string& text, bool bigEndian = false);
// A "smpl" body with `loops` loops, the first [start, end].
std::string SmplBody(uint32_t loops, uint32_t start, uint32_t end, bool bigEndian = false);

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

// The bytes that chunk.WriteToFile(out, swap) writes into a new file; its result in *result.
std::string Written(QoFormatChunkBase& chunk, bool swap, unsigned int* result = nullptr);

// Writes container, format (the compact form, or the plain one), cue points, labels, sampler,
// filler and data into a new file, then patches the container size.
bool WriteAll(QoWavFile& wav, const std::string& path, bool swap, bool compact = true);

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
