#include <qobase/strings/regex_helpers.h>

namespace {

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
  std::string escaped;
  RegexEscape(pattern, escaped);
  const std::string expression = std::regex_replace(escaped, StarRuns(), ".*");
  output.assign(expression, std::regex::ECMAScript | std::regex::icase);
}

}  // namespace RegexHelpers
