// Recursive directory operations over the path library's iterators.
#include <qobase/files/directory_operations.h>
#include <qobase/files/path.h>

namespace zu {

bool EnsureDirectoryExists(const CStdStr& dir) {
  if (dir.empty()) return false;
  Path path(dir);
  path.RemoveTrailingSeparator();
  // "/" loses its only character; the root itself is meant.
  if (path.IsEmpty()) path.SetFullPath(dir);
  return path.CreateDirectories();
}

}  // namespace zu
