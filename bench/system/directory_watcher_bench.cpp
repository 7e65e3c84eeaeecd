// The directory watcher's delivery time: from a file's creation to the callback that reports it,
// against the configured latency, over 1,000 creations one at a time (each waits for its
// delivery before the next). Median and worst.
// Usage: directory_watcher_bench [latencyMs [priority]]; a priority of 1 to 99 asks for real-time
// scheduling of the watcher thread, which only a privileged process gets.
#include <qobase/files/directory_watcher.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include "bench_support.h"

namespace {

using Clock = std::chrono::steady_clock;

const int k_creations = 1000;

struct Deliveries {
  std::mutex mutex;
  std::condition_variable arrived;
  std::string awaited;
  Clock::time_point deliveredAt;
  bool delivered = false;

  void Receive(DirectoryWatcher::ChangeSet* changes) {
    const Clock::time_point now = Clock::now();
    std::lock_guard<std::mutex> lock(mutex);
    if (!delivered && changes->count(awaited)) {
      deliveredAt = now;
      delivered = true;
      arrived.notify_all();
    }
  }
};

}  // namespace

int main(int argc, char** argv) {
  const unsigned int latencyMs = argc > 1 ? static_cast<unsigned int>(std::atoi(argv[1])) : 10;
  const int priority = argc > 2 ? std::atoi(argv[2]) : 0;
  const qobench::ScratchDir scratch;
  if (!scratch.IsValid()) return 1;
  DirectoryWatcher watcher(latencyMs, 0);
  Deliveries deliveries;
  watcher.SetCallback(&deliveries, &Deliveries::Receive);
  watcher.StartSync(scratch.Path(), true, priority);
  if (!watcher.IsAlive()) return 1;

  std::vector<double> delaysMs;
  int missed = 0;
  for (int i = 0; i < k_creations; ++i) {
    const std::string path = scratch.File("take_" + std::to_string(i) + ".wav");
    {
      std::lock_guard<std::mutex> lock(deliveries.mutex);
      deliveries.awaited = path;
      deliveries.delivered = false;
    }
    const Clock::time_point created = Clock::now();
    std::ofstream(path) << "x";
    std::unique_lock<std::mutex> lock(deliveries.mutex);
    if (!deliveries.arrived.wait_for(lock, std::chrono::seconds(2),
                                     [&] { return deliveries.delivered; })) {
      ++missed;
      continue;
    }
    delaysMs.push_back(
        std::chrono::duration<double, std::milli>(deliveries.deliveredAt - created).count());
  }
  watcher.Stop();
  if (delaysMs.empty()) return 1;
  std::sort(delaysMs.begin(), delaysMs.end());
  const double median = delaysMs[delaysMs.size() / 2], worst = delaysMs.back();
  std::printf(
      "watcher delivery after creation, latency %u ms, priority %d, %zu creations "
      "(%d missed): median %.2f ms, worst %.2f ms, best %.2f ms\n",
      latencyMs, priority, delaysMs.size(), missed, median, worst, delaysMs.front());
  if (latencyMs > 0) {
    std::printf("ratio median delivery / latency: %.3f; median beyond the latency: %.2f ms\n",
                median / latencyMs, median - latencyMs);
  }
  return missed ? 1 : 0;
}
