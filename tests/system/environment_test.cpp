// The environment and places, read in forked children so the suite's own environment stays
// untouched.
#include <qobase/system/environment.h>

#include <gtest/gtest.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>

#include "support/files_child.h"

namespace {

TEST(Environment, HomeUserNameAndTempDirectory) {
  EXPECT_EQ(0, qotest::RunInChild([] {
              unsetenv("HOME");
              unsetenv("USERNAME");
              setenv("USER", "someone", 1);
              if (!zu::GetHomePath().IsEmpty() || !GetUserName().empty()) return 1;
              setenv("HOME", "/home/qo user/", 1);
              setenv("USERNAME", "Qo User", 1);
              if (zu::GetHomePath().GetText() != "/home/qo user/" || GetUserName() != "Qo User")
                return 2;
              // The temporary directory is the system's, resolved, whatever TMPDIR says.
              setenv("TMPDIR", "/var/elsewhere", 1);
              char resolved[PATH_MAX];
              return realpath("/tmp", resolved) && zu::GetTempDirectoryPath().GetText() == resolved
                         ? 0
                         : 3;
            }));
}

TEST(Environment, ExecutablePathIsThisProgramResolved) {
  const zu::Path executable = zu::GetExecutablePath();
  EXPECT_EQ("qobase_system_tests", executable.GetFileName());
  char resolved[PATH_MAX];
  ASSERT_NE(nullptr, realpath(executable.GetText().c_str(), resolved));
  EXPECT_EQ(executable.GetText(), resolved);
  struct stat self, found;
  ASSERT_TRUE(stat("/proc/self/exe", &self) == 0);
  ASSERT_TRUE(stat(resolved, &found) == 0);
  EXPECT_TRUE(self.st_ino == found.st_ino);
  EXPECT_TRUE(self.st_dev == found.st_dev);
}

}  // namespace
