#include "batch_runner.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <new>
#include <optional>
#include <thread>

#include "command.h"
#include "progress_bar.h"
#include "standard_output.h"

namespace qobase_tool {
namespace {

FileOutcome FailedOutcome(const std::string& path, const std::string& reason) {
  FileOutcome outcome;
  outcome.err = "qobase: " + path + ": " + reason + "\n";
  outcome.failed = true;
  return outcome;
}

FileOutcome RunOne(const BatchInput& input, const FileJob& job) {
  if (!input.error.empty()) return FailedOutcome(input.path, input.error);
  try {
    return job(input.path);
  } catch (const std::bad_alloc&) {
    return FailedOutcome(input.path, "not enough memory for this input");
  } catch (const std::exception& error) {
    return FailedOutcome(input.path, error.what());
  }
}

}  // namespace

unsigned int DefaultJobCount() {
  const unsigned int cores = std::thread::hardware_concurrency();
  return cores == 0 ? 1 : cores;
}

int RunBatch(const std::vector<BatchInput>& inputs, unsigned int jobs, const FileJob& job) {
  const size_t count = inputs.size();
  std::vector<std::optional<FileOutcome>> outcomes(count);
  std::mutex lock;
  std::condition_variable finished;
  std::atomic<size_t> next{0};
  std::atomic<bool> stop{false};

  const auto work = [&] {
    for (size_t i = next++; i < count && !stop; i = next++) {
      FileOutcome outcome = RunOne(inputs[i], job);
      std::lock_guard<std::mutex> hold(lock);
      outcomes[i] = std::move(outcome);
      finished.notify_one();
    }
  };
  const unsigned int threads =
      static_cast<unsigned int>(std::min<size_t>(std::max(jobs, 1u), std::max<size_t>(count, 1)));
  std::vector<std::thread> workers;
  // The calling thread prints; with one job it also works, in order, with no thread at all.
  for (unsigned int t = 0; threads > 1 && t < threads; ++t) workers.emplace_back(work);

  ProgressBar bar("files");
  bar.SetRange(0, static_cast<std::uint32_t>(count));
  bool anyFailed = false;
  for (size_t printed = 0; printed < count; ++printed) {
    FileOutcome outcome;
    if (threads > 1) {
      std::unique_lock<std::mutex> hold(lock);
      finished.wait(hold, [&] { return outcomes[printed].has_value(); });
      outcome = std::move(*outcomes[printed]);
      outcomes[printed].reset();
    } else {
      next = printed + 1;
      outcome = RunOne(inputs[printed], job);
    }
    anyFailed = anyFailed || outcome.failed;
    bar.Print(outcome.out, outcome.err);
    bar.SetPosition(static_cast<std::uint32_t>(printed + 1));
    // Nobody reads the rest when standard output has failed.
    if (!StandardOutputOk()) {
      stop = true;
      break;
    }
  }
  for (std::thread& worker : workers) worker.join();
  return anyFailed ? k_exitFailure : k_exitSuccess;
}

}  // namespace qobase_tool
