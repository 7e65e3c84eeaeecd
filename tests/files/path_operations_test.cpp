// zu::Path members that query and change the file system, each in its own temporary directory.
#include <qobase/files/directory_operations.h>
#include <qobase/files/path.h>
#include <qobase/system/progress.h>

#include <boost/filesystem.hpp>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <vector>

#include "support/temp_dir.h"

namespace {

class RecordingProgress : public QO::Sonvo::IProgress {
 public:
  void SetRange(std::uint32_t lower, std::uint32_t upper) override {
    calls.push_back("range " + std::to_string(lower) + " " + std::to_string(upper));
  }
  void SetPosition(std::uint32_t current) override {
    calls.push_back("pos " + std::to_string(current));
  }
  bool IsCancelled() override { return true; }
  std::vector<std::string> calls;
};

mode_t Mode(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 ? (info.st_mode & 07777) : 0;
}

TEST(PathOperations, QueriesOnFilesDirectoriesAndNothing) {
  qotest::TempDir dir;
  const zu::Path file(dir.File("f.bin")), folder(dir.Path()), none(dir.File("none"));
  ASSERT_TRUE(qotest::WriteFileBytes(file, "12345"));
  for (const zu::Path& path : {zu::Path(), none}) {
    EXPECT_FALSE(path.Exists() || path.FileExists() || path.IsDirectory()) << path.GetText();
  }
  EXPECT_TRUE(file.Exists() && file.FileExists() && file.IsFile() && !file.IsDirectory());
  EXPECT_TRUE(folder.IsDirectory() && folder.DirectoryExists() && !folder.FileExists());
  EXPECT_TRUE(zu::Path("/dev/null").FileExists());
  EXPECT_TRUE(zu::PathFileExists(dir.Path()) && !zu::FileExists(dir.Path()));
  EXPECT_TRUE(zu::FileExists(file) && !zu::PathFileExists(none));

  EXPECT_EQ(5u, file.GetFileSize());
  EXPECT_EQ(0u, folder.GetFileSize());
  EXPECT_EQ(0u, none.GetFileSize());
  EXPECT_EQ(-1, none.GetLastWriteTime());
  EXPECT_TRUE(file.SetLastWriteTime(1000000000));
  EXPECT_FALSE(file.SetLastWriteTime(-5));
  EXPECT_EQ(1000000000, file.GetLastWriteTime());
  EXPECT_FALSE(none.SetLastWriteTime(5));

  ASSERT_EQ(0, symlink(file.GetText().c_str(), dir.File("link").c_str()));
  EXPECT_TRUE(file.IsEquivalent(zu::Path(dir.File("link"))));
  EXPECT_TRUE(file.IsEquivalent(zu::Path(dir.Path() + "/./f.bin")));
  EXPECT_FALSE(file.IsEquivalent(folder));
  EXPECT_FALSE(file.IsEquivalent(none));
}

TEST(PathOperations, ReadOnlyStatusFollowsTheWriteBits) {
  qotest::TempDir dir;
  const std::string file = dir.File("r");
  ASSERT_TRUE(qotest::WriteFileBytes(file, "x"));
  ASSERT_EQ(0, chmod(file.c_str(), 0444));
  EXPECT_TRUE(zu::Path(file).IsReadOnly());
  zu::Path(file).RemoveReadOnlyStatus();
  EXPECT_EQ(0666u, Mode(file));
  EXPECT_FALSE(zu::Path(file).IsReadOnly());
  ASSERT_EQ(0, chmod(file.c_str(), 0500));
  zu::Path(file).RemoveReadOnlyStatus();
  EXPECT_EQ(0722u, Mode(file));
  EXPECT_FALSE(zu::Path(dir.File("none")).IsReadOnly());
  zu::Path(dir.File("none")).RemoveReadOnlyStatus();
  EXPECT_FALSE(zu::Path(dir.File("none")).Exists());
}

TEST(PathOperations, HiddenFlag) {
  qotest::TempDir dir;
  const std::string file = dir.File("h");
  ASSERT_TRUE(qotest::WriteFileBytes(file, "x"));
  const zu::Path path(file);
  EXPECT_FALSE(path.IsHidden());
  EXPECT_TRUE(path.SetHiddenStatus(false));
  EXPECT_FALSE(zu::Path(dir.File("none")).SetHiddenStatus(true));
  EXPECT_FALSE(zu::Path(dir.File("none")).IsHidden());
  // Another value of the attribute does not count as hidden.
  if (setxattr(file.c_str(), "user.hidden", "0", 1, 0) != 0) {
    // A file system without user attributes: nothing can be hidden.
    EXPECT_FALSE(path.SetHiddenStatus(true));
    EXPECT_FALSE(path.IsHidden());
    return;
  }
  EXPECT_FALSE(path.IsHidden());
  EXPECT_TRUE(path.SetHiddenStatus(true));
  EXPECT_TRUE(path.IsHidden());
  char value[4] = {0};
  EXPECT_EQ(1, getxattr(file.c_str(), "user.hidden", value, sizeof(value)));
  EXPECT_EQ('1', value[0]);
  // Already hidden: true without touching it (a read-only file could not be changed).
  ASSERT_EQ(0, chmod(file.c_str(), 0444));
  EXPECT_TRUE(path.SetHiddenStatus(true));
  ASSERT_EQ(0, chmod(file.c_str(), 0644));
  EXPECT_TRUE(path.SetHiddenStatus(false));
  EXPECT_FALSE(path.IsHidden());
  EXPECT_EQ(-1, getxattr(file.c_str(), "user.hidden", value, sizeof(value)));
}

TEST(PathOperations, CreateAndEnsureDirectories) {
  qotest::TempDir dir;
  const zu::Path deep(dir.File("a/b/c"));
  EXPECT_FALSE(deep.CreateDirectory());
  EXPECT_FALSE(zu::Path(dir.File("a")).Exists());
  EXPECT_TRUE(deep.CreateDirectories());
  EXPECT_TRUE(deep.IsDirectory());
  EXPECT_TRUE(deep.CreateDirectories() && deep.CreateDirectory());
  EXPECT_TRUE(zu::Path(dir.File("a/b/d")).CreateDirectory());
  EXPECT_TRUE(zu::Path(dir.File("a/b/d")).IsDirectory());
  EXPECT_FALSE(zu::Path(dir.File("q?/x")).CreateDirectories());
  EXPECT_FALSE(zu::Path(dir.File("q*")).CreateDirectory());
  EXPECT_FALSE(zu::Path(dir.File("q?")).Exists() || zu::Path(dir.File("q*")).Exists());
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("file"), "x"));
  EXPECT_FALSE(zu::Path(dir.File("file/sub")).CreateDirectories());

  EXPECT_FALSE(zu::EnsureDirectoryExists(""));
  EXPECT_TRUE(zu::EnsureDirectoryExists(dir.File("e/f/g/")));
  EXPECT_TRUE(zu::Path(dir.File("e/f/g")).IsDirectory());
  EXPECT_TRUE(zu::EnsureDirectoryExists(dir.File("e")));
  // "/" loses its only character to the trailing-separator removal: nothing left to create.
  EXPECT_FALSE(zu::EnsureDirectoryExists("/"));
  EXPECT_FALSE(zu::EnsureDirectoryExists(dir.File("file/sub")));
}

