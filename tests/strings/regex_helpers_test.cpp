#include <qobase/strings/regex_helpers.h>

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace {

TEST(RegexHelpers, EscapeMarksEverySpecialCharacterButStar) {
  std::string out = "stale";
  RegexHelpers::RegexEscape(R"(a.b*c?(d)[e]{f}+^$|\)", out);
  EXPECT_EQ(out, R"(a\.b*c\?\(d\)\[e\]\{f\}\+\^\$\|\\)");
  RegexHelpers::RegexEscape("plain-text_1", out);
  EXPECT_EQ(out, "plain-text_1");
  RegexHelpers::RegexEscape(nullptr, out);
  EXPECT_EQ(out, "");
}

TEST(RegexHelpers, BuildRegexTurnsStarsIntoAnyRunAndIgnoresCase) {
  std::regex expression;
  RegexHelpers::BuildRegex("*.wav", expression);
  EXPECT_TRUE(std::regex_match("A.WAV", expression));
  EXPECT_TRUE(std::regex_match(".wav", expression));
  EXPECT_FALSE(std::regex_match("AxWAV", expression));  // the dot is literal
  EXPECT_FALSE(std::regex_match("a.wav.bak", expression));

  RegexHelpers::BuildRegex("take?.wav", expression);
  EXPECT_TRUE(std::regex_match("TAKE?.WAV", expression));
  EXPECT_FALSE(std::regex_match("take1.wav", expression));

  RegexHelpers::BuildRegex("a***b", expression);
  EXPECT_TRUE(std::regex_match("a123b", expression));
  EXPECT_TRUE(std::regex_match("ab", expression));

  RegexHelpers::BuildRegex("(mix)[1]+{2}", expression);
  EXPECT_TRUE(std::regex_match("(MIX)[1]+{2}", expression));
  EXPECT_FALSE(std::regex_match("mix11{2}", expression));

  // A pattern as long as the longest path still compiles; a hostile longer one, whose
  // compilation would exhaust the stack, gives an expression that matches nothing.
  RegexHelpers::BuildRegex((std::string(4095, 'a') + "*").c_str(), expression);
  EXPECT_TRUE(std::regex_search(std::string(4095, 'a'), expression));
  RegexHelpers::BuildRegex(std::string(200000, 'a').c_str(), expression);
  EXPECT_FALSE(std::regex_search(std::string(10, 'a'), expression));
  EXPECT_FALSE(std::regex_search("", expression));
}

}  // namespace
