// Regular-expression helpers: escaping text and turning wildcards into patterns.
#include <qobase/strings/regex_helpers.h>

#include <cstring>

namespace {

// The longest wildcard pattern compiled: the longest path the system accepts.
constexpr size_t k_maxPatternLength = 4096;

// Both expressions are compiled once, on first use; function-local statics make that
// thread-safe.
const std::regex& SpecialCharacters() {
  static const std::regex expression(R"([.^$|()\[\]{}+?\\])", std::regex::ECMAScript);
  return expression;
}

const std::regex& StarRuns() {
  static const std::regex expression(R"(\*+)", std::regex::ECMAScript);
  return expression;
}

}  // namespace

namespace RegexHelpers {

void RegexEscape(const char* text, std::string& output) {
  output = std::regex_replace(std::string(text ? text : ""), SpecialCharacters(), R"(\$&)");
}

void BuildRegex(const char* pattern, std::regex& output) {
  // The standard library compiles an expression recursively, one level per character, so a
  // hostile pattern of some ten thousand characters would exhaust the stack. No file name or
  // path is that long: such a pattern gives an expression that matches nothing.
  if (pattern && std::strlen(pattern) > k_maxPatternLength) {
    output.assign("[]", std::regex::ECMAScript);
    return;
  }
  std::string escaped;
  RegexEscape(pattern, escaped);
  const std::string expression = std::regex_replace(escaped, StarRuns(), ".*");
  output.assign(expression, std::regex::ECMAScript | std::regex::icase);
}

}  // namespace RegexHelpers
