// The few file-system services that differ between platforms, behind one narrow interface: the
// user-hidden flag of a file and the current path of an open descriptor. One source file per
// platform implements them (src/platform/linux/ here).
#pragma once

#include <string>

namespace zu {
namespace platform {

// True when the file at `path` carries the user-hidden flag; false when it does not or when the
// flag cannot be read.
bool IsHiddenFlagSet(const std::string& path);
// Sets or clears the user-hidden flag; false when the file system refuses.
bool SetHiddenFlag(const std::string& path, bool hidden);
// The current absolute path of the file open on `descriptor`, following renames made while it
// was open; empty when the descriptor is not open, names no path, or its file was removed.
std::string DescriptorPath(int descriptor);

}  // namespace platform
}  // namespace zu
