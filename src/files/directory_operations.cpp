// Recursive directory operations over the path library's iterators. The walks use the
// throwing forms of the path library: an unreadable directory below the root is reported to
// the caller as a filesystem_error.
#include <qobase/files/directory_operations.h>
#include <qobase/files/path.h>
#include <qobase/files/path_find.h>

#include <sys/stat.h>

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>
#include <map>
#include <regex>
#include <utility>

#include "files/path_text.h"

namespace fs = boost::filesystem;

namespace zu {
namespace {

using DirectoryIdentity = std::pair<dev_t, ino_t>;

bool IdentityOf(const std::string& path, DirectoryIdentity& identity) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) return false;
  identity = DirectoryIdentity(info.st_dev, info.st_ino);
  return true;
}

// `ancestors` holds the directories being searched above this one, so a symbolic link back up
// the tree cannot send the search round for ever.
void CollectFiles(const CStdStr& dir, std::set<CStdStr>& found, const CStdStr& pattern,
                  bool includeHidden, std::set<DirectoryIdentity>& ancestors) {
  DirectoryIdentity identity;
  if (!IdentityOf(dir, identity) || !ancestors.insert(identity).second) return;
  Path normal(dir);
  found.insert(normal.NormalizeFilePath().GetFullPath());
  for (PathFind all(Path::Join({dir, "*"}).GetFullPath(), includeHidden); all.HasNext();) {
    const Path entry = all.Next();
    if (entry.IsDirectory()) CollectFiles(entry.GetFullPath(), found, pattern, false, ancestors);
  }
  for (PathFind matches(Path::Join({dir, pattern}).GetFullPath(), includeHidden);
       matches.HasNext();) {
    const Path entry = matches.Next();
    if (!entry.IsDirectory()) found.insert(entry.GetFullPath());
  }
  ancestors.erase(identity);
}

// The part of `entry` below `root`, for an entry produced by iterating `root`.
bool RelativeBelow(const std::string& root, const std::string& entry, std::string& relative) {
  if (entry.size() <= root.size() || entry.compare(0, root.size(), root) != 0) return false;
  size_t start = root.size();
  while (start < entry.size() && entry[start] == '/') ++start;
  relative = entry.substr(start);
  if (relative.empty()) return false;
  for (const fs::path& component : fs::path(relative)) {
    if (component == "..") return false;
  }
  return true;
}

}  // namespace

bool ListDirectoryRecursive(const CStdStr& dir, std::vector<CStdStr>& files) {
  const fs::path root(static_cast<const std::string&>(dir));
  if (!fs::exists(root)) return false;
  for (fs::recursive_directory_iterator it(root), end; it != end; ++it) {
    if (fs::is_directory(it->status())) continue;
    std::string text = it->path().native();
    detail::CollapseSeparators(text);
    files.emplace_back(std::move(text));
  }
  return true;
}

bool GetFilesRecursive(const CStdStr& dir, std::set<CStdStr>& found, const CStdStr& pattern,
                       bool includeHidden) {
  if (!Path(dir).IsDirectory()) return false;
  std::set<DirectoryIdentity> ancestors;
  CollectFiles(dir, found, pattern, includeHidden, ancestors);
  return !found.empty();
}

bool EnsureDirectoryExists(const CStdStr& dir) {
  if (dir.empty()) return false;
  Path path(dir);
  path.RemoveTrailingSeparator();
  return path.CreateDirectories();
}

bool RemoveDirectoryRecursive(const CStdStr& dir, const PathFilterFunction& filter) {
  const fs::path root(static_cast<const std::string&>(dir));
  if (!fs::exists(root)) return false;
  if (filter && !filter(dir)) return false;
  std::vector<fs::path> files;
  std::map<int, std::vector<fs::path>> directoriesByDepth;
  for (fs::recursive_directory_iterator it(root), end; it != end; ++it) {
    // The entry itself, not what a link points to: links are removed, never followed.
    const fs::file_status status = it->symlink_status();
    if (!fs::exists(status)) continue;
    if (filter && !filter(CStdStr(it->path().native()))) continue;
    if (fs::is_directory(status)) {
      directoriesByDepth[it.depth()].push_back(it->path());
    } else {
      files.push_back(it->path());
    }
  }
  for (const fs::path& file : files) {
    boost::system::error_code ignored;
    fs::remove(file, ignored);
  }
  // Deepest level first; walking the recorded depths themselves also copes with a filter that
  // left a level out.
  for (auto level = directoriesByDepth.rbegin(); level != directoriesByDepth.rend(); ++level) {
    for (const fs::path& directory : level->second) fs::remove(directory);
  }
  fs::remove(root);
  return true;
}

bool CopyFilesRecursive(const CStdStr& source, const CStdStr& destination,
                        const PathFilterFunction& filter, bool includeHidden) {
  const Path sourcePath(source);
  if (!sourcePath.Exists()) return false;
  bool result = true;
  const Path destinationPath(destination);
  if (!destinationPath.Exists()) result = sourcePath.Copy(destinationPath, nullptr);
  // A single file was copied by the step above; there is no tree to walk.
  if (!sourcePath.IsDirectory()) return result;

  const fs::path root(static_cast<const std::string&>(source));
  std::vector<std::string> entries;
  for (fs::recursive_directory_iterator it(root), end; it != end; ++it) {
    boost::system::error_code error;
    const fs::file_status status = fs::status(it->path(), error);
    if (!error && fs::is_directory(status)) continue;
    const std::string& text = it->path().native();
    if (!includeHidden && Path(text).IsHidden()) continue;
    if (filter && !error && fs::exists(status) && !filter(CStdStr(text))) continue;
    entries.push_back(text);
  }
  for (const std::string& entry : entries) {
    // The relative part is taken from the text, not from resolved paths, so a symbolic link
    // inside the tree can never steer a copy outside `destination`.
    std::string relative;
    if (!RelativeBelow(root.native(), entry, relative)) {
      result = false;
      continue;
    }
    const Path target = Path::Combine({destination, relative});
    result = Path(entry).Copy(target, nullptr) && result;
  }
  return result;
}

bool RegexPathFilter(const CStdStr& path, const CStdStr& pattern) {
  try {
    return std::regex_match(
        static_cast<const std::string&>(path),
        std::regex(static_cast<const std::string&>(pattern), std::regex::ECMAScript));
  } catch (const std::regex_error&) {
    return false;
  }
}

bool PathFilter::Basic(const CStdStr& path) {
  static const std::regex s_dotsSeparatorsOrDriveRoot(
      R"(^((\.+(/|\\)*)+|((/|\\)+\.*)+|([A-z]:(/|\\)?))$)", std::regex::ECMAScript);
  return !std::regex_match(static_cast<const std::string&>(path), s_dotsSeparatorsOrDriveRoot);
}

}  // namespace zu
