// The process and thread services that differ between platforms, behind one narrow interface:
// where the running executable is, thread creation when the system refuses the scheduling asked
// for, and the waits for a thread or a child that end at a deadline. One source file per service
// implements them (src/platform/linux/ here).
#pragma once

#include <pthread.h>
#include <sys/types.h>
#include <time.h>

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

// Joins `thread` if it ends before `deadline` (real-time clock). False when the deadline passed
// first: the thread was not joined and can still be.
bool JoinThreadUntil(pthread_t thread, const timespec& deadline);

// Waits until `deadline` (real-time clock) for the child `pid` to end or stop. Its pid with
// `status` filled, 0 when the deadline passed first (the child not reaped), -1 when there is no
// such child.
pid_t WaitForChildUntil(pid_t pid, const timespec& deadline, int& status);

}  // namespace platform
}  // namespace zu
