// zu::File: an owning handle on an open C stream with an exclusive advisory lock for writers,
// an optional delete-on-close, byte-counted reads and writes, and size and time queries through
// the open descriptor.
#pragma once

#include <qobase/files/path.h>
#include <qobase/result_code.h>

#include <cstdio>

// How File::Open opens a file, with the C open mode used for it.
enum QoOpenMode : unsigned int {
  k_openModeRead = 0,        // "r", no lock
  k_openModeAppend = 1,      // "a", exclusive lock
  k_openModeWrite = 2,       // "w" (truncating or creating), exclusive lock
  k_openModeReadAppend = 3,  // "a+" (creating), exclusive lock
};

namespace zu {

// Origin of File::SetFilePointer: the C seek origins.
enum FilePointerPosition : int {
  k_fileBegin = 0,
  k_fileCurrent = 1,
  k_fileEnd = 2,
};

// Classification of the calling thread's last C library error (File::GetLastError).
enum FileError : unsigned int {
  k_fileErrorNone = 0,        // nothing classified
  k_fileErrorOutOfSpace = 1,  // no memory, no space left on the device, or quota exceeded
  k_fileErrorTooLarge = 2,    // the file would exceed the size limit
};

class File {
 public:
  // File::Open flag: remove the file when it is closed (it is found again by its descriptor, so
  // a rename made while it was open is followed).
  static constexpr unsigned int k_flagDeleteOnClose = 1;

  // Closed and owning.
  File();
  // Borrows `stream`: this handle never closes it.
  explicit File(FILE* stream);
  // Shares the other's stream without owning it (flags 0).
  File(const File& other);
  // Takes over the other's stream, flags and ownership; the other is left closed.
  File(File&& other) noexcept;
  // Shares the other's stream without owning it; keeps this handle's flags. A stream this
  // handle owned is closed first.
  File& operator=(const File& other);
  // Takes over the other's stream, flags and ownership; the other is left closed. A stream this
  // handle owned is closed first.
  File& operator=(File&& other) noexcept;
  // Closes an owned stream.
  virtual ~File();

  // Opens `path` (its text unchanged). Every mode but read takes an exclusive non-blocking lock
  // on the whole file and fails at once when another handle, in any process, holds it; a file
  // opened for writing is truncated only once the lock is held.
  // Returns k_resultSuccess; k_resultInvalidParameter for an empty path or an unknown mode;
  // k_resultFileNotFound when the file is missing or access is denied; k_resultFailure for a
  // borrowed or already open handle, a held lock, or any other error.
  QO::ResultCode Open(const Path& path, QoOpenMode mode, unsigned int flags);
  // Releases the lock, removes the file when opened with k_flagDeleteOnClose, closes the stream.
  // k_resultSuccess, or k_resultFailure for a closed or borrowed handle or a failed close.
  QO::ResultCode Close();
  bool IsOpen() const { return m_stream != nullptr; }
  // The stream, for code that needs the C interface; null when closed.
  FILE* GetStream() const { return m_stream; }

  // Reads up to `size` bytes at the current position into `buffer`; `bytesRead` gets the count.
  // True unless the handle is closed (a short read at the end of the file is true).
  bool Read(void* buffer, unsigned int size, unsigned int& bytesRead) const;
  bool Read(void* buffer, unsigned int size) const;
  // True only when exactly `expected` bytes were read.
  bool Read(void* buffer, unsigned int size, unsigned int& bytesRead, unsigned int expected) const;
  // True only when all `size` bytes were read.
  bool ReadExact(void* buffer, unsigned int size, unsigned int& bytesRead) const;
  bool ReadExact(void* buffer, unsigned int size) const;

  // Writes `size` bytes at the current position (at the end in the append modes); the same
  // results as the reading forms. After a failed write GetLastError classifies the cause.
  bool Write(const void* buffer, unsigned int size, unsigned int& bytesWritten) const;
  bool Write(const void* buffer, unsigned int size) const;
  bool Write(const void* buffer, unsigned int size, unsigned int& bytesWritten,
             unsigned int expected) const;
  bool WriteExact(const void* buffer, unsigned int size, unsigned int& bytesWritten) const;
  bool WriteExact(const void* buffer, unsigned int size) const;

  // Moves the position; returns the new position from the start, or -1 when closed or when the
  // seek fails (for example before the start).
  long long SetFilePointer(long long offset, FilePointerPosition origin) const;
  // Size in bytes as the file system has it (buffered data not yet written is not counted);
  // -1 when closed or on error.
  long long GetFileSize() const;
  // Modification time in seconds since 1970-01-01 UTC; -1 when closed or on error.
  long long GetLastWriteTime() const;
  // Sets the modification time (whole seconds); false when closed or on error.
  bool SetLastWriteTime(long long seconds) const;
  // Cuts the file at the current position (after writing out buffered data); false when closed
  // or on error.
  bool SetEndOfFile() const;

  // Classifies errno: k_fileErrorOutOfSpace for ENOMEM, ENOSPC and EDQUOT, k_fileErrorTooLarge
  // for EFBIG, else k_fileErrorNone.
  static unsigned int GetLastError();

 private:
  void CloseOwned();

  FILE* m_stream;
  bool m_borrowed;
  unsigned int m_flags;
};

// The current path of the file open on `descriptor` (it follows renames); empty when the
// descriptor is not open, names no file, or its file was removed.
Path FileDescriptorToPath(int descriptor);

}  // namespace zu
