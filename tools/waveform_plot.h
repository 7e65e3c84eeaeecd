// The waveform plot of `onsets --svg`: one lane per channel with the smallest and largest sample
// of each pixel column, a red line at each onset (numbered as the markers are), and a time axis
// in seconds. The samples are streamed once through a reader; memory grows with the plot's
// width and the channels, never with the file.
#pragma once

#include <qobase/audio/audio_file_reader.h>

#include <string>
#include <vector>

namespace qobase_tool {

struct WaveformPlot {
  std::string title;                      // above the lanes
  std::vector<std::string> channelNames;  // one per lane ("L", "R"); numbers when missing
  std::vector<double> onsets;             // seconds
};

// The plot's size in pixels.
constexpr int k_waveformWidth = 1000;
int WaveformHeight(unsigned int channels);

// Reads every frame of `reader` (chunks read, any position) and returns the SVG document; false
// when the reader gives no channels.
bool DrawWaveform(QoAudioFileReader& reader, const WaveformPlot& plot, std::string& svg);

}  // namespace qobase_tool
