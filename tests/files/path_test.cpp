// zu::Path value operations: no disk access except where a test says so.
#include <qobase/files/path.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using Edit = std::function<void(zu::Path&)>;

// Applies `edit` to each input and checks the resulting text; `cases` alternates input and
// expected output.
void ExpectEdits(const Edit& edit, std::initializer_list<const char*> cases) {
  for (auto it = cases.begin(); it != cases.end(); it += 2) {
    zu::Path path(it[0]);
    edit(path);
    EXPECT_EQ(it[1], path.GetFullPath()) << "input: " << it[0];
  }
}

TEST(PathValue, KeepsTextComparesBytewiseAndMovesWithoutCopying) {
  zu::Path path("a//B/./c/");
  EXPECT_EQ("a//B/./c/", static_cast<CStdStr>(path));
  EXPECT_FALSE(zu::Path("A/b") == zu::Path("a/b") || zu::Path("a/b") == zu::Path("a/b/"));
  EXPECT_TRUE(zu::Path("ab") < zu::Path("abc"));
  EXPECT_TRUE(!(zu::Path("abc") < zu::Path("ab")));
  EXPECT_TRUE(zu::Path("z") < zu::Path("\xc3\xa9"));  // unsigned bytes: UTF-8 after ASCII
  EXPECT_TRUE(path.Clear().IsEmpty());
  path.SetFullPath("//y");
  EXPECT_TRUE(path.GetFullPath() == "//y");
  EXPECT_TRUE(zu::Path::GetNameSeparator() == "/");
  EXPECT_EQ("p/q", zu::Path(new zu::FsPath("p/q")).GetFullPath());
  EXPECT_TRUE(zu::Path(static_cast<zu::FsPath*>(nullptr)).IsEmpty());

  static_assert(std::is_nothrow_move_constructible<zu::Path>::value, "");
  static_assert(std::is_nothrow_move_assignable<zu::Path>::value, "");
  zu::Path a("first"), b("second");
  const zu::FsPath *objectA = &a.GetFsPath(), *objectB = &b.GetFsPath();
  a = std::move(b);
  EXPECT_TRUE(objectB == &a.GetFsPath());
  EXPECT_TRUE(objectA == &b.GetFsPath());
  zu::Path c(std::move(a));
  EXPECT_EQ(objectB, &c.GetFsPath());
  EXPECT_TRUE(a.IsEmpty());  // moved from: empty, and can be assigned again
  a = c;
  EXPECT_TRUE(a.GetFullPath() == "second");
  EXPECT_TRUE(&a.GetFsPath() != &c.GetFsPath());
  std::map<zu::Path, int> ordered{{zu::Path("b"), 2}, {zu::Path("a"), 1}};
  EXPECT_EQ("a", ordered.begin()->first.GetFullPath());
}

TEST(PathValue, Components) {
  zu::Path path("/music/take.01.wav");
  EXPECT_EQ("/music", path.GetParent());
  EXPECT_TRUE(path.GetName() == "take.01.wav");
  EXPECT_TRUE(path.GetFileNameOnly() == "take.01");
  EXPECT_TRUE(path.GetFileExtension() == ".wav");
  EXPECT_TRUE(path.GetRootName().empty());
  EXPECT_TRUE(zu::Path("a/b/").GetFileName() == ".");
  EXPECT_TRUE(zu::Path("noext").GetFileExtension().empty());
  EXPECT_EQ("//host", zu::Path("//host/share/x").GetDrive());
  for (const auto& c : {std::make_pair("a//b/c", "a"), {"abc", "abc"}, {"/a/b", ""}}) {
    EXPECT_EQ(c.second, zu::Path(c.first).GetTopFolderPath()) << c.first;
  }
  // Not an existing directory: its parent. An existing directory: itself.
  const zu::Path file("/no/such/dir/x/f.wav"), tmp("/tmp");
  EXPECT_TRUE(file.GetFileDirectory(false) == "/no/such/dir/x");
  EXPECT_TRUE(file.GetDirectory(true) == "/no/such/dir/x/");
  EXPECT_TRUE(tmp.GetFileDirectory(true) == "/tmp/");
  EXPECT_TRUE(tmp.GetFileDirectory(false) == "/tmp");
  EXPECT_EQ("", zu::Path().GetFileDirectory(true));
}

