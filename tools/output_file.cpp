#include "output_file.h"

#include <fcntl.h>
#include <limits.h>
#include <pthread.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <mutex>

namespace qobase_tool {
namespace {

// The temporary files being written, for the signal handler: fixed buffers, because a handler
// may only call async-signal-safe functions (unlink, signal, raise). Several threads may each be
// writing an output; each takes a slot of its own. A slot is 0 free, 1 being filled, 2 in use.
constexpr int k_pendingSlots = 64;
char s_pendingTemporary[k_pendingSlots][PATH_MAX + 1];
std::atomic<int> s_pendingState[k_pendingSlots];
static_assert(std::atomic<int>::is_always_lock_free, "the handler reads the slots");

void RemovePendingAndDie(int signalNumber) {
  for (int slot = 0; slot < k_pendingSlots; ++slot) {
    if (s_pendingState[slot].load() == 2) unlink(s_pendingTemporary[slot]);
  }
  std::signal(signalNumber, SIG_DFL);
  std::raise(signalNumber);
}

// Every signal whose default action ends the program, and which can reach it while it writes
// (a closed pipe on standard error, a CPU or alarm limit, a user's kill); SIGXFSZ is ignored by
// main so that a full disk is an ordinary write error.
constexpr int k_endingSignals[] = {SIGINT,  SIGTERM, SIGHUP,  SIGPIPE,   SIGQUIT, SIGALRM,
                                   SIGUSR1, SIGUSR2, SIGXCPU, SIGVTALRM, SIGPROF};

void InstallHandlers() {
  for (const int signalNumber : k_endingSignals) {
    // A signal the caller ignores (nohup, a background job) stays ignored, and one that a
    // program embedding these parts handles itself (a fuzzer's timeout alarm) stays handled.
    struct sigaction current;
    if (sigaction(signalNumber, nullptr, &current) != 0 || (current.sa_flags & SA_SIGINFO) ||
        current.sa_handler != SIG_DFL) {
      continue;
    }
    std::signal(signalNumber, RemovePendingAndDie);
  }
}

// The slot now holding `path`, or -1 when every slot is taken (the file is then not removed by
// a signal, only by the writer).
int TrackPending(const std::string& path) {
  static std::once_flag s_handlersInstalled;
  std::call_once(s_handlersInstalled, InstallHandlers);
  for (int slot = 0; slot < k_pendingSlots; ++slot) {
    int expected = 0;
    if (!s_pendingState[slot].compare_exchange_strong(expected, 1)) continue;
    std::strncpy(s_pendingTemporary[slot], path.c_str(), PATH_MAX);
    s_pendingTemporary[slot][PATH_MAX] = '\0';
    s_pendingState[slot].store(2);
    return slot;
  }
  return -1;
}

void UntrackPending(int& slot) {
  if (slot >= 0) s_pendingState[slot].store(0);
  slot = -1;
}

std::string FolderOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string NameOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool SameInode(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// The mode a new file gets, read once while the program is still one thread: umask can only be
// read by setting it, which would race with files other threads create.
unsigned int ReadNewFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666u & ~static_cast<unsigned int>(mask);
}
const unsigned int s_newFileMode = ReadNewFileMode();

unsigned int NewFileMode() { return s_newFileMode; }

}  // namespace

std::string ResolvePath(const std::string& path) {
  if (path.empty()) return "";
  char resolved[PATH_MAX];
  if (realpath(path.c_str(), resolved)) return resolved;
  const std::string name = NameOf(path);
  if (name.empty() || name == "." || name == "..") return "";
  if (!realpath(FolderOf(path).c_str(), resolved)) return "";
  const std::string folder = resolved;
  return folder == "/" ? "/" + name : folder + "/" + name;
}

OutputFile::~OutputFile() { Discard(); }

bool OutputFile::Create(const std::string& path, const std::vector<std::string>& inputs,
                        std::string& reason) {
  Discard();
  if (path.empty()) {
    reason = "the output file name is empty";
    return false;
  }
  if (path.back() == '/') {
    reason = "names a folder (it ends with '/'); name the file to write";
    return false;
  }
  struct stat existing, link;
  const bool exists = stat(path.c_str(), &existing) == 0;
  if (!exists && lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode)) {
    reason = "is a symbolic link to a missing file; name the file itself";
    return false;
  }
  if (exists && !S_ISREG(existing.st_mode)) {
    reason = S_ISDIR(existing.st_mode) ? "is a directory, not a file"
                                       : "exists and is not a regular file; it is never replaced";
    return false;
  }
  const std::string resolved = ResolvePath(path);
  if (resolved.empty()) {
    reason = "its folder does not exist";
    return false;
  }
  for (const std::string& input : inputs) {
    struct stat inputInfo;
    const bool sameFile =
        exists && stat(input.c_str(), &inputInfo) == 0 && SameInode(existing, inputInfo);
    if (input == path || sameFile || ResolvePath(input) == resolved) {
      reason = "is an input of this command; write the result to another file";
      return false;
    }
  }

