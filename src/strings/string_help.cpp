// StringHelp text operations: splitting, joining, trimming, comparing and searching.
#include <qobase/strings/string_help.h>

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstring>
#include <cwctype>
#include <locale>

namespace {

// The environment's locale, made once. An environment naming a locale the system does not have
// falls back to the classic one rather than failing.
const std::locale& UserLocale() {
  static const std::locale locale = [] {
    try {
      return std::locale("");
    } catch (const std::exception&) {
      return std::locale::classic();
    }
  }();
  return locale;
}

template <typename Str, typename Char>
void SplitLines(const Str& text, Char separator, std::vector<Str>& pieces) {
  pieces.clear();
  size_t start = 0;
  while (start < text.size()) {
    const size_t end = text.find(separator, start);
    if (end == Str::npos) {
      pieces.push_back(text.substr(start));
      return;
    }
    pieces.push_back(text.substr(start, end - start));
    start = end + 1;
  }
}

template <typename Str>
void TrimSet(Str& text, const Str& characters) {
  const size_t first = text.find_first_not_of(characters);
  if (first == Str::npos) {
    text.clear();
    return;
  }
  const size_t last = text.find_last_not_of(characters);
  text.erase(last + 1);
  text.erase(0, first);
}

template <typename Str>
void RemoveSet(Str& text, const Str& characters) {
  text.erase(std::remove_if(text.begin(), text.end(),
                            [&](auto ch) { return characters.find(ch) != Str::npos; }),
             text.end());
}

char AsciiLower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool IsWordChar(char c, const std::locale& locale) {
  return static_cast<unsigned char>(c) < 0x80 && std::isalnum(c, locale);
}

}  // namespace

