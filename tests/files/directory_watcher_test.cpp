// DirectoryWatcher: the filtering rules, fed batches through the stream callback directly, and
// the live watcher on a temporary tree (creation, modification, removal, renames, new
// sub-directories, non-recursive mode, stopping). Every wait is bounded.
#include <qobase/files/directory_watcher.h>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
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
using Events = std::vector<std::pair<std::string, std::uint32_t>>;

const std::uint32_t k_fileCreated = k_fsEventItemCreated | k_fsEventItemIsFile;
const std::uint32_t k_fileModified = k_fsEventItemModified | k_fsEventItemIsFile;

// Collects the batches a watcher delivers, from whichever thread delivers them.
class Recorder {
 public:
  explicit Recorder(DirectoryWatcher& watcher) { watcher.SetCallback(this, &Recorder::Receive); }

  // Records the batch; while held, keeps the watcher thread here (at most 5 s).
  void Receive(DirectoryWatcher::ChangeSet* changes) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_batches.emplace_back(changes->begin(), changes->end());
    m_changed.notify_all();
    m_changed.wait_for(lock, std::chrono::seconds(5), [this] { return !m_hold; });
  }

  void Hold(bool hold) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_hold = hold;
    m_changed.notify_all();
  }

  // Waits (bounded) for a batch holding `path`; that batch, or empty after the time.
  Batch AwaitBatchWith(const std::string& path, int timeoutMs = 5000) {
    std::unique_lock<std::mutex> lock(m_mutex);
    Batch found;
    m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
      for (const Batch& batch : m_batches) {
        for (const std::string& entry : batch) {
          if (entry == path) found = batch;
        }
      }
      return !found.empty();
    });
    return found;
  }

  std::vector<Batch> Take() {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<Batch> taken;
    taken.swap(m_batches);
    return taken;
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::vector<Batch> m_batches;
  bool m_hold = false;
};

// One batch through the stream callback, as the event stream would deliver it.
void Deliver(DirectoryWatcher& watcher, const Events& events) {
  std::vector<std::string> texts;
  std::vector<char*> paths;
  std::vector<std::uint32_t> flags;
  std::vector<std::uint64_t> ids;
  for (const auto& event : events) texts.push_back(event.first);
  for (size_t i = 0; i < events.size(); ++i) {
    paths.push_back(&texts[i][0]);
    flags.push_back(events[i].second);
    ids.push_back(i + 1);
  }
  DirectoryWatcher::MacFSEventsCallback(nullptr, &watcher, events.size(), paths.data(),
                                        flags.data(), ids.data());
}

bool Write(const std::string& path, const std::string& text = "x") {
  return qotest::WriteFileBytes(path, text);
}

TEST(DirectoryWatcherRules, KindsOfChangeAndDuplicatesPerBatch) {
  qotest::TempDir dir;
  ASSERT_TRUE(Write(dir.File("a.wav")) && Write(dir.File("b.wav")));
  ASSERT_EQ(0, mkdir(dir.File("sub").c_str(), 0755));
  DirectoryWatcher watcher(1000, 0);
  Recorder recorder(watcher);
  watcher.StartSync(dir.Path(), true, 0);
  ASSERT_TRUE(watcher.IsAlive());

  const struct {
    std::uint32_t flags;
    bool kept;
  } kinds[] = {
      {k_fileModified, true},
      {k_fsEventItemModified | k_fsEventItemIsDir, false},
      {k_fsEventItemCreated | k_fsEventItemIsDir, true},
      {k_fsEventItemRemoved | k_fsEventItemIsDir, true},
      {k_fsEventItemRenamed | k_fsEventItemIsFile, true},
      {k_fsEventItemInodeMetaMod | k_fsEventItemIsFile, false},
      {k_fsEventMustScanSubDirs, false},
      {0, false},
  };
  for (const auto& kind : kinds) {
    Deliver(watcher, {{dir.File("sub"), kind.flags}});
    const std::vector<Batch> batches = recorder.Take();
    EXPECT_EQ(kind.kept ? 1u : 0u, batches.size()) << std::hex << kind.flags;
  }

  // One batch, one entry per path: repeats and case variants count once.
  Deliver(watcher, {{dir.File("a.wav"), k_fileCreated},
                    {dir.File("a.wav"), k_fileModified},
                    {dir.File("A.WAV"), k_fileModified},
                    {dir.File("b.wav"), k_fileModified}});
  std::vector<Batch> batches = recorder.Take();
  ASSERT_EQ(1u, batches.size());
  EXPECT_EQ((Batch{dir.File("a.wav"), dir.File("b.wav")}), batches[0]);

  // An empty batch only notifies; changes added by others go out with it.
  Deliver(watcher, {});
  EXPECT_TRUE(recorder.Take().empty());
  watcher.AddFileToChangelist(dir.File("b.wav"));
  Deliver(watcher, {});
  batches = recorder.Take();
  ASSERT_EQ(1u, batches.size());
  EXPECT_EQ(Batch{dir.File("b.wav")}, batches[0]);

  // Without a callback the changes are dropped, not kept for later.
  watcher.SetCallback(DirectoryWatcher::Callback());
  watcher.AddFileToChangelist(dir.File("a.wav"));
  watcher.Notify();
  watcher.SetCallback(&recorder, &Recorder::Receive);
  watcher.Notify();
  EXPECT_TRUE(recorder.Take().empty());
}

