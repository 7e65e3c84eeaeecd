// The path of an open descriptor from the /proc/self/fd link, which the kernel keeps current
// across renames and marks " (deleted)" once the file is gone.
#include <limits.h>
#include <unistd.h>

#include <cstdio>

#include "platform/file_system_platform.h"

namespace zu {
namespace platform {

std::string DescriptorPath(int descriptor) {
  if (descriptor < 0) return std::string();
  char link[64];
  snprintf(link, sizeof(link), "/proc/self/fd/%d", descriptor);
  char target[PATH_MAX];
  const ssize_t length = readlink(link, target, sizeof(target));
  if (length <= 0 || static_cast<size_t>(length) >= sizeof(target)) return std::string();
  std::string path(target, static_cast<size_t>(length));
  // Pipes, sockets and anonymous objects link to "type:[inode]"; they have no path.
  if (path[0] != '/') return std::string();
  static const char s_deleted[] = " (deleted)";
  const size_t suffix = sizeof(s_deleted) - 1;
  if (path.size() >= suffix && path.compare(path.size() - suffix, suffix, s_deleted) == 0) {
    return std::string();
  }
  return path;
}

}  // namespace platform
}  // namespace zu