TEST(PathValue, Editing) {
  ExpectEdits([](zu::Path& p) { p.NormalizeFilePath(); },
              {"a//b///c/", "a/b/c", "", "", "///", "///", "/x//y", "/x/y", "a/./../b", "a/./../b",
               "//host//share", "host/share"});
  ExpectEdits([](zu::Path& p) { p.Canonicalize(); },
              {"a/./b/../c/", "a/c", "/a/b/.", "/a/b", "..", "..", "", "", "a/../../x", "../x"});
  ExpectEdits([](zu::Path& p) { p.ReplaceExtension("txt"); },
              {"a/b.wav", "a/b.txt", "a/b", "a/b.txt"});
  EXPECT_EQ(zu::Path("a/b.txt"), zu::Path("a/b.wav").ChangeExtension(".txt"));
  EXPECT_EQ(zu::Path("a/b"), zu::Path("a/b.wav").ReplaceExtension(""));
  ExpectEdits([](zu::Path& p) { p.AddTrailingSeparator(); }, {"a", "a/", "a///", "a/", "", ""});
  ExpectEdits([](zu::Path& p) { p.RemoveTrailingSeparator(); }, {"a/", "a", "a", "a"});
  // Reserved names stay; only one final dot goes; a name that vanishes joins as the root.
  ExpectEdits([](zu::Path& p) { p.MakeLegal(); },
              {"dir/a:b*c.", "dir/a_b_c", "x<y>z|", "x_y_z_", "dir/CON", "dir/CON", "a...", "a..",
               "", "", ".", "/", "a/.", "a"});
}

TEST(PathValue, JoinCombineAppendPrepend) {
  const auto join = [](std::initializer_list<CStdStr> parts) {
    return zu::Path::Join(parts).GetFullPath();
  };
  EXPECT_TRUE(join({}) == "/");
  EXPECT_TRUE(join({"", ""}) == "/");
  EXPECT_EQ("C:/x", join({"C:", "x"}));
  EXPECT_EQ("a/b", join({"a/", "/b"}));
  EXPECT_TRUE(join({"a", "b/"}) == "a/b/");
  EXPECT_TRUE(join({"a", "b//"}) == "a/b/");  // one survives
  EXPECT_EQ("/r/a/b", join({"/r", "", "a", "b"}));
  EXPECT_TRUE(zu::Path::Combine({"a", "..", "b"}) == zu::Path("b"));
  EXPECT_TRUE(zu::Path::Combine({"x/./", "y/"}) == zu::Path("x/y/"));
  zu::Path path("dir");
  EXPECT_EQ("dir/f.wav", path.Append("f.wav").GetFullPath());
  EXPECT_EQ("/root/dir/f.wav", path.Prepend("/root/").GetFullPath());
  zu::FsPath* acc = nullptr;
  zu::Path::ConcatenatePart("", acc);
  zu::Path::ConcatenatePart("D:", acc);
  EXPECT_EQ("D:/", acc->native());
  EXPECT_TRUE(zu::Path::ConcatenateFinalize(acc, true, false) == zu::Path("D:/"));
  EXPECT_TRUE(!acc);
}

// Checks `test` is true for every text of `yes` and false for every text of `no`.
void ExpectSplit(const std::function<bool(const char*)>& test,
                 std::initializer_list<const char*> yes, std::initializer_list<const char*> no) {
  for (const char* text : yes) EXPECT_TRUE(test(text)) << text;
  for (const char* text : no) EXPECT_FALSE(test(text)) << text;
}

TEST(PathValue, ReservedNamesLegalityAndClassification) {
  ExpectSplit(zu::Path::IsReservedName, {"  com1 ", "Nul", "prn", "AUX", "lpt9"},
              {"COM10", "CON.txt", "CO", ""});
  ExpectSplit([](const char* t) { return zu::Path(t).ContainsReservedName(); },
              {"dir/con.txt", "CON.tar.gz", "a//lpt9/b"}, {"dir/.con", "dir/a.CON", "console/x"});
  ExpectSplit([](const char* t) { return zu::Path(t).IsLegal(); }, {"a:b", "", "/music/take 1.wav"},
              {"a/b?c", ".x", "./x", "a/aux", "a|b"});
  ExpectSplit([](const char* t) { return zu::Path(t).IsLegalDirectoryName(); }, {"folder"},
              {"folder.", "fol|der"});
  ExpectSplit(zu::FilePathHasInvalidCharacters, {"a\"b", "<", ">", "*"}, {"a:b\\c/d"});
  ExpectSplit(zu::FileNameHasInvalidCharacters, {"a\\b", "a/b", "a:b", "a*"}, {"a b.wav"});
  ExpectSplit([](const char* t) { return zu::Path(t).IsRoot(); }, {"/"}, {"/a", "", "a"});
  ExpectSplit([](const char* t) { return zu::Path(t).IsRelative(); }, {"a/b", ""},
              {"/a", "//host/share"});
  ExpectSplit(zu::IsSeparator, {"/"}, {"\\", "//", ""});
  EXPECT_TRUE(zu::IsPathSeparator("/"));
  ExpectSplit(zu::IsWindowNetworkRoot, {"ab", "//host/share"},
              {"//host/share/x", "//host/", "//host", "/", "", "//h"});
}

}  // namespace
