// Forked children for the file tests: a lock held across processes, resource limits that must
// not outlive a test, and permission checks that bind only an ordinary user.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

namespace qotest {

// Runs `body` in a forked child and returns its exit status (-1 when it did not exit).
template <typename Body>
int RunInChild(Body body) {
  const pid_t child = fork();
  if (child == 0) _exit(body());
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

// As RunInChild, the child first giving up root for user 65534 (exit status 100 if it cannot).
template <typename Body>
int RunAsOrdinaryUser(Body body) {
  return RunInChild([&] {
    if (geteuid() == 0 && setuid(65534) != 0) return 100;
    return static_cast<int>(body());
  });
}

}  // namespace qotest
