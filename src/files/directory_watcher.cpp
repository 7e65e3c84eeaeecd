// DirectoryWatcher: the watcher thread runs the file-system event stream and turns its batches
// into change sets, after the filtering rules (kinds of change, direct children, hidden items,
// ".svn", the ignore list).
#include <qobase/files/directory_watcher.h>
#include <qobase/system/clock.h>
#include <qobase/system/events.h>
#include <qobase/system/thread.h>

#include <sched.h>

#include <vector>

#include "platform/file_event_stream.h"

namespace {

const std::uint32_t k_ignoreUntilCleared = 0xFFFFFFFFu;
const std::uint32_t k_watcherStackSize = 65536;
// How long one turn of the stream may wait; Stop wakes it sooner.
const unsigned int k_streamTurnMs = 100;

// The watcher whose thread is the calling one, so Stop can tell it is called from the callback.
thread_local const DirectoryWatcher* t_runningWatcher = nullptr;

zu::platform::FileEventStream* ToStream(void* stream) {
  return static_cast<zu::platform::FileEventStream*>(stream);
}

bool IsSubversionFolderName(const CStdStr& name) { return name.CompareNoCase(".svn") == 0; }

}  // namespace

DirectoryWatcher::DirectoryWatcher(unsigned int latencyMs, unsigned int ignoreGraceMs)
    : m_recursive(false),
      m_latencyMs(latencyMs),
      m_ignoreGraceMs(ignoreGraceMs),
      m_thread(0),
      m_startedEvent(nullptr),
      m_stopEvent(nullptr),
      m_stream(nullptr) {
  zu::CreateEventEx(m_startedEvent, true);
  zu::CreateEventEx(m_stopEvent, true);
}

DirectoryWatcher::~DirectoryWatcher() {
  Stop();
  zu::DestroyEventEx(m_startedEvent);
  zu::DestroyEventEx(m_stopEvent);
}

void DirectoryWatcher::Start(const CStdStr& root, bool recursive, int priority) {
  // From the callback, stopping would only be asked for, and a second thread would run beside
  // the first, which no one could join any more.
  if (t_runningWatcher == this) return;
  Stop();
  m_root = zu::Path(root);
  m_recursive = recursive;
  zu::ResetEventEx(m_startedEvent);
  zu::ResetEventEx(m_stopEvent);
  const QoThreadProperties properties{priority, k_watcherStackSize, SCHED_FIFO};
  QOPLATFORM::QoCreateThread(&zu::ThreadRoutineWrapper<&DirectoryWatcher::RunWatcherThread>, this,
                             properties, &m_thread, "DirectoryWatcher");
}

void DirectoryWatcher::StartSync(const CStdStr& root, bool recursive, int priority) {
  if (t_runningWatcher == this) return;
  Start(root, recursive, priority);
  if (m_thread == 0) return;
  // A thread that cannot watch its root signals the stop event instead of the started one.
  const std::vector<void*> outcomes{m_startedEvent, m_stopEvent};
  int index = -1;
  zu::WaitForMultipleEventsEx(outcomes, index);
}

void DirectoryWatcher::Stop() {
  if (t_runningWatcher == this) {
    // From the callback: the thread cannot wait for itself. It ends after the callback returns
    // and is joined by the next Stop, Start or the destructor.
    zu::SignalEventEx(m_stopEvent);
    return;
  }
  if (m_thread == 0) return;
  zu::SignalEventEx(m_stopEvent);
  {
    zu::CriticalSectionLock hold(m_lock);
    if (m_stream) zu::platform::InterruptFileEventStream(ToStream(m_stream));
  }
  pthread_join(m_thread, nullptr);
  m_thread = 0;
}

bool DirectoryWatcher::IsAlive() const {
  if (zu::WaitForEventEx(m_startedEvent, 0) != 0) return false;
  return zu::WaitForEventEx(m_stopEvent, 0) == zu::k_waitTimedOut;
}

