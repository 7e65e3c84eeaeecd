// DirectoryWatcher: watches a directory (and optionally everything below it) for files that are
// created, removed, renamed or modified, and hands the changed paths to a callback in batches, on
// a thread of its own. Paths the application is about to write itself can be ignored, also for a
// grace period after the write, so its own saves do not come back as outside changes.
#pragma once

#include <qobase/files/no_case_string_comp.h>
#include <qobase/files/path.h>
#include <qobase/system/critical_section.h>

#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <set>

// The flags of one file-system event as the event stream reports them.
enum FileSystemEventFlags : std::uint32_t {
  k_fsEventMustScanSubDirs = 0x1,  // events were lost; the tree must be rescanned
  k_fsEventItemCreated = 0x100,
  k_fsEventItemRemoved = 0x200,
  k_fsEventItemInodeMetaMod = 0x400,  // permissions, times or attributes changed
  k_fsEventItemRenamed = 0x800,       // moved from or to this path
  k_fsEventItemModified = 0x1000,
  k_fsEventItemIsFile = 0x10000,
  k_fsEventItemIsDir = 0x20000,
};

class DirectoryWatcher {
 public:
  // Changed paths, case variants of one path counted once.
  using ChangeSet = std::set<CStdStr, NoCaseStringComp>;
  // Called on the watcher's thread with the batch; it may read or take from the set. It must not
  // destroy the watcher.
  using Callback = std::function<void(ChangeSet*)>;

  // Events are gathered for `latencyMs` before a batch is delivered; an ignored path stays
  // ignored for `ignoreGraceMs` after ClearIgnoreFiles.
  DirectoryWatcher(unsigned int latencyMs, unsigned int ignoreGraceMs);
  // Stops the watcher.
  ~DirectoryWatcher();
  DirectoryWatcher(const DirectoryWatcher&) = delete;
  DirectoryWatcher& operator=(const DirectoryWatcher&) = delete;

  // Starts the watcher thread for `root` (stopping a running one first). `priority` is asked for
  // with real-time scheduling and dropped when the system refuses it. When no thread can be
  // started the watcher stays idle. Called from the callback it does nothing: the thread cannot
  // stop and replace itself.
  void Start(const CStdStr& root, bool recursive, int priority);
  // As Start, then waits until the thread watches `root`. Returns at once when the thread could
  // not be started, when `root` cannot be watched (IsAlive is false then), and when called from
  // the callback.
  void StartSync(const CStdStr& root, bool recursive, int priority);
  // Ends the watcher thread and waits for it; undelivered events are dropped. Called from the
  // callback it only asks the thread to end after the callback returns.
  void Stop();
  // The thread watches its root and has not been told to stop.
  bool IsAlive() const;

  // Replaces the callback; the callback and the ignore list outlive Stop.
  void SetCallback(Callback callback);
  template <typename Receiver>
  void SetCallback(Receiver* receiver, void (Receiver::*member)(ChangeSet*)) {
    SetCallback([receiver, member](ChangeSet* changes) { (receiver->*member)(changes); });
  }

  // Ignores changes of `path` (compared ignoring case) until ClearIgnoreFiles.
  void AddIgnoreFile(const CStdStr& path);
  // Ends the ignoring: paths added since the last call stay ignored for `ignoreGraceMs` from
  // now; paths whose grace period has passed are removed.
  void ClearIgnoreFiles();

  // Adds `path` to the changes of the next batch, unless it is ignored, or it exists and it (or,
  // for a file, its directory) is hidden or named ".svn" in any case.
  void AddFileToChangelist(const CStdStr& path);
  // Hands the gathered changes to the callback, if there are any, and empties them.
  void Notify();

  // The event stream's callback: `info` is the watcher, `eventPaths` a char** of `eventCount`
  // paths with their FileSystemEventFlags. Keeps creations, removals, renames and modifications
  // of files (non-recursive: only direct children of the root), then calls Notify.
  static void MacFSEventsCallback(const void* stream, void* info, size_t eventCount,
                                  void* eventPaths, const std::uint32_t eventFlags[],
                                  const std::uint64_t eventIds[]);

 private:
  void* RunWatcherThread();

  zu::Path m_root;
  bool m_recursive;
  const unsigned int m_latencyMs;
  const unsigned int m_ignoreGraceMs;
  ChangeSet m_changeList;
  std::map<CStdStr, std::uint32_t, NoCaseStringComp> m_ignoreFiles;
  // Guards the change set, the ignore list, the callback and the running stream.
  mutable zu::CriticalSection m_lock;
  Callback m_callback;
  pthread_t m_thread;
  void* m_startedEvent;
  void* m_stopEvent;
  // The running event stream, for Stop to wake.
  void* m_stream;
};
