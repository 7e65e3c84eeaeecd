// DirectoryWatcher: the filtering rules, fed batches through the stream callback directly, and
// the live watcher on a temporary tree. Every wait is bounded.
#include <qobase/files/directory_watcher.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/files_child.h"
#include "support/temp_dir.h"

namespace {

using Clock = std::chrono::steady_clock;
using Batch = std::vector<std::string>;

const std::uint32_t k_fileModified = k_fsEventItemModified | k_fsEventItemIsFile;

// Collects the batches a watcher delivers, from whichever thread delivers them. While held, it
// keeps the watcher thread in the callback (at most 5 s).
struct Recorder {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<Batch> batches;
  bool hold = false;

  explicit Recorder(DirectoryWatcher& watcher) { watcher.SetCallback(this, &Recorder::Receive); }
  void Receive(DirectoryWatcher::ChangeSet* changes) {
    std::unique_lock<std::mutex> lock(mutex);
    batches.emplace_back(changes->begin(), changes->end());
    changed.notify_all();
    changed.wait_for(lock, std::chrono::seconds(5), [this] { return !hold; });
  }
  void Hold(bool held) {
    std::lock_guard<std::mutex> lock(mutex);
    hold = held;
    changed.notify_all();
  }
  // Waits (5 s at most) until a batch holds `path`.
  bool Await(const std::string& path) {
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_for(lock, std::chrono::seconds(5), [&] {
      return std::any_of(batches.begin(), batches.end(), [&](const Batch& batch) {
        return std::find(batch.begin(), batch.end(), path) != batch.end();
      });
    });
  }
  std::vector<Batch> Take() {
    std::lock_guard<std::mutex> lock(mutex);
    return std::exchange(batches, {});
  }
};

// One batch through the stream callback, as the event stream would deliver it.
void Deliver(DirectoryWatcher& watcher, std::vector<std::pair<std::string, std::uint32_t>> events) {
  std::vector<char*> paths;
  std::vector<std::uint32_t> flags;
  for (auto& event : events) paths.push_back(&event.first[0]), flags.push_back(event.second);
  const std::vector<std::uint64_t> ids(events.size(), 1);
  DirectoryWatcher::MacFSEventsCallback(nullptr, &watcher, events.size(), paths.data(),
                                        flags.data(), ids.data());
}

bool Write(const std::string& path) { return qotest::WriteFileBytes(path, "x"); }

TEST(DirectoryWatcherRules, KindsOfChangeOnePathOncePerBatch) {
  qotest::TempDir dir;
  ASSERT_TRUE(Write(dir.File("a.wav")));
  ASSERT_TRUE(Write(dir.File("b.wav")));
  DirectoryWatcher watcher(1000, 0);
  Recorder recorder(watcher);
  watcher.StartSync(dir.Path(), true, 0);
  ASSERT_TRUE(watcher.IsAlive());
  const std::pair<std::uint32_t, bool> kinds[] = {
      {k_fileModified, true},
      {k_fsEventItemModified | k_fsEventItemIsDir, false},
      {k_fsEventItemCreated | k_fsEventItemIsDir, true},
      {k_fsEventItemRemoved | k_fsEventItemIsFile, true},
      {k_fsEventItemRenamed | k_fsEventItemIsDir, true},
      {k_fsEventItemInodeMetaMod | k_fsEventItemIsFile, false},
      {k_fsEventMustScanSubDirs, false}};
  for (const auto& [flags, kept] : kinds) {
    Deliver(watcher, {{dir.File("a.wav"), flags}});
    EXPECT_EQ(kept ? 1u : 0u, recorder.Take().size()) << std::hex << flags;
  }
  // Repeats and case variants count once; changes added by others go out with the next batch.
  watcher.AddFileToChangelist(dir.File("b.wav"));
  Deliver(watcher, {{dir.File("a.wav"), k_fileModified}, {dir.File("A.WAV"), k_fileModified}});
  EXPECT_EQ((std::vector<Batch>{{dir.File("a.wav"), dir.File("b.wav")}}), recorder.Take());
  // Without a callback the changes are dropped, not kept for later.
  watcher.SetCallback(DirectoryWatcher::Callback());
  Deliver(watcher, {{dir.File("a.wav"), k_fileModified}});
  watcher.SetCallback(&recorder, &Recorder::Receive);
  Deliver(watcher, {});
  EXPECT_TRUE(recorder.Take().empty());
}

TEST(DirectoryWatcherRules, HiddenItemsSubversionFoldersAndDirectChildren) {
  qotest::TempDir dir;
  for (const char* folder : {"plain", ".svn", "deep", "deep/.svn", "deep/.svn/x", "secret"}) {
    ASSERT_EQ(0, mkdir(dir.File(folder).c_str(), 0755)) << folder;
  }
  for (const char* file : {"a.wav", ".SVN", ".svn/e", "plain/b.wav", "deep/.svn/x/c.wav",
                           "hidden.wav", "secret/d.wav", ".dotted"}) {
    ASSERT_TRUE(Write(dir.File(file))) << file;
  }
  ASSERT_TRUE(zu::Path(dir.File("hidden.wav")).SetHiddenStatus(true));
  ASSERT_TRUE(zu::Path(dir.File("secret")).SetHiddenStatus(true));
  DirectoryWatcher recursive(1000, 0), direct(1000, 0);
  Recorder fromRecursive(recursive), fromDirect(direct);
  recursive.StartSync(dir.Path(), true, 0);
  direct.StartSync(dir.Path() + "/", false, 0);  // a trailing separator is allowed
  // Only the item and, for a file, its own directory are examined; a removed item cannot be.
  const std::pair<const char*, bool> cases[] = {
      {"a.wav", true},       {".SVN", false},         {".svn", false},
      {".svn/e", false},     {"plain/b.wav", true},   {"deep/.svn/x/c.wav", true},
      {"hidden.wav", false}, {"secret", false},       {"secret/d.wav", false},
      {".dotted", true},     {".svn/gone.wav", true}, {"gone.wav", true}};
  for (const auto& [path, reported] : cases) {
    const bool child = std::string(path).find('/') == std::string::npos;
    Deliver(recursive, {{dir.File(path), k_fileModified | k_fsEventItemCreated}});
    Deliver(direct, {{dir.File(path), k_fileModified | k_fsEventItemCreated}});
    EXPECT_EQ(reported, !fromRecursive.Take().empty()) << path;
    EXPECT_EQ(reported && child, !fromDirect.Take().empty()) << path;
  }
}

TEST(DirectoryWatcherRules, IgnoreListWithGracePeriod) {
  qotest::TempDir dir;
  const std::string own = dir.File("own.wav"), later = dir.File("later.wav");
  ASSERT_TRUE(Write(own));
  ASSERT_TRUE(Write(later));
  DirectoryWatcher watcher(1000, 150);
  Recorder recorder(watcher);
  watcher.StartSync(dir.Path(), true, 0);
  const auto reported = [&](const std::string& path) {
    Deliver(watcher, {{path, k_fileModified}});
    return !recorder.Take().empty();
  };
  watcher.AddIgnoreFile(own);
  EXPECT_TRUE(!reported(own));
  EXPECT_TRUE(!reported(dir.File("OWN.WAV")));
  EXPECT_TRUE(reported(later));
  // Once the save is declared finished, the entry holds for the grace period only; one added
  // after that holds until the next clear.
  watcher.ClearIgnoreFiles();
  watcher.AddIgnoreFile(later);
  EXPECT_FALSE(reported(own));
  usleep(200000);
  EXPECT_TRUE(reported(own));
  watcher.ClearIgnoreFiles();
  EXPECT_FALSE(reported(later));
  usleep(200000);
  watcher.ClearIgnoreFiles();
  EXPECT_TRUE(reported(later));
  EXPECT_TRUE(reported(own));
}

TEST(DirectoryWatcherLive, ChangesNewFoldersAndFoldersMovedIn) {
  qotest::TempDir dir, outside;
  DirectoryWatcher watcher(30, 0);
  Recorder recorder(watcher);
  EXPECT_FALSE(watcher.IsAlive());
  watcher.StartSync(dir.Path(), true, 10);
  ASSERT_TRUE(watcher.IsAlive());
  const std::string a = dir.File("a.wav"), b = dir.File("b.wav");
  ASSERT_TRUE(Write(a));
  EXPECT_TRUE(recorder.Await(a)) << "created";
  recorder.Take();
  ASSERT_TRUE(qotest::WriteFileBytes(a, "longer"));
  EXPECT_TRUE(recorder.Await(a)) << "modified";
  recorder.Take();
  ASSERT_EQ(0, rename(a.c_str(), b.c_str()));
  EXPECT_TRUE(recorder.Await(b)) << "renamed, both names";
  EXPECT_TRUE(recorder.Await(a)) << "renamed, both names";
  recorder.Take();
  ASSERT_EQ(0, unlink(b.c_str()));
  EXPECT_TRUE(recorder.Await(b)) << "removed";

  // Files made in a new folder before its watch can exist (the watcher thread is held in the
  // callback meanwhile) are found by the scan; later ones deeper down by the new watches.
  recorder.Hold(true);
  ASSERT_TRUE(Write(dir.File("trigger.wav")));
  ASSERT_TRUE(recorder.Await(dir.File("trigger.wav")));
  ASSERT_EQ(0, mkdir(dir.File("new").c_str(), 0755));
  ASSERT_EQ(0, mkdir(dir.File("new/inner").c_str(), 0755));
  ASSERT_TRUE(Write(dir.File("new/inner/first.wav")));
  recorder.Hold(false);
  EXPECT_TRUE(recorder.Await(dir.File("new/inner/first.wav")));
  ASSERT_TRUE(Write(dir.File("new/inner/second.wav")));
  EXPECT_TRUE(recorder.Await(dir.File("new/inner/second.wav")));
  // A folder moved in is watched too.
  ASSERT_EQ(0, mkdir(outside.File("moved").c_str(), 0755));
  ASSERT_EQ(0, rename(outside.File("moved").c_str(), dir.File("moved").c_str()));
  ASSERT_TRUE(recorder.Await(dir.File("moved")));
  ASSERT_TRUE(Write(dir.File("moved/inside.wav")));
  EXPECT_TRUE(recorder.Await(dir.File("moved/inside.wav")));
  watcher.Stop();
  EXPECT_FALSE(watcher.IsAlive());
}

// More events than the kernel queues while the watcher thread is held: what happened during the
// loss, a folder made and a file in it, is still reported, and the folder is watched afterwards.
TEST(DirectoryWatcherLive, LostEventsAreRecoveredByARescan) {
  long queueLimit = 0;
  std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> queueLimit;
  if (queueLimit <= 0 || queueLimit > 1000000) GTEST_SKIP() << "queue limit " << queueLimit;
  qotest::TempDir dir;
  DirectoryWatcher watcher(10, 0);
  Recorder recorder(watcher);
  watcher.StartSync(dir.Path(), true, 0);
  recorder.Hold(true);
  ASSERT_TRUE(Write(dir.File("trigger.wav")));
  ASSERT_TRUE(recorder.Await(dir.File("trigger.wav")));
  // Writes to two files in turn: the kernel merges only repeats of the same event.
  const int first = open(dir.File("one.wav").c_str(), O_WRONLY | O_CREAT, 0644);
  const int second = open(dir.File("two.wav").c_str(), O_WRONLY | O_CREAT, 0644);
  ASSERT_GE(first, 0);
  ASSERT_GE(second, 0);
  for (long i = 0; i < queueLimit / 2 + 16; ++i) {
    ASSERT_EQ(write(first, "x", 1), 1);
    ASSERT_EQ(write(second, "x", 1), 1);
  }
  close(first);
  close(second);
  ASSERT_EQ(0, mkdir(dir.File("late").c_str(), 0755));
  ASSERT_TRUE(Write(dir.File("late/lost.wav")));
  recorder.Hold(false);
  EXPECT_TRUE(recorder.Await(dir.File("late/lost.wav")));
  ASSERT_TRUE(Write(dir.File("late/after.wav")));
  EXPECT_TRUE(recorder.Await(dir.File("late/after.wav")));
}

TEST(DirectoryWatcherLive, StopIsPromptAlsoDuringACallback) {
  qotest::TempDir dir, second;
  DirectoryWatcher watcher(10000, 0);  // a pending batch does not hold Stop back
  Recorder recorder(watcher);
  watcher.StartSync(dir.Path(), true, 0);
  ASSERT_TRUE(Write(dir.File("pending.wav")));
  usleep(20000);
  auto start = Clock::now();
  watcher.Stop();
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(500));
  EXPECT_FALSE(watcher.IsAlive());
  EXPECT_TRUE(recorder.Take().empty());
  // A root that cannot be watched: StartSync returns and the watcher is not alive.
  watcher.StartSync(dir.File("missing"), true, 0);
  EXPECT_FALSE(watcher.IsAlive());

