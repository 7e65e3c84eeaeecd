// Describes a fuzzed file as `qobase info` does, as text and as JSON, with the peak measured when
// the first byte asks for it (the rest is the file). Beyond the sanitizers it checks what a user
// would see as wrong: the file changed by being described, a failure without its
// "qobase: FILE: ..." line, a success with nothing to show, and a JSON document that is not one
// object.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "fuzz_support.h"
#include "info_report.h"

namespace {

// True when `text` is one JSON object on its own, from "{" to the matching "}" and a line end,
// with every string closed. The report's writer escapes what it writes, so counting brackets
// outside strings is exact.
bool IsOneObject(const std::string& text) {
  if (text.size() < 3 || text.front() != '{' || text.compare(text.size() - 2, 2, "}\n") != 0)
    return false;
  int depth = 0;
  bool inString = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inString) {
      if (c == '\\')
        ++i;
      else if (c == '"')
        inString = false;
      else if (static_cast<unsigned char>(c) < 0x20)
        return false;
      continue;
    }
    if (c == '"')
      inString = true;
    else if (c == '{' || c == '[')
      ++depth;
    else if (c == '}' || c == ']') {
      if (--depth < 0) return false;
      if (depth == 0 && i != text.size() - 2) return false;
    }
  }
  return depth == 0 && !inString;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::string path = qofuzz::ScratchFolder::Get().File("described");
  qofuzz::ScratchFolder::Write(path, data + 1, size - 1);
  for (const bool json : {false, true}) {
    qobase_tool::InfoRequest request;
    request.json = json;
    request.peak = (data[0] & 1) != 0;
    const qobase_tool::InfoReport report = qobase_tool::DescribeFile(path, request);
    if (report.failed) {
      if (report.err.compare(0, 8 + path.size(), "qobase: " + path) != 0) std::abort();
      if (report.err.back() != '\n') std::abort();
    } else {
      if (report.out.empty()) std::abort();
      if (json && !IsOneObject(report.out)) std::abort();
    }
  }
  const std::vector<uint8_t> after = qofuzz::ReadFileBytes(path);
  if (after.size() != size - 1 || !std::equal(after.begin(), after.end(), data + 1)) std::abort();
  return 0;
}
