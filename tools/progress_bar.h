// A one-line progress bar on standard error, drawn only when standard error is a terminal (a
// log file or a pipe gets no control characters). Messages printed while it is shown clear it
// first and it is drawn again below them. Also the IProgress a long analysis reports to: it
// answers IsCancelled once Ctrl-C (SIGINT) or SIGTERM has arrived while it is listening.
#pragma once

#include <qobase/system/progress.h>

#include <cstdint>
#include <mutex>
#include <string>

namespace qobase_tool {

class ProgressBar : public QO::Sonvo::IProgress {
 public:
  // `what` names the unit ("files", "frames"); the bar is off when stderr is no terminal.
  explicit ProgressBar(std::string what);
  // Clears the bar from the terminal.
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  bool IsShown() const { return m_enabled; }

  void SetRange(std::uint32_t lower, std::uint32_t upper) override;
  void SetPosition(std::uint32_t current) override;
  bool IsCancelled() override;

  // Writes `out` (whole lines) to standard output and `err` to stderr above the bar.
  void Print(const std::string& out, const std::string& err);

  // From now on SIGINT and SIGTERM only set the flag IsCancelled reports, until StopListening
  // (or the destructor) puts the previous handlers back.
  void ListenForCancel();
  void StopListening();

 private:
  void Draw();
  void Clear();

  std::mutex m_lock;
  std::string m_what;
  bool m_enabled;
  bool m_drawn = false;
  bool m_listening = false;
  std::uint32_t m_lower = 0, m_upper = 0, m_position = 0;
  int m_lastPermille = -1;
};

}  // namespace qobase_tool
