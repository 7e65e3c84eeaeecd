// The work of `qobase info` on one file, shared with the demo: what a WAVE, CAF or MIDI file
// holds, read from its headers only (the samples are read only for the peak, on request), as
// text and as a JSON document carrying the same numbers.
#pragma once

#include <string>

namespace qobase_tool {

struct InfoRequest {
  bool json = false;  // fill `out` with the JSON document instead of the text
  bool peak = false;  // also measure the peak sample (reads every sample)
};

struct InfoReport {
  std::string out;  // for standard output
  std::string err;  // whole "qobase: FILE: ..." lines (failures and warnings)
  bool failed = false;
};

InfoReport DescribeFile(const std::string& path, const InfoRequest& request);

}  // namespace qobase_tool
