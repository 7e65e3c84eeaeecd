// zu::Path members that consult or change the file system. Every query uses the error-code form
// of the path library, so an ordinary failure is a false, 0 or -1, never an exception.
#include <qobase/files/path.h>
#include <qobase/system/progress.h>

#include <boost/filesystem/operations.hpp>

#include "platform/file_system_platform.h"

namespace fs = boost::filesystem;

namespace zu {
namespace {

const fs::perms k_anyWrite = fs::owner_write | fs::group_write | fs::others_write;

bool StatusExists(const fs::file_status& status) {
  return status.type() != fs::status_error && status.type() != fs::file_not_found;
}

bool ExistsFs(const FsPath& path) {
  boost::system::error_code error;
  const fs::file_status status = fs::status(path, error);
  return !error && StatusExists(status);
}

bool IsDirectoryFs(const FsPath& path) {
  boost::system::error_code error;
  const fs::file_status status = fs::status(path, error);
  return !error && status.type() == fs::directory_file;
}

// One object: a link as a link, a directory as an empty directory, a regular file as a copy
// that refuses to replace an existing one.
bool CopySingleObject(const FsPath& from, const FsPath& to) {
  boost::system::error_code error;
  const fs::file_status status = fs::symlink_status(from, error);
  if (error) return false;
  switch (status.type()) {
    case fs::symlink_file:
      fs::copy_symlink(from, to, error);
      break;
    case fs::directory_file:
      fs::create_directory(to, error);
      break;
    case fs::regular_file: {
      fs::copy_file(from, to, fs::copy_options::none, error);
      // A copy cut short (a full disk, a size limit) removes what it wrote: the partial file
      // would pass for the copy and, since copies never overwrite, refuse the next attempt. An
      // existing destination made the copy fail before anything was written, and stays.
      if (error && error != boost::system::errc::file_exists) {
        boost::system::error_code ignored;
        fs::remove(to, ignored);
      }
      break;
    }
    default:
      return false;
  }
  return !error;
}

}  // namespace

bool Path::Exists() const { return ExistsFs(Fs()); }
bool Path::IsDirectory() const { return IsDirectoryFs(Fs()); }
bool Path::DirectoryExists() const { return IsDirectory(); }

bool Path::FileExists() const {
  boost::system::error_code error;
  const fs::file_status status = fs::status(Fs(), error);
  return !error && StatusExists(status) && status.type() != fs::directory_file;
}

bool Path::IsFile() const { return FileExists(); }

bool Path::IsEquivalent(const Path& other) const {
  boost::system::error_code error;
  const bool same = fs::equivalent(Fs(), other.Fs(), error);
  return same && !error;
}

bool Path::IsHidden() const { return !IsEmpty() && platform::IsHiddenFlagSet(Fs().native()); }

bool Path::IsReadOnly() const {
  if (!Exists()) return false;
  return (fs::status(Fs()).permissions() & k_anyWrite) == 0;
}

std::uint64_t Path::GetFileSize() const {
  boost::system::error_code error;
  const std::uintmax_t size = fs::file_size(Fs(), error);
  return error ? 0 : static_cast<std::uint64_t>(size);
}

std::int64_t Path::GetLastWriteTime() const {
  boost::system::error_code error;
  const std::time_t time = fs::last_write_time(Fs(), error);
  return error ? -1 : static_cast<std::int64_t>(time);
}

bool Path::SetLastWriteTime(long long seconds) const {
  if (seconds < 0 || !Exists()) return false;
  boost::system::error_code error;
  fs::last_write_time(Fs(), static_cast<std::time_t>(seconds), error);
  return !error;
}

bool Path::SetHiddenStatus(bool hidden) const {
  if (!Exists()) return false;
  if (IsHidden() == hidden) return true;
  return platform::SetHiddenFlag(Fs().native(), hidden);
}

void Path::RemoveReadOnlyStatus() const {
  if (!Exists()) return;
  fs::permissions(Fs(), fs::add_perms | k_anyWrite);
}

bool Path::CreateDirectory() const {
  if (Exists()) return true;
  if (!ExistsFs(Fs().parent_path())) return false;
  if (FilePathHasInvalidCharacters(Fs().native())) return false;
  boost::system::error_code error;
  fs::create_directory(Fs(), error);
  return !error;
}

bool Path::CreateDirectories() const {
  if (Exists()) return true;
  if (FilePathHasInvalidCharacters(Fs().native())) return false;
  boost::system::error_code error;
  fs::create_directories(Fs(), error);
  return !error;
}

bool Path::Remove(bool recursive) const {
  boost::system::error_code error;
  if (recursive && IsDirectory()) {
    const std::uintmax_t removed = fs::remove_all(Fs(), error);
    if (error || removed == 0 || removed == static_cast<std::uintmax_t>(-1)) return false;
    return true;
  }
  if (!Exists()) return false;
  const bool removed = fs::remove(Fs(), error);
  return removed && !error;
}

bool Path::Move(const Path& destination, bool copyIfRenameFails) const {
  boost::system::error_code error;
  if (fs::equivalent(Fs(), destination.Fs(), error) && !error) return true;
  if (!Exists()) return false;
  error.clear();
  fs::rename(Fs(), destination.Fs(), error);
  if (!error) return true;
  return copyIfRenameFails ? Copy(destination, nullptr) : false;
}

bool Path::Copy(const Path& destination, QO::Sonvo::IProgress* progress) const {
  if (!Exists()) return false;
  const FsPath parent = destination.Fs().parent_path();
  // An empty parent is the working directory, which exists.
  if (!parent.empty() && !IsDirectoryFs(parent)) {
    if (!Path(parent.native()).CreateDirectories()) return false;
  }
  return FsPathCopy(*this, destination, progress);
}

bool Path::FsPathCopy(const Path& from, const Path& to, QO::Sonvo::IProgress* progress) {
  if (progress) {
    progress->SetRange(0, 100);
    progress->SetPosition(0);
  }
  const bool copied = CopySingleObject(from.Fs(), to.Fs());
  if (progress) progress->SetPosition(100);
  return copied;
}

Path Path::GetCurrent() {
  boost::system::error_code error;
  const FsPath current = fs::current_path(error);
  return error ? Path() : Path(current.native());
}

void Path::SetCurrent(const Path& path) { fs::current_path(path.Fs()); }

bool PathFileExists(const CStdStr& path) { return Path(path).Exists(); }

bool FileExists(const CStdStr& path) { return Path(path).FileExists(); }

}  // namespace zu
