// The timed sleep of a group wait, replaceable so tests can play out exactly the races that
// happen at a deadline (a signal handed over while the wait is timing out), which real timing
// only hits by chance.
#pragma once

#include <pthread.h>
#include <time.h>

namespace zu {
namespace internal {

// Sleeps on `cond` until signalled or `deadline`, as pthread_cond_timedwait does.
using GroupWaitSleep = int (*)(pthread_cond_t* cond, pthread_mutex_t* mutex,
                               const timespec* deadline);

// Replaces the sleep of finite group waits; null restores pthread_cond_timedwait. Set it while no
// group wait is running.
void SetGroupWaitSleep(GroupWaitSleep sleep);

}  // namespace internal
}  // namespace zu
