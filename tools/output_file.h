// OutputFile: how every command writes a file. The result goes to a temporary file created
// exclusively beside its target, is flushed and synced, and only then renamed into place, so a
// full disk, a failed write or a signal that ends the program (SIGINT, SIGTERM, SIGHUP, SIGPIPE,
// ...) never leaves a partial file and never touches an existing one. A target that names one
// of the command's inputs (by spelling, by resolved path, or through a symbolic or hard link),
// that exists but is not a regular file (a device, a FIFO, a directory) or is write-protected,
// or that ends with '/' is refused before anything is created. Several threads may each write
// their own OutputFile at once.
//
//   OutputFile out;
//   std::string reason;
//   if (!out.Create(path, {input}, reason) || !out.Write(bytes, size) || !out.Commit(reason))
//     return Fail(path, reason);
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

namespace qobase_tool {

class OutputFile {
 public:
  OutputFile() = default;
  // Removes the temporary file unless Commit succeeded.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Checks `path` against `inputs` and creates the temporary file. False, with a reason
  // suitable for "qobase: PATH: REASON", when the output is refused or cannot be created.
  bool Create(const std::string& path, const std::vector<std::string>& inputs, std::string& reason);

  // The temporary file, open for reading and writing; null before Create.
  FILE* Stream() const { return m_stream; }

  // The temporary file's path, for a writer that opens files by name (the library's WAV
  // writer): it may write there before Commit. Empty before Create.
  const std::string& TemporaryPath() const { return m_temporary; }

  // Writes all bytes; false (and remembered, so Commit fails) when a write fails.
  bool Write(const void* data, size_t size);

  // Flushes, syncs and closes the temporary file, gives it the permission bits (and, where
  // allowed, the owner and group) of the file it replaces, or those a new file gets, and renames
  // it over the target. False with a reason
  // when any step fails; the temporary file is then removed and the target left as it was.
  bool Commit(std::string& reason);

 private:
  void Discard();

  FILE* m_stream = nullptr;
  std::string m_target;     // the file to replace (a symbolic link's target, resolved)
  std::string m_temporary;  // the temporary file beside it
  unsigned int m_mode = 0;  // permission bits for the result
  bool m_replaces = false;  // an existing file is replaced: keep its owner and group
  uid_t m_owner = 0;
  gid_t m_group = 0;
  int m_writeError = 0;    // errno of the first failed write
  int m_pendingSlot = -1;  // where the signal handler finds the temporary file
};

// The canonical path of `path`: resolved with its links when it exists, otherwise its folder
// resolved and its name appended. Empty when the folder cannot be resolved either.
std::string ResolvePath(const std::string& path);

}  // namespace qobase_tool
