// Feeds arbitrary bytes to the text operations of the strings and streams subsystems: UTF-8 to
// wide and back, GUID text (8-bit and wide), number parsing and formatting, size formatting,
// wildcard matching, splitting, and the string type's pieces, replacing, trimming, tokenising
// and formatting. What must hold for any input: valid UTF-8 survives the round trip, GUID text
// that parses prints back the same, pieces stay inside the string, and tokenising ends.
#include <qobase/streams/guid.h>
#include <qobase/strings/number_conversions.h>
#include <qobase/strings/string_help.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

void CheckConversions(const std::string& text) {
  const int length = static_cast<int>(text.size());
  std::vector<wchar_t> wide(text.size() + 1);
  const int wideCount =
      StringHelp::UTF8ToWChar(text.data(), length, wide.data(), static_cast<int>(wide.size()));
  if (wideCount > 0) {
    std::vector<char> back(text.size() + 1);
    const int byteCount =
        StringHelp::WCharToUTF8(wide.data(), wideCount, back.data(), static_cast<int>(back.size()));
    if (byteCount != length || std::memcmp(back.data(), text.data(), text.size()) != 0) {
      std::abort();
    }
  }
  const QoGuid guid = StringHelp::ConvertStringToQoGuid(text);
  if (guid != QoGuidNull &&
      StringHelp::ConvertQoGuidToString(guid).CompareNoCase(text.c_str()) != 0) {
    std::abort();
  }
  QoGuid partial = QoGuidNull;
  (void)WStrToQoGuid(std::wstring(text.begin(), text.end()), partial);
}

void CheckNumbers(const std::string& text, uint8_t selector) {
  const CStdStr value(text);
  (void)StringHelp::FormatNumberString(value, selector % 40);
  CStdStr compact(value);
  StringHelp::CompactNumberString(compact);
  int i32 = 0;
  unsigned int u32 = 0;
  long long i64 = 0;
  unsigned long long u64 = 0;
  (void)StringHelp::StringToInt32(value, i32);
  (void)StringHelp::StringToUInt32(value, u32);
  (void)StringHelp::HexStringToUInt32(value, u32);
  (void)StringHelp::StringToInt64(value, i64);
  (void)StringHelp::StringToUInt64(value, u64);
  (void)StringHelp::String2Bool(value);
  (void)StringHelp::String2QoVariantType(value);
  long long bytes = 0;
  std::memcpy(&bytes, text.data(), std::min(text.size(), sizeof(bytes)));
  (void)StringHelp::GetSizeString(bytes, selector & 1, static_cast<int>(selector % 24) - 2);
}

void CheckStringType(const std::string& text, uint8_t selector) {
  const size_t half = text.size() / 2;
  const std::string first = text.substr(0, half), second = text.substr(half);
  CStdStr value(text);
  const int count = static_cast<int>(selector) - 64;
  if (value.Left(count).size() > value.size() || value.Right(count).size() > value.size() ||
      value.Mid(count, count * 3).size() > value.size() || value.Mid(count).size() > value.size()) {
    std::abort();
  }
  (void)value.CompareNoCase(first.c_str());
  CStdStr replaced(value);
  (void)replaced.Replace(first.substr(0, selector % 4).c_str(), second.substr(0, 3).c_str());
  CStdStr trimmed(value);
  trimmed.Trim();
  CStdStr formatted;
  formatted.Fmt("%s|%d|%.3f", first.c_str(), count, count / 7.0);
  // Tokenising moves forward until no token is left.
  const std::string separators = second.substr(0, selector % 5).c_str();  // up to a zero byte
  int position = 0;
  size_t tokens = 0;
  while (position >= 0 && !separators.empty()) {
    const int before = position;
    (void)value.Tokenize(separators.c_str(), position);
    if (position >= 0 && position <= before) std::abort();
    if (++tokens > text.size() + 1) std::abort();
  }
  (void)StringHelp::WildcardTextCompare(first.c_str(), second.c_str(), selector & 1, ';');
  std::vector<CStdStr> words;
  StringHelp::SplitWords(value, words, selector & 2);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const uint8_t selector = data[0];
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  CheckConversions(text);
  CheckNumbers(text, selector);
  CheckStringType(text, selector);
  return 0;
}
