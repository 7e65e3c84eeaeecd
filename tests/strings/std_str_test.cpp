// CStdStr's added operations.
#include <qobase/strings/std_str.h>

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <stdexcept>
#include <string>
#include <tuple>

namespace {

TEST(StdStrFmt, FormatsAndCutsAtFormatLengthPlus1022) {
  CStdStr s;
  s.Fmt("%d-%s-%.2f", 42, "x", 1.5);
  EXPECT_EQ(s, "42-x-1.50");
  // strlen("ab%s") == 4, so the result holds 4 + 1022 characters.
  s.Fmt("ab%s", std::string(5000, 'z').c_str());
  EXPECT_EQ(s, "ab" + std::string(1024, 'z'));
  s.Fmt("%s", std::string(1020, 'q').c_str());
  EXPECT_EQ(s.size(), 1020u);  // under the limit: nothing is cut
}

TEST(StdStrReplace, CountsNonOverlappingLeftToRight) {
  // clang-format off
  const std::tuple<const char*, const char*, const char*, int, const char*> cases[] = {
      {"aaaa", "aa", "b", 2, "bb"},        {"aaa", "aa", "a", 1, "aa"},
      {"one two one", "one", nullptr, 2, " two "},
      {"keep", "", "x", 0, "keep"},        {"keep", nullptr, "x", 0, "keep"},
      {"keep", "zz", "x", 0, "keep"},      {"a.b.c", ".", "::", 2, "a::b::c"}};
  // clang-format on
  for (const auto& [text, oldText, newText, count, result] : cases) {
    CStdStr s(text);
    EXPECT_EQ(s.Replace(oldText, newText), count) << text;
    EXPECT_EQ(s, result) << text;
  }
  CStdStr w("a::b::c");
  EXPECT_EQ(w.Replace(':', '/'), 4);
  EXPECT_EQ(w, "a//b//c");
}

TEST(StdStrPieces, CompareNoCaseAndClampedPieces) {
  EXPECT_EQ(CStdStr("ABC").CompareNoCase("abc"), 0);
  EXPECT_EQ(CStdStr("abd").CompareNoCase("ABC"), 1);
  EXPECT_EQ(CStdStr("ab").CompareNoCase("abc"), -'c');
  EXPECT_EQ(CStdStr("x").CompareNoCase(nullptr), 'x');

  const CStdStr s("abcdef");
  EXPECT_EQ(s.Left(2) + s.Left(10) + s.Left(-1), "ababcdef");
  EXPECT_EQ(s.Right(2) + "|" + s.Right(10), "ef|abcdef");
  EXPECT_EQ(s.Mid(1, 3) + "|" + s.Mid(4, 10) + "|" + s.Mid(6, 1) + s.Mid(99), "bcd|ef|");
  EXPECT_EQ(s.Mid(-1, 3) + "|" + s.Mid(2), "ab|cdef");
  // A negative start with a very negative count must not wrap into a huge count.
  EXPECT_EQ(s.Mid(-1, INT_MIN), "");

  CStdStr t("ab");
  t.Append(CStdStr("cdef"), 2).Append(CStdStr("xyz"), 0).Append('!', 5).Append('?', 0);
  EXPECT_EQ(t, "abcd!");
  EXPECT_EQ(CStdStr('-', 3), "---");
  EXPECT_EQ(CStdStr('-', -3), "");

  CStdStr mixed("MiXeD 123 \xC3\x84");
  EXPECT_EQ(mixed.ToLower(std::locale::classic()), "mixed 123 \xC3\x84");  // high bytes kept
  EXPECT_EQ(mixed.ToUpper(), "MIXED 123 \xC3\x84");
}

// "token@position" of each call until the position is -1 or stays put (at most five calls).
std::string Tokens(const char* text, const char* separators, int position) {
  std::string out;
  for (int call = 0; call < 5; ++call) {
    const int before = position;
    const CStdStr token = CStdStr(text).Tokenize(separators, position);
    out += token + "@" + std::to_string(position) + " ";
    if (position == -1 || position == before) break;
  }
  return out;
}

TEST(StdStrTokenize, WalksTokensAndMarksTheEnd) {
  EXPECT_EQ(Tokens("/a//b/", "/", 0), "a@2 b@5 @-1 ");
  EXPECT_EQ(Tokens("x; y;;z", "; ", 0), "x@1 y@4 z@7 @-1 ");
  // No separators: the rest is the token and the position stays, or -1 at the end.
  EXPECT_EQ(Tokens("a,b", "", 2), "b@2 ");
  EXPECT_EQ(Tokens("a,b", nullptr, 3), "@-1 ");
  int bad = -1;
  try {
    (void)CStdStr("/a").Tokenize("/", bad);
    FAIL() << "expected std::invalid_argument";
  } catch (const std::invalid_argument& e) {
    EXPECT_STREQ(e.what(), "Invalid start");
  }
}

TEST(StdStrTrim, StopsAtHighBytes) {
  EXPECT_EQ(CStdStr(" \t\n text \r\n").TrimLeft(), "text \r\n");
  EXPECT_EQ(CStdStr(" \t\n text \r\n").TrimRight(), " \t\n text");
  EXPECT_EQ(CStdStr("\xA0 x \xA0").Trim(), "\xA0 x \xA0");
  EXPECT_EQ(CStdStr("   ").Trim(), "");
}

TEST(StdStrWide, AssignsWideTextThroughTheGlobalLocale) {
  CStdStr s(L"plain ascii");
  EXPECT_EQ(s, "plain ascii");
  s = static_cast<const wchar_t*>(nullptr);
  EXPECT_EQ(s, "");
  // In the classic locale a character outside ASCII cannot be converted: the text stops there.
  s = L"ab\u00e9cd";
  EXPECT_EQ(s, "ab");

  // Under UTF-8 a two-byte character needs more room than its one wide character is given,
  // so the result is cut at the buffer of wcslen bytes.
  if (std::setlocale(LC_ALL, "C.UTF-8")) {
    std::locale::global(std::locale("C.UTF-8"));
    CStdStr utf(L"\u00e9t\u00e9");
    EXPECT_EQ(utf, "\xC3\xA9t");
    std::locale::global(std::locale::classic());
    std::setlocale(LC_ALL, "C");
  }
}

}  // namespace
