// The file-system event stream on inotify. inotify watches single directories, so the stream
// keeps one watch per directory of the tree: every directory at the start, and each directory
// created or moved in later. A directory created later is scanned as soon as its watch is in
// place, and what the scan finds is reported as created: files made in it before the watch
// existed are not missed (one made in between is reported twice, and merged within a batch).
// Events of one path within a batch are merged into one entry with the union of their flags.
// When the kernel's queue overflows, events were lost, among them perhaps the creation of
// directories that are then not watched: the whole tree is scanned again, every directory
// watched and every item reported as possibly modified, so the watcher's user can look again.
#include <qobase/files/directory_watcher.h>

#include <dirent.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "platform/file_event_stream.h"

namespace zu {
namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

const std::uint32_t k_watchMask = IN_CREATE | IN_DELETE | IN_MODIFY | IN_ATTRIB | IN_MOVED_FROM |
                                  IN_MOVED_TO | IN_ONLYDIR | IN_EXCL_UNLINK;
// Large enough for many events per read; events are at most sizeof(inotify_event) + NAME_MAX + 1.
const size_t k_readBufferSize = 64 * 1024;

struct PendingEvent {
  std::string path;
  std::uint32_t flags;
  std::uint64_t id;
};

std::string JoinPath(const std::string& directory, const char* name) {
  if (directory == "/") return directory + name;
  return directory + "/" + name;
}

bool IsUnder(const std::string& path, const std::string& directory) {
  return path.size() > directory.size() && path.compare(0, directory.size(), directory) == 0 &&
         path[directory.size()] == '/';
}

}  // namespace

struct FileEventStream {
  std::string root;
  unsigned int latencyMs = 0;
  FileEventCallback callback = nullptr;
  void* info = nullptr;
  int inotifyDescriptor = -1;
  int wakeDescriptor = -1;
  // Watched directories by watch descriptor.
  std::unordered_map<int, std::string> directories;
  // The batch being gathered, its entries by path, and when it is due.
  std::vector<PendingEvent> pending;
  std::unordered_map<std::string, size_t> pendingByPath;
  Clock::time_point batchDue;
  std::uint64_t nextEventId = 1;
  std::vector<char> readBuffer;
};

