// Synthesised samples written through the library's WAV writer, for the analysis tests.
#include "support/audio_synth.h"

#include <qobase/audio/wav_file_writer.h>

#include "support/wav_builder.h"

namespace qotest {

bool WriteWavSamples(const std::string& path, uint16_t channels, uint16_t bits, uint32_t rate,
                     const std::vector<float>& interleaved) {
  QoWavFileWriter writer;
  if (!writer.Open(zu::Path(path), false)) return false;
  writer.SetFormat(ExtensibleFormat(channels, bits, rate));
  if (!writer.WriteChunks(0)) return false;
  std::vector<float> samples(interleaved);
  const unsigned int frames = static_cast<unsigned int>(samples.size() / channels);
  if (frames > 0 && bits >= 16 && !writer.WriteReal32AsPCMData(frames, samples.data()))
    return false;
  return writer.Close();
}

std::vector<float> Noise(size_t count, float amplitude, uint32_t seed) {
  std::vector<float> samples(count);
  uint32_t state = seed;
  for (float& s : samples) {
    state = state * 1664525u + 1013904223u;
    s = amplitude * (static_cast<float>(state >> 8) / 8388608.0f - 1.0f);
  }
  return samples;
}

}  // namespace qotest
