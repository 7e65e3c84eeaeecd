// What the harnesses share: a scratch folder for those that must go through files, reading a
// file back, and reading every sample of an audio reader in blocks.
#pragma once

#include <qobase/audio/audio_file_reader.h>
#include <stdlib.h>

#include <algorithm>
#include <boost/filesystem.hpp>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "internal/scratch_folder.h"

namespace qofuzz {

// Memory-backed when the system has /dev/shm (every run writes its files), made once per process
// and removed when it exits.
class ScratchFolder {
 public:
  static const ScratchFolder& Get() {
    static const ScratchFolder folder;
    return folder;
  }
  std::string File(const char* name) const { return m_folder->File(name); }

  // Writes `size` bytes to `path`, replacing it; aborts when that fails, since every later check
  // would be meaningless.
  static void Write(const std::string& path, const void* data, size_t size) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file || std::fwrite(data, 1, size, file) != size || std::fclose(file) != 0) {
      std::abort();
    }
  }

 private:
  ScratchFolder() {
    m_folder.reset(new qobase_internal::ScratchFolder("/dev/shm", "qobase-fuzz"));
    if (!m_folder->IsValid())
      m_folder.reset(new qobase_internal::ScratchFolder("/tmp", "qobase-fuzz"));
    if (!m_folder->IsValid()) std::abort();
  }

  std::unique_ptr<qobase_internal::ScratchFolder> m_folder;
};

inline std::vector<uint8_t> ReadFileBytes(const std::string& path) {
  std::vector<uint8_t> bytes;
  if (FILE* file = std::fopen(path.c_str(), "rb")) {
    uint8_t block[4096];
    size_t got;
    while ((got = std::fread(block, 1, sizeof(block), file)) > 0) {
      bytes.insert(bytes.end(), block, block + got);
    }
    std::fclose(file);
  }
  return bytes;
}

// Frames per block that keep every buffer small whatever channel count a format claims.
inline unsigned int BlockFrames(unsigned int channels) {
  return std::max(1u, std::min(1024u, 65536u / std::max(1u, channels)));
}

// Reads every frame as float from frame 0 in blocks and returns how many came. Aborts when a
// block reports more frames than it was asked for or the total passes `limit`.
inline unsigned long long ReadAllFloat(QoAudioFileReader& reader,
                                       unsigned long long limit = ~0ull) {
  const unsigned int channels = std::max<unsigned int>(1, reader.GetFormat()->nChannels);
  const unsigned int frames = BlockFrames(channels);
  std::vector<float> block(static_cast<size_t>(frames) * channels);
  reader.SeekToAudioFrame(0);
  unsigned long long total = 0;
  while (const unsigned int got = reader.ReadPCMDataAsFloat32(frames, block.data())) {
    if (got > frames) std::abort();
    total += got;
    if (total > limit) std::abort();
  }
  return total;
}

}  // namespace qofuzz
