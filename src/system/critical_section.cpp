// zu::CriticalSection: a recursive mutex.
#include <qobase/system/critical_section.h>

namespace zu {

CriticalSection::CriticalSection() {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&m_mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
}

CriticalSection::~CriticalSection() { pthread_mutex_destroy(&m_mutex); }

void CriticalSection::Lock() { pthread_mutex_lock(&m_mutex); }

bool CriticalSection::TryLock() { return pthread_mutex_trylock(&m_mutex) == 0; }

void CriticalSection::Unlock() { pthread_mutex_unlock(&m_mutex); }

}  // namespace zu
