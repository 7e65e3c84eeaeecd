// Disposal of timers made with the timer source (qobase/system/timer_source.h).
#pragma once

#include <qobase/system/timer_source.h>

namespace zu {

// Cancels the timer, frees its context block (with free, no destructor) when one is set, and
// releases the caller's reference. The handle must not be used afterwards; null is ignored.
void KillTimer(dispatch_source_t const& timer);

}  // namespace zu