namespace {

void AddPending(FileEventStream& stream, const std::string& path, std::uint32_t flags) {
  if (stream.pending.empty()) {
    stream.batchDue = Clock::now() + std::chrono::milliseconds(stream.latencyMs);
  }
  const auto found = stream.pendingByPath.find(path);
  if (found != stream.pendingByPath.end()) {
    stream.pending[found->second].flags |= flags;
    return;
  }
  stream.pendingByPath.emplace(path, stream.pending.size());
  stream.pending.push_back(PendingEvent{path, flags, stream.nextEventId++});
}

bool IsDirectoryEntry(const std::string& path, const dirent* entry) {
  if (entry->d_type == DT_DIR) return true;
  if (entry->d_type != DT_UNKNOWN) return false;
  struct stat status;
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Watches `top` and every directory below it (symbolic links are not followed). Unless
// `reportFlags` is 0, everything found is reported with those flags (and whether it is a file or
// a directory). Iterative: the stream runs on a small stack and a tree can be deep.
void WatchTree(FileEventStream& stream, const std::string& top, std::uint32_t reportFlags) {
  std::vector<std::string> toWatch{top};
  while (!toWatch.empty()) {
    const std::string directory = std::move(toWatch.back());
    toWatch.pop_back();
    // The root may be a link to the directory to watch; nothing below it is followed.
    const std::uint32_t follow = directory == stream.root ? 0 : IN_DONT_FOLLOW;
    const int watch =
        inotify_add_watch(stream.inotifyDescriptor, directory.c_str(), k_watchMask | follow);
    if (watch < 0) continue;
    // The same directory under another path (a bind mount) is watched once; scanning it again
    // could go round a cycle for ever.
    const auto known = stream.directories.find(watch);
    if (known != stream.directories.end() && known->second != directory) continue;
    stream.directories[watch] = directory;
    DIR* listing = opendir(directory.c_str());
    if (!listing) continue;
    while (const dirent* entry = readdir(listing)) {
      if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
      const std::string child = JoinPath(directory, entry->d_name);
      const bool isDirectory = IsDirectoryEntry(child, entry);
      if (reportFlags != 0) {
        AddPending(stream, child,
                   reportFlags | (isDirectory ? k_fsEventItemIsDir : k_fsEventItemIsFile));
      }
      if (isDirectory) toWatch.push_back(child);
    }
    closedir(listing);
  }
}

// Stops watching `top` and everything below it (moved away: its paths are no longer valid).
void UnwatchTree(FileEventStream& stream, const std::string& top) {
  for (auto it = stream.directories.begin(); it != stream.directories.end();) {
    if (it->second == top || IsUnder(it->second, top)) {
      inotify_rm_watch(stream.inotifyDescriptor, it->first);
      it = stream.directories.erase(it);
    } else {
      ++it;
    }
  }
}

void TakeEvent(FileEventStream& stream, const inotify_event& event, const char* name) {
  if (event.mask & IN_Q_OVERFLOW) {
    WatchTree(stream, stream.root, k_fsEventMustScanSubDirs | k_fsEventItemModified);
    return;
  }
  if (event.mask & IN_IGNORED) {
    stream.directories.erase(event.wd);
    return;
  }
  const auto directory = stream.directories.find(event.wd);
  // Events about a watched directory itself carry no name; its parent reports them.
  if (directory == stream.directories.end() || event.len == 0 || name[0] == '\0') return;
  const std::string path = JoinPath(directory->second, name);
  const bool isDirectory = (event.mask & IN_ISDIR) != 0;
  std::uint32_t flags = isDirectory ? k_fsEventItemIsDir : k_fsEventItemIsFile;
  if (event.mask & IN_CREATE) flags |= k_fsEventItemCreated;
  if (event.mask & IN_DELETE) flags |= k_fsEventItemRemoved;
  if (event.mask & (IN_MOVED_FROM | IN_MOVED_TO)) flags |= k_fsEventItemRenamed;
  if (event.mask & IN_MODIFY) flags |= k_fsEventItemModified;
  if (event.mask & IN_ATTRIB) flags |= k_fsEventItemInodeMetaMod;
  AddPending(stream, path, flags);
  if (!isDirectory) return;
  if (event.mask & IN_CREATE) WatchTree(stream, path, k_fsEventItemCreated);
  if (event.mask & IN_MOVED_FROM) UnwatchTree(stream, path);
  if (event.mask & IN_MOVED_TO) WatchTree(stream, path, 0);
}

void ReadEvents(FileEventStream& stream) {
  char* buffer = stream.readBuffer.data();
  for (;;) {
    const ssize_t length = read(stream.inotifyDescriptor, buffer, stream.readBuffer.size());
    if (length <= 0) return;
    size_t offset = 0;
    while (offset + sizeof(inotify_event) <= static_cast<size_t>(length)) {
      inotify_event event;
      std::memcpy(&event, buffer + offset, sizeof(event));
      const size_t size = sizeof(inotify_event) + event.len;
      if (offset + size > static_cast<size_t>(length)) return;
      // The name is zero-padded to its field's length.
      TakeEvent(stream, event, buffer + offset + sizeof(inotify_event));
      offset += size;
    }
  }
}

void DeliverBatch(FileEventStream& stream) {
  std::vector<PendingEvent> batch;
  batch.swap(stream.pending);
  stream.pendingByPath.clear();
  std::vector<char*> paths;
  std::vector<std::uint32_t> flags;
  std::vector<std::uint64_t> ids;
  paths.reserve(batch.size());
  flags.reserve(batch.size());
  ids.reserve(batch.size());
  for (PendingEvent& event : batch) {
    paths.push_back(&event.path[0]);
    flags.push_back(event.flags);
    ids.push_back(event.id);
  }
  stream.callback(&stream, stream.info, batch.size(), paths.data(), flags.data(), ids.data());
}

// Milliseconds until the batch is due, rounded up so the wait does not end just short of it.
int MillisecondsUntilDue(const FileEventStream& stream) {
  const auto remaining = stream.batchDue - Clock::now();
  if (remaining <= Clock::duration::zero()) return 0;
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(remaining);
  return static_cast<int>((microseconds.count() + 999) / 1000);
}

}  // namespace

FileEventStream* CreateFileEventStream(const std::string& root, unsigned int latencyMs,
                                       FileEventCallback callback, void* info) {
  if (root.empty() || !callback) return nullptr;
  FileEventStream* stream = new FileEventStream;
  stream->root = root;
  while (stream->root.size() > 1 && stream->root.back() == '/') stream->root.pop_back();
  stream->latencyMs = latencyMs;
  stream->callback = callback;
  stream->info = info;
  stream->inotifyDescriptor = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  stream->wakeDescriptor = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (stream->inotifyDescriptor < 0 || stream->wakeDescriptor < 0) {
    ReleaseFileEventStream(stream);
    return nullptr;
  }
  stream->readBuffer.resize(k_readBufferSize);
  return stream;
}

bool StartFileEventStream(FileEventStream* stream) {
  if (!stream) return false;
  // The root may be a link to the directory to watch; nothing below it is followed.
  const int rootWatch =
      inotify_add_watch(stream->inotifyDescriptor, stream->root.c_str(), k_watchMask);
  if (rootWatch < 0) return false;
  stream->directories[rootWatch] = stream->root;
  DIR* listing = opendir(stream->root.c_str());
  if (listing) {
    std::vector<std::string> below;
    while (const dirent* entry = readdir(listing)) {
      if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
      const std::string child = JoinPath(stream->root, entry->d_name);
      if (IsDirectoryEntry(child, entry)) below.push_back(child);
    }
    closedir(listing);
    for (const std::string& directory : below) WatchTree(*stream, directory, 0);
  }
  return true;
}

void RunFileEventStreamOnce(FileEventStream* stream, unsigned int maxWaitMs) {
  if (!stream) return;
  int timeout = static_cast<int>(std::min(maxWaitMs, 60u * 60u * 1000u));
  if (!stream->pending.empty()) timeout = std::min(timeout, MillisecondsUntilDue(*stream));
  pollfd sources[2] = {{stream->inotifyDescriptor, POLLIN, 0}, {stream->wakeDescriptor, POLLIN, 0}};
  if (poll(sources, 2, timeout) > 0) {
    if (sources[1].revents & POLLIN) {
      eventfd_t count;
      eventfd_read(stream->wakeDescriptor, &count);
    }
    if (sources[0].revents & POLLIN) ReadEvents(*stream);
  }
  if (!stream->pending.empty() && Clock::now() >= stream->batchDue) DeliverBatch(*stream);
}

void InterruptFileEventStream(FileEventStream* stream) {
  if (stream) eventfd_write(stream->wakeDescriptor, 1);
}

void ReleaseFileEventStream(FileEventStream* stream) {
  if (!stream) return;
  if (stream->inotifyDescriptor >= 0) close(stream->inotifyDescriptor);
  if (stream->wakeDescriptor >= 0) close(stream->wakeDescriptor);
  delete stream;
}

}  // namespace platform
}  // namespace zu
