// Outputs are never written over an input, a device or a special file, and a failed write never
// leaves a partial file or damages an existing one: the rules every writing command shares,
// checked through `midi --convert` and `addmarkers`.
#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "program_runner.h"
#include "support/midi_builder.h"
#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"
#include "tool_test_support.h"

using qotest::RunQobase;

namespace {

std::string SmallMidi() {
  return qotest::MidiFileBytes(0, 96, {"0 90 3C 64, 96 80 3C 00, 0 FF 2F 00"});
}

std::string SmallWave(unsigned int frames) {
  return qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
                      qotest::Chunk("data", qotest::Pcm16Samples(frames)));
}

// A WAVE file whose data chunk claims 100 frames and holds 60: addmarkers warns on standard
// error after it has created its temporary file, and before it writes anything.
std::string CutShortWave() { return SmallWave(100).substr(0, 44 + 120); }

// The name of a temporary file `out` has in `dir` while it is written, or "".
std::string PendingTemporary(const std::string& dir, const std::string& out) {
  for (const std::string& name : qotest::FolderNames(dir)) {
    if (name.rfind("." + out + ".", 0) == 0) return name;
  }
  return "";
}

// Runs `qobase addmarkers IN OUT 5` on a cut-short IN with standard error on a pipe that is full
// (`full`, so the warning blocks the program once its temporary file exists) or has no reader (a
// write gets SIGPIPE). With a full pipe, `signalNumber` is sent once the temporary file is seen.
// Returns the signal that ended the program, or 0.
int RunBlockedOnStandardError(const std::string& dir, bool full, int signalNumber) {
  int err[2];
  if (pipe(err) != 0) return -1;
  if (full) {
    fcntl(err[1], F_SETPIPE_SZ, 4096);
    fcntl(err[1], F_SETFL, O_NONBLOCK);
    const std::string filler(4096, 'x');
    while (write(err[1], filler.data(), filler.size()) > 0) {
    }
    fcntl(err[1], F_SETFL, 0);
  } else {
    close(err[0]);
  }
  const pid_t child = fork();
  if (child == 0) {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    for (const int s : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) signal(s, SIG_DFL);
    dup2(err[1], 2);
    execl(QOBASE_TOOL_PATH, QOBASE_TOOL_PATH, "addmarkers", (dir + "/in.wav").c_str(),
          (dir + "/out.wav").c_str(), "5", static_cast<char*>(nullptr));
    _exit(127);
  }
  close(err[1]);
  if (full) {
    for (int i = 0; i < 1000 && PendingTemporary(dir, "out.wav").empty(); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_NE(PendingTemporary(dir, "out.wav"), "");
    kill(child, signalNumber);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (full) close(err[0]);
  return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

// The two writing commands, reading `in` and writing `out`.
std::vector<std::vector<std::string>> Writers(const std::string& midi, const std::string& wav,
                                              const std::string& out) {
  return {{"midi", midi, "--convert", out}, {"addmarkers", wav, out, "10:mark"}};
}

}  // namespace

TEST(QobaseOutputs, AnOutputThatNamesAnInputIsRefused) {
  qotest::TempDir dir;
  const std::string midi = dir.File("in.mid"), wav = dir.File("in.wav");
  ASSERT_TRUE(qotest::WriteFileBytes(midi, SmallMidi()));
  ASSERT_TRUE(qotest::WriteFileBytes(wav, SmallWave(100)));
  ASSERT_EQ(symlink("in.mid", dir.File("midi-link").c_str()), 0);
  ASSERT_EQ(symlink("in.wav", dir.File("wav-link").c_str()), 0);
  ASSERT_EQ(link(midi.c_str(), dir.File("midi-hard").c_str()), 0);
  ASSERT_EQ(link(wav.c_str(), dir.File("wav-hard").c_str()), 0);
  const std::vector<std::string> before = qotest::FolderNames(dir.Path());

  const struct {
    std::string midiOut, wavOut;
  } spellings[] = {
      {midi, wav},                                          // the same text
      {dir.Path() + "/./in.mid", dir.Path() + "//in.wav"},  // another spelling
      {dir.File("midi-link"), dir.File("wav-link")},        // a symbolic link to it
      {dir.File("midi-hard"), dir.File("wav-hard")},        // a hard link to it
  };
  for (const auto& spelling : spellings) {
    SCOPED_TRACE(spelling.midiOut);
    const auto writers = Writers(midi, wav, spelling.midiOut);
    for (size_t i = 0; i < writers.size(); ++i) {
      std::vector<std::string> args = writers[i];
      const std::string out = i == 0 ? spelling.midiOut : spelling.wavOut;
      (i == 0 ? args[3] : args[2]) = out;
      const qotest::RunResult run = RunQobase(args);
      EXPECT_EQ(run.exitCode, 1);
      EXPECT_EQ(run.err, "qobase: " + out +
                             ": is an input of this command; write the result to another file\n");
      EXPECT_EQ(run.out, "");
    }
  }
  // A run from inside the folder, naming the input by its bare name.
  qotest::RunOptions inside;
  inside.workingDir = dir.Path();
  EXPECT_EQ(RunQobase({"midi", "in.mid", "--convert", "./in.mid"}, inside).exitCode, 1);
  EXPECT_EQ(qotest::ReadFileBytes(midi), SmallMidi());
  EXPECT_EQ(qotest::ReadFileBytes(wav), SmallWave(100));
  EXPECT_EQ(qotest::FolderNames(dir.Path()), before);
}

TEST(QobaseOutputs, DevicesSpecialFilesAndMissingFoldersAreRefused) {
  qotest::TempDir dir;
  const std::string midi = dir.File("in.mid"), wav = dir.File("in.wav");
  ASSERT_TRUE(qotest::WriteFileBytes(midi, SmallMidi()));
  ASSERT_TRUE(qotest::WriteFileBytes(wav, SmallWave(100)));
  ASSERT_EQ(mkfifo(dir.File("fifo").c_str(), 0600), 0);
  ASSERT_EQ(mkdir(dir.File("folder").c_str(), 0700), 0);
  const std::string notRegular = ": exists and is not a regular file; it is never replaced\n";
  const struct {
    std::string out, message;
  } cases[] = {
      {"/dev/full", notRegular},
      {"/dev/null", notRegular},
      {dir.File("fifo"), notRegular},
      {dir.File("folder"), ": is a directory, not a file\n"},
      {"/proc/version", ": cannot create a temporary file in /proc: "},
      {dir.File("no/such/folder.out"), ": its folder does not exist\n"},
      {dir.File("new.out/"), ": names a folder (it ends with '/'); name the file to write\n"},
  };
  for (const auto& c : cases) {
    for (const auto& args : Writers(midi, wav, c.out)) {
      SCOPED_TRACE(args.front() + " " + c.out);
      const qotest::RunResult run = RunQobase(args);
      EXPECT_EQ(run.exitCode, 1);
      EXPECT_EQ(run.err.rfind("qobase: " + c.out + c.message, 0), 0u) << run.err;
      EXPECT_EQ(run.out, "");
    }
  }
  EXPECT_EQ(qotest::FolderNames(dir.Path()),
            (std::vector<std::string>{"fifo", "folder", "in.mid", "in.wav"}));
}

// A full disk, played by a file size limit: exit 1, no partial or temporary file, and an
// existing output left exactly as it was.
TEST(QobaseOutputs, AFailedWriteLeavesNothingBehind) {
  qotest::TempDir dir;
  const std::string midi = dir.File("in.mid"), wav = dir.File("in.wav");
  ASSERT_TRUE(qotest::WriteFileBytes(midi, qotest::MidiFileBytes(0, 96, {[] {
                                                                   std::string track;
                                                                   for (int i = 0; i < 2000; ++i)
                                                                     track += "1 90 3C 64, ";
                                                                   return track + "0 FF 2F 00";
                                                                 }()})));
  ASSERT_TRUE(qotest::WriteFileBytes(wav, SmallWave(20000)));
  for (const bool existing : {false, true}) {
    for (const auto& args : Writers(midi, wav, dir.File("out.bin"))) {
      SCOPED_TRACE(args.front() + (existing ? " over an existing file" : " to a new file"));
      if (existing) {
        ASSERT_TRUE(qotest::WriteFileBytes(dir.File("out.bin"), "the user's file"));
        ASSERT_EQ(chmod(dir.File("out.bin").c_str(), 0640), 0);
      }
      qotest::RunOptions options;
      options.fileSizeLimit = 4096;
      const qotest::RunResult run = RunQobase(args, options);
      EXPECT_EQ(run.exitCode, 1);
      EXPECT_EQ(run.err,
                "qobase: " + dir.File("out.bin") + ": cannot write the file: File too large\n");
      EXPECT_EQ(run.out, "");
      EXPECT_EQ(qotest::FolderNames(dir.Path()),
                existing ? (std::vector<std::string>{"in.mid", "in.wav", "out.bin"})
                         : (std::vector<std::string>{"in.mid", "in.wav"}));
      if (existing) {
        EXPECT_EQ(qotest::ReadFileBytes(dir.File("out.bin")), "the user's file");
        // A successful run replaces it and keeps its permission bits, and its owner where the
        // user may give the file away (root may: the result once became root's file).
        const bool givenAway = chown(dir.File("out.bin").c_str(), 65534, 65534) == 0;
        const qotest::RunResult replaced = RunQobase(args);
        EXPECT_EQ(replaced.exitCode, 0) << replaced.err;
        struct stat info;
        ASSERT_EQ(stat(dir.File("out.bin").c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, 0640u);
        if (givenAway) {
          EXPECT_EQ(std::make_pair(info.st_uid, info.st_gid), std::make_pair(65534u, 65534u));
        }
        EXPECT_NE(qotest::ReadFileBytes(dir.File("out.bin")), "the user's file");
        ASSERT_EQ(unlink(dir.File("out.bin").c_str()), 0);
      }
    }
  }
  EXPECT_EQ(qotest::ReadFileBytes(wav), SmallWave(20000));
}

// Inputs that are not regular files are refused at once: /dev/zero used to be read forever.
TEST(QobaseOutputs, InputsThatAreNotRegularFilesAreRefused) {
  qotest::TempDir dir;
  const std::string notRegular =
      ": not a regular file (a device, FIFO or socket cannot be read as one)\n";
  const std::string out = dir.File("out");
  const struct {
    std::vector<std::string> args;
    std::string what, message;
  } cases[] = {
      {{"addmarkers", "/dev/zero", out, "1"}, "/dev/zero", notRegular},
      {{"wavinfo", "/dev/zero"}, "/dev/zero", notRegular},
      {{"midi", "/dev/zero"}, "/dev/zero", notRegular},
      {{"midi", "/dev/zero", "--convert", out}, "/dev/zero", notRegular},
      {{"xml", "tojson", "/dev/zero"}, "/dev/zero", notRegular},
      {{"xml", "validate", "/dev/zero", "/dev/zero"}, "/dev/zero", notRegular},
      {{"base64", "decode", "/dev/zero"}, "/dev/zero", notRegular},
      {{"addmarkers", dir.Path(), out, "1"}, dir.Path(), ": is a directory, not a file\n"},
      {{"midi", dir.File("missing.mid")}, dir.File("missing.mid"), ": No such file or directory\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args.front());
    qotest::RunOptions options;
    options.timeLimitSeconds = 5;
    const qotest::RunResult run = RunQobase(c.args, options);
    EXPECT_FALSE(run.timedOut);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "qobase: " + c.what + c.message);
  }
  EXPECT_EQ(qotest::FolderNames(dir.Path()), std::vector<std::string>{});
}

// A signal while the output is being written ends the program and leaves neither a temporary
// file nor a changed output behind: the program is held at a known point, blocked writing its
// warning into a full pipe after creating the temporary file, and signalled there. A closed
// pipe on standard error (SIGPIPE) is one such signal.
TEST(QobaseOutputs, ASignalWhileWritingLeavesNothingBehind) {
  qotest::TempDir dir;
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("in.wav"), CutShortWave()));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("out.wav"), "the user's file"));
  for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
    SCOPED_TRACE(signalNumber);
    EXPECT_EQ(RunBlockedOnStandardError(dir.Path(), true, signalNumber), signalNumber);
    EXPECT_EQ(qotest::FolderNames(dir.Path()), (std::vector<std::string>{"in.wav", "out.wav"}));
  }
  EXPECT_EQ(RunBlockedOnStandardError(dir.Path(), false, 0), SIGPIPE);
  EXPECT_EQ(qotest::FolderNames(dir.Path()), (std::vector<std::string>{"in.wav", "out.wav"}));
  EXPECT_EQ(qotest::ReadFileBytes(dir.File("out.wav")), "the user's file");
  EXPECT_EQ(qotest::ReadFileBytes(dir.File("in.wav")), CutShortWave());
}

