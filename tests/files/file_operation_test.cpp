// zu::FileOperation and the FileHelp facade: whole-file reads, touching, temporary names and
// temporary files, writability, and the file-name extensions.
#include <qobase/files/directory_operations.h>
#include <qobase/files/file_extensions.h>
#include <qobase/files/file_help.h>
#include <qobase/files/file_operation.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <boost/filesystem.hpp>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

#include "support/files_child.h"
#include "support/temp_dir.h"

namespace {

TEST(FileOperation, WholeFileReadsComparisonsAndTouch) {
  qotest::TempDir dir;
  const std::string bom("\xEF\xBB\xBF");
  // Name, content, name, content...
  const std::string files[] = {"nul",   std::string("ab\0cd", 5),
                               "bom",   bom + "ab",
                               "empty", "",
                               "short", "\xEF\xBB",
                               "a",     "same",
                               "b",     "same",
                               "c",     "diff",
                               "n2",    std::string("ab\0xy", 5)};
  for (size_t i = 0; i < std::size(files); i += 2) {
    ASSERT_TRUE(qotest::WriteFileBytes(dir.File(files[i]), files[i + 1]));
  }
  const auto at = [&](const char* name) { return zu::Path(dir.File(name)); };
  EXPECT_EQ("ab", zu::FileOperation::ReadTextFile(at("nul")));
  EXPECT_EQ("", zu::FileOperation::ReadTextFile(at("missing")));
  const std::string raw[] = {
      "bom",   std::string("ab\0", 3),       "empty", std::string("\0", 1),      "missing", "",
      "short", std::string("\xEF\xBB\0", 3), "nul",   std::string("ab\0cd\0", 6)};
  for (size_t i = 0; i < std::size(raw); i += 2) {
    EXPECT_EQ(raw[i + 1], zu::FileOperation::ReadUtf8FileRaw(at(raw[i].c_str()))) << raw[i];
  }
  EXPECT_EQ(std::string("ab\0", 3), zu::FileOperation::ReadUtf8File(at("bom")));
  std::ifstream empty, missing;
  EXPECT_FALSE(zu::FileOperation::OpenTextStream(empty, at("empty")) ||
               zu::FileOperation::OpenTextStream(missing, at("missing")) || !missing.fail());

  // Equal sizes and equal text before the first NUL byte: bytes after it are not compared.
  const auto same = [&](const char* a, const char* b) {
    return zu::FileOperation::AreFilesIdentical(at(a), at(b));
  };
  EXPECT_TRUE(same("a", "b"));
  EXPECT_TRUE(same("nul", "n2"));
  EXPECT_FALSE(same("a", "c") || same("a", "nul") || same("missing", "other"));
  EXPECT_TRUE(zu::FileOperation::Touch(at("t")));
  EXPECT_TRUE(zu::FileOperation::Touch(at("a")));
  EXPECT_TRUE(qotest::ReadFileBytes(dir.File("t")).empty());
  EXPECT_TRUE(qotest::ReadFileBytes(dir.File("a")) == "same");
  EXPECT_FALSE(zu::FileOperation::Touch(at("no/dir/t")));
  FILE* out = nullptr;
  EXPECT_FALSE(zu::FileOperation::WithOpenFile(nullptr, dir.File("a"), "r") ||
               zu::FileOperation::WithOpenFile(&out, dir.File("missing"), "r") || out);
  ASSERT_TRUE(zu::FileOperation::WithOpenFile(&out, dir.File("a"), "r"));
  EXPECT_EQ('s', fgetc(zu::FileOperation::ConvertFILEToHandle(out)));
  fclose(out);
}

TEST(FileOperation, TempNamesStepFromTheStartNumberAndGiveUp) {
  qotest::TempDir dir;
  const zu::Path folder(dir.Path());
  zu::Path created;
  // 65535 is followed by 1 (0 is never used); a taken name moves the search on.
  // Extension, start number, expected name...
  const char* const steps[] = {"tmp", "ffff", "0001.tmp", "tmp", "ffff", "0002.tmp",
                               "wav", "0abb", "0abc.wav", "",    "fffd", "fffe"};
  for (size_t i = 0; i < std::size(steps); i += 3) {
    const unsigned int start = std::stoul(steps[i + 1], nullptr, 16);
    EXPECT_EQ(std::stoul(steps[i + 2], nullptr, 16),
              zu::FileOperation::TouchTempFileNameFrom(folder, steps[i], start, created));
    EXPECT_TRUE(created == zu::Path(dir.File(steps[i + 2])));
    EXPECT_TRUE(created.FileExists());
  }
  // From 0xfffe with four tries: ffff, then 0001..0003, all taken; a fifth try finds 0004.
  for (const char* name : {"0003.tmp", "ffff.tmp"}) {
    ASSERT_TRUE(qotest::WriteFileBytes(dir.File(name), "taken"));
  }
  // Failures (all names taken, no such directory, not a directory) leave `created` alone.
  const zu::Path before = created;
  EXPECT_EQ(0u, zu::FileOperation::TouchTempFileNameFrom(folder, "tmp", 0xfffe, created, 4) +
                    zu::FileOperation::TouchTempFileName(zu::Path(dir.File("missing")), created) +
                    zu::FileOperation::TouchTempFileName(zu::Path(dir.File("0001.tmp")), created));
  EXPECT_EQ(before, created);
  EXPECT_EQ(4u, zu::FileOperation::TouchTempFileNameFrom(folder, "tmp", 0xfffe, created, 5));
  EXPECT_FALSE(zu::Path(dir.File("0000.tmp")).Exists());

  // A random start: the name is the number returned, in four lower-case hex digits.
  char expected[16];
  snprintf(expected, sizeof(expected), "%04x.tmp",
           zu::FileOperation::TouchTempFileName(folder, created));
  EXPECT_TRUE(std::string(expected) != "0000.tmp") << expected;
  EXPECT_TRUE(created.GetFileName() == expected) << expected;
}

TEST(FileOperation, TempNamesAreUniqueAcrossThreadsAndProcesses) {
  qotest::TempDir dir;
  const int perWorker = 150;
  // Equal start numbers force every worker through the same names; each lists what it made.
  const auto work = [&](const std::string& list) {
    std::string names;
    for (int i = 0; i < perWorker; ++i) {
      zu::Path created;
      const zu::Path folder(dir.Path());
      if (!zu::FileOperation::TouchTempFileNameFrom(folder, list.substr(0, 3), 7, created))
        return 1;
      names += created.GetFullPath() + "\n";
    }
    return qotest::WriteFileBytes(dir.File(list), names) ? 0 : 2;
  };
  int threadResult = -1;
  std::thread thread([&] { threadResult = work("thr0"); });
  const int ownResult = work("thr1");
  thread.join();
  // Two processes at once: exclusive creation keeps them apart.
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) _exit(work("prc0"));
  const int parentResult = work("prc1");
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(
      0, threadResult + ownResult + parentResult + (WIFEXITED(status) ? WEXITSTATUS(status) : 9));
  for (const char* prefix : {"thr", "prc"}) {
    std::set<std::string> unique;
    for (const char* n : {"0", "1"}) {
      std::istringstream lines(qotest::ReadFileBytes(dir.File(prefix + std::string(n))));
      for (std::string line; std::getline(lines, line);) unique.insert(line);
    }
    EXPECT_EQ(static_cast<size_t>(2 * perWorker), unique.size()) << prefix;
  }
}