TEST(PathOperations, Remove) {
  qotest::TempDir dir;
  ASSERT_TRUE(zu::EnsureDirectoryExists(dir.File("tree/sub")));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("tree/sub/f"), "x"));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("tree/g"), "x"));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("outside"), "x"));
  EXPECT_FALSE(zu::Path(dir.File("tree")).Remove(false));
  EXPECT_TRUE(zu::Path(dir.File("tree/g")).Exists());
  EXPECT_TRUE(zu::Path(dir.File("tree/g")).Remove(true));
  EXPECT_FALSE(zu::Path(dir.File("tree/g")).Exists());
  EXPECT_TRUE(zu::Path(dir.File("tree")).Remove(true));
  EXPECT_FALSE(zu::Path(dir.File("tree")).Exists());
  EXPECT_TRUE(zu::Path(dir.File("outside")).Exists());
  EXPECT_FALSE(zu::Path(dir.File("tree")).Remove(true) || zu::Path(dir.File("tree")).Remove(false));
  ASSERT_TRUE(zu::EnsureDirectoryExists(dir.File("emptydir")));
  EXPECT_TRUE(zu::Path(dir.File("emptydir")).Remove(false));
  EXPECT_FALSE(zu::Path(dir.File("emptydir")).Exists());
}

TEST(PathOperations, MoveAndCopy) {
  qotest::TempDir dir;
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("src"), "payload"));
  const zu::Path source(dir.File("src"));
  EXPECT_TRUE(source.Move(source, false));
  EXPECT_TRUE(source.Move(zu::Path(dir.Path() + "//src"), false));
  EXPECT_EQ("payload", qotest::ReadFileBytes(dir.File("src")));
  EXPECT_FALSE(zu::Path(dir.File("none")).Move(zu::Path(dir.File("x")), true));
  EXPECT_FALSE(zu::Path(dir.File("x")).Exists());
  // A rename into a missing directory fails; the copy fallback creates it and keeps the source.
  EXPECT_FALSE(source.Move(zu::Path(dir.File("m/moved")), false));
  EXPECT_TRUE(source.Move(zu::Path(dir.File("m/moved")), true));
  EXPECT_EQ("payload", qotest::ReadFileBytes(dir.File("m/moved")));
  EXPECT_TRUE(source.Exists());
  EXPECT_TRUE(source.Move(zu::Path(dir.File("renamed")), false));
  EXPECT_FALSE(source.Exists());
  EXPECT_EQ("payload", qotest::ReadFileBytes(dir.File("renamed")));

  const zu::Path renamed(dir.File("renamed"));
  EXPECT_TRUE(renamed.Copy(zu::Path(dir.File("c/d/copy")), nullptr));
  EXPECT_EQ("payload", qotest::ReadFileBytes(dir.File("c/d/copy")));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("existing"), "old"));
  EXPECT_FALSE(renamed.Copy(zu::Path(dir.File("existing")), nullptr));
  EXPECT_EQ("old", qotest::ReadFileBytes(dir.File("existing")));
  EXPECT_FALSE(zu::Path(dir.File("none")).Copy(zu::Path(dir.File("n2")), nullptr));

  // A directory is copied as an empty directory.
  EXPECT_TRUE(zu::Path(dir.File("c")).Copy(zu::Path(dir.File("c2")), nullptr));
  EXPECT_TRUE(zu::Path(dir.File("c2")).IsDirectory());
  EXPECT_FALSE(zu::Path(dir.File("c2/d")).Exists());
  // A link is copied as a link.
  ASSERT_EQ(0, symlink("renamed", dir.File("ln").c_str()));
  EXPECT_TRUE(zu::Path(dir.File("ln")).Copy(zu::Path(dir.File("ln2")), nullptr));
  EXPECT_TRUE(boost::filesystem::is_symlink(dir.File("ln2")));
  EXPECT_EQ("renamed", boost::filesystem::read_symlink(dir.File("ln2")).native());
}