TEST(DirectoryWatcherRules, HiddenItemsAndSubversionFolders) {
  qotest::TempDir dir;
  for (const char* folder : {"plain", ".svn", "deep", "deep/.svn", "deep/.svn/x", "secret"}) {
    ASSERT_EQ(0, mkdir(dir.File(folder).c_str(), 0755)) << folder;
  }
  for (const char* file : {"a.wav", ".SVN", ".svn/entries", "plain/b.wav", "deep/.svn/x/c.wav",
                           "hidden.wav", "secret/d.wav", ".dotted"}) {
    ASSERT_TRUE(Write(dir.File(file))) << file;
  }
  ASSERT_TRUE(zu::Path(dir.File("hidden.wav")).SetHiddenStatus(true));
  ASSERT_TRUE(zu::Path(dir.File("secret")).SetHiddenStatus(true));
  DirectoryWatcher watcher(1000, 0);
  Recorder recorder(watcher);
  watcher.StartSync(dir.Path(), true, 0);

  const struct {
    const char* path;
    bool reported;
  } cases[] = {
      {"a.wav", true},
      {".SVN", false},          // named .svn in any case
      {".svn", false},          // the folder itself
      {".svn/entries", false},  // a file in it
      {"plain/b.wav", true},
      // Only the item and its own directory are examined.
      {"deep/.svn/x/c.wav", true},
      {"hidden.wav", false},
      {"secret", false},
      {"secret/d.wav", false},
      {".dotted", true},        // a leading dot is no hidden flag
      {".svn/gone.wav", true},  // removed: it can no longer be examined
  };
  for (const auto& c : cases) {
    Deliver(watcher, {{dir.File(c.path), k_fileModified | k_fsEventItemCreated}});
    EXPECT_EQ(c.reported ? 1u : 0u, recorder.Take().size()) << c.path;
  }
}

TEST(DirectoryWatcherRules, IgnoreListWithGracePeriod) {
  qotest::TempDir dir;
  const std::string own = dir.File("own.wav"), later = dir.File("later.wav");
  ASSERT_TRUE(Write(own) && Write(later));
  DirectoryWatcher watcher(1000, 150);
  Recorder recorder(watcher);
  watcher.StartSync(dir.Path(), true, 0);
  const auto reported = [&](const std::string& path) {
    Deliver(watcher, {{path, k_fileModified}});
    return !recorder.Take().empty();
  };

  watcher.AddIgnoreFile(own);
  EXPECT_FALSE(reported(own));
  EXPECT_FALSE(reported(dir.File("OWN.WAV")));  // compared ignoring case
  EXPECT_TRUE(reported(later));
  // After the save is declared finished the entry holds for the grace period only.
  watcher.ClearIgnoreFiles();
  watcher.AddIgnoreFile(later);
  EXPECT_FALSE(reported(own));
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_TRUE(reported(own));
  // An entry added after the last clear still holds until the next one.
  EXPECT_FALSE(reported(later));
  watcher.ClearIgnoreFiles();
  EXPECT_FALSE(reported(later));
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  watcher.ClearIgnoreFiles();
  EXPECT_TRUE(reported(later));
  EXPECT_TRUE(reported(own));
}

