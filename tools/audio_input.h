// How the analysing commands (onsets, spectrum) open an audio file: the file is checked, its
// container told by its first bytes (not its name), and its samples checked to be ones the
// readers convert to float, so a file the analysis would read as silence is refused by name.
#pragma once

#include <qobase/audio/audio_file_reader.h>

#include <memory>
#include <string>

namespace qobase_tool {

enum class Container { k_wave, k_caf, k_midi, k_unknown };

// The container the first bytes of `path` announce; k_unknown when it cannot be read.
Container SniffContainer(const std::string& path);

struct AnalysisInput {
  std::unique_ptr<QoAudioFileReader> reader;  // opened, chunks not read yet
  Container container = Container::k_unknown;
  unsigned int channels = 0;
  unsigned int sampleRate = 0;
  unsigned int frames = 0;
};

// Opens `path` for an analysis. False with a reason for "qobase: PATH: REASON": "No such file
// or directory", "not a RIFF/RIFX WAVE or CAF file", "unsupported sample format: 8-bit", ...
bool OpenForAnalysis(const std::string& path, AnalysisInput& input, std::string& reason);

}  // namespace qobase_tool
