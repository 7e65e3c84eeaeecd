// Pattern enumeration, recursive listing, searching, removal and copying, the filters that
// guard them, and the case-insensitive name order.
#include <qobase/files/directory_operations.h>
#include <qobase/files/no_case_string_comp.h>
#include <qobase/files/path.h>
#include <qobase/files/path_find.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <boost/filesystem.hpp>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <vector>

#include "support/temp_dir.h"

namespace {

namespace fs = boost::filesystem;

// Creates each file (and its parents) in `dir`, holding its own name.
void MakeFiles(const qotest::TempDir& dir, std::initializer_list<const char*> names) {
  for (const char* name : names) {
    ASSERT_TRUE(zu::EnsureDirectoryExists(zu::Path(dir.File(name)).GetParent()));
    ASSERT_TRUE(qotest::WriteFileBytes(dir.File(name), name));
  }
}

std::vector<std::string> Sorted(const std::vector<CStdStr>& paths) {
  std::vector<std::string> sorted(paths.begin(), paths.end());
  std::sort(sorted.begin(), sorted.end());
  return sorted;
}

bool Hide(const std::string& path) { return setxattr(path.c_str(), "user.hidden", "1", 1, 0) == 0; }

TEST(DirectoryOperations, ListDirectoryRecursive) {
  qotest::TempDir dir;
  std::vector<CStdStr> files{"kept"};
  EXPECT_FALSE(zu::ListDirectoryRecursive(dir.File("missing"), files));
  EXPECT_TRUE(zu::ListDirectoryRecursive(dir.Path(), files));
  EXPECT_EQ(std::vector<CStdStr>{"kept"}, files);  // appended to, never cleared
  MakeFiles(dir, {"a.wav", "sub/b.wav", "sub/deeper/c.txt", ".hidden", "locked/x"});
  ASSERT_TRUE(zu::EnsureDirectoryExists(dir.File("emptydir")));
  ASSERT_EQ(0, symlink(dir.File("sub").c_str(), dir.File("linkdir").c_str()));
  ASSERT_EQ(0, chmod(dir.File("locked").c_str(), 0));
  files.clear();
  if (geteuid() == 0) {
    // Doubled and trailing separators in the root do not leak into the results; links to
    // directories are not followed; root reads the locked directory anyway.
    EXPECT_TRUE(zu::ListDirectoryRecursive(dir.Path() + "//", files));
    EXPECT_EQ(
        (std::vector<std::string>{dir.File(".hidden"), dir.File("a.wav"), dir.File("locked/x"),
                                  dir.File("sub/b.wav"), dir.File("sub/deeper/c.txt")}),
        Sorted(files));
  } else {
    EXPECT_THROW(zu::ListDirectoryRecursive(dir.Path(), files), fs::filesystem_error);
  }
  chmod(dir.File("locked").c_str(), 0755);
  EXPECT_THROW(zu::ListDirectoryRecursive(dir.File("a.wav"), files), fs::filesystem_error);
}

TEST(DirectoryOperations, GetFilesRecursive) {
  qotest::TempDir dir;
  std::set<CStdStr> found;
  EXPECT_FALSE(zu::GetFilesRecursive(dir.File("missing"), found, "*.wav", false));
  EXPECT_TRUE(found.empty());
  EXPECT_TRUE(zu::GetFilesRecursive(dir.Path(), found, "*.wav", false));
  EXPECT_EQ(std::set<CStdStr>{dir.Path()}, found);  // the directory itself is always found

  MakeFiles(dir, {"a.wav", "b.txt", "sub/c.wav", "sub/inner/d.wav", "sub/inner/e.aif",
                  "top.wav/f.wav", "h.wav", "sub/g.wav"});
  // A link back up the tree does not send the search round for ever.
  ASSERT_EQ(0, symlink(dir.Path().c_str(), dir.File("sub/loop").c_str()));
  const bool hidden = Hide(dir.File("h.wav")) && Hide(dir.File("sub/g.wav"));
  found.clear();
  EXPECT_TRUE(zu::GetFilesRecursive(dir.Path() + "/", found, "*.wav", false));
  std::set<CStdStr> expected{dir.Path()};
  for (const char* name :
       {"a.wav", "sub", "sub/c.wav", "sub/inner", "sub/inner/d.wav", "top.wav", "top.wav/f.wav"}) {
    expected.insert(dir.File(name));
  }
  if (!hidden) expected.insert({dir.File("h.wav"), dir.File("sub/g.wav")});
  EXPECT_EQ(expected, found);
  if (hidden) {
    // Hidden entries count only in the directory itself.
    found.clear();
    EXPECT_TRUE(zu::GetFilesRecursive(dir.Path(), found, "*.wav", true));
    EXPECT_TRUE(found.count(dir.File("h.wav")) == 1);
    EXPECT_TRUE(found.count(dir.File("sub/g.wav")) == 0);
  }
}

TEST(DirectoryOperations, PathFilters) {
  for (const char* refused :
       {".", "..", "./", "/", "//", "../..", "C:", "C:/", "C:\\", "...", "\\"}) {
    EXPECT_FALSE(zu::PathFilter::Basic(refused)) << refused;
  }
  for (const char* accepted : {"a", "./a", "/tmp", "", "C:/x", "CC:", "a/.."}) {
    EXPECT_TRUE(zu::PathFilter::Basic(accepted)) << accepted;
  }
  EXPECT_TRUE(zu::RegexPathFilter("dir/take.wav", R"(.*\.wav)"));
  // Whole-string matches only; an invalid pattern matches nothing instead of throwing.
  EXPECT_FALSE(zu::RegexPathFilter("dir/take.wav.bak", R"(.*\.wav)") ||
               zu::RegexPathFilter("xtake.wav", "take") || zu::RegexPathFilter("a", "(unclosed"));
}

TEST(DirectoryOperations, RemoveDirectoryRecursiveStaysInsideAndHonoursFilters) {
  qotest::TempDir outside;
  MakeFiles(outside, {"precious/keep.txt"});
  qotest::TempDir dir;
  MakeFiles(dir, {"tree/a", "tree/sub/b", "tree/sub/deeper/c", "tree/other/d", "cwd/x"});
  // Links to a directory and a file outside, and a dangling one: removed, never followed.
  for (const auto& link : {std::make_pair(outside.File("precious"), dir.File("tree/sub/link")),
                           {outside.File("precious/keep.txt"), dir.File("tree/filelink")},
                           {dir.File("nowhere"), dir.File("tree/dangling")}}) {
    ASSERT_EQ(0, symlink(link.first.c_str(), link.second.c_str()));
  }
  EXPECT_FALSE(zu::RemoveDirectoryRecursive(dir.File("missing"), zu::PathFilter::Basic));
  EXPECT_TRUE(zu::RemoveDirectoryRecursive(dir.File("tree"), zu::PathFilter::Basic));
  EXPECT_FALSE(fs::exists(fs::symlink_status(dir.File("tree"))));
  EXPECT_EQ("precious/keep.txt", qotest::ReadFileBytes(outside.File("precious/keep.txt")));

  // The basic filter refuses the working directory and the root; nothing is touched.
  const zu::Path before = zu::Path::GetCurrent();
  EXPECT_THROW(zu::Path::SetCurrent(zu::Path(dir.File("none"))), fs::filesystem_error);
  zu::Path::SetCurrent(zu::Path(dir.File("cwd")));
  EXPECT_TRUE(zu::Path::GetCurrent().IsEquivalent(zu::Path(dir.File("cwd"))));
  for (const char* refused : {".", "./", "/"}) {
    EXPECT_FALSE(zu::RemoveDirectoryRecursive(refused, zu::PathFilter::Basic)) << refused;
  }
  zu::Path::SetCurrent(before);
  EXPECT_TRUE(zu::Path(dir.File("cwd/x")).Exists());
  EXPECT_TRUE(zu::Path::GetCurrent() == before);

  MakeFiles(dir, {"t/a.wav", "t/b.txt", "t/s/c.wav", "u/v/w/x"});
  // A filter that keeps a file leaves its directory non-empty: that is an error, raised.
  const auto noTxt = [](const CStdStr& path) { return !zu::RegexPathFilter(path, R"(.*\.txt)"); };
  EXPECT_THROW(zu::RemoveDirectoryRecursive(dir.File("t"), noTxt), fs::filesystem_error);
  EXPECT_TRUE(zu::Path(dir.File("t/b.txt")).Exists());
  EXPECT_TRUE(!zu::Path(dir.File("t/s")).Exists());
  // The filter is asked about the root and then every entry, in walk order.
  std::vector<std::string> asked;
  const auto record = [&](const CStdStr& path) {
    asked.push_back(path);
    return true;
  };
  EXPECT_TRUE(zu::RemoveDirectoryRecursive(dir.File("u"), record));
  EXPECT_EQ((std::vector<std::string>{dir.File("u"), dir.File("u/v"), dir.File("u/v/w"),
                                      dir.File("u/v/w/x")}),
            asked);
  EXPECT_TRUE(zu::RemoveDirectoryRecursive(dir.File("t"), nullptr));
  EXPECT_FALSE(zu::Path(dir.File("u")).Exists() || zu::Path(dir.File("t")).Exists());
}

TEST(DirectoryOperations, CopyFilesRecursive) {
  qotest::TempDir outside;
  qotest::TempDir dir;
  MakeFiles(dir,
            {"src/a.wav", "src/sub/b.wav", "src/sub/c.txt", "src/sub/deep/d.wav", "src/h.wav"});
  const bool hidden = Hide(dir.File("src/h.wav"));
  EXPECT_FALSE(zu::CopyFilesRecursive(dir.File("missing"), dir.File("dst"), nullptr, true) ||
               zu::Path(dir.File("dst")).Exists());

  const auto wavOnly = [](const CStdStr& path) { return zu::RegexPathFilter(path, R"(.*\.wav)"); };
  EXPECT_TRUE(zu::CopyFilesRecursive(dir.File("src"), dir.File("dst"), wavOnly, false));
  std::vector<CStdStr> copied;
  ASSERT_TRUE(zu::ListDirectoryRecursive(dir.File("dst"), copied));
  std::vector<std::string> expected{dir.File("dst/a.wav"), dir.File("dst/sub/b.wav"),
                                    dir.File("dst/sub/deep/d.wav")};
  if (!hidden) expected.insert(expected.begin() + 1, dir.File("dst/h.wav"));
  EXPECT_EQ(expected, Sorted(copied));
  EXPECT_EQ("src/sub/deep/d.wav", qotest::ReadFileBytes(dir.File("dst/sub/deep/d.wav")));

  // Existing targets are never overwritten, and they make the result false; the rest is copied.
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("dst/a.wav"), "mine"));
  EXPECT_FALSE(zu::CopyFilesRecursive(dir.File("src"), dir.File("dst"), nullptr, true));
  EXPECT_EQ("mine", qotest::ReadFileBytes(dir.File("dst/a.wav")));
  EXPECT_EQ("src/sub/c.txt", qotest::ReadFileBytes(dir.File("dst/sub/c.txt")));

  // A link inside the source pointing far away is copied as a link under the destination.
  ASSERT_TRUE(qotest::WriteFileBytes(outside.File("target"), "far"));
  ASSERT_EQ(0, symlink(outside.File("target").c_str(), dir.File("src/link").c_str()));
  EXPECT_TRUE(zu::CopyFilesRecursive(dir.File("src"), dir.File("dst2"), nullptr, true));
  EXPECT_TRUE(fs::is_symlink(dir.File("dst2/link")));
  EXPECT_EQ(1, std::distance(fs::directory_iterator(outside.Path()), fs::directory_iterator()));
  // A single file as the source is copied once.
  EXPECT_TRUE(zu::CopyFilesRecursive(dir.File("src/a.wav"), dir.File("single"), nullptr, true));
  EXPECT_EQ("src/a.wav", qotest::ReadFileBytes(dir.File("single")));
}

