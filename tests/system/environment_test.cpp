// The environment and places, each read in a forked child so the suite's own environment stays
// untouched.
#include <qobase/system/environment.h>

#include <gtest/gtest.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>

#include "support/files_child.h"

namespace {

TEST(Environment, HomeAndUserNameFromTheEnvironmentOnly) {
  EXPECT_EQ(0, qotest::RunInChild([] {
              unsetenv("HOME");
              unsetenv("USERNAME");
              setenv("USER", "someone", 1);
              if (!zu::GetHomePath().IsEmpty() || !GetUserName().empty()) return 1;
              setenv("HOME", "/home/qo user/", 1);
              setenv("USERNAME", "Qo User", 1);
              if (zu::GetHomePath().GetText() != "/home/qo user/" || GetUserName() != "Qo User")
                return 2;
              setenv("HOME", "", 1);
              return zu::GetHomePath().IsEmpty() ? 0 : 3;
            }));
}

TEST(Environment, TempDirectoryIgnoresTmpdir) {
  EXPECT_EQ(0, qotest::RunInChild([] {
              setenv("TMPDIR", "/var/elsewhere", 1);
              char resolved[PATH_MAX];
              if (!realpath("/tmp", resolved)) return 1;
              const zu::Path first = zu::GetTempDirectoryPath();
              if (first.GetText() != resolved) return 2;
              unsetenv("TMPDIR");
              return zu::GetTempDirectoryPath() == first ? 0 : 3;
            }));
}

TEST(Environment, ExecutablePathIsThisProgramResolved) {
  const zu::Path executable = zu::GetExecutablePath();
  ASSERT_FALSE(executable.IsEmpty());
  EXPECT_EQ('/', executable.GetText()[0]);
  EXPECT_EQ("qobase_system_tests", executable.GetFileName());
  char resolved[PATH_MAX];
  ASSERT_NE(nullptr, realpath(executable.GetText().c_str(), resolved));
  EXPECT_EQ(executable.GetText(), resolved);
  struct stat self, found;
  ASSERT_EQ(0, stat("/proc/self/exe", &self));
  ASSERT_EQ(0, stat(resolved, &found));
  EXPECT_TRUE(self.st_ino == found.st_ino && self.st_dev == found.st_dev);
}

}  // namespace
