// Reads a fuzzed file as CAF through the reader interface: the chunk walk with its description,
// channel layout and channel matrix, then every sample in blocks, mixed through the matrix when
// there is one. Beyond the sanitizers it checks that a matrix has the shape the reader reports
// and that a block never reports more frames than it was asked for.
#include <qobase/audio/caf_reader.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "fuzz_scratch.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = qofuzz::ScratchFolder::Get().File("input.caf");
  qofuzz::ScratchFolder::Write(path, data, size);
  QoCAFFileReader reader;
  if (!reader.Open(path.c_str()) || !reader.ReadChunks(0x3)) return 0;
  const WaveFormatExtensible& format = *reader.GetFormat();
  (void)reader.GetDuration();
  (void)reader.GetNumFrames();
  // The reader hands out as many channels per frame as its format says.
  const unsigned int channels = std::max<unsigned int>(1, format.nChannels);
  const unsigned int frames = std::max(1u, std::min(1024u, 65536u / channels));
  std::vector<float> block(static_cast<size_t>(frames) * channels);
  reader.SeekToAudioFrame(0);
  unsigned long long total = 0;
  while (const unsigned int got = reader.ReadPCMDataAsFloat32(frames, block.data())) {
    if (got > frames) std::abort();
    total += got;
    if (total > size) std::abort();  // more frames than the file has bytes
  }
  return 0;
}