std::vector<std::string> All(zu::PathFind& find) {
  std::vector<std::string> paths;
  while (find.HasNext()) paths.push_back(find.Next().GetFullPath());
  return paths;
}

TEST(PathFind, SortedCanonicalVisibleMatches) {
  qotest::TempDir dir;
  for (const char* name : {"b.wav", "a.wav", "c.txt", ".dot.wav", "secret"}) {
    ASSERT_TRUE(qotest::WriteFileBytes(dir.File(name), "x"));
  }
  zu::PathFind wav(dir.Path() + "/./*.wav", true);
  EXPECT_EQ((std::vector<std::string>{dir.File("a.wav"), dir.File("b.wav")}), All(wav));
  EXPECT_TRUE(!wav.HasNext());
  EXPECT_TRUE(wav.Next().IsEmpty());
  EXPECT_FALSE(zu::PathFind(dir.File("*.aiff"), true).HasNext());
  const std::vector<std::string> all{dir.File("a.wav"), dir.File("b.wav"), dir.File("c.txt"),
                                     dir.File("secret")};
  const bool hidden = Hide(dir.File("secret"));
  zu::PathFind star(dir.File("*"), false);
  if (hidden) {
    EXPECT_EQ(std::vector<std::string>(all.begin(), all.end() - 1), All(star));
  } else {
    EXPECT_EQ(all, All(star));
  }
  zu::PathFind withHidden(dir.File("*"), true);
  EXPECT_EQ(all, All(withHidden));
  // Only a leading dot matches dot entries; "x/." and "x/.." come out canonicalised, and
  // whatever canonicalises to "." is skipped.
  zu::PathFind dots(dir.File(".*"), true);
  EXPECT_EQ((std::vector<std::string>{dir.Path(), zu::Path(dir.Path()).GetParent(),
                                      dir.File(".dot.wav")}),
            All(dots));
  EXPECT_FALSE(zu::PathFind("./.", true).HasNext());
  const char* home = std::getenv("HOME");
  EXPECT_TRUE(!home || !*home || zu::PathFind("~", true).Next() == zu::Path(home).Canonicalize());
}

TEST(NoCaseStringComp, OrdersIgnoringCase) {
  const NoCaseStringComp less;
  EXPECT_FALSE(less("abc", "ABC") || less("ABC", "abc"));
  EXPECT_TRUE(less("ab", "ABC"));
  EXPECT_TRUE(!less("ABC", "ab"));
  EXPECT_TRUE(less("Apple", "banana"));
  EXPECT_TRUE(less("\xc3\xa9", "a"));  // signed bytes: UTF-8 before ASCII
  EXPECT_TRUE(less("", "a"));
  EXPECT_FALSE(less("", ""));
  std::set<CStdStr, NoCaseStringComp> names{"Take.wav", "take.WAV", "b"};
  EXPECT_EQ((std::vector<CStdStr>{"b", "Take.wav"}),
            std::vector<CStdStr>(names.begin(), names.end()));
}

}  // namespace
