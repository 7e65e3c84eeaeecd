// The StringHelp text operations.
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

// "count:text" of a conversion into a buffer that held "keep" (or "#").
std::string ToUtf8(const wchar_t* wide, int length, int capacity) {
  char out[16] = "keep";
  const int count = StringHelp::WCharToUTF8(wide, length, out, capacity);
  return std::to_string(count) + ":" + out;
}

std::wstring ToWide(const char* text, int length, int capacity) {
  wchar_t out[8] = L"#";
  const int count = StringHelp::UTF8ToWChar(text, length, out, capacity);
  return std::to_wstring(count) + L":" + out;
}

TEST(StringHelpSplit, SplitStringSplitWordsAndVectorToString) {
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

  CStdStr joined("stale"), none("stale");
  StringHelp::VectorToString(WordList{"a", "", "c"}, joined, ", ");
  StringHelp::VectorToString(WordList{}, none, ", ");
  EXPECT_EQ(joined + "|" + none, "a, , c|");

  EXPECT_EQ(Words("myFileName", false), (WordList{"my", "file", "name"}));
  EXPECT_EQ(Words("myFileName", true), (WordList{"my", "file", "name", "myfilename"}));
  EXPECT_EQ(Words("fooBar baz", true), (WordList{"foo", "bar", "foobar", "baz"}));
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
  // {text, pattern}, compared case-sensitively. A pattern "*" keeps its wildcard meaning even
  // where the text holds a "*"; "?" is a plain character; null never matches.
  const std::pair<const char*, const char*> matches[] = {
      {"abc", "a*c*"}, {"abcbc", "a*bc"}, {"aXbYc", "a*b*c"}, {"ab", "a**"},   {"", "*"},
      {"", ""},        {"?bc", "?bc"},    {"a*b", "a*"},      {"x*y*z", "x*z"}};
  const std::pair<const char*, const char*> misses[] = {
      {"abc", "a*d"}, {"abcd", "a*c"}, {"a", ""},      {"", "a"},
      {"abc", "?bc"}, {nullptr, "*"},  {"a", nullptr}, {"Report.WAV", "*.wav"}};
  for (const auto& [text, pattern] : matches) {
    EXPECT_TRUE(StringHelp::WildcardTextCompare(text, pattern, true)) << text << " ~ " << pattern;
  }
  for (const auto& [text, pattern] : misses) {
    EXPECT_FALSE(StringHelp::WildcardTextCompare(text, pattern, true)) << text << " ~ " << pattern;
  }
  EXPECT_TRUE(StringHelp::WildcardTextCompare("Report.WAV", "*.wav", false));
  // The terminator ends both strings.
  EXPECT_TRUE(StringHelp::WildcardTextCompare("take.wav;old", "*.WAV;new", false, ';'));
  EXPECT_FALSE(StringHelp::WildcardTextCompare("take.wav;old", "*.mp3;", false, ';'));
}

