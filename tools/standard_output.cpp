#include "standard_output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "command.h"

namespace qobase_tool {

bool StandardOutputOk() { return std::cout.good() && !std::ferror(stdout); }

int FinishStandardOutput(int code) {
  errno = 0;
  std::cout.flush();
  const bool flushed = std::fflush(stdout) == 0;
  const int error = errno;
  if (flushed && StandardOutputOk()) return code;
  // An earlier failure may have left errno behind; a failed flush gives the cause itself.
  return Fail("standard output", error != 0 ? std::strerror(error) : "write error");
}

}  // namespace qobase_tool
