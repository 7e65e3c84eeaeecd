// The running executable from the /proc/self/exe link, which the kernel keeps for every process.
#include <unistd.h>

#include <vector>

#include "platform/system_platform.h"

namespace zu {
namespace platform {

bool ExecutablePath(std::string& path, size_t capacity) {
  if (capacity == 0) return false;
  std::vector<char> buffer(capacity, '\0');
  const ssize_t length = readlink("/proc/self/exe", buffer.data(), capacity);
  // A link that fills the buffer may have been cut: it must fit with its terminating zero.
  if (length <= 0 || static_cast<size_t>(length) >= capacity) return false;
  path.assign(buffer.data(), static_cast<size_t>(length));
  return true;
}

}  // namespace platform
}  // namespace zu
