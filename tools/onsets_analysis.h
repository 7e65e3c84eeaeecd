// The work of `qobase onsets` on one file, shared with the demo: the onsets found by
// QoOnsetDetector, and on request a marked copy of the WAVE file (one cue point labelled
// "Onset N" per onset, written by MarkedCopy exactly as `addmarkers` writes) and a waveform
// plot. The report comes as text and as a JSON document carrying the same numbers.
#pragma once

#include <string>

namespace qobase_tool {

struct OnsetsRequest {
  float sensitivity = 1.0f;
  std::string markersOut;  // the marked copy to write, or empty
  std::string svgOut;      // the plot to write, or empty
};

struct OnsetsReport {
  std::string text;  // for standard output
  std::string json;  // the same as one JSON document
  std::string err;   // whole "qobase: FILE: ..." lines
  bool failed = false;
};

OnsetsReport FindOnsets(const std::string& path, const OnsetsRequest& request);

// "0.180": a time in seconds as the reports print it.
std::string SecondsText(double seconds);

}  // namespace qobase_tool
