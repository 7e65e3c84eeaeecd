// The user's name and home, the temporary directory and the running executable.
#include <qobase/system/environment.h>

#include <limits.h>
#include <pthread.h>
#include <stdlib.h>

#include "platform/system_platform.h"

namespace {

const size_t k_executablePathCapacity = 1024;

}  // namespace

CStdStr GetUserName() {
  const char* name = getenv("USERNAME");
  return name ? CStdStr(name) : CStdStr();
}

namespace zu {
namespace {

pthread_once_t s_tempDirectoryOnce = PTHREAD_ONCE_INIT;
Path* s_tempDirectory = nullptr;

// The system's temporary directory with its links resolved; "/tmp" as it is when it cannot be.
void BuildTempDirectoryPath() {
  static Path built;
  char resolved[PATH_MAX];
  built = realpath("/tmp", resolved) ? Path(resolved) : Path("/tmp");
  s_tempDirectory = &built;
}

}  // namespace

Path GetHomePath() {
  const char* home = getenv("HOME");
  return home ? Path(home) : Path();
}

Path GetTempDirectoryPath() {
  pthread_once(&s_tempDirectoryOnce, &BuildTempDirectoryPath);
  return *s_tempDirectory;
}

Path GetExecutablePath() {
  std::string unresolved;
  if (!platform::ExecutablePath(unresolved, k_executablePathCapacity)) return Path();
  char resolved[PATH_MAX];
  if (!realpath(unresolved.c_str(), resolved)) return Path();
  // The resolved text is held to the same limit as the unresolved one.
  const std::string text(resolved);
  if (text.size() >= k_executablePathCapacity) return Path();
  return Path(text);
}

}  // namespace zu
