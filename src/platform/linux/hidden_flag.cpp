// The user-hidden flag as the extended attribute "user.hidden" with the value "1". An absent
// attribute, any other value, or a file system without user attributes means "not hidden".
#include <sys/xattr.h>

#include <cerrno>

#include "platform/file_system_platform.h"

namespace zu {
namespace platform {
namespace {

const char s_hiddenAttribute[] = "user.hidden";

}  // namespace

bool IsHiddenFlagSet(const std::string& path) {
  char value[2] = {0, 0};
  const ssize_t length = getxattr(path.c_str(), s_hiddenAttribute, value, sizeof(value));
  return length == 1 && value[0] == '1';
}

bool SetHiddenFlag(const std::string& path, bool hidden) {
  if (hidden) return setxattr(path.c_str(), s_hiddenAttribute, "1", 1, 0) == 0;
  if (removexattr(path.c_str(), s_hiddenAttribute) == 0) return true;
  return errno == ENODATA;
}

}  // namespace platform
}  // namespace zu