TEST(FileOperation, IsWritableProbesWithoutLeavingFilesAndHonoursPermissions) {
  qotest::TempDir dir;
  const auto writable = [&](const char* name) {
    return zu::FileOperation::IsWritable(zu::Path(dir.File(name)));
  };
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("ro"), "data"));
  EXPECT_TRUE(zu::FileOperation::IsWritable(zu::Path(dir.Path())));
  EXPECT_TRUE(writable("new"));
  EXPECT_TRUE(writable("ro"));
  EXPECT_FALSE(writable("no/such/file"));
  // The probes left nothing behind and changed nothing.
  EXPECT_EQ(1, std::distance(boost::filesystem::directory_iterator(dir.Path()),
                             boost::filesystem::directory_iterator()));
  EXPECT_EQ("data", qotest::ReadFileBytes(dir.File("ro")));
  ASSERT_TRUE(zu::Path(dir.File("rodir")).CreateDirectory());
  ASSERT_TRUE(zu::Path(dir.File("open")).CreateDirectory());
  for (const auto& mode :
       {std::make_pair("", 0755), {"ro", 0444}, {"rodir", 0555}, {"open", 0777}}) {
    ASSERT_EQ(0, chmod(dir.File(mode.first).c_str(), mode.second)) << mode.first;
  }
  // Permission bits bind only an ordinary user: check as one, in a child.
  // The same user can write where everybody may, and nowhere else here.
  EXPECT_EQ(0b0011, qotest::RunAsOrdinaryUser([&] {
              return writable("ro") << 3 | writable("rodir") << 2 | writable("open") << 1 |
                     writable("open/new");
            }));
}

