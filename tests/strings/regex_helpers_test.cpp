// The regular-expression helpers and wildcard matching.
#include <qobase/strings/regex_helpers.h>

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <tuple>

namespace {

TEST(RegexHelpers, EscapeMarksEverySpecialCharacterButStar) {
  std::string out = "stale";
  RegexHelpers::RegexEscape(R"(a.b*c?(d)[e]{f}+^$|\)", out);
  EXPECT_EQ(out, R"(a\.b*c\?\(d\)\[e\]\{f\}\+\^\$\|\\)");
  RegexHelpers::RegexEscape(nullptr, out);
  EXPECT_EQ(out, "");
}

TEST(RegexHelpers, BuildRegexTurnsStarsIntoAnyRunAndIgnoresCase) {
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"*.wav", "A.WAV", true},
      {"*.wav", ".wav", true},
      {"*.wav", "AxWAV", false},  // the dot is literal
      {"*.wav", "a.wav.bak", false},
      {"take?.wav", "TAKE?.WAV", true},
      {"take?.wav", "take1.wav", false},
      {"a***b", "a123b", true},
      {"a***b", "ab", true},
      {"(mix)[1]+{2}", "(MIX)[1]+{2}", true},
      {"(mix)[1]+{2}", "mix11{2}", false}};
  std::regex expression;
  for (const auto& [pattern, text, matches] : cases) {
    RegexHelpers::BuildRegex(pattern, expression);
    EXPECT_EQ(std::regex_match(text, expression), matches) << pattern << " ~ " << text;
  }

  // A pattern as long as the longest path still compiles; a hostile longer one, whose
  // compilation would exhaust the stack, gives an expression that matches nothing.
  RegexHelpers::BuildRegex((std::string(4095, 'a') + "*").c_str(), expression);
  EXPECT_TRUE(std::regex_search(std::string(4095, 'a'), expression));
  RegexHelpers::BuildRegex(std::string(200000, 'a').c_str(), expression);
  EXPECT_FALSE(std::regex_search(std::string(10, 'a'), expression));
  EXPECT_FALSE(std::regex_search("", expression));
}

}  // namespace
