// What a process needs to know about its place: the user's name and home directory, the
// temporary directory and the running executable. Every lookup that fails gives an empty result.
#pragma once

#include <qobase/files/path.h>
#include <qobase/strings/std_str.h>

// The environment variable "USERNAME"; empty when it is not set.
CStdStr GetUserName();

namespace zu {

// The environment variable "HOME"; the empty path when it is not set.
Path GetHomePath();
// The system's temporary directory, resolved ("/tmp" here); the environment (TMPDIR) is not
// consulted. Built once per process.
Path GetTempDirectoryPath();
// The running executable's absolute path with symbolic links, "." and ".." resolved; empty when
// it cannot be found or is longer than 1023 bytes.
Path GetExecutablePath();

}  // namespace zu