namespace StringHelp {

wchar_t GetSpecialCharacter(SpecialChar) { return 0; }

CStdStr Localize(const char* text) { return CStdStr(text); }

CStdStr LocalizeFmt(const char* format, ...) {
  CStdStr result;
  va_list args;
  va_start(args, format);
  result.FormatV(format, args);
  va_end(args);
  return result;
}

CStdStr LocalizeMsg(const char*, ...) { return CStdStr(); }

CStdStr StringFromBuffer(const char* text) { return CStdStr(text); }

CStdStr StringFromBuffer(const wchar_t* text) { return CStdStr(text); }

size_t CopyAsUTF8(const char* text, char* destination, size_t capacity) {
  if (!destination) return 0;
  const size_t length = text ? std::strlen(text) : 0;
  if (length >= capacity) return 0;
  std::memcpy(destination, text ? text : "", length);
  destination[length] = '\0';
  return length;
}

size_t CopyAsUTF8(const CStdStr& text, char* destination, size_t capacity) {
  if (!destination || text.size() >= capacity) return 0;
  std::memcpy(destination, text.data(), text.size());
  destination[text.size()] = '\0';
  return text.size();
}

void VectorToString(const std::vector<CStdStr>& items, CStdStr& output, const CStdStr& separator) {
  output.clear();
  for (size_t i = 0; i < items.size(); ++i) {
    if (i) output += separator;
    output += items[i];
  }
}

void SplitString(const CStdStr& text, char separator, std::vector<CStdStr>& pieces) {
  const CStdStr upToZero(text.c_str());
  SplitLines<CStdStr, char>(upToZero, separator, pieces);
}

void SplitString(const std::string& text, char separator, std::vector<std::string>& pieces) {
  SplitLines<std::string, char>(text, separator, pieces);
}

void SplitString(const std::wstring& text, wchar_t separator, std::vector<std::wstring>& pieces) {
  SplitLines<std::wstring, wchar_t>(text, separator, pieces);
}

void SplitWords(const CStdStr& text, std::vector<CStdStr>& words, bool combine) {
  words.clear();
  const std::locale& locale = UserLocale();
  const size_t size = text.size();
  auto lowered = [&](size_t from, size_t to) {
    CStdStr word = text.substr(from, to - from);
    word.ToLower(locale);
    return word;
  };

  // Leading separators belong to no word.
  size_t start = 0;
  while (start < size && !IsWordChar(text[start], locale)) ++start;
  if (start == size) return;

  CStdStr compound;
  for (size_t i = start + 1; i < size; ++i) {
    const char c = text[i];
    if (!IsWordChar(c, locale)) {
      if (i > start) {
        const CStdStr word = lowered(start, i);
        words.push_back(word);
        if (combine && !compound.empty()) {
          words.push_back(compound + word);
          compound.clear();
        }
      }
      start = i + 1;
    } else if (std::isalpha(c, locale) && !std::islower(c, locale) &&
               std::islower(text[i - 1], locale) && IsWordChar(text[i - 1], locale)) {
      if (i > start) {
        const CStdStr word = lowered(start, i);
        words.push_back(word);
        compound += word;
      }
      start = i;
    }
  }
  if (start < size) {
    const CStdStr word = lowered(start, size);
    words.push_back(word);
    if (combine && !compound.empty()) words.push_back(compound + word);
  }
}

void Trim(std::string& text, const std::string& characters) { TrimSet(text, characters); }
void Trim(std::wstring& text, const std::wstring& characters) { TrimSet(text, characters); }
void Remove(std::string& text, const std::string& characters) { RemoveSet(text, characters); }
void Remove(std::wstring& text, const std::wstring& characters) { RemoveSet(text, characters); }

void ToLower(std::string& text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

void ToLower(std::wstring& text) {
  for (wchar_t& c : text) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
}

CStdStr& RemoveControlCharacters(CStdStr& text) {
  text.erase(std::remove_if(text.begin(), text.end(),
                            [](char c) {
                              const auto byte = static_cast<unsigned char>(c);
                              return byte >= 1 && byte <= 31;
                            }),
             text.end());
  return text;
}

CStdStr RemoveUnderscoreDigitAtTheEnd(const CStdStr& text) {
  const size_t underscore = text.rfind('_');
  if (underscore == CStdStr::npos) return text;
  for (size_t i = underscore + 1; i < text.size(); ++i) {
    if (text[i] < '0' || text[i] > '9') return text;
  }
  return text.substr(0, underscore);
}

bool CompareTextOnly(const char* first, const char* second) {
  std::string a(first ? first : "");
  std::string b(second ? second : "");
  RemoveSet(a, std::string(" "));
  RemoveSet(b, std::string(" "));
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (AsciiLower(a[i]) != AsciiLower(b[i])) return false;
  }
  return true;
}

bool CaseInsensitiveSearch(const CStdStr& text, const CStdStr& part) {
  const std::locale& locale = UserLocale();
  const auto& ctype = std::use_facet<std::ctype<char>>(locale);
  const auto found =
      std::search(text.begin(), text.end(), part.begin(), part.end(),
                  [&](char a, char b) { return ctype.toupper(a) == ctype.toupper(b); });
  return found != text.end();
}

bool WildcardTextCompare(const char* text, const char* pattern, bool caseSensitive,
                         char terminator) {
  if (!text || !pattern) return false;
  auto atEnd = [terminator](const char* s) { return *s == '\0' || *s == terminator; };
  auto same = [caseSensitive](char a, char b) {
    return caseSensitive ? a == b : AsciiLower(a) == AsciiLower(b);
  };

  // One remembered "*": on a mismatch the pattern restarts after it and the "*" swallows one
  // more text character.
  const char* starPattern = nullptr;
  const char* starText = nullptr;
  while (!atEnd(text)) {
    if (!atEnd(pattern) && *pattern == '*') {
      while (!atEnd(pattern) && *pattern == '*') ++pattern;
      if (atEnd(pattern)) return true;
      starPattern = pattern;
      starText = text;
    } else if (!atEnd(pattern) && same(*text, *pattern)) {
      ++text;
      ++pattern;
    } else if (starPattern) {
      pattern = starPattern;
      text = ++starText;
    } else {
      return false;
    }
  }
  while (!atEnd(pattern) && *pattern == '*') ++pattern;
  return atEnd(pattern);
}

CStdStr XmlEscape(CStdStr text) {
  text.Replace("&", "&amp;");
  text.Replace("<", "&lt;");
  text.Replace(">", "&gt;");
  text.Replace("'", "&apos;");
  text.Replace("\"", "&quot;");
  return text;
}

}  // namespace StringHelp