// Names as long as a folder allows, files their owner made read-only, and a closed standard
// error, whose descriptor the output file must not take (the warning once went into the file).
TEST(QobaseOutputs, LongNamesProtectedFilesAndClosedStandardError) {
  qotest::TempDir dir;
  ASSERT_EQ(chmod(dir.Path().c_str(), 0777), 0);
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("in.wav"), CutShortWave()));
  const std::string longName = dir.File(std::string(251, 'n') + ".wav");
  const qotest::RunResult longRun = RunQobase({"addmarkers", dir.File("in.wav"), longName, "5"});
  EXPECT_EQ(longRun.exitCode, 0) << longRun.err;
  const std::string marked = qotest::ReadFileBytes(longName);
  EXPECT_EQ(marked.substr(0, 4), "RIFF");

  qotest::RunOptions closed;
  closed.stderrClosed = true;
  const qotest::RunResult quiet =
      RunQobase({"addmarkers", dir.File("in.wav"), dir.File("quiet.wav"), "5"}, closed);
  EXPECT_EQ(quiet.exitCode, 0);
  EXPECT_EQ(qotest::ReadFileBytes(dir.File("quiet.wav")), marked);

  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("locked.wav"), "protected"));
  ASSERT_EQ(chmod(dir.File("locked.wav").c_str(), 0444), 0);
  qotest::RunOptions user;
  user.asOrdinaryUser = true;
  const qotest::RunResult locked =
      RunQobase({"addmarkers", dir.File("in.wav"), dir.File("locked.wav"), "5"}, user);
  EXPECT_EQ(locked.exitCode, 1);
  EXPECT_EQ(locked.err,
            "qobase: " + dir.File("locked.wav") + ": cannot be replaced: Permission denied\n");
  EXPECT_EQ(qotest::ReadFileBytes(dir.File("locked.wav")), "protected");
  EXPECT_EQ(qotest::FolderNames(dir.Path()).size(),
            4u);  // in, the long name, quiet, locked: no leftovers
}

// A file the user may not read is named so by every command, not taken for a bad file.
TEST(QobaseOutputs, UnreadableInputsAreNamedSo) {
  qotest::TempDir dir;
  ASSERT_EQ(chmod(dir.Path().c_str(), 0777), 0);
  const std::string locked = dir.File("locked");
  ASSERT_TRUE(qotest::WriteFileBytes(locked, SmallWave(10)));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("s.xsd"), "<a/>"));
  ASSERT_EQ(chmod(locked.c_str(), 0), 0);
  qotest::RunOptions user;
  user.asOrdinaryUser = true;
  const std::vector<std::vector<std::string>> commands = {
      {"info", locked},
      {"addmarkers", locked, dir.File("out.wav"), "1"},
      {"midi", locked},
      {"xml", "tojson", locked},
      {"xml", "validate", dir.File("s.xsd"), locked},
      {"base64", "encode", locked},
  };
  for (const auto& args : commands) {
    SCOPED_TRACE(args.front());
    const qotest::RunResult run = RunQobase(args, user);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "qobase: " + locked + ": Permission denied\n");
  }
  EXPECT_EQ(qotest::FolderNames(dir.Path()), (std::vector<std::string>{"locked", "s.xsd"}));
}