TEST(DirectoryWatcherRules, NonRecursiveKeepsDirectChildrenOnly) {
  qotest::TempDir dir;
  ASSERT_EQ(0, mkdir(dir.File("sub").c_str(), 0755));
  ASSERT_TRUE(Write(dir.File("top.wav")) && Write(dir.File("sub/deep.wav")));
  DirectoryWatcher watcher(1000, 0);
  Recorder recorder(watcher);
  // The root may be given with a trailing separator.
  watcher.StartSync(dir.Path() + "/", false, 0);
  Deliver(watcher, {{dir.File("sub/deep.wav"), k_fileModified},
                    {dir.File("top.wav"), k_fileModified},
                    {dir.File("sub"), k_fsEventItemCreated | k_fsEventItemIsDir},
                    {dir.File("gone.wav"), k_fsEventItemRemoved | k_fsEventItemIsFile}});
  const std::vector<Batch> batches = recorder.Take();
  ASSERT_EQ(1u, batches.size());
  EXPECT_EQ((Batch{dir.File("gone.wav"), dir.File("sub"), dir.File("top.wav")}), batches[0]);
}

TEST(DirectoryWatcherLive, CreateModifyRenameRemoveAndNewFolders) {
  qotest::TempDir dir;
  DirectoryWatcher watcher(30, 0);
  Recorder recorder(watcher);
  EXPECT_FALSE(watcher.IsAlive());
  watcher.StartSync(dir.Path(), true, 10);
  ASSERT_TRUE(watcher.IsAlive());

  const std::string a = dir.File("a.wav"), b = dir.File("b.wav");
  ASSERT_TRUE(Write(a));
  EXPECT_FALSE(recorder.AwaitBatchWith(a).empty()) << "creation";
  recorder.Take();
  ASSERT_TRUE(Write(a, "longer"));
  EXPECT_FALSE(recorder.AwaitBatchWith(a).empty()) << "modification";
  recorder.Take();
  ASSERT_EQ(0, rename(a.c_str(), b.c_str()));
  const Batch renamed = recorder.AwaitBatchWith(b);
  recorder.Take();
  EXPECT_FALSE(renamed.empty()) << "rename";
  EXPECT_NE(renamed.end(), std::find(renamed.begin(), renamed.end(), a)) << "old name";
  ASSERT_EQ(0, unlink(b.c_str()));
  EXPECT_FALSE(recorder.AwaitBatchWith(b).empty()) << "removal";
  recorder.Take();

  // Files made in a new folder before its watch can exist (the watcher thread is held in the
  // callback meanwhile), and changes deeper down after it.
  recorder.Hold(true);
  ASSERT_TRUE(Write(dir.File("trigger.wav")));
  ASSERT_FALSE(recorder.AwaitBatchWith(dir.File("trigger.wav")).empty());
  ASSERT_EQ(0, mkdir(dir.File("new").c_str(), 0755));
  ASSERT_EQ(0, mkdir(dir.File("new/inner").c_str(), 0755));
  ASSERT_TRUE(Write(dir.File("new/inner/first.wav")));
  recorder.Hold(false);
  EXPECT_FALSE(recorder.AwaitBatchWith(dir.File("new/inner/first.wav")).empty());
  ASSERT_TRUE(Write(dir.File("new/inner/second.wav")));
  EXPECT_FALSE(recorder.AwaitBatchWith(dir.File("new/inner/second.wav")).empty());
  // A folder moved in is watched too.
  qotest::TempDir outside;
  ASSERT_EQ(0, mkdir(outside.File("moved").c_str(), 0755));
  ASSERT_EQ(0, rename(outside.File("moved").c_str(), dir.File("moved").c_str()));
  EXPECT_FALSE(recorder.AwaitBatchWith(dir.File("moved")).empty());
  ASSERT_TRUE(Write(dir.File("moved/inside.wav")));
  EXPECT_FALSE(recorder.AwaitBatchWith(dir.File("moved/inside.wav")).empty());

  // The application's own save is not reported; another file written after it is (in the same
  // batch or a later one, so every batch up to that one is checked).
  recorder.Take();
  watcher.AddIgnoreFile(dir.File("own.wav"));
  ASSERT_TRUE(Write(dir.File("own.wav")) && Write(dir.File("other.wav")));
  EXPECT_FALSE(recorder.AwaitBatchWith(dir.File("other.wav")).empty());
  for (const Batch& batch : recorder.Take()) {
    EXPECT_EQ(batch.end(), std::find(batch.begin(), batch.end(), dir.File("own.wav")));
  }

  watcher.Stop();
  EXPECT_FALSE(watcher.IsAlive());
}

