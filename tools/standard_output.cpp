#include "standard_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <streambuf>

#include "command.h"

namespace qobase_tool {
namespace {

class CheckedDescriptorBuffer : public std::streambuf {
 public:
  CheckedDescriptorBuffer() { setp(m_buffer, m_buffer + sizeof m_buffer); }

  int Error() const { return m_error; }

 protected:
  int overflow(int c) override {
    if (!Drain()) return traits_type::eof();
    if (c == traits_type::eof()) return traits_type::not_eof(c);
    *pptr() = static_cast<char>(c);
    pbump(1);
    return c;
  }

  int sync() override { return Drain() ? 0 : -1; }

 private:
  // Writes out what is buffered; after a failure everything later is dropped and fails too.
  bool Drain() {
    const char* next = pbase();
    while (m_error == 0 && next < pptr()) {
      const ssize_t written = write(STDOUT_FILENO, next, static_cast<size_t>(pptr() - next));
      if (written < 0 && errno == EINTR) continue;
      if (written <= 0) {
        m_error = written < 0 ? errno : EIO;
        break;
      }
      next += written;
    }
    setp(m_buffer, m_buffer + sizeof m_buffer);
    return m_error == 0;
  }

  char m_buffer[1 << 16];
  int m_error = 0;
};

CheckedDescriptorBuffer& Buffer() {
  static CheckedDescriptorBuffer buffer;
  return buffer;
}

std::streambuf* s_originalBuffer = nullptr;

}  // namespace

void ReserveStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) continue;
    // open() returns the lowest free descriptor, which is this one.
    const int reserved = open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    if (reserved >= 0 && reserved != descriptor) close(reserved);
  }
}

void InstallCheckedStandardOutput() {
  if (!s_originalBuffer) s_originalBuffer = std::cout.rdbuf(&Buffer());
}

bool StandardOutputOk() { return Buffer().Error() == 0 && std::cout.good(); }

int FinishStandardOutput(int code) {
  std::cout.flush();
  const bool ok = StandardOutputOk();
  if (s_originalBuffer) {
    std::cout.rdbuf(s_originalBuffer);
    s_originalBuffer = nullptr;
  }
  if (ok) return code;
  const int error = Buffer().Error();
  return Fail("standard output", error != 0 ? std::strerror(error) : "write error");
}

}  // namespace qobase_tool
