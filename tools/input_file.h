// The check every command makes on a file it reads: it must be a regular file (through any
// symbolic links), so a device such as /dev/zero, a FIFO or a directory is refused at once
// instead of being read forever or failing later with a confusing message.
#pragma once

#include <string>

namespace qobase_tool {

// True when `path` names an existing regular file that can be opened for reading; otherwise
// false with a reason such as "No such file or directory", "Permission denied" or "not a regular
// file".
bool CheckInputFile(const std::string& path, std::string& reason);

// The first `size` bytes of `path` (fewer when the file is shorter; empty when it cannot be
// read), for telling a container by its first bytes.
std::string ReadFileHead(const std::string& path, size_t size);

}  // namespace qobase_tool
