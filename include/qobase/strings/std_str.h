// CStdStr: the library's string. A std::string of UTF-8 bytes with the handful of operations of
// a classic framework string class: formatting in place, counting replacement, case-insensitive
// comparison, pieces and tokenising. Everything else is std::string's own behaviour.
#pragma once

#include <cstdarg>
#include <locale>
#include <string>

class CStdStr : public std::string {
 public:
  CStdStr() = default;
  CStdStr(const char* text) : std::string(text ? text : "") {}  // NOLINT: implicit by design
  CStdStr(const char* text, size_type length) : std::string(text ? text : "", text ? length : 0) {}
  CStdStr(const std::string& text) : std::string(text) {}                 // NOLINT
  CStdStr(std::string&& text) noexcept : std::string(std::move(text)) {}  // NOLINT
  // `count` copies of `ch`.
  CStdStr(char ch, int count) : std::string(count > 0 ? static_cast<size_type>(count) : 0, ch) {}
  // Converts with the global locale (see ssasn).
  CStdStr(const wchar_t* wide);  // NOLINT

  CStdStr& operator=(const char* text);
  CStdStr& operator=(const std::string& text);
  CStdStr& operator=(std::string&& text) noexcept;
  CStdStr& operator=(const wchar_t* wide);
  CStdStr& operator=(char ch);

  // Replaces the content by the printf-style result. The result is cut at
  // strlen(format) + 1022 characters.
  void Fmt(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void FormatV(const char* format, va_list args);

  // Replaces every occurrence of `oldText`, left to right without overlap, by `newText` (null
  // deletes). A null or empty `oldText` changes nothing. Returns the number of replacements:
  // "aaaa".Replace("aa", "b") gives "bb" and 2.
  int Replace(const char* oldText, const char* newText);
  // Replaces every `oldChar` by `newChar`; returns the count.
  int Replace(char oldChar, char newChar);

  // Byte-wise difference of the first pair that differs after lowering both with the classic
  // locale; 0 when equal ignoring case.
  int CompareNoCase(const char* other) const;

  // Pieces; counts past the end are clamped, negative counts give the empty string.
  CStdStr Left(int count) const;
  CStdStr Right(int count) const;
  CStdStr Mid(int first, int count) const;
  CStdStr Mid(int first) const;

  // Appends at most `maxCount` characters of `text`.
  CStdStr& Append(const CStdStr& text, int maxCount);
  // Appends `ch` once when `maxCount` is positive.
  CStdStr& Append(char ch, int maxCount);

  // Lowers or raises every byte with the locale's character classification.
  CStdStr& ToLower(const std::locale& locale = std::locale::classic());
  CStdStr& ToUpper(const std::locale& locale = std::locale::classic());

  // The next token after `position`, skipping leading separators; `position` becomes the index
  // of the separator that ended the token, or -1 once no token is left. A negative position
  // throws std::invalid_argument("Invalid start"). With no separators the rest of the string is
  // the token and `position` is left as it was.
  // "/a//b/" with "/": "a" (2), "b" (5), "" (-1).
  CStdStr Tokenize(const char* separators, int& position) const;

  // Remove white space (global locale) from the start, the end, or both. A byte of 0x80 or
  // above is never white space and stops the trimming.
  CStdStr& TrimLeft();
  CStdStr& TrimRight();
  CStdStr& Trim();
};

// Assigns a wide C string, converted with the global locale's code conversion into at most as
// many bytes as there are wide characters (a character that needs more room is cut). A null
// source gives the empty string.
void ssasn(std::string& target, const wchar_t* source);
