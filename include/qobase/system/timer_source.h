// Timer sources: a handler called every interval on the timer's own thread until the timer is
// cancelled. A timer carries a context pointer for its owner's use and is reference-counted:
// created with one reference, freed when cancelled and released.
#pragma once

#include <functional>

namespace zu {

struct TimerSource;
using dispatch_source_t = TimerSource*;

// Starts a timer that calls `handler` every `intervalMs` (at least 1 ms), the first call one
// interval from now. Null for an empty handler or when no thread can be started for it.
dispatch_source_t CreateTimerSource(unsigned int intervalMs, std::function<void()> handler);
// The owner's context pointer; null until set.
void SetTimerContext(dispatch_source_t timer, void* context);
void* GetTimerContext(dispatch_source_t timer);
// Stops the timer. Called from another thread it returns once no handler call is running, and
// none follows; called from the handler itself, the current call is the last.
void CancelTimerSource(dispatch_source_t timer);
// Drops the caller's reference. A timer that was not cancelled keeps running.
void ReleaseTimerSource(dispatch_source_t timer);

}  // namespace zu
