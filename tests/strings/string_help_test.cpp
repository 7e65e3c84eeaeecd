#include <qobase/strings/string_help.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using WordList = std::vector<CStdStr>;

WordList Words(const char* text, bool combine) {
  WordList words{"stale"};
  StringHelp::SplitWords(text, words, combine);
  return words;
}

TEST(StringHelpSplit, SplitStringReadsPiecesLikeLinesAndVectorToStringJoins) {
  const std::pair<const char*, WordList> cases[] = {
      {"a..b", {"a", "", "b"}}, {".5", {"", "5"}}, {"5.", {"5"}}, {"", {}}};
  WordList pieces{"stale"};
  for (const auto& [text, expected] : cases) {
    StringHelp::SplitString(CStdStr(text), '.', pieces);
    EXPECT_EQ(pieces, expected) << text;
  }
  // The CStdStr form stops at a zero byte.
  StringHelp::SplitString(CStdStr(std::string("a.b\0c.d", 7)), '.', pieces);
  EXPECT_EQ(pieces, (WordList{"a", "b"}));
  std::vector<std::string> narrow;
  StringHelp::SplitString(std::string("x,,y,"), ',', narrow);
  EXPECT_EQ(narrow, (std::vector<std::string>{"x", "", "y"}));
  std::vector<std::wstring> wide;
  StringHelp::SplitString(std::wstring(L";\u00e9;z"), L';', wide);
  EXPECT_EQ(wide, (std::vector<std::wstring>{L"", L"\u00e9", L"z"}));

  CStdStr joined("stale");
  StringHelp::VectorToString(WordList{"a", "", "c"}, joined, ", ");
  EXPECT_EQ(joined, "a, , c");
  StringHelp::VectorToString(WordList{}, joined, ", ");
  EXPECT_EQ(joined, "");
}

TEST(StringHelpSplit, SplitWordsAtSeparatorsAndCamelCase) {
  EXPECT_EQ(Words("myFileName", false), (WordList{"my", "file", "name"}));
  EXPECT_EQ(Words("myFileName", true), (WordList{"my", "file", "name", "myfilename"}));
  EXPECT_EQ(Words("fooBar baz", true), (WordList{"foo", "bar", "foobar", "baz"}));
  EXPECT_EQ(Words("fooBar baz", false), (WordList{"foo", "bar", "baz"}));
  EXPECT_EQ(Words("file2Name", true), (WordList{"file2name"}));
  EXPECT_EQ(Words("XMLFile getHTTP", false), (WordList{"xmlfile", "get", "http"}));
  EXPECT_EQ(Words("a  --b", false), (WordList{"a", "b"}));
  EXPECT_EQ(Words("caf\xC3\xA9s", false), (WordList{"caf", "s"}));  // high bytes separate
  EXPECT_EQ(Words(" - ", true), WordList{});
  // Leading separators are skipped rather than kept at the start of the first word.
  EXPECT_EQ(Words(" abc", false), (WordList{"abc"}));
  EXPECT_EQ(Words("__initValue_", true), (WordList{"init", "value", "initvalue"}));
}

