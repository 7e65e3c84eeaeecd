// FileHelp: the older string-based facade over paths, files and directory operations.
#include <qobase/files/file_help.h>
#include <qobase/files/file_operation.h>
#include <qobase/result_code.h>

FileHelp::TemporaryFile::TemporaryFile(const zu::Path& dir) : TemporaryFile(dir, "tmp") {}

FileHelp::TemporaryFile::TemporaryFile(const zu::Path& dir, const CStdStr& extension) {
  if (zu::FileOperation::TouchTempFileName(dir, extension, m_path) != 0) {
    m_file.Open(m_path, k_openModeReadAppend, 0);
  }
}

FileHelp::TemporaryFile::~TemporaryFile() { Close(); }

void FileHelp::TemporaryFile::Close() { m_file.Close(); }

bool FileHelp::TemporaryFile::DeleteFile() {
  Close();
  return m_path.Remove(false);
}

CStdStr FileHelp::ReadTextFile(const CStdStr& path) {
  return zu::FileOperation::ReadTextFile(zu::Path(path));
}

bool FileHelp::OpenTextStream(std::ifstream& stream, const CStdStr& path) {
  return zu::FileOperation::OpenTextStream(stream, zu::Path(path));
}

bool FileHelp::EnsureDirectoryExists(const CStdStr& dir) { return zu::EnsureDirectoryExists(dir); }

bool FileHelp::ListDirectoryRecursive(const CStdStr& dir, std::vector<CStdStr>& files) {
  return zu::ListDirectoryRecursive(dir, files);
}

bool FileHelp::RemoveDirectoryRecursive(const CStdStr& dir) { return zu::Path(dir).Remove(true); }

void FileHelp::FolderAddBackslash(CStdStr& path) {
  path = zu::Path(path).AddTrailingSeparator().GetFullPath();
}

CStdStr FileHelp::PathAddTrailingSeparator(const CStdStr& path) {
  return zu::Path(path).AddTrailingSeparator().GetFullPath();
}

void FileHelp::FolderRemoveBackslash(CStdStr& path) {
  path = zu::Path(path).RemoveTrailingSeparator().GetFullPath();
}

CStdStr FileHelp::PathRemoveTrailingSeparator(const CStdStr& path) {
  return zu::Path(path).RemoveTrailingSeparator().GetFullPath();
}

CStdStr FileHelp::PathRemoveBackslash(const CStdStr& path) {
  return PathRemoveTrailingSeparator(path);
}

CStdStr FileHelp::PathAddBackslash(CStdStr& path) {
  if (!path.empty() && path.back() != '\\') path += '\\';
  return path;
}

CStdStr FileHelp::PathCombine(const CStdStr& first, const CStdStr& second) {
  return zu::Path::Combine({first, second}).GetFullPath();
}

CStdStr FileHelp::PathCanonicalize(const CStdStr& path) {
  return zu::Path(path).Canonicalize().GetFullPath();
}

void FileHelp::MakePathRelative(CStdStr& path, const CStdStr& base) {
  path = zu::Path(path).MakePathRelative(zu::Path(base)).GetFullPath();
}

CStdStr FileHelp::GetFileName(const CStdStr& path) { return zu::Path(path).GetFileName(); }

CStdStr FileHelp::GetFileExtension(const CStdStr& path) {
  return zu::Path(path).GetFileExtension();
}

CStdStr FileHelp::GetFileNameNoExtension(const CStdStr& path) { return zu::Path(path).GetStem(); }

CStdStr FileHelp::PathGetDirectory(const CStdStr& path) {
  const zu::Path value(path);
  return value.IsDirectory() ? value.GetParent() : value.GetFileDirectory(false);
}

CStdStr FileHelp::PathReplaceExtension(const CStdStr& path, const CStdStr& extension) {
  return zu::Path(path).ReplaceExtension(extension).GetFullPath();
}

bool FileHelp::FilePathHasInvalidCharacters(const CStdStr& path) {
  return zu::FilePathHasInvalidCharacters(path);
}

bool FileHelp::FileNameHasInvalidCharacters(const CStdStr& name) {
  return zu::FileNameHasInvalidCharacters(name);
}

void FileHelp::NormalizeFilePath(CStdStr& path) {
  path = zu::Path(path).NormalizeFilePath().GetFullPath();
}

void FileHelp::RemoveReadOnlyFlag(const CStdStr& path) { zu::Path(path).RemoveReadOnlyStatus(); }

void FileHelp::RemoveReadOnlyFlagRecursive(const CStdStr& dir) {
  std::vector<CStdStr> files;
  zu::ListDirectoryRecursive(dir, files);
  for (const CStdStr& file : files) zu::Path(file).RemoveReadOnlyStatus();
}

std::uint64_t FileHelp::GetFileSize(const CStdStr& path) { return zu::Path(path).GetFileSize(); }

bool FileHelp::IsTextFileInUnicode(const CStdStr&) { return false; }

bool FileHelp::AreFileIdentical(const CStdStr& first, const CStdStr& second) {
  return zu::FileOperation::AreFilesIdentical(zu::Path(first), zu::Path(second));
}

bool FileHelp::IsReadOnly(const CStdStr& path) {
  const zu::Path value(path);
  return value.Exists() && !zu::FileOperation::IsWritable(value);
}

bool FileHelp::IsHidden(const CStdStr& path) { return zu::Path(path).IsHidden(); }

bool FileHelp::CopyFilesRecursively(const CStdStr& source, const CStdStr& destination,
                                    const zu::PathFilterFunction& filter, bool includeHidden) {
  return zu::CopyFilesRecursive(source, destination, filter, includeHidden);
}

bool FileHelp::GetFilesRecursive(const CStdStr& dir, std::set<CStdStr, NoCaseStringComp>& found,
                                 const CStdStr& pattern) {
  std::set<CStdStr> plain;
  const bool result = zu::GetFilesRecursive(dir, plain, pattern, false);
  found.insert(plain.begin(), plain.end());
  return result;
}
