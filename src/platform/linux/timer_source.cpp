// Timer sources on a thread of their own: each timer sleeps on a condition variable until its
// next due time (steady clock, so setting the system clock does not disturb it) and calls its
// handler there. A due time already missed is skipped rather than made up in a burst.
#include <qobase/system/timer_source.h>

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace zu {

struct TimerSource {
  std::mutex mutex;
  std::condition_variable wake;      // cancellation for the timer thread
  std::condition_variable finished;  // the thread's end for a second canceller
  std::function<void()> handler;
  std::chrono::milliseconds interval{1};
  std::atomic<void*> context{nullptr};
  pthread_t thread{};
  bool cancelled = false;
  bool threadEnded = false;
  // The owner's reference and the running thread's.
  int references = 2;
};

namespace {

using Clock = std::chrono::steady_clock;

// Drops one reference with the mutex held (and releases it); the last one frees the timer.
void DropLockedReference(TimerSource* timer, std::unique_lock<std::mutex>& lock) {
  const bool last = --timer->references == 0;
  lock.unlock();
  if (last) delete timer;
}

void* RunTimer(void* raw) {
  TimerSource* timer = static_cast<TimerSource*>(raw);
  std::unique_lock<std::mutex> lock(timer->mutex);
  Clock::time_point due = Clock::now() + timer->interval;
  while (!timer->cancelled) {
    if (timer->wake.wait_until(lock, due) != std::cv_status::timeout || timer->cancelled) continue;
    lock.unlock();
    timer->handler();
    lock.lock();
    due += timer->interval;
    const Clock::time_point now = Clock::now();
    if (due <= now) due = now + timer->interval;
  }
  timer->threadEnded = true;
  timer->finished.notify_all();
  DropLockedReference(timer, lock);
  return nullptr;
}

}  // namespace

dispatch_source_t CreateTimerSource(unsigned int intervalMs, std::function<void()> handler) {
  if (!handler) return nullptr;
  TimerSource* timer = new TimerSource;
  timer->handler = std::move(handler);
  timer->interval = std::chrono::milliseconds(intervalMs == 0 ? 1 : intervalMs);
  // The thread reads the timer only under its mutex, so it waits for `thread` to be stored.
  std::unique_lock<std::mutex> lock(timer->mutex);
  if (pthread_create(&timer->thread, nullptr, &RunTimer, timer) != 0) {
    lock.unlock();
    delete timer;
    return nullptr;
  }
  return timer;
}

void SetTimerContext(dispatch_source_t timer, void* context) {
  if (timer) timer->context.store(context);
}

void* GetTimerContext(dispatch_source_t timer) { return timer ? timer->context.load() : nullptr; }

void CancelTimerSource(dispatch_source_t timer) {
  if (!timer) return;
  std::unique_lock<std::mutex> lock(timer->mutex);
  const bool onTimerThread = pthread_equal(pthread_self(), timer->thread) != 0;
  if (timer->cancelled) {
    // Cancelled before: wait for its end, unless this is the timer's own thread.
    if (!onTimerThread) timer->finished.wait(lock, [timer] { return timer->threadEnded; });
    return;
  }
  timer->cancelled = true;
  timer->wake.notify_all();
  lock.unlock();
  if (onTimerThread) {
    // The thread ends when the handler returns; nobody is left to join it.
    pthread_detach(timer->thread);
  } else {
    pthread_join(timer->thread, nullptr);
  }
}

void ReleaseTimerSource(dispatch_source_t timer) {
  if (!timer) return;
  std::unique_lock<std::mutex> lock(timer->mutex);
  DropLockedReference(timer, lock);
}

}  // namespace zu
