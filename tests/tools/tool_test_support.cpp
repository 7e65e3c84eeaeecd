#include "tool_test_support.h"

#include <gtest/gtest.h>

#include <dirent.h>

#include <algorithm>
#include <regex>
#include <sstream>

#include "program_runner.h"
#include "support/temp_dir.h"

namespace qotest {

std::pair<unsigned int, unsigned int> PngSize(const std::string& path) {
  const std::string bytes = ReadFileBytes(path);
  if (bytes.size() < 24 || bytes.compare(0, 8, "\x89PNG\r\n\x1a\n") != 0 ||
      bytes.compare(12, 4, "IHDR") != 0) {
    return {0, 0};
  }
  const auto u32 = [&](size_t at) {
    return static_cast<unsigned int>(static_cast<unsigned char>(bytes[at])) << 24 |
           static_cast<unsigned int>(static_cast<unsigned char>(bytes[at + 1])) << 16 |
           static_cast<unsigned int>(static_cast<unsigned char>(bytes[at + 2])) << 8 |
           static_cast<unsigned char>(bytes[at + 3]);
  };
  return {u32(16), u32(20)};
}

bool RenderSvg(const std::string& svg, const std::string& png) {
  const RunResult run = RunProgram({"rsvg-convert", svg, "-o", png});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  return run.exitCode == 0;
}

std::vector<std::vector<std::string>> FlattenJsonDocuments(const std::string& text) {
  static const char k_script[] = R"(
import json, sys
text = sys.stdin.read()
decoder = json.JSONDecoder()
def flat(prefix, value):
    if isinstance(value, dict):
        for key, item in value.items():
            flat(prefix + [key], item)
    elif isinstance(value, list):
        for index, item in enumerate(value):
            flat(prefix + [str(index)], item)
    elif isinstance(value, str):
        print(".".join(prefix) + "=" + value)
    else:
        sys.exit("not a string: " + ".".join(prefix))
at = 0
while True:
    while at < len(text) and text[at].isspace():
        at += 1
    if at == len(text):
        break
    document, at = decoder.raw_decode(text, at)
    flat([], document)
    print("--")
)";
  RunOptions options;
  options.input = text;
  const RunResult run = RunProgram({"python3", "-c", k_script}, options);
  EXPECT_EQ(run.exitCode, 0) << run.err << "\n" << text;
  std::vector<std::vector<std::string>> documents(1);
  std::istringstream lines(run.out);
  for (std::string line; std::getline(lines, line);) {
    if (line == "--") {
      documents.emplace_back();
    } else {
      documents.back().push_back(line);
    }
  }
  documents.pop_back();
  return documents;
}

std::string JsonValue(const std::vector<std::string>& flat, const std::string& key) {
  for (const std::string& line : flat) {
    if (line.compare(0, key.size() + 1, key + "=") == 0) return line.substr(key.size() + 1);
  }
  return "(none)";
}

std::vector<std::string> AllMatches(const std::string& text, const std::string& pattern) {
  std::vector<std::string> matches;
  const std::regex expression(pattern);
  for (std::sregex_iterator it(text.begin(), text.end(), expression), end; it != end; ++it) {
    matches.push_back((*it)[1].str());
  }
  return matches;
}

std::vector<std::string> FolderNames(const std::string& dir) {
  std::vector<std::string> names;
  if (DIR* handle = opendir(dir.c_str())) {
    while (dirent* entry = readdir(handle)) {
      const std::string name = entry->d_name;
      if (name != "." && name != "..") names.push_back(name);
    }
    closedir(handle);
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace qotest
