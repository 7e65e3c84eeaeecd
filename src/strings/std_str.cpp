// CStdStr: the library's string and its added operations.
#include <qobase/strings/std_str.h>

#include <cstdio>
#include <cstring>
#include <cwchar>
#include <stdexcept>
#include <vector>

namespace {

bool IsTrimmable(char c, const std::locale& locale) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x80 && std::isspace(c, locale);
}

}  // namespace

CStdStr::CStdStr(const wchar_t* wide) { ssasn(*this, wide); }

CStdStr& CStdStr::operator=(const char* text) {
  assign(text ? text : "");
  return *this;
}

CStdStr& CStdStr::operator=(const std::string& text) {
  assign(text);
  return *this;
}

CStdStr& CStdStr::operator=(std::string&& text) noexcept {
  std::string::operator=(std::move(text));
  return *this;
}

CStdStr& CStdStr::operator=(const wchar_t* wide) {
  ssasn(*this, wide);
  return *this;
}

CStdStr& CStdStr::operator=(char ch) {
  assign(1, ch);
  return *this;
}

void CStdStr::Fmt(const char* format, ...) {
  va_list args;
  va_start(args, format);
  FormatV(format, args);
  va_end(args);
}

void CStdStr::FormatV(const char* format, va_list args) {
  if (!format) {
    clear();
    return;
  }
  const size_t formatLength = std::strlen(format);
  std::vector<char> buffer(formatLength + 1024, '\0');
  const int written = std::vsnprintf(buffer.data(), formatLength + 1023, format, args);
  if (written < 0) {
    clear();
    return;
  }
  assign(buffer.data());
}

int CStdStr::Replace(const char* oldText, const char* newText) {
  if (!oldText || !*oldText) return 0;
  const size_t oldLength = std::strlen(oldText);
  const char* replacement = newText ? newText : "";
  const size_t newLength = std::strlen(replacement);

  size_t found = find(oldText, 0, oldLength);
  if (found == npos) return 0;

  // Build the result in one pass so long strings with many hits stay linear.
  std::string result;
  result.reserve(size());
  int count = 0;
  size_t start = 0;
  while (found != npos) {
    result.append(data() + start, found - start);
    result.append(replacement, newLength);
    ++count;
    start = found + oldLength;
    found = find(oldText, start, oldLength);
  }
  result.append(data() + start, size() - start);
  swap(result);
  return count;
}

int CStdStr::Replace(char oldChar, char newChar) {
  int count = 0;
  for (char& c : *this) {
    if (c == oldChar) {
      c = newChar;
      ++count;
    }
  }
  return count;
}

int CStdStr::CompareNoCase(const char* other) const {
  const std::locale& classic = std::locale::classic();
  const char* left = c_str();
  const char* right = other ? other : "";
  for (;; ++left, ++right) {
    const int a = static_cast<unsigned char>(std::tolower(*left, classic));
    const int b = static_cast<unsigned char>(std::tolower(*right, classic));
    if (a != b || a == 0) return a - b;
  }
}

CStdStr CStdStr::Left(int count) const {
  if (count <= 0) return CStdStr();
  return CStdStr(substr(0, static_cast<size_type>(count)));
}

CStdStr CStdStr::Right(int count) const {
  if (count <= 0) return CStdStr();
  const size_type n = std::min(size(), static_cast<size_type>(count));
  return CStdStr(substr(size() - n));
}

CStdStr CStdStr::Mid(int first, int count) const {
  // In 64 bits, so a negative start and a very negative count cannot overflow.
  long long from = first;
  long long length = count;
  if (from < 0) {
    length += from;
    from = 0;
  }
  if (length <= 0 || static_cast<size_type>(from) >= size()) return CStdStr();
  return CStdStr(substr(static_cast<size_type>(from), static_cast<size_type>(length)));
}

CStdStr CStdStr::Mid(int first) const {
  if (first < 0) first = 0;
  if (static_cast<size_type>(first) >= size()) return CStdStr();
  return CStdStr(substr(static_cast<size_type>(first)));
}

CStdStr& CStdStr::Append(const CStdStr& text, int maxCount) {
  if (maxCount > 0) append(text, 0, static_cast<size_type>(maxCount));
  return *this;
}

CStdStr& CStdStr::Append(char ch, int maxCount) {
  if (maxCount > 0) push_back(ch);
  return *this;
}

CStdStr& CStdStr::ToLower(const std::locale& locale) {
  for (char& c : *this) c = std::tolower(c, locale);
  return *this;
}

CStdStr& CStdStr::ToUpper(const std::locale& locale) {
  for (char& c : *this) c = std::toupper(c, locale);
  return *this;
}

CStdStr CStdStr::Tokenize(const char* separators, int& position) const {
  if (position < 0) throw std::invalid_argument("Invalid start");
  const size_type start = static_cast<size_type>(position);
  if (start >= size()) {
    position = -1;
    return CStdStr();
  }
  if (!separators || !*separators) return CStdStr(substr(start));

  const size_type tokenStart = find_first_not_of(separators, start);
  if (tokenStart == npos) {
    position = -1;
    return CStdStr();
  }
  size_type tokenEnd = find_first_of(separators, tokenStart);
  if (tokenEnd == npos) tokenEnd = size();
  position = static_cast<int>(tokenEnd);
  return CStdStr(substr(tokenStart, tokenEnd - tokenStart));
}

CStdStr& CStdStr::TrimLeft() {
  const std::locale locale;
  size_type first = 0;
  while (first < size() && IsTrimmable((*this)[first], locale)) ++first;
  erase(0, first);
  return *this;
}

CStdStr& CStdStr::TrimRight() {
  const std::locale locale;
  size_type end = size();
  while (end > 0 && IsTrimmable((*this)[end - 1], locale)) --end;
  erase(end);
  return *this;
}

CStdStr& CStdStr::Trim() { return TrimRight().TrimLeft(); }

void ssasn(std::string& target, const wchar_t* source) {
  target.clear();
  if (!source) return;
  const size_t wideLength = std::wcslen(source);
  if (wideLength == 0) return;

  using Codecvt = std::codecvt<wchar_t, char, std::mbstate_t>;
  const std::locale locale;
  const Codecvt& codecvt = std::use_facet<Codecvt>(locale);
  std::mbstate_t state{};
  std::vector<char> buffer(wideLength);
  const wchar_t* nextIn = source;
  char* nextOut = buffer.data();
  codecvt.out(state, source, source + wideLength, nextIn, buffer.data(),
              buffer.data() + buffer.size(), nextOut);
  target.assign(buffer.data(), static_cast<size_t>(nextOut - buffer.data()));
}
