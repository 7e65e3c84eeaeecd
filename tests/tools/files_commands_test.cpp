// `qobase ls`, `tempname` and `guid`: dot-files and hidden entries only with --all (listed the
// same way with and without --recursive), unreadable folders reported, and the argument checks.
#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include "program_runner.h"
#include "support/temp_dir.h"

using qotest::RunQobase;

TEST(QobaseLs, DotFilesAndHiddenEntriesOnlyWithAll) {
  qotest::TempDir dir;
  const std::string d = dir.Path();
  ASSERT_EQ(mkdir((d + "/.cache").c_str(), 0755), 0);
  ASSERT_EQ(mkdir((d + "/sub").c_str(), 0755), 0);
  for (const char* name : {"/a.wav", "/.dot", "/.cache/x", "/sub/b.wav", "/sub/.z", "/flagged"}) {
    ASSERT_TRUE(qotest::WriteFileBytes(d + name, ""));
  }
  const bool flagged = setxattr((d + "/flagged").c_str(), "user.hidden", "1", 1, 0) == 0;
  const std::string flaggedLine = flagged ? "" : d + "/flagged\n";
  const struct {
    std::vector<std::string> options;
    std::string out;
  } cases[] = {
      {{}, d + "/a.wav\n" + flaggedLine + d + "/sub/\n"},
      {{"--all"},
       d + "/.cache/\n" + d + "/.dot\n" + d + "/a.wav\n" + d + "/flagged\n" + d + "/sub/\n"},
      {{"--recursive"}, d + "/a.wav\n" + flaggedLine + d + "/sub/b.wav\n"},
      {{"-r", "-a"},
       d + "/.cache/x\n" + d + "/.dot\n" + d + "/a.wav\n" + d + "/flagged\n" + d + "/sub/.z\n" + d +
           "/sub/b.wav\n"},
  };
  for (const auto& c : cases) {
    std::vector<std::string> args{"ls"};
    args.insert(args.end(), c.options.begin(), c.options.end());
    args.push_back(d);
    SCOPED_TRACE(args.size());
    const qotest::RunResult run = RunQobase(args);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, c.out);
    EXPECT_EQ(run.err, "");
  }
}

// A folder is listed by its own name: wildcard characters and a leading '~' in it are not a
// pattern (`ls 'take[1]'` once listed take1), and the way it is spelled does not change what
// counts as hidden (`ls -r dir//` once listed dot-files).
TEST(QobaseLs, AFolderIsTakenAsItIsSpelled) {
  qotest::TempDir dir;
  const std::string d = dir.Path();
  for (const char* folder : {"/take[1]", "/take1", "/~", "/~/.dot"}) {
    ASSERT_EQ(mkdir((d + folder).c_str(), 0755), 0);
  }
  for (const char* name : {"/take[1]/a", "/take1/b", "/~/c", "/~/.dot/d"}) {
    ASSERT_TRUE(qotest::WriteFileBytes(d + name, ""));
  }
  qotest::RunOptions inside;
  inside.workingDir = d;
  const struct {
    std::vector<std::string> args;
    std::string out;
  } cases[] = {
      {{"ls", "take[1]"}, "take[1]/a\n"},
      {{"ls", "~"}, "~/c\n"},
      {{"ls", "-r", "~//"}, "~/c\n"},
      {{"ls", "-r", ".//~"}, "./~/c\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args.back());
    const qotest::RunResult run = RunQobase(c.args, inside);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, c.out);
  }
}

// Permissions bind only an ordinary user, so the program runs as one here.
TEST(QobaseLs, AnUnreadableFolderFails) {
  qotest::TempDir dir;
  ASSERT_EQ(chmod(dir.Path().c_str(), 0755), 0);
  const std::string locked = dir.File("locked");
  ASSERT_EQ(mkdir(locked.c_str(), 0700), 0);
  ASSERT_TRUE(qotest::WriteFileBytes(locked + "/secret", ""));
  qotest::RunOptions user;
  user.asOrdinaryUser = true;
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"ls", locked}, std::vector<std::string>{"ls", "-r", locked}}) {
    const qotest::RunResult run = RunQobase(args, user);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "qobase: " + locked + ": Permission denied\n");
    EXPECT_EQ(run.out, "");
  }
  const qotest::RunResult notDir = RunQobase({"ls", locked + "/secret"});
  EXPECT_EQ(notDir.err, "qobase: " + locked + "/secret: not a directory\n");
}

TEST(QobaseTempnameAndGuid, ResultsAndRefusals) {
  qotest::TempDir dir;
  const qotest::RunResult made = RunQobase({"tempname", "--ext", "wav", dir.Path()});
  ASSERT_EQ(made.exitCode, 0) << made.err;
  const std::string path = made.out.substr(0, made.out.size() - 1);
  EXPECT_EQ(path.size(), dir.Path().size() + 1 + 4 + 4);
  EXPECT_EQ(path.substr(path.size() - 4), ".wav");
  struct stat info;
  EXPECT_EQ(stat(path.c_str(), &info), 0);
  EXPECT_EQ(info.st_size, 0);

  // A name that cannot be printed is not left behind; an extension too long is a usage error.
  qotest::RunOptions full;
  full.stdoutToDevFull = true;
  EXPECT_EQ(RunQobase({"tempname", dir.Path()}, full).exitCode, 1);
  EXPECT_EQ(RunQobase({"tempname", "--ext", std::string(251, 'e'), dir.Path()}).exitCode, 2);
  size_t files = 0;
  if (DIR* handle = opendir(dir.Path().c_str())) {
    while (const dirent* entry = readdir(handle)) files += entry->d_name[0] != '.';
    closedir(handle);
  }
  EXPECT_EQ(files, 1u);

  const qotest::RunResult missing = RunQobase({"tempname", dir.File("none")});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_EQ(missing.err, "qobase: " + dir.File("none") + ": not a directory\n");

  EXPECT_EQ(RunQobase({"guid", "{03020100-0504-0706-0809-0a0b0c0d0e0f}"}).out,
            "{03020100-0504-0706-0809-0A0B0C0D0E0F}\n");
  const qotest::RunResult bad = RunQobase({"guid", "03020100-0504-0706-0809-0A0B0C0D0E0F"});
  EXPECT_EQ(bad.exitCode, 1);
  EXPECT_EQ(bad.err,
            "qobase: 03020100-0504-0706-0809-0A0B0C0D0E0F: not a GUID of the form "
            "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}\n");
  const std::string first = RunQobase({"guid"}).out, second = RunQobase({"guid"}).out;
  EXPECT_NE(first, second);
  EXPECT_EQ(first[15], '4');  // a version-4 GUID
}
