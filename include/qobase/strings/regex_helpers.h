// RegexHelpers: turning a file-name wildcard pattern into a regular expression (ECMAScript
// grammar, case ignored), as used for filters on file and directory names.
#pragma once

#include <regex>
#include <string>

namespace RegexHelpers {

// `output` becomes the text with a backslash before every character of . ^ $ | ( ) [ ] { } + ?
// and backslash. "*" is left alone so a wildcard pattern keeps its stars: "a.b*" gives "a\.b*".
void RegexEscape(const char* text, std::string& output);

// Compiles the wildcard `pattern` into `output`: the pattern is escaped, every run of "*"
// becomes ".*", and the expression ignores case. "?" stays a literal character.
// "*.wav" gives the expression ".*\.wav", which matches "A.WAV". A pattern longer than 4096
// bytes (longer than any path) gives an expression that matches nothing.
void BuildRegex(const char* pattern, std::regex& output);

}  // namespace RegexHelpers