TEST(PathOperations, CopyReportsProgressWhateverTheOutcome) {
  qotest::TempDir dir;
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("a"), "a"));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("b"), "b"));
  const std::vector<std::string> expected = {"range 0 100", "pos 0", "pos 100"};
  RecordingProgress good;
  EXPECT_TRUE(zu::Path(dir.File("a")).Copy(zu::Path(dir.File("c")), &good));
  EXPECT_EQ(expected, good.calls);
  RecordingProgress bad;
  EXPECT_FALSE(zu::Path().FsPathCopy(zu::Path(dir.File("a")), zu::Path(dir.File("b")), &bad));
  EXPECT_EQ(expected, bad.calls);
  EXPECT_EQ("b", qotest::ReadFileBytes(dir.File("b")));
}

TEST(PathOperations, CurrentDirectory) {
  qotest::TempDir dir;
  const zu::Path before = zu::Path::GetCurrent();
  ASSERT_FALSE(before.IsEmpty());
  zu::Path::SetCurrent(zu::Path(dir.Path()));
  EXPECT_TRUE(zu::Path::GetCurrent().IsEquivalent(zu::Path(dir.Path())));
  ASSERT_TRUE(qotest::WriteFileBytes("relative", "r"));
  EXPECT_TRUE(zu::Path(dir.File("relative")).Exists());
  EXPECT_THROW(zu::Path::SetCurrent(zu::Path(dir.File("none"))), boost::filesystem::filesystem_error);
  zu::Path::SetCurrent(before);
  EXPECT_EQ(before, zu::Path::GetCurrent());
}

}  // namespace
