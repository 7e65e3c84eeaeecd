// NoCaseStringComp: the case-insensitive order of file names.
#include <qobase/files/no_case_string_comp.h>

#include <locale>

bool NoCaseStringComp::operator()(const CStdStr& left, const CStdStr& right) const {
  static const std::ctype<char>& s_ctype = std::use_facet<std::ctype<char>>(std::locale::classic());
  const size_t common = left.size() < right.size() ? left.size() : right.size();
  for (size_t i = 0; i < common; ++i) {
    const signed char a = static_cast<signed char>(s_ctype.tolower(left[i]));
    const signed char b = static_cast<signed char>(s_ctype.tolower(right[i]));
    if (a != b) return a < b;
  }
  return left.size() < right.size();
}