  // Started again elsewhere. Stop from another thread while a callback runs returns once the
  // callback has returned; Stop from within a callback returns at once.
  DirectoryWatcher quick(10, 0);
  Recorder held(quick);
  quick.StartSync(second.Path(), true, 0);
  held.Hold(true);
  ASSERT_TRUE(Write(second.File("a.wav")));
  ASSERT_TRUE(held.Await(second.File("a.wav")));
  std::thread releaser([&] {
    usleep(50000);
    held.Hold(false);
  });
  start = Clock::now();
  quick.Stop();
  releaser.join();
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(40));
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(1000));
  bool aliveAfterStop = true;
  quick.SetCallback([&](DirectoryWatcher::ChangeSet* changes) {
    quick.Stop();
    aliveAfterStop = quick.IsAlive();
    held.Receive(changes);
  });
  quick.StartSync(second.Path(), true, 0);
  ASSERT_TRUE(Write(second.File("b.wav")));
  ASSERT_TRUE(held.Await(second.File("b.wav")));
  EXPECT_FALSE(aliveAfterStop);
  EXPECT_FALSE(quick.IsAlive());

  // Start from a callback is refused: the one thread goes on watching its root, and the next
  // Stop ends it.
  bool aliveAfterRestart = false;
  quick.SetCallback([&](DirectoryWatcher::ChangeSet* changes) {
    quick.Start(dir.Path(), true, 0);
    quick.StartSync(dir.Path(), true, 0);
    aliveAfterRestart = quick.IsAlive();
    held.Receive(changes);
  });
  quick.StartSync(second.Path(), true, 0);
  ASSERT_TRUE(Write(second.File("c.wav")));
  ASSERT_TRUE(held.Await(second.File("c.wav")));
  EXPECT_TRUE(aliveAfterRestart);
  quick.Stop();
  EXPECT_FALSE(quick.IsAlive());
  held.Take();
  ASSERT_TRUE(Write(second.File("d.wav")));
  ASSERT_TRUE(Write(dir.File("d.wav")));
  usleep(300000);  // thirty times the latency: no thread is left to report them
  EXPECT_TRUE(held.Take().empty());
}

// An ordinary user with no thread left: StartSync returns and the watcher stays idle.
TEST(DirectoryWatcherLive, StartSyncReturnsWithoutAWatcherWhenNoThreadCanStart) {
  qotest::TempDir dir;
  const std::string root = dir.Path();
  EXPECT_EQ(0, qotest::RunAsOrdinaryUser([&root] {
              const rlimit none{0, 0};
              DirectoryWatcher watcher(10, 0);
              if (setrlimit(RLIMIT_NPROC, &none) != 0) return 10;
              watcher.StartSync(root, true, 0);
              return watcher.IsAlive() ? 11 : 0;
            }));
}

}  // namespace
