// FileHelp: the older string-based facade over paths, files and directory operations. Each
// operation builds a zu::Path from its text and forwards; the forms taking CStdStr& store their
// result back into the argument.
#pragma once

#include <qobase/files/directory_operations.h>
#include <qobase/files/file.h>
#include <qobase/files/no_case_string_comp.h>
#include <qobase/files/path.h>

#include <cstdint>
#include <fstream>
#include <set>
#include <vector>

class FileHelp {
 public:
  // A new uniquely named file, open for reading and appending. The destructor closes it but
  // leaves it on disk; DeleteFile removes it.
  class TemporaryFile {
   public:
    // Created in `dir` with the extension "tmp".
    explicit TemporaryFile(const zu::Path& dir);
    TemporaryFile(const zu::Path& dir, const CStdStr& extension);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    // The file's path; empty when no file could be created.
    const zu::Path& GetPath() const { return m_path; }
    zu::File& GetFile() { return m_file; }
    void Close();
    // Closes the file and removes it; false when nothing was removed.
    bool DeleteFile();

   private:
    zu::Path m_path;
    zu::File m_file;
  };

  static CStdStr ReadTextFile(const CStdStr& path);
  static bool OpenTextStream(std::ifstream& stream, const CStdStr& path);
  static bool EnsureDirectoryExists(const CStdStr& dir);
  static bool ListDirectoryRecursive(const CStdStr& dir, std::vector<CStdStr>& files);
  // Removes `dir` with everything in it (or a single file); false when nothing was removed.
  static bool RemoveDirectoryRecursive(const CStdStr& dir);

  // Trailing separators: "a" becomes "a/"; "a/" becomes "a".
  static void FolderAddBackslash(CStdStr& path);
  static CStdStr PathAddTrailingSeparator(const CStdStr& path);
  static void FolderRemoveBackslash(CStdStr& path);
  static CStdStr PathRemoveTrailingSeparator(const CStdStr& path);
  static CStdStr PathRemoveBackslash(const CStdStr& path);
  // Appends a backslash character to a non-empty text not already ending with one, in place,
  // and returns the text. This is plain text editing, not a path operation.
  static CStdStr PathAddBackslash(CStdStr& path);

  static CStdStr PathCombine(const CStdStr& first, const CStdStr& second);
  static CStdStr PathCanonicalize(const CStdStr& path);
  static void MakePathRelative(CStdStr& path, const CStdStr& base);
  static CStdStr GetFileName(const CStdStr& path);
  static CStdStr GetFileExtension(const CStdStr& path);
  static CStdStr GetFileNameNoExtension(const CStdStr& path);
  // The parent of an existing directory; otherwise the directory part of the path.
  static CStdStr PathGetDirectory(const CStdStr& path);
  static CStdStr PathReplaceExtension(const CStdStr& path, const CStdStr& extension);
  static bool FilePathHasInvalidCharacters(const CStdStr& path);
  static bool FileNameHasInvalidCharacters(const CStdStr& name);
  static void NormalizeFilePath(CStdStr& path);

  // Add write permission for everybody; throw the path library's filesystem_error on failure.
  static void RemoveReadOnlyFlag(const CStdStr& path);
  static void RemoveReadOnlyFlagRecursive(const CStdStr& dir);
  static std::uint64_t GetFileSize(const CStdStr& path);
  // Always false: text files are UTF-8.
  static bool IsTextFileInUnicode(const CStdStr& path);
  static bool AreFileIdentical(const CStdStr& first, const CStdStr& second);
  // Exists and cannot be written.
  static bool IsReadOnly(const CStdStr& path);
  static bool IsHidden(const CStdStr& path);
  static bool CopyFilesRecursively(const CStdStr& source, const CStdStr& destination,
                                   const zu::PathFilterFunction& filter, bool includeHidden);
  // zu::GetFilesRecursive without hidden entries, into a case-insensitive set.
  static bool GetFilesRecursive(const CStdStr& dir, std::set<CStdStr, NoCaseStringComp>& found,
                                const CStdStr& pattern);
};
