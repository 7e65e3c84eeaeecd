// The process and thread services that differ between platforms, behind one narrow interface:
// where the running executable is, and thread creation when the system refuses the scheduling
// asked for. One source file per service implements them (src/platform/linux/ here).
#pragma once

#include <pthread.h>

#include <string>

namespace zu {
namespace platform {

// The path the system gives for the running executable, not yet resolved; false when it cannot
// be read or does not fit in `capacity` bytes with its terminating zero.
bool ExecutablePath(std::string& path, size_t capacity);

// pthread_create with `attributes`; when the system refuses their explicit scheduling, creates
// the thread again with the creator's scheduling. Returns pthread_create's result.
int CreateThreadWithFallback(pthread_t* thread, pthread_attr_t* attributes, void* (*routine)(void*),
                             void* argument);

}  // namespace platform
}  // namespace zu
