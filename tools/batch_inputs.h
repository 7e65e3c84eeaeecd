// The files a batch command (info, onsets) works on: files named on the command line are taken
// as given (a missing one fails on its own line later), folders are listed in name order for the
// files whose extension the command reads, and descended into with --recursive.
#pragma once

#include <string>
#include <vector>

namespace qobase_tool {

struct BatchInput {
  std::string path;
  // Why a folder could not be listed, or holds nothing to work on; empty for a file.
  std::string error;
};

// `extensions` in lower case with their dot (".wav"); compared ignoring ASCII case.
std::vector<BatchInput> ExpandBatchInputs(const std::vector<std::string>& arguments, bool recursive,
                                          const std::vector<std::string>& extensions);

}  // namespace qobase_tool
