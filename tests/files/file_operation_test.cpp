// zu::FileOperation: whole-file reads, touching, temporary names, writability.
#include <qobase/files/directory_operations.h>
#include <qobase/files/file_operation.h>

#include <boost/filesystem.hpp>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

#include "support/files_child.h"
#include "support/temp_dir.h"

namespace {

TEST(FileOperation, ReadsWholeFiles) {
  qotest::TempDir dir;
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("nul"), std::string("ab\0cd", 5)));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("bom"), "\xEF\xBB\xBF" "ab"));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("empty"), ""));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("short"), "\xEF\xBB"));
  EXPECT_EQ("ab", zu::FileOperation::ReadTextFile(zu::Path(dir.File("nul"))));
  EXPECT_EQ("", zu::FileOperation::ReadTextFile(zu::Path(dir.File("missing"))));
  const std::pair<const char*, std::string> raw[] = {{"bom", std::string("ab\0", 3)},
                                                     {"empty", std::string("\0", 1)},
                                                     {"short", std::string("\xEF\xBB\0", 3)},
                                                     {"nul", std::string("ab\0cd\0", 6)},
                                                     {"missing", ""}};
  for (const auto& c : raw) {
    EXPECT_EQ(c.second, zu::FileOperation::ReadUtf8FileRaw(zu::Path(dir.File(c.first)))) << c.first;
  }
  EXPECT_EQ(std::string("ab\0", 3), zu::FileOperation::ReadUtf8File(zu::Path(dir.File("bom"))));

  std::ifstream stream;
  EXPECT_TRUE(zu::FileOperation::OpenTextStream(stream, zu::Path(dir.File("bom"))));
  EXPECT_EQ(0xEF, stream.get());
  std::ifstream empty, missing;
  EXPECT_FALSE(zu::FileOperation::OpenTextStream(empty, zu::Path(dir.File("empty"))));
  EXPECT_FALSE(zu::FileOperation::OpenTextStream(missing, zu::Path(dir.File("missing"))));
  EXPECT_TRUE(missing.fail());
}

TEST(FileOperation, AreFilesIdenticalAndTouch) {
  qotest::TempDir dir;
  const std::pair<const char*, std::string> files[] = {
      {"a", "same"}, {"b", "same"}, {"c", "diff"}, {"d", "longer"},
      {"n1", std::string("x\0y", 3)}, {"n2", std::string("x\0z", 3)}};
  for (const auto& file : files) ASSERT_TRUE(qotest::WriteFileBytes(dir.File(file.first), file.second));
  const auto same = [&](const char* a, const char* b) {
    return zu::FileOperation::AreFilesIdentical(zu::Path(dir.File(a)), zu::Path(dir.File(b)));
  };
  // Only the text before the first NUL byte is compared.
  EXPECT_TRUE(same("a", "b") && same("n1", "n2"));
  EXPECT_FALSE(same("a", "c") || same("a", "d") || same("missing", "other"));

  EXPECT_TRUE(zu::FileOperation::Touch(zu::Path(dir.File("t"))));
  EXPECT_EQ("", qotest::ReadFileBytes(dir.File("t")));
  EXPECT_TRUE(zu::FileOperation::Touch(zu::Path(dir.File("a"))));
  EXPECT_EQ("same", qotest::ReadFileBytes(dir.File("a")));
  EXPECT_FALSE(zu::FileOperation::Touch(zu::Path(dir.File("no/dir/t"))));

  FILE* out = nullptr;
  EXPECT_FALSE(zu::FileOperation::WithOpenFile(nullptr, dir.File("a"), "r"));
  EXPECT_FALSE(zu::FileOperation::WithOpenFile(&out, dir.File("missing"), "r") || out);
  EXPECT_TRUE(zu::FileOperation::WithOpenFile(&out, dir.File("a"), "r"));
  ASSERT_NE(nullptr, out);
  EXPECT_EQ(out, zu::FileOperation::ConvertFILEToHandle(out));
  EXPECT_EQ('s', fgetc(out));
  fclose(out);
}