TEST(StringHelpUtf, CopiesAndConvertsBoundedAndGivesZeroForInvalidText) {
  char buffer[8] = "#######";
  EXPECT_EQ(StringHelp::CopyAsUTF8("abc", buffer, 3), 0u);
  EXPECT_STREQ(buffer, "#######");
  EXPECT_EQ(StringHelp::CopyAsUTF8("abc", buffer, 4), 3u);
  EXPECT_STREQ(buffer, "abc");
  EXPECT_EQ(StringHelp::CopyAsUTF8(CStdStr("wxyz"), buffer, 5), 4u);
  EXPECT_STREQ(buffer, "wxyz");
  EXPECT_EQ(StringHelp::CopyAsUTF8(CStdStr("wxyz"), buffer, 4), 0u);
  EXPECT_EQ(StringHelp::CopyAsUTF8("abc", nullptr, 8), 0u);

  const wchar_t surrogate[] = {L'a', static_cast<wchar_t>(0xD800), 0};
  const wchar_t tooLarge[] = {static_cast<wchar_t>(0x110000), 0};
  EXPECT_EQ(ToUtf8(surrogate, -1, 16), "0:keep");  // nothing written
  EXPECT_EQ(ToUtf8(tooLarge, -1, 16), "0:keep");
  EXPECT_EQ(ToUtf8(L"h\u00e9llo", 2, 16), "3:h\xC3\xA9");
  EXPECT_EQ(ToUtf8(L"\U0001F600\u20AC", -1, 16), "7:\xF0\x9F\x98\x80\xE2\x82\xAC");
  EXPECT_EQ(ToUtf8(L"abcdef", -1, 4), "3:abc");
  EXPECT_EQ(ToUtf8(L"abc", -1, 1), "0:");
  EXPECT_EQ(ToUtf8(L"a", -1, 0), "0:keep");
  EXPECT_EQ(ToUtf8(nullptr, -1, 4), "0:keep");

  EXPECT_EQ(ToWide("h\xC3\xA9\xF0\x9F\x98\x80", -1, 8), L"3:h\u00e9\U0001F600");
  EXPECT_EQ(ToWide("abc", 2, 8), L"2:ab");
  EXPECT_EQ(ToWide("abc", -1, 2), L"1:a");
  // Cut, stray continuation, overlong, surrogate, beyond U+10FFFF, five-byte, bad continuation.
  // clang-format off
  const char* const invalid[] = {"\xC3", "a\x80", "\xC0\x80", "\xE0\x80\xAF", "\xED\xA0\x80",
                                 "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xC3(", nullptr};
  // clang-format on
  for (const char* text : invalid) EXPECT_EQ(ToWide(text, -1, 8), L"0:#") << (text ? text : "");
  // A length that cuts a character in two makes the text invalid; nothing is read past it.
  EXPECT_EQ(ToWide("a\xC3\xA9", 2, 8), L"0:#");
  EXPECT_EQ(ToWide("a", -1, 0), L"0:#");
  EXPECT_EQ(StringHelp::UTF8ToWChar("a", -1, nullptr, 8), 0);
}

TEST(StringHelpFilter, TrimRemoveLowerAndStrip) {
  std::string s = "xxaxx", all = "xxx", mixed = " ,a, b,";
  StringHelp::Trim(s, "x");
  StringHelp::Trim(all, "x");
  StringHelp::Trim(mixed, ", ");
  EXPECT_EQ(s + "|" + all + "|" + mixed, "a||a, b");
  StringHelp::Remove(mixed, ", ");
  EXPECT_EQ(mixed, "ab");
  std::wstring w = L"--\u00e9-\u00e9--", removed = w, lowered = L"ABC";
  StringHelp::Trim(w, L"-");
  StringHelp::Remove(removed, L"-");
  StringHelp::ToLower(lowered);
  EXPECT_EQ(w + L"|" + removed + L"|" + lowered, L"\u00e9-\u00e9|\u00e9\u00e9|abc");
  s = "MiXeD 1\xC3\x84";
  StringHelp::ToLower(s);
  EXPECT_EQ(s, "mixed 1\xC3\x84");

  CStdStr control(
      "a\tb\nc\rd\x01\x1F"
      "e\x7F\xC3\xA9 ");
  EXPECT_EQ(StringHelp::RemoveControlCharacters(control), "abcde\x7F\xC3\xA9 ");

  const std::pair<const char*, const char*> underscores[] = {{"Voice_12", "Voice"},
                                                             {"Voice_", "Voice"},
                                                             {"Voice_A1", "Voice_A1"},
                                                             {"Big_Voice_3", "Big_Voice"},
                                                             {"Voice12", "Voice12"}};
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

  EXPECT_EQ(StringHelp::Localize("Save") + StringHelp::LocalizeFmt("%d %s", 3, "takes"),
            "Save3 takes");
  EXPECT_EQ(StringHelp::LocalizeMsg("%d", 3), "");
  EXPECT_EQ(StringHelp::GetSpecialCharacter(StringHelp::k_specialCharEllipsis), 0);
  EXPECT_EQ(StringHelp::StringFromBuffer("abc") + StringHelp::StringFromBuffer(L"xyz"), "abcxyz");
}

}  // namespace
