// zu::Path value operations: no disk access except where a test says so.
#include <qobase/files/path.h>

#include <gtest/gtest.h>

#include <map>
#include <type_traits>
#include <vector>

namespace {

CStdStr Normalized(const char* text) { return zu::Path(text).NormalizeFilePath().GetFullPath(); }
CStdStr Canonical(const char* text) { return zu::Path(text).Canonicalize().GetFullPath(); }

TEST(PathValue, KeepsTextAndComparesBytewise) {
  zu::Path path("a//B/./c/");
  EXPECT_EQ("a//B/./c/", path.GetFullPath());
  EXPECT_EQ("a//B/./c/", static_cast<CStdStr>(path));
  EXPECT_FALSE(zu::Path("A/b") == zu::Path("a/b"));
  EXPECT_TRUE(zu::Path("a/b") == zu::Path("a/b"));
  EXPECT_TRUE(zu::Path("a/b") != zu::Path("a/b/"));
  EXPECT_TRUE(zu::Path("ab") < zu::Path("abc"));
  EXPECT_FALSE(zu::Path("abc") < zu::Path("ab"));
  // Unsigned bytes: UTF-8 sorts after ASCII.
  EXPECT_TRUE(zu::Path("z") < zu::Path("\xc3\xa9"));
  EXPECT_TRUE(zu::Path().IsEmpty());
  zu::Path cleared("x");
  EXPECT_TRUE(cleared.Clear().IsEmpty());
  cleared.SetFullPath("//y");
  EXPECT_EQ("//y", cleared.GetFullPath());
  EXPECT_EQ("/", zu::Path::GetNameSeparator());
  zu::Path adopted(new zu::FsPath("p/q"));
  EXPECT_EQ("p/q", adopted.GetFullPath());
  EXPECT_TRUE(zu::Path(static_cast<zu::FsPath*>(nullptr)).IsEmpty());
}

TEST(PathValue, MovesOnlyExchangeTheOwnedObject) {
  static_assert(std::is_nothrow_move_constructible<zu::Path>::value, "");
  static_assert(std::is_nothrow_move_assignable<zu::Path>::value, "");
  zu::Path a("first");
  zu::Path b("second");
  const zu::FsPath* objectA = &a.GetFsPath();
  const zu::FsPath* objectB = &b.GetFsPath();
  a = std::move(b);
  EXPECT_EQ(objectB, &a.GetFsPath());
  EXPECT_EQ(objectA, &b.GetFsPath());
  zu::Path c(std::move(a));
  EXPECT_EQ(objectB, &c.GetFsPath());
  // The moved-from object is empty and can be assigned again.
  EXPECT_TRUE(a.IsEmpty());
  a = c;
  EXPECT_EQ("second", a.GetFullPath());
  EXPECT_NE(&a.GetFsPath(), &c.GetFsPath());
  std::vector<zu::Path> paths;
  for (int i = 0; i < 100; ++i) paths.emplace_back(CStdStr(std::to_string(i)));
  EXPECT_EQ("99", paths.back().GetFullPath());
  std::map<zu::Path, int> ordered{{zu::Path("b"), 2}, {zu::Path("a"), 1}};
  EXPECT_EQ("a", ordered.begin()->first.GetFullPath());
}

TEST(PathValue, Components) {
  zu::Path path("/music/take.01.wav");
  EXPECT_EQ("/music", path.GetParent());
  EXPECT_EQ("take.01.wav", path.GetFileName());
  EXPECT_EQ("take.01.wav", path.GetName());
  EXPECT_EQ("take.01", path.GetStem());
  EXPECT_EQ("take.01", path.GetFileNameOnly());
  EXPECT_EQ(".wav", path.GetFileExtension());
  EXPECT_EQ("", path.GetRootName());
  EXPECT_EQ(".", zu::Path("a/b/").GetFileName());
  EXPECT_EQ("", zu::Path("noext").GetFileExtension());
  EXPECT_EQ("//host", zu::Path("//host/share/x").GetDrive());
  EXPECT_EQ("a", zu::Path("a//b/c").GetTopFolderPath());
  EXPECT_EQ("abc", zu::Path("abc").GetTopFolderPath());
  EXPECT_EQ("", zu::Path("/a/b").GetTopFolderPath());
  // A path that is not an existing directory gives its parent.
  EXPECT_EQ("/no/such/dir/x", zu::Path("/no/such/dir/x/f.wav").GetFileDirectory(false));
  EXPECT_EQ("/no/such/dir/x/", zu::Path("/no/such/dir/x/f.wav").GetDirectory(true));
  EXPECT_EQ("", zu::Path().GetFileDirectory(true));
  // An existing directory is its own directory.
  EXPECT_EQ("/tmp/", zu::Path("/tmp").GetFileDirectory(true));
  EXPECT_EQ("/tmp", zu::Path("/tmp").GetFileDirectory(false));
}

TEST(PathValue, NormalizeAndCanonicalize) {
  EXPECT_EQ("a/b/c", Normalized("a//b///c/"));
  EXPECT_EQ("", Normalized(""));
  EXPECT_EQ("///", Normalized("///"));
  EXPECT_EQ("/x/y", Normalized("/x//y"));
  EXPECT_EQ("a/./../b", Normalized("a/./../b"));
  EXPECT_EQ("host/share", Normalized("//host//share"));
  EXPECT_EQ("a/c", Canonical("a/./b/../c/"));
  EXPECT_EQ("/a/b", Canonical("/a/b/."));
  EXPECT_EQ("..", Canonical(".."));
  EXPECT_EQ("", Canonical(""));
  EXPECT_EQ("../x", Canonical("a/../../x"));
}

TEST(PathValue, JoinCombineAppendPrepend) {
  EXPECT_EQ("/", zu::Path::Join({}).GetFullPath());
  EXPECT_EQ("/", zu::Path::Join({"", ""}).GetFullPath());
  EXPECT_EQ("C:/x", zu::Path::Join({"C:", "x"}).GetFullPath());
  EXPECT_EQ("a/b", zu::Path::Join({"a/", "/b"}).GetFullPath());
  EXPECT_EQ("a/b/", zu::Path::Join({"a", "b/"}).GetFullPath());
  EXPECT_EQ("a/b/", zu::Path::Join({"a", "b//"}).GetFullPath());
  EXPECT_EQ("/r/a/b", zu::Path::Join({"/r", "", "a", "b"}).GetFullPath());
  EXPECT_EQ("b", zu::Path::Combine({"a", "..", "b"}).GetFullPath());
  EXPECT_EQ("a/b", zu::Path::Combine({"a/", "/b"}).GetFullPath());
  EXPECT_EQ("x/y/", zu::Path::Combine({"x/./", "y/"}).GetFullPath());
  zu::Path path("dir");
  EXPECT_EQ("dir/f.wav", path.Append("f.wav").GetFullPath());
  EXPECT_EQ("/root/dir/f.wav", path.Prepend("/root/").GetFullPath());
  zu::FsPath* acc = nullptr;
  zu::Path::ConcatenatePart("", acc);
  EXPECT_EQ(nullptr, acc);
  zu::Path::ConcatenatePart("D:", acc);
  ASSERT_NE(nullptr, acc);
  EXPECT_EQ("D:/", acc->native());
  zu::Path::ConcatenatePart("q", acc);
  const zu::Path joined = zu::Path::ConcatenateFinalize(acc, true, false);
  EXPECT_EQ(nullptr, acc);
  EXPECT_EQ("D:/q", joined.GetFullPath());
}

TEST(PathValue, Editing) {
  EXPECT_EQ("a/b.txt", zu::Path("a/b.wav").ReplaceExtension("txt").GetFullPath());
  EXPECT_EQ("a/b.txt", zu::Path("a/b.wav").ChangeExtension(".txt").GetFullPath());
  EXPECT_EQ("a/b", zu::Path("a/b.wav").ReplaceExtension("").GetFullPath());
  EXPECT_EQ("a/b.x", zu::Path("a/b").ReplaceExtension("x").GetFullPath());
  EXPECT_EQ("a/", zu::Path("a").AddTrailingSeparator().GetFullPath());
  EXPECT_EQ("a/", zu::Path("a///").AddTrailingSeparator().GetFullPath());
  EXPECT_EQ("", zu::Path("").AddTrailingSeparator().GetFullPath());
  EXPECT_EQ("a", zu::Path("a/").RemoveTrailingSeparator().GetFullPath());
  EXPECT_EQ("a", zu::Path("a").RemoveTrailingSeparator().GetFullPath());
  EXPECT_EQ("dir/a_b_c", zu::Path("dir/a:b*c.").MakeLegal().GetFullPath());
  EXPECT_EQ("x_y_z_", zu::Path("x<y>z|").MakeLegal().GetFullPath());
  EXPECT_EQ("dir/CON", zu::Path("dir/CON").MakeLegal().GetFullPath());
  EXPECT_EQ("a..", zu::Path("a...").MakeLegal().GetFullPath());
  // A name that disappears entirely never turns into the root.
  EXPECT_EQ("", zu::Path(".").MakeLegal().GetFullPath());
  EXPECT_EQ("", zu::Path("").MakeLegal().GetFullPath());
}

TEST(PathValue, ReservedNamesAndLegality) {
  EXPECT_TRUE(zu::Path::IsReservedName("  com1 "));
  EXPECT_TRUE(zu::Path::IsReservedName("Nul"));
  EXPECT_TRUE(zu::Path::IsReservedName("prn"));
  EXPECT_FALSE(zu::Path::IsReservedName("COM10"));
  EXPECT_FALSE(zu::Path::IsReservedName("CON.txt"));
  EXPECT_FALSE(zu::Path::IsReservedName("CO"));
  EXPECT_TRUE(zu::Path("dir/con.txt").ContainsReservedName());
  EXPECT_TRUE(zu::Path("CON.tar.gz").ContainsReservedName());
  EXPECT_TRUE(zu::Path("a//lpt9/b").ContainsReservedName());
  EXPECT_FALSE(zu::Path("dir/.con").ContainsReservedName());
  EXPECT_FALSE(zu::Path("dir/a.CON").ContainsReservedName());
  EXPECT_FALSE(zu::Path("console/x").ContainsReservedName());

  EXPECT_FALSE(zu::Path("a/b?c").IsLegal());
  EXPECT_FALSE(zu::Path(".x").IsLegal());
  EXPECT_FALSE(zu::Path("./x").IsLegal());
  EXPECT_FALSE(zu::Path("a/aux").IsLegal());
  EXPECT_TRUE(zu::Path("a:b").IsLegal());
  EXPECT_TRUE(zu::Path("").IsLegal());
  EXPECT_TRUE(zu::Path("/music/take 1.wav").IsLegal());
  EXPECT_FALSE(zu::Path("folder.").IsLegalDirectoryName());
  EXPECT_TRUE(zu::Path("folder").IsLegalDirectoryName());
  EXPECT_FALSE(zu::Path("fol|der").IsLegalDirectoryName());

  EXPECT_TRUE(zu::FilePathHasInvalidCharacters("a\"b"));
  EXPECT_FALSE(zu::FilePathHasInvalidCharacters("a:b\\c/d"));
  EXPECT_TRUE(zu::FileNameHasInvalidCharacters("a\\b"));
  EXPECT_TRUE(zu::FileNameHasInvalidCharacters("a/b"));
  EXPECT_TRUE(zu::FileNameHasInvalidCharacters("a:b"));
  EXPECT_FALSE(zu::FileNameHasInvalidCharacters("a b.wav"));
}

TEST(PathValue, Classification) {
  EXPECT_TRUE(zu::Path("/").IsRoot());
  EXPECT_FALSE(zu::Path("/a").IsRoot());
  EXPECT_FALSE(zu::Path("").IsRoot());
  EXPECT_FALSE(zu::Path("a").IsRoot());
  EXPECT_TRUE(zu::Path("a/b").IsRelative());
  EXPECT_TRUE(zu::Path("").IsRelative());
  EXPECT_FALSE(zu::Path("/a").IsRelative());
  EXPECT_FALSE(zu::Path("//host/share").IsRelative());
  EXPECT_TRUE(zu::IsSeparator("/"));
  EXPECT_TRUE(zu::IsPathSeparator("/"));
  EXPECT_FALSE(zu::IsSeparator("\\"));
  EXPECT_FALSE(zu::IsSeparator("//"));
  EXPECT_TRUE(zu::IsWindowNetworkRoot("ab"));
  EXPECT_TRUE(zu::IsWindowNetworkRoot("//host/share"));
  EXPECT_FALSE(zu::IsWindowNetworkRoot("//host/share/x"));
  EXPECT_FALSE(zu::IsWindowNetworkRoot("//host/"));
  EXPECT_FALSE(zu::IsWindowNetworkRoot("//host"));
  EXPECT_FALSE(zu::IsWindowNetworkRoot("/"));
}

}  // namespace
