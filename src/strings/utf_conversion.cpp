// UTF-8 <-> wide (UTF-32 wchar_t) conversion of StringHelp. Invalid input is reported by a
// zero result instead of an exception, so a hostile text can never escape the interface.
#include <qobase/strings/string_help.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>

namespace {

static_assert(sizeof(wchar_t) == 4, "wide text is UTF-32 on this platform");

bool IsValidCodePoint(uint32_t code) {
  return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

// Appends the UTF-8 form of every wide character; false at the first invalid one.
bool EncodeUtf8(const wchar_t* wide, size_t count, std::string& out) {
  out.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    const auto code = static_cast<uint32_t>(wide[i]);
    if (!IsValidCodePoint(code)) return false;
    if (code < 0x80) {
      out.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (code >> 6)));
      out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else if (code < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (code >> 12)));
      out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (code >> 18)));
      out.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
  }
  return true;
}

// Appends the code points of `count` UTF-8 bytes; false on any malformed, truncated, overlong
// or surrogate sequence. Never reads past `count` bytes.
bool DecodeUtf8(const unsigned char* text, size_t count, std::wstring& out) {
  out.reserve(count);
  size_t i = 0;
  while (i < count) {
    const unsigned char lead = text[i];
    uint32_t code = 0;
    size_t extra = 0;
    uint32_t minimum = 0;
    if (lead < 0x80) {
      out.push_back(static_cast<wchar_t>(lead));
      ++i;
      continue;
    } else if ((lead & 0xE0) == 0xC0) {
      code = lead & 0x1F;
      extra = 1;
      minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
      code = lead & 0x0F;
      extra = 2;
      minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
      code = lead & 0x07;
      extra = 3;
      minimum = 0x10000;
    } else {
      return false;
    }
    if (count - i - 1 < extra) return false;
    for (size_t k = 1; k <= extra; ++k) {
      const unsigned char next = text[i + k];
      if ((next & 0xC0) != 0x80) return false;
      code = (code << 6) | (next & 0x3F);
    }
    if (code < minimum || !IsValidCodePoint(code)) return false;
    out.push_back(static_cast<wchar_t>(code));
    i += extra + 1;
  }
  return true;
}

}  // namespace

namespace StringHelp {

int WCharToUTF8(const wchar_t* wide, int length, char* destination, int capacity) {
  if (!wide || !destination || capacity < 1) return 0;
  const size_t count = length < 0 ? std::wcslen(wide) : static_cast<size_t>(length);
  std::string utf8;
  if (!EncodeUtf8(wide, count, utf8)) return 0;
  const size_t copied = std::min(utf8.size(), static_cast<size_t>(capacity) - 1);
  std::memcpy(destination, utf8.data(), copied);
  destination[copied] = '\0';
  return static_cast<int>(copied);
}

int UTF8ToWChar(const char* text, int length, wchar_t* destination, int capacity) {
  if (!text || !destination || capacity < 1) return 0;
  const size_t count = length < 0 ? std::strlen(text) : static_cast<size_t>(length);
  std::wstring wide;
  if (!DecodeUtf8(reinterpret_cast<const unsigned char*>(text), count, wide)) return 0;
  const size_t copied = std::min(wide.size(), static_cast<size_t>(capacity) - 1);
  std::wmemcpy(destination, wide.data(), copied);
  destination[copied] = L'\0';
  return static_cast<int>(copied);
}

}  // namespace StringHelp
