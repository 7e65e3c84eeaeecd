// zu::Path members that query and change the file system, each in its own temporary directory.
#include <qobase/files/directory_operations.h>
#include <qobase/files/path.h>
#include <qobase/system/progress.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <boost/filesystem.hpp>

#include <vector>

#include "support/files_child.h"
#include "support/temp_dir.h"

namespace {

struct RecordingProgress : QO::Sonvo::IProgress {
  void SetRange(std::uint32_t lower, std::uint32_t upper) override {
    calls.push_back("range " + std::to_string(lower) + " " + std::to_string(upper));
  }
  void SetPosition(std::uint32_t at) override { calls.push_back("pos " + std::to_string(at)); }
  bool IsCancelled() override { return !calls.emplace_back("cancelled?").empty(); }
  std::vector<std::string> calls;
};

TEST(PathOperations, QueriesOnFilesDirectoriesAndNothing) {
  qotest::TempDir dir;
  const zu::Path file(dir.File("f.bin")), folder(dir.Path()), none(dir.File("none"));
  ASSERT_TRUE(qotest::WriteFileBytes(file, "12345"));
  for (const zu::Path& path : {zu::Path(), none}) {
    EXPECT_FALSE(path.Exists() || path.FileExists() || path.IsDirectory()) << path.GetText();
  }
  EXPECT_TRUE(file.Exists());
  EXPECT_TRUE(file.FileExists());
  EXPECT_TRUE(file.IsFile());
  EXPECT_TRUE(!file.IsDirectory());
  EXPECT_TRUE(folder.IsDirectory());
  EXPECT_TRUE(folder.DirectoryExists());
  EXPECT_TRUE(!folder.FileExists());
  EXPECT_TRUE(zu::Path("/dev/null").FileExists());
  EXPECT_TRUE(zu::PathFileExists(dir.Path()));
  EXPECT_TRUE(!zu::FileExists(dir.Path()));
  EXPECT_TRUE(zu::FileExists(file));
  EXPECT_TRUE(!zu::PathFileExists(none));

  EXPECT_EQ(5u, file.GetFileSize());
  EXPECT_EQ(0u, folder.GetFileSize() + none.GetFileSize());
  EXPECT_EQ(-1, none.GetLastWriteTime());
  EXPECT_TRUE(file.SetLastWriteTime(1000000000));
  EXPECT_FALSE(file.SetLastWriteTime(-5) || none.SetLastWriteTime(5));
  EXPECT_EQ(1000000000, file.GetLastWriteTime());

  ASSERT_EQ(0, symlink(file.GetText().c_str(), dir.File("link").c_str()));
  // Relative forms go through the file system's view of both paths.
  EXPECT_EQ("f.bin", file.GetPathRelative(zu::Path(dir.Path() + "/x/..")));
  EXPECT_EQ("../f.bin", zu::Path(file).MakePathRelative(zu::Path(dir.File("sub"))).GetFullPath());
  EXPECT_TRUE(file.IsEquivalent(zu::Path(dir.File("link"))));
  EXPECT_TRUE(file.IsEquivalent(zu::Path(dir.Path() + "/./f.bin")));
  EXPECT_FALSE(file.IsEquivalent(folder) || file.IsEquivalent(none));
}

TEST(PathOperations, ReadOnlyAndHiddenStatus) {
  qotest::TempDir dir;
  const std::string file = dir.File("r");
  const zu::Path path(file), none(dir.File("none"));
  ASSERT_TRUE(qotest::WriteFileBytes(file, "x"));
  ASSERT_EQ(0, chmod(file.c_str(), 0444));
  EXPECT_TRUE(path.IsReadOnly());
  path.RemoveReadOnlyStatus();
  EXPECT_TRUE(boost::filesystem::status(file).permissions() == 0666);
  EXPECT_TRUE(!path.IsReadOnly());
  ASSERT_EQ(0, chmod(file.c_str(), 0500));
  path.RemoveReadOnlyStatus();  // adds the write bits, keeps the others
  EXPECT_EQ(0722, boost::filesystem::status(file).permissions());
  none.RemoveReadOnlyStatus();
  EXPECT_FALSE(none.IsReadOnly() || none.Exists());

  EXPECT_TRUE(path.SetHiddenStatus(false));
  EXPECT_FALSE(none.SetHiddenStatus(true) || none.IsHidden());
  if (setxattr(file.c_str(), "user.hidden", "0", 1, 0) != 0) {
    // A file system without user attributes: nothing can be hidden.
    EXPECT_FALSE(path.SetHiddenStatus(true) || path.IsHidden());
    return;
  }
  EXPECT_FALSE(path.IsHidden());  // another value of the attribute is not "hidden"
  EXPECT_TRUE(path.SetHiddenStatus(true));
  EXPECT_TRUE(path.IsHidden());
  char value[4] = {0};
  EXPECT_TRUE(getxattr(file.c_str(), "user.hidden", value, sizeof(value)) == 1);
  EXPECT_TRUE(value[0] == '1');
  // Already hidden: true without touching it (as an ordinary user the file could not be changed).
  ASSERT_EQ(0, chmod(dir.Path().c_str(), 0755));
  ASSERT_EQ(0, chmod(file.c_str(), 0644));
  EXPECT_EQ(1, qotest::RunAsOrdinaryUser([&] { return path.SetHiddenStatus(true); }));
  EXPECT_TRUE(path.SetHiddenStatus(false));
  EXPECT_TRUE(!path.IsHidden());
  EXPECT_EQ(-1, getxattr(file.c_str(), "user.hidden", value, sizeof(value)));
}

TEST(PathOperations, CreateAndEnsureDirectories) {
  qotest::TempDir dir;
  const zu::Path deep(dir.File("a/b/c"));
  EXPECT_FALSE(deep.CreateDirectory() || zu::Path(dir.File("a")).Exists());
  EXPECT_TRUE(deep.CreateDirectories());
  EXPECT_TRUE(deep.IsDirectory());
  EXPECT_TRUE(deep.CreateDirectories());
  EXPECT_TRUE(deep.CreateDirectory());
  EXPECT_TRUE(zu::Path(dir.File("a/b/d")).CreateDirectory());
  EXPECT_TRUE(zu::Path(dir.File("a/b/d")).IsDirectory());
  EXPECT_FALSE(zu::Path(dir.File("q?/x")).CreateDirectories());
  EXPECT_FALSE(zu::Path(dir.File("q*")).CreateDirectory());
  EXPECT_FALSE(zu::Path(dir.File("q?")).Exists() || zu::Path(dir.File("q*")).Exists());
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("file"), "x"));
  EXPECT_FALSE(zu::Path(dir.File("file/sub")).CreateDirectories());

  EXPECT_FALSE(zu::EnsureDirectoryExists(""));
  EXPECT_TRUE(zu::EnsureDirectoryExists(dir.File("e/f/g/")));
  EXPECT_TRUE(zu::EnsureDirectoryExists(dir.File("e")));
  EXPECT_TRUE(zu::Path(dir.File("e/f/g")).IsDirectory());
  // "/" loses its only character to the trailing-separator removal: nothing left to create.
  EXPECT_FALSE(zu::EnsureDirectoryExists("/"));
  EXPECT_FALSE(zu::EnsureDirectoryExists(dir.File("file/sub")));
}

