// zu::CriticalSection: a recursive mutex. The thread that holds it may lock it again; it is
// released when that thread has unlocked it as many times as it locked it.
#pragma once

#include <pthread.h>

namespace zu {

class CriticalSection {
 public:
  // Creates the mutex with the recursive attribute.
  CriticalSection();
  // Destroys the mutex; it must not be held.
  ~CriticalSection();
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;

  // Waits until the mutex is free (or already held by this thread) and takes it.
  void Lock();
  // Takes the mutex when that needs no wait; false when another thread holds it.
  bool TryLock();
  // Releases one level of ownership held by the calling thread.
  void Unlock();

  // Standard-library spelling, so std::lock_guard and std::unique_lock accept it.
  void lock() { Lock(); }
  bool try_lock() { return TryLock(); }
  void unlock() { Unlock(); }

 private:
  pthread_mutex_t m_mutex;
};

// Holds a CriticalSection for the lifetime of the object.
class CriticalSectionLock {
 public:
  explicit CriticalSectionLock(CriticalSection& section) : m_section(section) { m_section.Lock(); }
  ~CriticalSectionLock() { m_section.Unlock(); }
  CriticalSectionLock(const CriticalSectionLock&) = delete;
  CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;

 private:
  CriticalSection& m_section;
};

}  // namespace zu
