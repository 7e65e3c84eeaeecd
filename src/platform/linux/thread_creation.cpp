// Thread creation for an ordinary user. Linux refuses explicit real-time scheduling (EPERM) to a
// process without the privilege for it; the thread is then made again with the creator's
// scheduling, all other attributes kept.
#include <cerrno>

#include "platform/system_platform.h"

namespace zu {
namespace platform {

int CreateThreadWithFallback(pthread_t* thread, pthread_attr_t* attributes, void* (*routine)(void*),
                             void* argument) {
  int result = pthread_create(thread, attributes, routine, argument);
  if (result == 0) return 0;
  int inherit = PTHREAD_INHERIT_SCHED;
  pthread_attr_getinheritsched(attributes, &inherit);
  if (inherit != PTHREAD_EXPLICIT_SCHED || (result != EPERM && result != EINVAL)) return result;
  pthread_attr_setinheritsched(attributes, PTHREAD_INHERIT_SCHED);
  result = pthread_create(thread, attributes, routine, argument);
  pthread_attr_setinheritsched(attributes, PTHREAD_EXPLICIT_SCHED);
  return result;
}

}  // namespace platform
}  // namespace zu
