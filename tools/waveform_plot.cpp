#include "waveform_plot.h"

#include <algorithm>
#include <cmath>

#include "svg_document.h"

namespace qobase_tool {
namespace {

constexpr int k_left = 64, k_right = 24, k_top = 44, k_bottom = 52;
constexpr int k_plotWidth = k_waveformWidth - k_left - k_right;
constexpr int k_laneGap = 8;

int LaneHeight(unsigned int channels) {
  return channels <= 2 ? 140 : std::max(40, 480 / static_cast<int>(channels));
}

// Smallest and largest sample per pixel column and channel, column-major per channel.
struct Columns {
  std::vector<float> low, high;
  bool any = false;
};

Columns ReadColumns(QoAudioFileReader& reader, unsigned int channels, unsigned int frames) {
  Columns columns;
  const size_t cells = static_cast<size_t>(k_plotWidth) * channels;
  columns.low.assign(cells, 0.0f);
  columns.high.assign(cells, 0.0f);
  std::vector<bool> seen(k_plotWidth, false);
  if (frames == 0 || reader.SeekToAudioFrame(0) < 0) return columns;
  const unsigned int blockFrames = 8192;
  std::vector<float> block(static_cast<size_t>(blockFrames) * channels);
  for (unsigned long long at = 0; at < frames;) {
    const unsigned int got = reader.ReadPCMDataAsFloat32(blockFrames, block.data());
    if (got == 0) break;
    for (unsigned int i = 0; i < got && at + i < frames; ++i) {
      const size_t column = static_cast<size_t>((at + i) * k_plotWidth / frames);
      for (unsigned int c = 0; c < channels; ++c) {
        const float sample = block[static_cast<size_t>(i) * channels + c];
        const size_t cell = c * static_cast<size_t>(k_plotWidth) + column;
        if (!seen[column] || sample < columns.low[cell]) columns.low[cell] = sample;
        if (!seen[column] || sample > columns.high[cell]) columns.high[cell] = sample;
      }
      seen[column] = true;
    }
    at += got;
  }
  columns.any = true;
  return columns;
}

}  // namespace

int WaveformHeight(unsigned int channels) {
  return k_top + static_cast<int>(channels) * (LaneHeight(channels) + k_laneGap) - k_laneGap +
         k_bottom;
}

bool DrawWaveform(QoAudioFileReader& reader, const WaveformPlot& plot, std::string& svg) {
  const unsigned int channels = reader.GetFormat()->nChannels;
  if (channels == 0) return false;
  const unsigned int frames = reader.GetNumFrames();
  const unsigned int rate = reader.GetFormat()->nSamplesPerSec;
  const double duration = rate == 0 ? 0.0 : static_cast<double>(frames) / rate;
  const Columns columns = ReadColumns(reader, channels, frames);

  const int laneHeight = LaneHeight(channels);
  const int height = WaveformHeight(channels);
  const int plotBottom = height - k_bottom;
  SvgDocument doc(k_waveformWidth, height);
  doc.Text(k_left, 26, plot.title, "start", 15);
  const auto timeToX = [&](double seconds) {
    return duration > 0 ? k_left + seconds / duration * k_plotWidth : k_left;
  };

  for (unsigned int c = 0; c < channels; ++c) {
    const double top = k_top + c * static_cast<double>(laneHeight + k_laneGap);
    const double middle = top + laneHeight / 2.0;
    const double half = laneHeight / 2.0 - 2;
    doc.Rect(k_left, top, k_plotWidth, laneHeight, "#f3f5f8");
    doc.Line(k_left, middle, k_left + k_plotWidth, middle, "#c8ccd4", 1);
    const std::string name = c < plot.channelNames.size() && !plot.channelNames[c].empty()
                                 ? plot.channelNames[c]
                                 : std::to_string(c + 1);
    doc.Text(k_left - 10, middle + 5, name, "end", 13);
    if (!columns.any) continue;
    std::string path;
    for (int x = 0; x < k_plotWidth; ++x) {
      const size_t cell = c * static_cast<size_t>(k_plotWidth) + x;
      const double high = std::clamp(static_cast<double>(columns.high[cell]), -1.0, 1.0);
      double low = std::clamp(static_cast<double>(columns.low[cell]), -1.0, 1.0);
      // A column of silence still shows as a dot on the middle line.
      if (high - low < 1.0 / half) low = high - 1.0 / half;
      path += "M" + SvgNumber(k_left + x + 0.5) + " " + SvgNumber(middle - high * half) + "V" +
              SvgNumber(middle - low * half);
    }
    doc.StrokedPath(path, "#2b5d9c", 1);
  }

  // Onset lines across every lane, numbered above the lanes while the numbers fit.
  double lastLabel = -1e9;
  for (size_t i = 0; i < plot.onsets.size(); ++i) {
    const double x = timeToX(plot.onsets[i]);
    doc.Line(x, k_top - 4, x, plotBottom, "#d62728", 1.5);
    const std::string number = std::to_string(i + 1);
    if (x - lastLabel >= 8.0 * number.size() + 4) {
      doc.Text(x, k_top - 7, number, "middle", 10, "#d62728");
      lastLabel = x;
    }
  }

  // Time axis.
  doc.Line(k_left, plotBottom + 0.5, k_left + k_plotWidth, plotBottom + 0.5, "#444", 1);
  const std::vector<double> ticks = NiceTicks(0.0, duration, 10);
  const double step = ticks.size() > 1 ? ticks[1] - ticks[0] : 1.0;
  for (const double tick : ticks) {
    const double x = timeToX(tick);
    doc.Line(x, plotBottom, x, plotBottom + 6, "#444", 1);
    doc.Text(x, plotBottom + 20, TickLabel(tick, step), "middle", 12);
  }
  doc.Text(k_left + k_plotWidth / 2.0, plotBottom + 42, "time (s)", "middle", 13);
  svg = doc.Finish();
  return true;
}

}  // namespace qobase_tool