TEST(DirectoryWatcherLive, NonRecursiveIgnoresSubFolders) {
  qotest::TempDir dir;
  ASSERT_EQ(0, mkdir(dir.File("sub").c_str(), 0755));
  DirectoryWatcher watcher(30, 0);
  Recorder recorder(watcher);
  watcher.StartSync(dir.Path(), false, 0);
  ASSERT_TRUE(Write(dir.File("sub/deep.wav")));
  ASSERT_TRUE(Write(dir.File("top.wav")));
  EXPECT_FALSE(recorder.AwaitBatchWith(dir.File("top.wav")).empty());
  ASSERT_TRUE(Write(dir.File("sub/deeper.wav")));
  ASSERT_TRUE(Write(dir.File("last.wav")));
  EXPECT_FALSE(recorder.AwaitBatchWith(dir.File("last.wav")).empty());
  for (const Batch& batch : recorder.Take()) {
    for (const std::string& path : batch) EXPECT_EQ(std::string::npos, path.find("/sub/")) << path;
  }
}

TEST(DirectoryWatcherLive, StopIsPromptAndRestartable) {
  qotest::TempDir dir, second;
  // A pending batch with a long latency does not hold Stop back.
  DirectoryWatcher watcher(10000, 0);
  Recorder recorder(watcher);
  watcher.StartSync(dir.Path(), true, 0);
  ASSERT_TRUE(Write(dir.File("pending.wav")));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  auto start = Clock::now();
  watcher.Stop();
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(500));
  EXPECT_FALSE(watcher.IsAlive());
  EXPECT_TRUE(recorder.Take().empty());
  watcher.Stop();  // a second Stop is harmless

  // A root that cannot be watched: StartSync returns and the watcher is not alive.
  start = Clock::now();
  watcher.StartSync(dir.File("missing"), true, 0);
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(2));
  EXPECT_FALSE(watcher.IsAlive());

  // Started again on another root, the callback kept.
  watcher.StartSync(second.Path(), true, 0);
  EXPECT_TRUE(watcher.IsAlive());
  watcher.Stop();
}

TEST(DirectoryWatcherLive, StopDuringACallback) {
  qotest::TempDir dir;
  DirectoryWatcher watcher(20, 0);
  // Stop from another thread while a callback runs: returns once the callback has returned.
  std::mutex mutex;
  std::condition_variable changed;
  bool inCallback = false, release = false;
  watcher.SetCallback([&](DirectoryWatcher::ChangeSet*) {
    std::unique_lock<std::mutex> lock(mutex);
    inCallback = true;
    changed.notify_all();
    changed.wait_for(lock, std::chrono::seconds(5), [&] { return release; });
  });
  watcher.StartSync(dir.Path(), true, 0);
  ASSERT_TRUE(Write(dir.File("a.wav")));
  {
    std::unique_lock<std::mutex> lock(mutex);
    ASSERT_TRUE(changed.wait_for(lock, std::chrono::seconds(5), [&] { return inCallback; }));
  }
  std::thread releaser([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    std::lock_guard<std::mutex> lock(mutex);
    release = true;
    changed.notify_all();
  });
  const auto start = Clock::now();
  watcher.Stop();
  const auto stopTook = Clock::now() - start;
  releaser.join();
  EXPECT_GE(stopTook, std::chrono::milliseconds(40));
  EXPECT_LT(stopTook, std::chrono::milliseconds(1000));

  // Stop from within the callback returns at once; the thread ends after it.
  bool stopReturned = false;
  watcher.SetCallback([&](DirectoryWatcher::ChangeSet*) {
    watcher.Stop();
    std::lock_guard<std::mutex> lock(mutex);
    stopReturned = !watcher.IsAlive();
    changed.notify_all();
  });
  watcher.StartSync(dir.Path(), true, 0);
  ASSERT_TRUE(Write(dir.File("b.wav")));
  {
    std::unique_lock<std::mutex> lock(mutex);
    EXPECT_TRUE(changed.wait_for(lock, std::chrono::seconds(5), [&] { return stopReturned; }));
  }
  EXPECT_FALSE(watcher.IsAlive());
}

// An ordinary user with no thread left: StartSync returns and the watcher stays idle.
TEST(DirectoryWatcherLive, NoThreadLeft) {
  qotest::TempDir dir;
  const std::string root = dir.Path();
  EXPECT_EQ(0, qotest::RunAsOrdinaryUser([&root] {
              const rlimit none{0, 0};
              if (setrlimit(RLIMIT_NPROC, &none) != 0) return 10;
              DirectoryWatcher watcher(10, 0);
              watcher.StartSync(root, true, 0);
              return watcher.IsAlive() ? 11 : 0;
            }));
}

}  // namespace
