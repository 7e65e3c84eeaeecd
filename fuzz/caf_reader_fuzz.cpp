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

#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = qofuzz::ScratchFolder::Get().File("input.caf");
  qofuzz::ScratchFolder::Write(path, data, size);
  QoCAFFileReader reader;
  if (!reader.Open(path.c_str()) || !reader.ReadChunks(QO::k_chunksFormatAndData)) return 0;
  (void)reader.GetDuration();
  (void)reader.GetNumFrames();
  // Never more frames than the file has bytes.
  qofuzz::ReadAllFloat(reader, size);
  return 0;
}