TEST(FileOperation, TempNamesStepFromTheStartNumberAndGiveUp) {
  qotest::TempDir dir;
  const zu::Path folder(dir.Path());
  zu::Path created;
  // 65535 is followed by 1 (0 is never used); a taken name moves the search on.
  const struct {
    const char* extension;
    unsigned int start, number;
    const char* name;
  } steps[] = {{"tmp", 65535, 1, "0001.tmp"},
               {"tmp", 65535, 2, "0002.tmp"},
               {"wav", 0xabb, 0xabc, "0abc.wav"},
               {"", 0xfffd, 0xfffe, "fffe"}};
  for (const auto& step : steps) {
    EXPECT_EQ(step.number,
              zu::FileOperation::TouchTempFileNameFrom(folder, step.extension, step.start, created));
    EXPECT_EQ(dir.File(step.name), created.GetFullPath());
    EXPECT_EQ("", qotest::ReadFileBytes(dir.File(step.name)));
  }
  // From 0xfffe with four tries: ffff, then 0001..0003, all taken; a fifth try finds 0004.
  for (const char* name : {"0003.tmp", "ffff.tmp"}) {
    ASSERT_TRUE(qotest::WriteFileBytes(dir.File(name), "taken"));
  }
  const zu::Path before = created;
  EXPECT_EQ(0u, zu::FileOperation::TouchTempFileNameFrom(folder, "tmp", 0xfffe, created, 4));
  // Failures leave `created` alone.
  EXPECT_EQ(0u, zu::FileOperation::TouchTempFileName(zu::Path(dir.File("missing")), created));
  EXPECT_EQ(0u, zu::FileOperation::TouchTempFileName(zu::Path(dir.File("0001.tmp")), created));
  EXPECT_EQ(before, created);
  EXPECT_EQ(4u, zu::FileOperation::TouchTempFileNameFrom(folder, "tmp", 0xfffe, created, 5));
  EXPECT_EQ("taken", qotest::ReadFileBytes(dir.File("ffff.tmp")));
  EXPECT_FALSE(zu::Path(dir.File("0000.tmp")).Exists());

  for (int i = 0; i < 10; ++i) {
    const unsigned int number = zu::FileOperation::TouchTempFileName(folder, created);
    char expected[16];
    snprintf(expected, sizeof(expected), "%04x.tmp", number);
    EXPECT_NE(0u, number);
    EXPECT_EQ(expected, created.GetFileName());
  }
}

TEST(FileOperation, TempNamesAreUniqueAcrossThreadsAndProcesses) {
  qotest::TempDir dir;
  const int perWorker = 150;
  // Equal start numbers force every worker through the same names; each lists what it made.
  const auto work = [&](const char* extension, const std::string& list) {
    std::string names;
    for (int i = 0; i < perWorker; ++i) {
      zu::Path created;
      if (zu::FileOperation::TouchTempFileNameFrom(zu::Path(dir.Path()), extension, 7, created) == 0) {
        return 1;
      }
      names += created.GetFullPath() + "\n";
    }
    return qotest::WriteFileBytes(dir.File(list), names) ? 0 : 2;
  };
  const auto distinctNames = [&](const char* first, const char* second) {
    std::set<std::string> unique;
    for (const char* list : {first, second}) {
      std::istringstream lines(qotest::ReadFileBytes(dir.File(list)));
      for (std::string line; std::getline(lines, line);) unique.insert(line);
    }
    return unique.size();
  };
  int results[2] = {-1, -1};
  std::thread threads[2];
  for (int t = 0; t < 2; ++t) {
    threads[t] = std::thread([&, t] { results[t] = work("thr", "thread" + std::to_string(t)); });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, results[0] + results[1]);
  EXPECT_EQ(static_cast<size_t>(2 * perWorker), distinctNames("thread0", "thread1"));

  // Two processes at once: exclusive creation keeps them apart.
  pid_t children[2];
  for (int c = 0; c < 2; ++c) {
    children[c] = fork();
    ASSERT_GE(children[c], 0);
    if (children[c] == 0) _exit(work("prc", "process" + std::to_string(c)));
  }
  for (pid_t child : children) {
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  EXPECT_EQ(static_cast<size_t>(2 * perWorker), distinctNames("process0", "process1"));
}

TEST(FileOperation, IsWritable) {
  qotest::TempDir dir;
  EXPECT_TRUE(zu::FileOperation::IsWritable(zu::Path(dir.Path())));
  EXPECT_TRUE(zu::FileOperation::IsWritable(zu::Path(dir.File("new"))));
  EXPECT_FALSE(zu::Path(dir.File("new")).Exists());
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("existing"), "data"));
  EXPECT_TRUE(zu::FileOperation::IsWritable(zu::Path(dir.File("existing"))));
  EXPECT_EQ("data", qotest::ReadFileBytes(dir.File("existing")));
  // The probe left nothing behind in the directory.
  EXPECT_EQ(1, std::distance(boost::filesystem::directory_iterator(dir.Path()),
                             boost::filesystem::directory_iterator()));
  EXPECT_FALSE(zu::FileOperation::IsWritable(zu::Path(dir.File("no/such/file"))));

  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("ro"), "x"));
  // Let the unprivileged child reach the files, so only their own permissions count.
  ASSERT_EQ(0, chmod(dir.Path().c_str(), 0755));
  ASSERT_EQ(0, chmod(dir.File("ro").c_str(), 0444));
  ASSERT_TRUE(zu::EnsureDirectoryExists(dir.File("rodir")));
  ASSERT_EQ(0, chmod(dir.File("rodir").c_str(), 0555));
  ASSERT_TRUE(zu::EnsureDirectoryExists(dir.File("open")));
  ASSERT_EQ(0, chmod(dir.File("open").c_str(), 0777));
  // Permission bits bind only an ordinary user: check as one, in a child.
  EXPECT_EQ(0, qotest::RunAsOrdinaryUser([&] {
    if (zu::FileOperation::IsWritable(zu::Path(dir.File("ro")))) return 11;
    if (zu::FileOperation::IsWritable(zu::Path(dir.File("rodir")))) return 12;
    // The same user can write where everybody may.
    if (!zu::FileOperation::IsWritable(zu::Path(dir.File("open")))) return 13;
    return zu::FileOperation::IsWritable(zu::Path(dir.File("open/new"))) ? 0 : 14;
  }));
}

}  // namespace
