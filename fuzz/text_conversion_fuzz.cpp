// Feeds arbitrary bytes to the text parsers of the strings and streams subsystems: UTF-8 to
// wide and back, GUID text (8-bit and wide), number formatting and wildcard matching. Valid
// UTF-8 must survive the round trip unchanged.
#include <qobase/streams/guid.h>
#include <qobase/strings/number_conversions.h>
#include <qobase/strings/string_help.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const int length = static_cast<int>(size);

  std::vector<wchar_t> wide(size + 1);
  const int wideCount =
      StringHelp::UTF8ToWChar(text.data(), length, wide.data(), static_cast<int>(wide.size()));
  if (wideCount > 0) {
    std::vector<char> back(size + 1);
    const int byteCount = StringHelp::WCharToUTF8(wide.data(), wideCount, back.data(),
                                                  static_cast<int>(back.size()));
    if (byteCount != length || std::memcmp(back.data(), text.data(), size) != 0) std::abort();
  }

  const QoGuid guid = StringHelp::ConvertStringToQoGuid(text);
  if (guid != QoGuidNull &&
      StringHelp::ConvertQoGuidToString(guid).CompareNoCase(text.c_str()) != 0) {
    std::abort();
  }
  QoGuid partial = QoGuidNull;
  (void)WStrToQoGuid(std::wstring(text.begin(), text.end()), partial);

  (void)StringHelp::FormatNumberString(text, static_cast<unsigned int>(size % 12));
  const size_t half = size / 2;
  (void)StringHelp::WildcardTextCompare(text.substr(0, half).c_str(), text.substr(half).c_str(),
                                        size % 2 == 0, ';');
  std::vector<CStdStr> words;
  StringHelp::SplitWords(text, words, true);
  return 0;
}