void* DirectoryWatcher::RunWatcherThread() {
  t_runningWatcher = this;
  zu::platform::FileEventStream* stream = zu::platform::CreateFileEventStream(
      m_root.GetText(), m_latencyMs, &MacFSEventsCallback, this);
  if (!stream || !zu::platform::StartFileEventStream(stream)) {
    zu::platform::ReleaseFileEventStream(stream);
    zu::SignalEventEx(m_stopEvent);
    t_runningWatcher = nullptr;
    return nullptr;
  }
  {
    zu::CriticalSectionLock hold(m_lock);
    m_stream = stream;
  }
  zu::SignalEventEx(m_startedEvent);
  // A busy stop event reads as "not signalled": the next turn tests it again.
  while (zu::WaitForEventEx(m_stopEvent, 0) != 0) {
    zu::platform::RunFileEventStreamOnce(stream, k_streamTurnMs);
  }
  {
    zu::CriticalSectionLock hold(m_lock);
    m_stream = nullptr;
  }
  zu::platform::ReleaseFileEventStream(stream);
  t_runningWatcher = nullptr;
  return nullptr;
}

void DirectoryWatcher::SetCallback(Callback callback) {
  zu::CriticalSectionLock hold(m_lock);
  m_callback = std::move(callback);
}

void DirectoryWatcher::AddIgnoreFile(const CStdStr& path) {
  zu::CriticalSectionLock hold(m_lock);
  m_ignoreFiles[path] = k_ignoreUntilCleared;
}

void DirectoryWatcher::ClearIgnoreFiles() {
  zu::CriticalSectionLock hold(m_lock);
  const std::uint32_t now = zu::GetTickCount();
  for (auto entry = m_ignoreFiles.begin(); entry != m_ignoreFiles.end();) {
    if (entry->second == k_ignoreUntilCleared) {
      entry->second = now + m_ignoreGraceMs;
      ++entry;
    } else if (entry->second < now) {
      entry = m_ignoreFiles.erase(entry);
    } else {
      ++entry;
    }
  }
}

void DirectoryWatcher::AddFileToChangelist(const CStdStr& path) {
  // A removed path cannot be examined and is always reported.
  if (zu::Path(path).Exists()) {
    // The item itself, then for a file its directory: GetFileDirectory of a directory is the
    // directory itself, which ends the walk.
    const size_t rootLength = m_root.GetText().size();
    CStdStr examined = path;
    while (examined.size() > rootLength) {
      const zu::Path item(examined);
      if (item.IsHidden() || IsSubversionFolderName(item.GetFileName())) return;
      CStdStr next = item.GetFileDirectory(false);
      if (next.size() >= examined.size()) break;
      examined = std::move(next);
    }
  }
  zu::CriticalSectionLock hold(m_lock);
  const auto ignored = m_ignoreFiles.find(path);
  if (ignored != m_ignoreFiles.end() && zu::GetTickCount() < ignored->second) return;
  m_changeList.insert(path);
}

void DirectoryWatcher::Notify() {
  // The batch is taken out under the lock and handed over without it, so application threads
  // adding ignore entries never wait for the callback.
  ChangeSet batch;
  Callback callback;
  {
    zu::CriticalSectionLock hold(m_lock);
    if (m_changeList.empty()) return;
    batch.swap(m_changeList);
    callback = m_callback;
  }
  if (callback) callback(&batch);
}

void DirectoryWatcher::MacFSEventsCallback(const void*, void* info, size_t eventCount,
                                           void* eventPaths, const std::uint32_t eventFlags[],
                                           const std::uint64_t[]) {
  DirectoryWatcher* watcher = static_cast<DirectoryWatcher*>(info);
  if (!watcher) return;
  char** paths = static_cast<char**>(eventPaths);
  for (size_t i = 0; i < eventCount && paths && eventFlags; ++i) {
    if (!paths[i]) continue;
    const std::uint32_t flags = eventFlags[i];
    const bool fileModified =
        (flags & k_fsEventItemModified) != 0 && (flags & k_fsEventItemIsDir) == 0;
    const bool itemChanged =
        (flags & (k_fsEventItemCreated | k_fsEventItemRemoved | k_fsEventItemRenamed)) != 0;
    if (!fileModified && !itemChanged) continue;
    const CStdStr path(paths[i]);
    if (!watcher->m_recursive &&
        !zu::Path(zu::Path(path).GetParent()).IsEquivalent(watcher->m_root)) {
      continue;
    }
    watcher->AddFileToChangelist(path);
  }
  watcher->Notify();
}
