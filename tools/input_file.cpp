#include "input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace qobase_tool {

bool CheckInputFile(const std::string& path, std::string& reason) {
  struct stat info;
  if (path.empty()) {
    reason = "the file name is empty";
    return false;
  }
  if (stat(path.c_str(), &info) != 0) {
    reason = std::strerror(errno);
    return false;
  }
  if (S_ISDIR(info.st_mode)) {
    reason = "is a directory, not a file";
    return false;
  }
  if (!S_ISREG(info.st_mode)) {
    reason = "not a regular file (a device, FIFO or socket cannot be read as one)";
    return false;
  }
  // Asked now, a file that cannot be read is named so, instead of "not a WAVE file" or a
  // parser's message later. Opening a regular file for reading changes nothing.
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    reason = std::strerror(errno);
    return false;
  }
  close(descriptor);
  return true;
}

}  // namespace qobase_tool
