// QoGuid: the braced text form of a GUID, written and parsed.
#include <qobase/streams/guid.h>

#include <cstdio>
#include <cstring>
#include <cwchar>

namespace {

// Where each of the 16 bytes sits in the text (the position of its first hex digit), in
// memory order: the multi-byte fields are printed most significant byte first.
constexpr int k_bytePositions[16] = {7, 5, 3, 1, 12, 10, 17, 15, 20, 22, 25, 27, 29, 31, 33, 35};
// The same positions in text order, with the memory index of each byte.
constexpr int k_textOrderPositions[16] = {1,  3,  5,  7,  10, 12, 15, 17,
                                          20, 22, 25, 27, 29, 31, 33, 35};
constexpr int k_textOrderBytes[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
constexpr size_t k_textLength = 38;

template <typename Char>
int HexValue(Char c) {
  if (c >= '0' && c <= '9') return static_cast<int>(c - '0');
  if (c >= 'A' && c <= 'F') return static_cast<int>(c - 'A' + 10);
  if (c >= 'a' && c <= 'f') return static_cast<int>(c - 'a' + 10);
  return -1;
}

// The punctuation of position `index`, or 0 where a hex digit belongs.
char Punctuation(size_t index) {
  if (index == 0) return '{';
  if (index == 37) return '}';
  if (index == 9 || index == 14 || index == 19 || index == 24) return '-';
  return 0;
}

// Checks the braced form and reads its bytes in text order into `bytes`, stopping at the first
// bad character. Returns false at that point; the bytes read before it are stored.
template <typename Char>
bool ParseGuidText(const Char* text, size_t length, unsigned char* bytes) {
  if (length != k_textLength) return false;
  // Punctuation of the opening brace and the first field is checked before any byte is read;
  // every later character is checked as the reading reaches it.
  size_t checked = 0;
  for (int n = 0; n < 16; ++n) {
    const size_t position = static_cast<size_t>(k_textOrderPositions[n]);
    for (; checked < position; ++checked) {
      const char expected = Punctuation(checked);
      if (expected == 0 || text[checked] != static_cast<Char>(expected)) return false;
    }
    const int high = HexValue(text[position]);
    const int low = HexValue(text[position + 1]);
    if (high < 0 || low < 0) return false;
    bytes[k_textOrderBytes[n]] = static_cast<unsigned char>((high << 4) | low);
    checked = position + 2;
  }
  return text[37] == static_cast<Char>('}');
}

void FormatGuid(const QoGuid& guid, char (&text)[k_textLength + 1]) {
  static const char k_hex[] = "0123456789ABCDEF";
  unsigned char bytes[16];
  std::memcpy(bytes, &guid, 16);
  for (size_t i = 0; i < k_textLength; ++i) text[i] = Punctuation(i);
  for (int n = 0; n < 16; ++n) {
    text[k_bytePositions[n]] = k_hex[bytes[n] >> 4];
    text[k_bytePositions[n] + 1] = k_hex[bytes[n] & 0xF];
  }
  text[k_textLength] = '\0';
}

}  // namespace

namespace QO {
namespace SonvoAuthoringAPI {

bool operator==(const QoGuid& a, const QoGuid& b) { return std::memcmp(&a, &b, 16) == 0; }

}  // namespace SonvoAuthoringAPI
}  // namespace QO

namespace StringHelp {

CStdStr ConvertQoGuidToString(const QoGuid& guid) {
  char text[k_textLength + 1];
  FormatGuid(guid, text);
  return CStdStr(text);
}

QoGuid ConvertStringToQoGuid(const CStdStr& text) {
  unsigned char bytes[16];
  if (!ParseGuidText(text.c_str(), text.size(), bytes)) return QoGuidNull;
  QoGuid guid;
  std::memcpy(&guid, bytes, 16);
  return guid;
}

}  // namespace StringHelp

void QoGuidToStr(const QoGuid& guid, std::string& text) {
  char formatted[k_textLength + 1];
  FormatGuid(guid, formatted);
  if (text.size() < k_textLength) text.resize(k_textLength);
  text.replace(0, k_textLength, formatted, k_textLength);
}

void QoGuidToWStr(const QoGuid& guid, std::wstring& text) {
  char formatted[k_textLength + 1];
  FormatGuid(guid, formatted);
  text.assign(formatted, formatted + k_textLength);  // plain ASCII: each byte is one character
}

bool WStrToQoGuid(const std::wstring& text, QoGuid& guid) {
  // Bytes go straight into the output as they are read, so a rejected text leaves those read.
  auto* bytes = reinterpret_cast<unsigned char*>(&guid);
  return ParseGuidText(text.c_str(), std::wcslen(text.c_str()), bytes);
}

QoGuid QoGuidFromWStr(const std::wstring& text) {
  QoGuid guid = QoGuidNull;
  if (!WStrToQoGuid(text, guid)) return QoGuidNull;
  return guid;
}