  // A file its owner made read-only is left alone, as cp and sox leave it.
  if (exists && access(path.c_str(), W_OK) != 0) {
    reason = std::string("cannot be replaced: ") + std::strerror(errno);
    return false;
  }

  // A link keeps pointing at the file: the result replaces the file the link names.
  m_target = resolved;
  const std::string folder = FolderOf(m_target);
  struct stat folderInfo;
  if (stat(folder.c_str(), &folderInfo) != 0 || !S_ISDIR(folderInfo.st_mode)) {
    reason = "its folder does not exist";
    return false;
  }
  // The temporary name is the target's with a dot before and seven characters after, cut so
  // that a target name of the longest length a folder allows still gets one.
  const std::string name = NameOf(m_target).substr(0, NAME_MAX - 8);
  std::string pattern = folder + (folder == "/" ? "" : "/") + "." + name + ".XXXXXX";
  // No signal between creating the file and recording it for the handler, or it would stay.
  sigset_t ending, previous;
  sigemptyset(&ending);
  for (const int signalNumber : k_endingSignals) sigaddset(&ending, signalNumber);
  pthread_sigmask(SIG_BLOCK, &ending, &previous);
  // mkstemp creates the file with O_CREAT | O_EXCL: it never opens a file someone else made.
  const int descriptor = mkostemp(&pattern[0], O_CLOEXEC);
  const int createError = errno;
  if (descriptor >= 0) {
    m_temporary = pattern;
    m_pendingSlot = TrackPending(m_temporary);
  }
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  if (descriptor < 0) {
    reason = "cannot create a temporary file in " + folder + ": " + std::strerror(createError);
    return false;
  }
  m_stream = fdopen(descriptor, "w+b");
  if (!m_stream) {
    reason = std::strerror(errno);
    close(descriptor);
    Discard();
    return false;
  }
  m_mode = exists ? static_cast<unsigned int>(existing.st_mode & 07777) : NewFileMode();
  m_replaces = exists;
  m_owner = existing.st_uid;
  m_group = existing.st_gid;
  m_writeError = 0;
  return true;
}

bool OutputFile::Write(const void* data, size_t size) {
  if (!m_stream) return false;
  if (size != 0 && std::fwrite(data, 1, size, m_stream) != size) {
    if (m_writeError == 0) m_writeError = errno != 0 ? errno : EIO;
    return false;
  }
  return m_writeError == 0;
}

bool OutputFile::Commit(std::string& reason) {
  if (!m_stream) {
    reason = "no output file is open";
    return false;
  }
  errno = 0;
  int error = m_writeError;
  if (error == 0 && (std::fflush(m_stream) != 0 || std::ferror(m_stream))) {
    error = errno != 0 ? errno : EIO;
  }
  const int descriptor = fileno(m_stream);
  // The replaced file's owner and group stay where the user may set them (root may set any;
  // others keep their own, or a group they belong to); what cannot be kept is no failure.
  if (error == 0 && m_replaces && fchown(descriptor, m_owner, m_group) != 0 &&
      fchown(descriptor, static_cast<uid_t>(-1), m_group) != 0) {
  }
  if (error == 0 && fchmod(descriptor, static_cast<mode_t>(m_mode)) != 0) error = errno;
  if (error == 0 && fsync(descriptor) != 0) error = errno;
  FILE* stream = m_stream;
  m_stream = nullptr;
  if (std::fclose(stream) != 0 && error == 0) error = errno;
  if (error == 0 && rename(m_temporary.c_str(), m_target.c_str()) != 0) error = errno;
  if (error != 0) {
    reason = std::string("cannot write the file: ") + std::strerror(error);
    Discard();
    return false;
  }
  UntrackPending(m_pendingSlot);
  m_temporary.clear();
  // The rename itself is durable once the folder is synced; a folder that cannot be opened
  // for that (rare) leaves the result in place all the same.
  const int folder = open(FolderOf(m_target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder >= 0) {
    fsync(folder);
    close(folder);
  }
  return true;
}

void OutputFile::Discard() {
  if (m_stream) {
    std::fclose(m_stream);
    m_stream = nullptr;
  }
  if (!m_temporary.empty()) {
    unlink(m_temporary.c_str());
    m_temporary.clear();
  }
  UntrackPending(m_pendingSlot);
}

}  // namespace qobase_tool
