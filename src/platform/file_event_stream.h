// The file-system event stream that the directory watcher runs on its thread: events below one
// root directory, gathered for a latency and delivered as one batch of (path, flags) to a
// callback, on the thread that runs the stream. Flags are FileSystemEventFlags. One source file
// per platform implements it (src/platform/linux/ here).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zu {
namespace platform {

// Receives a batch: `eventPaths` is a char** of `eventCount` paths, in the order their first
// event arrived, each with the union of its flags.
using FileEventCallback = void (*)(const void* stream, void* info, size_t eventCount,
                                   void* eventPaths, const std::uint32_t eventFlags[],
                                   const std::uint64_t eventIds[]);

struct FileEventStream;

// A stream for `root` and everything below it; nothing is watched until it is started. Null when
// the system has no stream to give.
FileEventStream* CreateFileEventStream(const std::string& root, unsigned int latencyMs,
                                       FileEventCallback callback, void* info);
// Starts watching; false when `root` cannot be watched.
bool StartFileEventStream(FileEventStream* stream);
// One turn of the stream on its own thread: waits at most `maxWaitMs` for events, a due batch or
// an interruption, takes in what arrived and delivers the batch when its latency has passed.
void RunFileEventStreamOnce(FileEventStream* stream, unsigned int maxWaitMs);
// Makes the turn in progress, or else the next one, return at once. Any thread.
void InterruptFileEventStream(FileEventStream* stream);
// Stops and frees the stream; null is ignored.
void ReleaseFileEventStream(FileEventStream* stream);

}  // namespace platform
}  // namespace zu
