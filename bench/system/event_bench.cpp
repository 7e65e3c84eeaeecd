// Auto-reset event ping-pong between two threads against the same ping-pong on a bare pthread
// mutex and condition variable, and the round trips of a group wait over 64 events with one
// signaller, in the same run.
#include <qobase/system/events.h>

#include <pthread.h>

#include <cstdio>
#include <thread>
#include <vector>

#include "bench_support.h"

namespace {

const int k_roundTrips = 20000;
const int k_rounds = 7;
const int k_groupSize = 64;

// One flag with its own mutex and condition: the least a hand-off between threads needs.
struct BareSignal {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t cond = PTHREAD_COND_INITIALIZER;
  bool set = false;

  void Signal() {
    pthread_mutex_lock(&mutex);
    set = true;
    pthread_mutex_unlock(&mutex);
    pthread_cond_signal(&cond);
  }
  void Wait() {
    pthread_mutex_lock(&mutex);
    while (!set) pthread_cond_wait(&cond, &mutex);
    set = false;
    pthread_mutex_unlock(&mutex);
  }
};

void EventPingPong() {
  void* ping = nullptr;
  void* pong = nullptr;
  zu::CreateEventEx(ping, false);
  zu::CreateEventEx(pong, false);
  std::thread partner([&] {
    for (int i = 0; i < k_roundTrips; ++i) {
      zu::WaitForEventEx(ping);
      zu::SignalEventEx(pong);
    }
  });
  for (int i = 0; i < k_roundTrips; ++i) {
    zu::SignalEventEx(ping);
    zu::WaitForEventEx(pong);
  }
  partner.join();
  zu::DestroyEventEx(ping);
  zu::DestroyEventEx(pong);
}

void BarePingPong() {
  BareSignal ping, pong;
  std::thread partner([&] {
    for (int i = 0; i < k_roundTrips; ++i) {
      ping.Wait();
      pong.Signal();
    }
  });
  for (int i = 0; i < k_roundTrips; ++i) {
    ping.Signal();
    pong.Wait();
  }
  partner.join();
}

// The waiter waits on all 64 events and acknowledges each wake; the signaller goes round them.
void GroupRoundTrips() {
  std::vector<void*> group(k_groupSize, nullptr);
  for (void*& event : group) zu::CreateEventEx(event, false);
  void* ack = nullptr;
  zu::CreateEventEx(ack, false);
  bool wrongIndex = false;
  std::thread waiter([&] {
    for (int i = 0; i < k_roundTrips; ++i) {
      int index = -1;
      zu::WaitForMultipleEventsEx(group, index);
      if (index != i % k_groupSize) wrongIndex = true;
      zu::SignalEventEx(ack);
    }
  });
  for (int i = 0; i < k_roundTrips; ++i) {
    zu::SignalEventEx(group[i % k_groupSize]);
    zu::WaitForEventEx(ack);
  }
  waiter.join();
  for (void*& event : group) zu::DestroyEventEx(event);
  zu::DestroyEventEx(ack);
  if (wrongIndex) std::printf("group wait reported a wrong index\n");
}

}  // namespace

int main() {
  const std::vector<double> best =
      qobench::BestOfInterleaved({EventPingPong, BarePingPong, GroupRoundTrips}, k_rounds);
  const double ours = best[0] / k_roundTrips, bare = best[1] / k_roundTrips;
  const double group = best[2] / k_roundTrips;
  std::printf("auto-reset event ping-pong: %.2f us per round trip, bare mutex+condition %.2f us\n",
              ours * 1e6, bare * 1e6);
  const double ratio = ours / bare;
  std::printf("ratio event / bare round trip: %.3f (target <= 1.50) %s\n", ratio,
              ratio <= 1.5 ? "met" : "MISSED");
  std::printf(
      "WaitForMultipleEventsEx over %d events, one signaller: %.0f round trips/s "
      "(%.2f us each, %.2f x the single-event round trip)\n",
      k_groupSize, 1.0 / group, group * 1e6, group / ours);
  std::printf("best of %d interleaved rounds of %d round trips each\n", k_rounds, k_roundTrips);
  return 0;
}