TEST(FileHelp, TemporaryFile) {
  qotest::TempDir dir;
  zu::Path kept;
  {
    FileHelp::TemporaryFile temporary{zu::Path(dir.Path())};
    kept = temporary.GetPath();
    EXPECT_TRUE(kept.GetFileExtension() == ".tmp");
    EXPECT_TRUE(kept.GetParent() == dir.Path());
    EXPECT_TRUE(temporary.GetFile().WriteExact("abc", 3));
    // Read and append: the start can be read back.
    char buffer[3];
    EXPECT_TRUE(temporary.GetFile().SetFilePointer(0, zu::k_fileBegin) == 0);
    EXPECT_TRUE(temporary.GetFile().ReadExact(buffer, 3));
    EXPECT_TRUE(std::string(buffer, 3) == "abc");
  }
  // Destruction closes but keeps the file.
  EXPECT_EQ("abc", qotest::ReadFileBytes(kept.GetFullPath()));

  FileHelp::TemporaryFile wav(zu::Path(dir.Path()), "wav");
  EXPECT_TRUE(wav.GetPath().GetFileExtension() == ".wav");
  EXPECT_TRUE(wav.GetPath().Exists());
  EXPECT_TRUE(wav.DeleteFile());
  EXPECT_FALSE(wav.GetFile().IsOpen() || wav.GetPath().Exists() || wav.DeleteFile());

  FileHelp::TemporaryFile nowhere(zu::Path(dir.File("missing")));
  EXPECT_FALSE(!nowhere.GetPath().IsEmpty() || nowhere.GetFile().IsOpen() || nowhere.DeleteFile());
}

TEST(FileHelp, ForwardsAndOwnRules) {
  CStdStr text("a/b"), windows("C:\\dir"), empty;
  FileHelp::FolderAddBackslash(text);
  EXPECT_EQ("a/b/", text);
  FileHelp::FolderRemoveBackslash(text);
  EXPECT_EQ("a/b", text);
  // PathAddBackslash is text editing with a real backslash, once, on a non-empty text.
  FileHelp::PathAddBackslash(windows);
  EXPECT_EQ("C:\\dir\\", FileHelp::PathAddBackslash(windows));
  EXPECT_EQ("", FileHelp::PathAddBackslash(empty));
  EXPECT_EQ("b", FileHelp::PathCombine("a/..", "b"));
  EXPECT_EQ(".zwu", QOFileExtensions::DottedExt(QOFileExtensions::k_csWorkUnit));
  EXPECT_EQ("..wav", QOFileExtensions::DottedExt(".wav"));

  qotest::TempDir dir;
  ASSERT_TRUE(FileHelp::EnsureDirectoryExists(dir.File("d/sub").c_str()));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("d/sub/f.wav"), "12345"));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("d/g.txt"), "text"));
  // The parent for an existing directory, the containing directory otherwise.
  EXPECT_EQ(dir.File("d"), FileHelp::PathGetDirectory(dir.File("d/sub")));
  EXPECT_EQ(dir.File("d/sub"), FileHelp::PathGetDirectory(dir.File("d/sub/f.wav")));
  // Found without hidden entries, then merged into a set where case does not matter.
  std::set<CStdStr, NoCaseStringComp> found{dir.File("D")};
  EXPECT_TRUE(FileHelp::GetFilesRecursive(dir.File("d"), found, "*.wav"));
  EXPECT_EQ((std::vector<CStdStr>{dir.File("D"), dir.File("d/sub"), dir.File("d/sub/f.wav")}),
            std::vector<CStdStr>(found.begin(), found.end()));
  // Read-only means "exists and cannot be written", which root always can.
  ASSERT_EQ(0, chmod(dir.File("d/sub/f.wav").c_str(), 0444));
  ASSERT_EQ(0, chmod(dir.File("d/g.txt").c_str(), 0400));
  EXPECT_EQ(geteuid() != 0, FileHelp::IsReadOnly(dir.File("d/sub/f.wav")));
  EXPECT_FALSE(FileHelp::IsReadOnly(dir.File("missing")));
  // Every file the recursive listing finds loses its read-only state.
  FileHelp::RemoveReadOnlyFlagRecursive(dir.File("d"));
  EXPECT_FALSE(zu::Path(dir.File("d/sub/f.wav")).IsReadOnly() ||
               zu::Path(dir.File("d/g.txt")).IsReadOnly());
  EXPECT_TRUE(FileHelp::RemoveDirectoryRecursive(dir.File("d").c_str()));
  EXPECT_FALSE(FileHelp::RemoveDirectoryRecursive(dir.File("d").c_str()));
}

}  // namespace
