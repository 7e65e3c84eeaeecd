// FileHelp: the string facade, the temporary file, and the file-name extensions.
#include <qobase/files/file_extensions.h>
#include <qobase/files/file_help.h>
#include <qobase/result_code.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/files_child.h"
#include "support/temp_dir.h"

namespace {

TEST(FileHelp, TemporaryFile) {
  qotest::TempDir dir;
  zu::Path kept;
  {
    FileHelp::TemporaryFile temporary{zu::Path(dir.Path())};
    kept = temporary.GetPath();
    EXPECT_EQ(".tmp", kept.GetFileExtension());
    EXPECT_EQ(dir.Path(), kept.GetParent());
    ASSERT_TRUE(temporary.GetFile().IsOpen());
    EXPECT_TRUE(temporary.GetFile().WriteExact("abc", 3));
    // Read and append: the start can be read back.
    char buffer[3];
    EXPECT_EQ(0, temporary.GetFile().SetFilePointer(0, zu::k_fileBegin));
    EXPECT_TRUE(temporary.GetFile().ReadExact(buffer, 3) && std::string(buffer, 3) == "abc");
  }
  // Destruction closes but keeps the file.
  EXPECT_EQ("abc", qotest::ReadFileBytes(kept.GetFullPath()));

  FileHelp::TemporaryFile wav(zu::Path(dir.Path()), "wav");
  EXPECT_EQ(".wav", wav.GetPath().GetFileExtension());
  EXPECT_TRUE(wav.GetPath().Exists());
  EXPECT_TRUE(wav.DeleteFile());
  EXPECT_FALSE(wav.GetFile().IsOpen() || wav.GetPath().Exists() || wav.DeleteFile());

  FileHelp::TemporaryFile nowhere(zu::Path(dir.File("missing")));
  EXPECT_TRUE(nowhere.GetPath().IsEmpty());
  EXPECT_FALSE(nowhere.GetFile().IsOpen() || nowhere.DeleteFile());
}

TEST(FileHelp, TextForms) {
  CStdStr text("a/b");
  FileHelp::FolderAddBackslash(text);
  EXPECT_EQ("a/b/", text);
  FileHelp::FolderRemoveBackslash(text);
  EXPECT_EQ("a/b", text);
  // PathAddBackslash is text editing with a real backslash, once.
  CStdStr windows("C:\\dir");
  EXPECT_EQ("C:\\dir\\", FileHelp::PathAddBackslash(windows));
  EXPECT_EQ("C:\\dir\\", FileHelp::PathAddBackslash(windows));
  CStdStr empty;
  EXPECT_EQ("", FileHelp::PathAddBackslash(empty));
  EXPECT_EQ("a/b", FileHelp::PathRemoveBackslash("a/b/"));
  EXPECT_EQ("a/b/", FileHelp::PathAddTrailingSeparator("a/b"));
  EXPECT_EQ("a/b.txt", FileHelp::PathReplaceExtension("a/b.wav", "txt"));
  EXPECT_EQ("a/c", FileHelp::PathCanonicalize("a/b/../c"));
  EXPECT_EQ("b.tar", FileHelp::GetFileNameNoExtension("/a/b.tar.gz"));
  EXPECT_EQ("b", FileHelp::PathCombine("a/..", "b"));
  CStdStr messy("/a//b/");
  FileHelp::NormalizeFilePath(messy);
  EXPECT_EQ("/a/b", messy);
  EXPECT_EQ(".zwu", QOFileExtensions::DottedExt(QOFileExtensions::k_csWorkUnit));
  EXPECT_EQ("..wav", QOFileExtensions::DottedExt(".wav"));
  EXPECT_EQ("zcustomproperties", QOFileExtensions::k_csCustomProperties);
}

TEST(FileHelp, DiskForms) {
  qotest::TempDir dir;
  ASSERT_TRUE(FileHelp::EnsureDirectoryExists(dir.File("d/sub").c_str()));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("d/sub/f.wav"), "12345"));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("d/F2.WAV"), "12345"));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("d/g.txt"), "text\0more"));
  EXPECT_EQ("text", FileHelp::ReadTextFile(dir.File("d/g.txt").c_str()));
  std::ifstream stream;
  EXPECT_TRUE(FileHelp::OpenTextStream(stream, dir.File("d/g.txt").c_str()));
  EXPECT_EQ(5u, FileHelp::GetFileSize(dir.File("d/sub/f.wav")));
  EXPECT_TRUE(FileHelp::AreFileIdentical(dir.File("d/sub/f.wav"), dir.File("d/F2.WAV")));
  EXPECT_FALSE(FileHelp::IsHidden(dir.File("d/g.txt")) || FileHelp::IsTextFileInUnicode("x"));
  // The parent for an existing directory, the containing directory otherwise.
  EXPECT_EQ(dir.File("d"), FileHelp::PathGetDirectory(dir.File("d/sub")));
  EXPECT_EQ(dir.File("d/sub"), FileHelp::PathGetDirectory(dir.File("d/sub/f.wav")));
  CStdStr relative(dir.File("d/sub/f.wav"));
  FileHelp::MakePathRelative(relative, dir.File("d"));
  EXPECT_EQ("sub/f.wav", relative);
  std::vector<CStdStr> files;
  EXPECT_TRUE(FileHelp::ListDirectoryRecursive(dir.File("d").c_str(), files));
  EXPECT_EQ(3u, files.size());
  // Found without hidden entries, then merged into a set where case does not matter.
  std::set<CStdStr, NoCaseStringComp> found{dir.File("D")};
  EXPECT_TRUE(FileHelp::GetFilesRecursive(dir.File("d"), found, "*.wav"));
  EXPECT_EQ((std::vector<CStdStr>{dir.File("D"), dir.File("d/sub"), dir.File("d/sub/f.wav")}),
            std::vector<CStdStr>(found.begin(), found.end()));

  // As another user the file is not writable; root may write anything.
  ASSERT_EQ(0, chmod(dir.File("d/sub/f.wav").c_str(), 0444));
  ASSERT_EQ(0, chmod(dir.Path().c_str(), 0755));
  EXPECT_EQ(1, qotest::RunAsOrdinaryUser([&] { return FileHelp::IsReadOnly(dir.File("d/sub/f.wav")); }));
  EXPECT_FALSE(FileHelp::IsReadOnly(dir.File("missing")));
  ASSERT_EQ(0, chmod(dir.File("d/g.txt").c_str(), 0400));
  FileHelp::RemoveReadOnlyFlagRecursive(dir.File("d"));
  EXPECT_FALSE(zu::Path(dir.File("d/sub/f.wav")).IsReadOnly() || zu::Path(dir.File("d/g.txt")).IsReadOnly());
  EXPECT_TRUE(FileHelp::CopyFilesRecursively(dir.File("d"), dir.File("copy"), nullptr, false));
  EXPECT_EQ("12345", qotest::ReadFileBytes(dir.File("copy/sub/f.wav")));
  EXPECT_TRUE(FileHelp::RemoveDirectoryRecursive(dir.File("copy").c_str()));
  EXPECT_FALSE(FileHelp::RemoveDirectoryRecursive(dir.File("copy").c_str()));
}

}  // namespace
