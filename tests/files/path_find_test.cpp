// zu::PathFind and NoCaseStringComp.
#include <qobase/files/no_case_string_comp.h>
#include <qobase/files/path_find.h>

#include <gtest/gtest.h>
#include <sys/xattr.h>

#include <cstdlib>
#include <set>
#include <vector>

#include "support/temp_dir.h"

namespace {

std::vector<std::string> All(zu::PathFind& find) {
  std::vector<std::string> paths;
  while (find.HasNext()) paths.push_back(find.Next().GetFullPath());
  return paths;
}

TEST(PathFind, SortedCanonicalMatches) {
  qotest::TempDir dir;
  for (const char* name : {"b.wav", "a.wav", "c.txt", ".dot.wav"}) {
    ASSERT_TRUE(qotest::WriteFileBytes(dir.File(name), "x"));
  }
  zu::PathFind wav(dir.Path() + "/./*.wav", true);
  EXPECT_EQ((std::vector<std::string>{dir.File("a.wav"), dir.File("b.wav")}), All(wav));
  EXPECT_FALSE(wav.HasNext());
  EXPECT_TRUE(wav.Next().IsEmpty());

  zu::PathFind none(dir.File("*.aiff"), true);
  EXPECT_FALSE(none.HasNext());

  zu::PathFind star(dir.File("*"), true);
  EXPECT_EQ((std::vector<std::string>{dir.File("a.wav"), dir.File("b.wav"), dir.File("c.txt")}),
            All(star));
  // Only a leading dot matches dot entries; "x/." and "x/.." come out canonicalised.
  zu::PathFind dots(dir.File(".*"), true);
  EXPECT_EQ((std::vector<std::string>{dir.Path(), zu::Path(dir.Path()).GetParent(),
                                      dir.File(".dot.wav")}),
            All(dots));
  zu::PathFind relative("./.", true);
  EXPECT_FALSE(relative.HasNext());
}

TEST(PathFind, HiddenFlagAndHomeDirectory) {
  qotest::TempDir dir;
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("shown"), "x"));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("secret"), "x"));
  if (setxattr(dir.File("secret").c_str(), "user.hidden", "1", 1, 0) == 0) {
    zu::PathFind visible(dir.File("*"), false);
    EXPECT_EQ((std::vector<std::string>{dir.File("shown")}), All(visible));
  }
  zu::PathFind everything(dir.File("*"), true);
  EXPECT_EQ((std::vector<std::string>{dir.File("secret"), dir.File("shown")}), All(everything));

  const char* home = std::getenv("HOME");
  if (home && *home) {
    zu::PathFind tilde("~", true);
    ASSERT_TRUE(tilde.HasNext());
    EXPECT_EQ(zu::Path(home).Canonicalize().GetFullPath(), tilde.Next().GetFullPath());
  }
}

TEST(NoCaseStringComp, OrdersIgnoringCase) {
  const NoCaseStringComp less;
  EXPECT_FALSE(less("abc", "ABC") || less("ABC", "abc"));
  EXPECT_TRUE(less("ab", "ABC") && !less("ABC", "ab"));
  EXPECT_TRUE(less("Apple", "banana"));
  EXPECT_TRUE(less("\xc3\xa9", "a"));  // signed bytes: UTF-8 before ASCII
  EXPECT_TRUE(less("", "a") && !less("", ""));
  std::set<CStdStr, NoCaseStringComp> names{"Take.wav", "take.WAV", "b"};
  EXPECT_EQ(2u, names.size());
  EXPECT_EQ("b", *names.begin());
}

}  // namespace
