// zu::File over a C stream opened from a descriptor, so that the writer's lock is taken before
// a truncating open can destroy the content of a file another writer holds.
#include <qobase/files/file.h>
#include <qobase/result_code.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>

#include "platform/file_system_platform.h"

namespace zu {
namespace {

struct ModeInfo {
  int openFlags;
  const char* modeString;
  bool lock;
  bool truncate;
};

const ModeInfo sa_modes[] = {
    {O_RDONLY, "r", false, false},
    {O_WRONLY | O_CREAT | O_APPEND, "a", true, false},
    {O_WRONLY | O_CREAT, "w", true, true},
    {O_RDWR | O_CREAT | O_APPEND, "a+", true, false},
};

// Empties a regular file, as a truncating open does; devices and pipes have nothing to cut. An
// already empty file is left alone: some file systems flush a file truncated to zero when it is
// closed, which would make every newly created file cost a synchronous write-back.
bool TruncateRegularFile(int descriptor) {
  struct stat info;
  if (fstat(descriptor, &info) != 0) return false;
  if (!S_ISREG(info.st_mode) || info.st_size == 0) return true;
  return ftruncate(descriptor, 0) == 0;
}

// The status of the file open on `stream`; false when closed or when it cannot be read.
bool StatStream(FILE* stream, struct stat& info) {
  if (!stream) return false;
  const int descriptor = fileno(stream);
  return descriptor >= 0 && fstat(descriptor, &info) == 0;
}

}  // namespace

File::File() : m_stream(nullptr), m_borrowed(false), m_flags(0) {}

File::File(FILE* stream) : m_stream(stream), m_borrowed(true), m_flags(0) {}

File::File(const File& other) : m_stream(other.m_stream), m_borrowed(true), m_flags(0) {}

File::File(File&& other) noexcept
    : m_stream(other.m_stream), m_borrowed(other.m_borrowed), m_flags(other.m_flags) {
  other.m_stream = nullptr;
  other.m_borrowed = false;
  other.m_flags = 0;
}

File& File::operator=(const File& other) {
  if (this == &other) return *this;
  CloseOwned();
  m_stream = other.m_stream;
  m_borrowed = true;
  return *this;
}

File& File::operator=(File&& other) noexcept {
  if (this == &other) return *this;
  CloseOwned();
  m_stream = other.m_stream;
  m_borrowed = other.m_borrowed;
  m_flags = other.m_flags;
  other.m_stream = nullptr;
  other.m_borrowed = false;
  other.m_flags = 0;
  return *this;
}

File::~File() { Close(); }

void File::CloseOwned() {
  if (!m_borrowed && m_stream) Close();
}

QO::ResultCode File::Open(const Path& path, QoOpenMode mode, unsigned int flags) {
  if (m_borrowed || m_stream) return QO::k_resultFailure;
  if (path.IsEmpty() || static_cast<unsigned int>(mode) > k_openModeReadAppend) {
    return QO::k_resultInvalidParameter;
  }
  const ModeInfo& info = sa_modes[mode];
  const int descriptor = ::open(path.GetText().c_str(), info.openFlags | O_CLOEXEC, 0666);
  if (descriptor < 0) {
    return (errno == ENOENT || errno == EACCES) ? QO::k_resultFileNotFound : QO::k_resultFailure;
  }
  if (info.lock && flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
    ::close(descriptor);
    return QO::k_resultFailure;
  }
  if (info.truncate && !TruncateRegularFile(descriptor)) {
    ::close(descriptor);
    return QO::k_resultFailure;
  }
  FILE* stream = fdopen(descriptor, info.modeString);
  if (!stream) {
    ::close(descriptor);
    return QO::k_resultFailure;
  }
  m_stream = stream;
  m_flags = flags;
  return QO::k_resultSuccess;
}

QO::ResultCode File::Close() {
  if (m_borrowed || !m_stream) return QO::k_resultFailure;
  const int descriptor = fileno(m_stream);
  // Write out buffered data before another writer can take the lock.
  const bool flushed = fflush(m_stream) == 0;
  flock(descriptor, LOCK_UN);
  if (m_flags & k_flagDeleteOnClose) {
    const Path current = FileDescriptorToPath(descriptor);
    if (!current.IsEmpty() && current.Exists()) current.Remove(false);
  }
  const bool closed = fclose(m_stream) == 0;
  m_stream = nullptr;
  m_flags = 0;
  return (flushed && closed) ? QO::k_resultSuccess : QO::k_resultFailure;
}

bool File::Read(void* buffer, unsigned int size, unsigned int& bytesRead) const {
  bytesRead = 0;
  if (!m_stream) return false;
  if (size == 0) return true;
  bytesRead = static_cast<unsigned int>(fread(buffer, 1, size, m_stream));
  return true;
}

bool File::Read(void* buffer, unsigned int size) const {
  unsigned int bytesRead = 0;
  return Read(buffer, size, bytesRead);
}

bool File::Read(void* buffer, unsigned int size, unsigned int& bytesRead,
                unsigned int expected) const {
  return Read(buffer, size, bytesRead) && bytesRead == expected;
}

bool File::ReadExact(void* buffer, unsigned int size, unsigned int& bytesRead) const {
  return Read(buffer, size, bytesRead) && bytesRead == size;
}

bool File::ReadExact(void* buffer, unsigned int size) const {
  unsigned int bytesRead = 0;
  return ReadExact(buffer, size, bytesRead);
}

bool File::Write(const void* buffer, unsigned int size, unsigned int& bytesWritten) const {
  bytesWritten = 0;
  if (!m_stream) return false;
  if (size == 0) return true;
  bytesWritten = static_cast<unsigned int>(fwrite(buffer, 1, size, m_stream));
  return true;
}

bool File::Write(const void* buffer, unsigned int size) const {
  unsigned int bytesWritten = 0;
  return Write(buffer, size, bytesWritten);
}

bool File::Write(const void* buffer, unsigned int size, unsigned int& bytesWritten,
                 unsigned int expected) const {
  return Write(buffer, size, bytesWritten) && bytesWritten == expected;
}

bool File::WriteExact(const void* buffer, unsigned int size, unsigned int& bytesWritten) const {
  return Write(buffer, size, bytesWritten) && bytesWritten == size;
}

bool File::WriteExact(const void* buffer, unsigned int size) const {
  unsigned int bytesWritten = 0;
  return WriteExact(buffer, size, bytesWritten);
}

long long File::SetFilePointer(long long offset, FilePointerPosition origin) const {
  if (!m_stream) return -1;
  if (fseeko(m_stream, static_cast<off_t>(offset), static_cast<int>(origin)) != 0) return -1;
  return static_cast<long long>(ftello(m_stream));
}

long long File::GetFileSize() const {
  struct stat info;
  return StatStream(m_stream, info) ? static_cast<long long>(info.st_size) : -1;
}

long long File::GetLastWriteTime() const {
  struct stat info;
  return StatStream(m_stream, info) ? static_cast<long long>(info.st_mtime) : -1;
}

bool File::SetLastWriteTime(long long seconds) const {
  struct stat info;
  if (!StatStream(m_stream, info)) return false;
  const int descriptor = fileno(m_stream);
  struct timeval times[2];
  times[0].tv_sec = info.st_atime;
  times[0].tv_usec = 0;
  times[1].tv_sec = static_cast<time_t>(seconds);
  times[1].tv_usec = 0;
  return futimes(descriptor, times) == 0;
}

bool File::SetEndOfFile() const {
  if (!m_stream) return false;
  if (fseeko(m_stream, 0, SEEK_CUR) != 0) return false;
  const off_t position = ftello(m_stream);
  if (position < 0) return false;
  return ftruncate(fileno(m_stream), position) == 0;
}

unsigned int File::GetLastError() {
  switch (errno) {
    case ENOMEM:
    case ENOSPC:
    case EDQUOT:
      return k_fileErrorOutOfSpace;
    case EFBIG:
      return k_fileErrorTooLarge;
    default:
      return k_fileErrorNone;
  }
}

Path FileDescriptorToPath(int descriptor) { return Path(platform::DescriptorPath(descriptor)); }

}  // namespace zu
