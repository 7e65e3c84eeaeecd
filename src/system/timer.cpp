// KillTimer. The timer is cancelled before its context block is freed: a handler running on the
// timer's thread at that moment may still be reading the block.
#include <qobase/system/timer.h>

#include <cstdlib>

namespace zu {

void KillTimer(dispatch_source_t const& timer) {
  if (!timer) return;
  CancelTimerSource(timer);
  if (void* context = GetTimerContext(timer)) {
    SetTimerContext(timer, nullptr);
    std::free(context);
  }
  ReleaseTimerSource(timer);
}

}  // namespace zu
