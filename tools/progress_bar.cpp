#include "progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <iostream>

namespace qobase_tool {
namespace {

volatile std::sig_atomic_t s_cancelRequested = 0;
struct sigaction s_previousInt, s_previousTerm;

void RequestCancel(int) { s_cancelRequested = 1; }

constexpr int k_barWidth = 40;

}  // namespace

ProgressBar::ProgressBar(std::string what)
    : m_what(std::move(what)), m_enabled(isatty(STDERR_FILENO) == 1) {}

ProgressBar::~ProgressBar() {
  StopListening();
  std::lock_guard<std::mutex> hold(m_lock);
  Clear();
}

void ProgressBar::SetRange(std::uint32_t lower, std::uint32_t upper) {
  std::lock_guard<std::mutex> hold(m_lock);
  m_lower = lower;
  m_upper = upper;
  m_position = lower;
  m_lastPermille = -1;
  Draw();
}

void ProgressBar::SetPosition(std::uint32_t current) {
  std::lock_guard<std::mutex> hold(m_lock);
  m_position = current;
  Draw();
}

bool ProgressBar::IsCancelled() { return s_cancelRequested != 0; }

void ProgressBar::Print(const std::string& out, const std::string& err) {
  std::lock_guard<std::mutex> hold(m_lock);
  Clear();
  std::cout << out << std::flush;
  std::cerr << err << std::flush;
  m_lastPermille = -1;
  Draw();
}

void ProgressBar::ListenForCancel() {
  if (m_listening) return;
  s_cancelRequested = 0;
  struct sigaction action {};
  action.sa_handler = RequestCancel;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, &s_previousInt);
  sigaction(SIGTERM, &action, &s_previousTerm);
  m_listening = true;
}

void ProgressBar::StopListening() {
  if (!m_listening) return;
  sigaction(SIGINT, &s_previousInt, nullptr);
  sigaction(SIGTERM, &s_previousTerm, nullptr);
  m_listening = false;
}

void ProgressBar::Draw() {
  if (!m_enabled || m_upper <= m_lower) return;
  const std::uint64_t span = m_upper - m_lower;
  const std::uint64_t done =
      m_position < m_lower ? 0 : std::min<std::uint64_t>(m_position - m_lower, span);
  const int permille = static_cast<int>(done * 1000 / span);
  // A redraw per visible step, not per call: a long analysis reports thousands of positions.
  if (permille == m_lastPermille) return;
  m_lastPermille = permille;
  const int filled = permille * k_barWidth / 1000;
  std::string line = "\r[" + std::string(static_cast<size_t>(filled), '#') +
                     std::string(static_cast<size_t>(k_barWidth - filled), ' ') + "] ";
  line += std::to_string(permille / 10) + "%";
  if (m_what == "files")
    line += "  " + std::to_string(done) + "/" + std::to_string(span) + " files";
  std::cerr << line << "\x1b[K" << std::flush;
  m_drawn = true;
}

void ProgressBar::Clear() {
  if (!m_drawn) return;
  std::cerr << "\r\x1b[K" << std::flush;
  m_drawn = false;
}

}  // namespace qobase_tool
