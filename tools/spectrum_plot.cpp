#include "spectrum_plot.h"

#include <algorithm>
#include <cmath>

#include "svg_document.h"

namespace qobase_tool {
namespace {

constexpr int k_left = 72, k_right = 24, k_top = 58, k_bottom = 52;
constexpr int k_plotWidth = k_spectrumWidth - k_left - k_right;
constexpr int k_plotHeight = k_spectrumHeight - k_top - k_bottom;
constexpr double k_floorDb = -100.0;

// "50", "500", "5k", "20k".
std::string FrequencyLabel(double hertz) {
  if (hertz >= 1000.0) return TickLabel(hertz / 1000.0, 1.0) + "k";
  return TickLabel(hertz, 1.0);
}

}  // namespace

std::string DrawSpectrum(const SpectrumPlot& plot) {
  SvgDocument doc(k_spectrumWidth, k_spectrumHeight);
  doc.Text(k_left, 22, plot.title, "start", 15);
  doc.Rect(k_left, k_top, k_plotWidth, k_plotHeight, "#f3f5f8");
  const size_t bins = plot.levels.size();
  // From the first bin above 0 Hz to the highest bin.
  const double low = bins > 1 ? static_cast<double>(plot.sampleRate) / (2.0 * bins) : 10.0;
  const double high = bins > 1 ? low * (bins - 1) : 20000.0;
  const double span = std::log10(high / low);
  const auto toX = [&](double hertz) {
    return k_left + (span > 0 ? std::log10(hertz / low) / span : 0.0) * k_plotWidth;
  };
  const auto toY = [&](double db) {
    return k_top + std::clamp(db, k_floorDb, 0.0) / k_floorDb * k_plotHeight;
  };
  const double bottom = k_top + k_plotHeight;

  // Level grid and labels.
  const std::vector<double> dbTicks = NiceTicks(k_floorDb, 0.0, 6);
  const double dbStep = dbTicks.size() > 1 ? dbTicks[1] - dbTicks[0] : 20.0;
  for (const double db : dbTicks) {
    doc.Line(k_left, toY(db), k_left + k_plotWidth, toY(db), "#dde1e8", 1);
    doc.Text(k_left - 8, toY(db) + 4, TickLabel(db, dbStep), "end", 12);
  }
  doc.Text(6, k_top - 14, "level (dB)", "start", 12);

  // Frequency grid: 1, 2 and 5 of every decade, labelled.
  for (double decade = std::pow(10.0, std::floor(std::log10(low))); decade <= high;
       decade *= 10.0) {
    for (const double factor : {1.0, 2.0, 5.0}) {
      const double hertz = decade * factor;
      if (hertz < low || hertz > high) continue;
      const double x = toX(hertz);
      doc.Line(x, k_top, x, bottom, factor == 1.0 ? "#c8ccd4" : "#e4e7ec", 1);
      doc.Line(x, bottom, x, bottom + 6, "#444", 1);
      doc.Text(x, bottom + 20, FrequencyLabel(hertz), "middle", 12);
    }
  }
  doc.Line(k_left, bottom + 0.5, k_left + k_plotWidth, bottom + 0.5, "#444", 1);
  doc.Text(k_left + k_plotWidth / 2.0, bottom + 42, "frequency (Hz)", "middle", 13);

  // The levels, one point per pixel column (the loudest bin in it).
  std::string path;
  int lastColumn = -1;
  double columnLevel = k_floorDb;
  const auto flush = [&] {
    if (lastColumn < 0) return;
    path += (path.empty() ? "M" : "L") + SvgNumber(k_left + lastColumn + 0.5) + " " +
            SvgNumber(toY(columnLevel));
  };
  for (size_t k = 1; k < bins; ++k) {
    const double x = toX(low * k);
    const int column = std::min(k_plotWidth - 1, static_cast<int>(x - k_left));
    const double level = std::isfinite(plot.levels[k]) ? plot.levels[k] : k_floorDb;
    if (column != lastColumn) {
      flush();
      lastColumn = column;
      columnLevel = level;
    } else {
      columnLevel = std::max(columnLevel, level);
    }
  }
  flush();
  if (!path.empty()) doc.StrokedPath(path, "#2b5d9c", 1.2);

  // Threshold and the highest frequency above it.
  doc.Begin("line");
  doc.Attribute("x1", static_cast<double>(k_left));
  doc.Attribute("y1", toY(plot.threshold));
  doc.Attribute("x2", static_cast<double>(k_left + k_plotWidth));
  doc.Attribute("y2", toY(plot.threshold));
  doc.Attribute("stroke", "#e07b00");
  doc.Attribute("stroke-width", 1.2);
  doc.Attribute("stroke-dasharray", "6 4");
  doc.End();
  doc.Text(k_left + k_plotWidth - 4, toY(plot.threshold) - 5,
           "threshold " + TickLabel(plot.threshold, 0.1) + " dB", "end", 11, "#e07b00");
  if (plot.highest > 0.0 && plot.highest >= low) {
    const double x = toX(plot.highest);
    doc.Line(x, k_top, x, bottom, "#2ca02c", 1.5);
    doc.Text(x + (x > k_left + k_plotWidth - 220 ? -4 : 4), k_top - 6,
             "highest above threshold: " + TickLabel(plot.highest, 0.1) + " Hz",
             x > k_left + k_plotWidth - 220 ? "end" : "start", 11, "#2ca02c");
  }
  return doc.Finish();
}

}  // namespace qobase_tool
