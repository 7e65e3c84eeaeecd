// The work of `qobase spectrum` on one file, shared with the demo.
#pragma once

#include <string>

namespace qobase_tool {

struct SpectrumRequest {
  std::string file;
  unsigned int size = 4096;
  std::string window = "hann";  // "hann", "hamming" or "triangular"
  double threshold = -60.0;
  std::string svgOut;  // the plot to write, or empty
};

struct SpectrumReport {
  std::string text;  // for standard output
  std::string json;  // the same as one JSON document
  std::string err;   // a "qobase: WHAT: REASON" line
  bool failed = false;
  bool cancelled = false;  // stopped by Ctrl-C or SIGTERM
};

SpectrumReport AnalyseSpectrum(const SpectrumRequest& request);

}  // namespace qobase_tool
