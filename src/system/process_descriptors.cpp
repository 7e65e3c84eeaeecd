// Pipes and descriptor copies for redirecting a child's standard streams. They are made
// close-on-exec: a child gets them only as the standard streams it is given (dup2 clears the
// flag on the copy), never as stray inherited descriptors. A child that kept the write end of
// its own input pipe would never see the end of its input.
#include <qobase/system/process.h>

#include <fcntl.h>
#include <unistd.h>

namespace zu {

void CreateProcessIORedirectPipe(int& readEnd, int& writeEnd) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return;
  readEnd = ends[0];
  writeEnd = ends[1];
}

int DuplicateProcessIORedirectHandle(int& source, int& copy) {
  const int duplicate = fcntl(source, F_DUPFD_CLOEXEC, 0);
  if (duplicate >= 0) copy = duplicate;
  return duplicate;
}

void CloseProcessIORedirectHandle(int& handle) {
  if (handle >= 0) close(handle);
}

}  // namespace zu