TEST(StringHelpWildcard, MatchesWholeTextWithStars) {
  struct Case {
    const char* text;
    const char* pattern;
    bool caseSensitive;
    bool matches;
  };
  const Case cases[] = {
      {"Report.WAV", "*.wav", false, true}, {"Report.WAV", "*.wav", true, false},
      {"abc", "a*c*", true, true},          {"abc", "a*d", true, false},
      {"abcbc", "a*bc", true, true},        {"aXbYc", "a*b*c", true, true},
      {"abcd", "a*c", true, false},         {"ab", "a**", true, true},
      {"", "*", true, true},                {"", "", true, true},
      {"a", "", true, false},               {"", "a", true, false},
      {"abc", "?bc", true, false},          {"?bc", "?bc", true, true},  // "?" is plain
      {nullptr, "*", true, false},          {"a", nullptr, true, false},
      // A pattern "*" keeps its wildcard meaning even where the text holds a "*".
      {"a*b", "a*", true, true},            {"x*y*z", "x*z", true, true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(StringHelp::WildcardTextCompare(c.text, c.pattern, c.caseSensitive), c.matches)
        << (c.text ? c.text : "null") << " ~ " << (c.pattern ? c.pattern : "null");
  }
  // The terminator ends both strings.
  EXPECT_TRUE(StringHelp::WildcardTextCompare("take.wav;old", "*.WAV;new", false, ';'));
  EXPECT_FALSE(StringHelp::WildcardTextCompare("take.wav;old", "*.mp3;", false, ';'));
}

TEST(StringHelpCopy, CopyAsUtf8OnlyWhenItFits) {
  char buffer[8] = "#######";
  EXPECT_EQ(StringHelp::CopyAsUTF8("abc", buffer, 3), 0u);
  EXPECT_STREQ(buffer, "#######");
  EXPECT_EQ(StringHelp::CopyAsUTF8("abc", buffer, 4), 3u);
  EXPECT_STREQ(buffer, "abc");
  EXPECT_EQ(StringHelp::CopyAsUTF8(CStdStr("wxyz"), buffer, 5), 4u);
  EXPECT_STREQ(buffer, "wxyz");
  EXPECT_EQ(StringHelp::CopyAsUTF8(CStdStr("wxyz"), buffer, 4), 0u);
  EXPECT_EQ(StringHelp::CopyAsUTF8("abc", nullptr, 8), 0u);
}

TEST(StringHelpUtf, WideToUtf8CopiesBoundedAndRejectsInvalid) {
  char out[16];
  EXPECT_EQ(StringHelp::WCharToUTF8(L"h\u00e9llo", 2, out, sizeof out), 3);
  EXPECT_STREQ(out, "h\xC3\xA9");
  EXPECT_EQ(StringHelp::WCharToUTF8(L"abcdef", -1, out, 4), 3);
  EXPECT_STREQ(out, "abc");
  EXPECT_EQ(StringHelp::WCharToUTF8(L"\U0001F600\u20AC", -1, out, sizeof out), 7);
  EXPECT_STREQ(out, "\xF0\x9F\x98\x80\xE2\x82\xAC");

  std::strcpy(out, "keep");
  const wchar_t surrogate[] = {L'a', static_cast<wchar_t>(0xD800), 0};
  const wchar_t tooLarge[] = {static_cast<wchar_t>(0x110000), 0};
  EXPECT_EQ(StringHelp::WCharToUTF8(surrogate, -1, out, sizeof out), 0);
  EXPECT_EQ(StringHelp::WCharToUTF8(tooLarge, -1, out, sizeof out), 0);
  EXPECT_STREQ(out, "keep");
  EXPECT_EQ(StringHelp::WCharToUTF8(L"a", -1, out, 0), 0);
  EXPECT_EQ(StringHelp::WCharToUTF8(nullptr, -1, out, 4), 0);
  EXPECT_EQ(StringHelp::WCharToUTF8(L"abc", -1, out, 1), 0);
  EXPECT_STREQ(out, "");
}

TEST(StringHelpUtf, Utf8ToWideCopiesBoundedAndRejectsInvalid) {
  wchar_t out[8];
  EXPECT_EQ(StringHelp::UTF8ToWChar("h\xC3\xA9\xF0\x9F\x98\x80", -1, out, 8), 3);
  EXPECT_EQ(std::wstring(out), L"h\u00e9\U0001F600");
  EXPECT_EQ(StringHelp::UTF8ToWChar("abc", 2, out, 8), 2);
  EXPECT_EQ(std::wstring(out), L"ab");
  EXPECT_EQ(StringHelp::UTF8ToWChar("abc", -1, out, 2), 1);
  EXPECT_EQ(std::wstring(out), L"a");

  const char* const invalid[] = {
      "\xC3",          "a\x80",        "\xC0\x80",         "\xE0\x80\xAF",  // cut, stray, overlong
      "\xED\xA0\x80",  "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xC3(",  // surrogate, too big
  };
  for (const char* text : invalid) {
    out[0] = L'#';
    EXPECT_EQ(StringHelp::UTF8ToWChar(text, -1, out, 8), 0) << text;
    EXPECT_EQ(out[0], L'#');
  }
  // A length that cuts a character in two makes the text invalid; nothing is read past it.
  EXPECT_EQ(StringHelp::UTF8ToWChar("a\xC3\xA9", 2, out, 8), 0);
  EXPECT_EQ(StringHelp::UTF8ToWChar(nullptr, -1, out, 8), 0);
  EXPECT_EQ(StringHelp::UTF8ToWChar("a", -1, nullptr, 8), 0);
  EXPECT_EQ(StringHelp::UTF8ToWChar("a", -1, out, 0), 0);
}

TEST(StringHelpFilter, TrimRemoveLowerAndStrip) {
  std::string s = "xxaxx";
  StringHelp::Trim(s, "x");
  EXPECT_EQ(s, "a");
  s = "xxx";
  StringHelp::Trim(s, "x");
  EXPECT_EQ(s, "");
  s = " ,a, b,";
  StringHelp::Trim(s, ", ");
  EXPECT_EQ(s, "a, b");
  StringHelp::Remove(s, ", ");
  EXPECT_EQ(s, "ab");
  std::wstring w = L"--\u00e9-\u00e9--";
  StringHelp::Trim(w, L"-");
  EXPECT_EQ(w, L"\u00e9-\u00e9");
  StringHelp::Remove(w, L"-");
  EXPECT_EQ(w, L"\u00e9\u00e9");

  s = "MiXeD 1\xC3\x84";
  StringHelp::ToLower(s);
  EXPECT_EQ(s, "mixed 1\xC3\x84");
  std::wstring wl = L"ABC";
  StringHelp::ToLower(wl);
  EXPECT_EQ(wl, L"abc");

  CStdStr control("a\tb\nc\rd\x01\x1F" "e\x7F\xC3\xA9 ");
  EXPECT_EQ(StringHelp::RemoveControlCharacters(control), "abcde\x7F\xC3\xA9 ");

  const std::pair<const char*, const char*> underscores[] = {
      {"Voice_12", "Voice"}, {"Voice_", "Voice"}, {"Voice_A1", "Voice_A1"},
      {"Big_Voice_3", "Big_Voice"}, {"Voice12", "Voice12"}};
  for (const auto& [text, expected] : underscores) {
    EXPECT_EQ(StringHelp::RemoveUnderscoreDigitAtTheEnd(text), expected) << text;
  }
}

TEST(StringHelpCompare, TextOnlySearchEscapeAndHooks) {
  EXPECT_TRUE(StringHelp::CompareTextOnly("Hello World", " helloworld "));
  EXPECT_FALSE(StringHelp::CompareTextOnly("a b", "ab c"));
  EXPECT_FALSE(StringHelp::CompareTextOnly("ab", "a-b"));
  EXPECT_TRUE(StringHelp::CompareTextOnly(nullptr, "   "));

  EXPECT_TRUE(StringHelp::CaseInsensitiveSearch("Hello World", "o wOR"));
  EXPECT_FALSE(StringHelp::CaseInsensitiveSearch("Hello World", "worlds"));
  EXPECT_TRUE(StringHelp::CaseInsensitiveSearch("abc", ""));
  EXPECT_FALSE(StringHelp::CaseInsensitiveSearch("", ""));

  EXPECT_EQ(StringHelp::XmlEscape("a<'b'>&"), "a&lt;&apos;b&apos;&gt;&amp;");
  EXPECT_EQ(StringHelp::XmlEscape("\"&amp;\""), "&quot;&amp;amp;&quot;");

  EXPECT_EQ(StringHelp::Localize("Save") + StringHelp::Localize(nullptr), "Save");
  EXPECT_EQ(StringHelp::LocalizeFmt("%d %s", 3, "takes"), "3 takes");
  EXPECT_EQ(StringHelp::LocalizeMsg("%d", 3), "");
  EXPECT_EQ(StringHelp::GetSpecialCharacter(StringHelp::k_specialCharEllipsis), 0);
  EXPECT_EQ(StringHelp::StringFromBuffer("abc"), "abc");
  EXPECT_EQ(StringHelp::StringFromBuffer(L"abc"), "abc");
  EXPECT_EQ(StringHelp::StringFromBuffer(static_cast<const char*>(nullptr)), "");
}

}  // namespace
