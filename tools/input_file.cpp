#include "input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>

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

std::string ReadFileHead(const std::string& path, size_t size) {
  std::ifstream in(path, std::ios::binary);
  std::string head(size, '\0');
  in.read(&head[0], static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<size_t>(in.gcount()));
  return head;
}

}  // namespace qobase_tool