TEST(PathOperations, Remove) {
  qotest::TempDir dir;
  const zu::Path tree(dir.File("tree")), file(dir.File("tree/g")), empty(dir.File("emptydir"));
  ASSERT_TRUE(zu::EnsureDirectoryExists(dir.File("tree/sub")));
  ASSERT_TRUE(empty.CreateDirectory());
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("tree/sub/f"), "x"));
  ASSERT_TRUE(qotest::WriteFileBytes(file, "x"));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("outside"), "x"));
  EXPECT_FALSE(tree.Remove(false));
  EXPECT_TRUE(file.Exists());
  EXPECT_TRUE(file.Remove(true));
  EXPECT_TRUE(!file.Exists());
  EXPECT_TRUE(tree.Remove(true));
  EXPECT_TRUE(!tree.Exists());
  EXPECT_TRUE(zu::Path(dir.File("outside")).Exists());
  EXPECT_FALSE(tree.Remove(true) || tree.Remove(false));
  EXPECT_TRUE(empty.Remove(false));
  EXPECT_TRUE(!empty.Exists());
}

TEST(PathOperations, MoveAndCopy) {
  qotest::TempDir dir;
  const auto at = [&](const char* name) { return zu::Path(dir.File(name)); };
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("src"), "payload"));
  const zu::Path source = at("src");
  // Onto itself or another name of it: true, nothing done.
  EXPECT_TRUE(source.Move(source, false));
  EXPECT_TRUE(source.Move(zu::Path(dir.Path() + "//src"), false));
  EXPECT_EQ("payload", qotest::ReadFileBytes(dir.File("src")));
  EXPECT_FALSE(at("none").Move(at("x"), true) || at("x").Exists());
  // A rename into a missing directory fails; the copy fallback creates it and keeps the source.
  EXPECT_TRUE(!source.Move(at("m/moved"), false));
  EXPECT_TRUE(source.Move(at("m/moved"), true));
  EXPECT_EQ("payload", qotest::ReadFileBytes(dir.File("m/moved")));
  EXPECT_TRUE(source.Move(at("renamed"), false));
  EXPECT_TRUE(!source.Exists());

  const zu::Path renamed = at("renamed");
  EXPECT_TRUE(renamed.Copy(at("c/d/copy"), nullptr));  // missing directories are created
  EXPECT_EQ("payload", qotest::ReadFileBytes(dir.File("c/d/copy")));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("existing"), "old"));
  EXPECT_FALSE(renamed.Copy(at("existing"), nullptr) || at("none").Copy(at("n2"), nullptr));
  EXPECT_EQ("old", qotest::ReadFileBytes(dir.File("existing")));
  // A directory is copied as an empty directory, a link as a link.
  EXPECT_TRUE(at("c").Copy(at("c2"), nullptr));
  EXPECT_TRUE(at("c2").IsDirectory());
  EXPECT_TRUE(!at("c2/d").Exists());
  ASSERT_EQ(0, symlink("renamed", dir.File("ln").c_str()));
  EXPECT_TRUE(at("ln").Copy(at("ln2"), nullptr));
  EXPECT_TRUE(boost::filesystem::read_symlink(dir.File("ln2")) == "renamed");

  // Progress goes 0..100 whatever the outcome; cancellation is never asked.
  const std::vector<std::string> expected = {"range 0 100", "pos 0", "pos 100"};
  RecordingProgress good, bad;
  EXPECT_TRUE(renamed.Copy(at("p"), &good));
  EXPECT_FALSE(zu::Path().FsPathCopy(renamed, at("existing"), &bad));
  EXPECT_TRUE(good.calls == expected);
  EXPECT_TRUE(bad.calls == expected);
}

}  // namespace
