#include <qobase/strings/std_str.h>

#include <gtest/gtest.h>

#include <clocale>
#include <stdexcept>
#include <string>

namespace {

TEST(StdStrFmt, FormatsAndCutsAtFormatLengthPlus1022) {
  CStdStr s;
  s.Fmt("%d-%s-%.2f", 42, "x", 1.5);
  EXPECT_EQ(s, "42-x-1.50");

  const std::string longArg(5000, 'z');
  s.Fmt("ab%s", longArg.c_str());
  // strlen("ab%s") == 4, so the result holds 4 + 1022 characters.
  ASSERT_EQ(s.size(), 4u + 1022u);
  EXPECT_EQ(s.substr(0, 2), "ab");
  EXPECT_EQ(s.find_first_not_of('z', 2), std::string::npos);

  s.Fmt("%s", std::string(1020, 'q').c_str());
  EXPECT_EQ(s.size(), 1020u);  // under the limit: nothing is cut
}

TEST(StdStrReplace, CountsNonOverlappingLeftToRight) {
  CStdStr s("aaaa");
  EXPECT_EQ(s.Replace("aa", "b"), 2);
  EXPECT_EQ(s, "bb");

  CStdStr t("aaa");
  EXPECT_EQ(t.Replace("aa", "a"), 1);
  EXPECT_EQ(t, "aa");

  CStdStr u("one two one");
  EXPECT_EQ(u.Replace("one", nullptr), 2);
  EXPECT_EQ(u, " two ");

  CStdStr v("keep");
  EXPECT_EQ(v.Replace("", "x"), 0);
  EXPECT_EQ(v.Replace(nullptr, "x"), 0);
  EXPECT_EQ(v.Replace("zz", "x"), 0);
  EXPECT_EQ(v, "keep");

  CStdStr w("a.b.c");
  EXPECT_EQ(w.Replace(".", "::"), 2);
  EXPECT_EQ(w, "a::b::c");
  EXPECT_EQ(w.Replace(':', '/'), 4);
  EXPECT_EQ(w, "a//b//c");
}

TEST(StdStrCompare, CompareNoCaseGivesDifferenceOfFirstMismatch) {
  EXPECT_EQ(CStdStr("ABC").CompareNoCase("abc"), 0);
  EXPECT_EQ(CStdStr("abd").CompareNoCase("ABC"), 1);
  EXPECT_EQ(CStdStr("ab").CompareNoCase("abc"), -'c');
  EXPECT_LT(CStdStr("").CompareNoCase("a"), 0);
  EXPECT_EQ(CStdStr("x").CompareNoCase(nullptr), 'x');
}

TEST(StdStrPieces, LeftRightMidClamp) {
  const CStdStr s("abcdef");
  EXPECT_EQ(s.Left(2), "ab");
  EXPECT_EQ(s.Left(10), "abcdef");
  EXPECT_EQ(s.Left(-1), "");
  EXPECT_EQ(s.Right(2), "ef");
  EXPECT_EQ(s.Right(10), "abcdef");
  EXPECT_EQ(s.Mid(1, 3), "bcd");
  EXPECT_EQ(s.Mid(4, 10), "ef");
  EXPECT_EQ(s.Mid(6, 1), "");
  EXPECT_EQ(s.Mid(2), "cdef");
  EXPECT_EQ(s.Mid(99), "");
}

TEST(StdStrBuild, AppendAndRepeat) {
  CStdStr s("ab");
  s.Append(CStdStr("cdef"), 2);
  EXPECT_EQ(s, "abcd");
  s.Append(CStdStr("xyz"), 0);
  s.Append('!', 5);
  s.Append('?', 0);
  EXPECT_EQ(s, "abcd!");
  EXPECT_EQ(CStdStr('-', 3), "---");
  EXPECT_EQ(CStdStr('-', -3), "");
}

TEST(StdStrCase, ToLowerAndToUpperUseTheGivenLocale) {
  CStdStr s("MiXeD 123 \xC3\x84");
  s.ToLower(std::locale::classic());
  EXPECT_EQ(s, "mixed 123 \xC3\x84");  // bytes above 0x7F untouched in the classic locale
  s.ToUpper();
  EXPECT_EQ(s, "MIXED 123 \xC3\x84");
}

TEST(StdStrTokenize, WalksTokensAndMarksTheEnd) {
  const CStdStr s("/a//b/");
  int pos = 0;
  EXPECT_EQ(s.Tokenize("/", pos), "a");
  EXPECT_EQ(pos, 2);
  EXPECT_EQ(s.Tokenize("/", pos), "b");
  EXPECT_EQ(pos, 5);
  EXPECT_EQ(s.Tokenize("/", pos), "");
  EXPECT_EQ(pos, -1);

  int bad = -1;
  try {
    (void)s.Tokenize("/", bad);
    FAIL() << "expected std::invalid_argument";
  } catch (const std::invalid_argument& e) {
    EXPECT_STREQ(e.what(), "Invalid start");
  }

  int p = 2;
  EXPECT_EQ(CStdStr("a,b").Tokenize("", p), "b");
  EXPECT_EQ(p, 2);  // no separators: position left as it was
  p = 3;
  EXPECT_EQ(CStdStr("a,b").Tokenize(nullptr, p), "");
  EXPECT_EQ(p, -1);

  p = 0;
  const CStdStr multi("x; y;;z");
  EXPECT_EQ(multi.Tokenize("; ", p), "x");
  EXPECT_EQ(multi.Tokenize("; ", p), "y");
  EXPECT_EQ(multi.Tokenize("; ", p), "z");
  EXPECT_EQ(p, 7);
  EXPECT_EQ(multi.Tokenize("; ", p), "");
  EXPECT_EQ(p, -1);
}

TEST(StdStrTrim, StopsAtHighBytes) {
  CStdStr s(" \t\n text \r\n");
  s.TrimLeft();
  EXPECT_EQ(s, "text \r\n");
  s.TrimRight();
  EXPECT_EQ(s, "text");

  CStdStr high("\xA0 x \xA0");
  high.Trim();
  EXPECT_EQ(high, "\xA0 x \xA0");
  CStdStr blank("   ");
  EXPECT_EQ(blank.Trim(), "");
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
