// What the program tests check output files with: a PNG's size from its header, a plot rendered
// by rsvg-convert, JSON documents parsed by python3's json module, lines of text matched with a
// regular expression, and the names left in a folder.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace qotest {

// Width and height from a PNG's header; (0, 0) when the file is no PNG.
std::pair<unsigned int, unsigned int> PngSize(const std::string& path);

// Renders `svg` with rsvg-convert into `png`; false (with the tool's message added to the
// test's failure) when it cannot.
bool RenderSvg(const std::string& svg, const std::string& png);

// Every JSON document in `text` (one after another), each flattened by python3 into lines of
// "path=value": "onsets.0.time=0.190", "file=a.wav". Fails the test when python3 cannot parse
// them; each value must be a string (the reports write every number as one).
std::vector<std::vector<std::string>> FlattenJsonDocuments(const std::string& text);

// The value of `key` among flattened lines, or "(none)".
std::string JsonValue(const std::vector<std::string>& flat, const std::string& key);

// Every match of the first group of `pattern` in `text`, in order.
std::vector<std::string> AllMatches(const std::string& text, const std::string& pattern);

// The names in `dir`, sorted, without "." and "..": a test sees that no temporary file was left.
std::vector<std::string> FolderNames(const std::string& dir);

}  // namespace qotest
