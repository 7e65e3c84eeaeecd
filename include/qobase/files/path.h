// zu::Path: the library's path value. It keeps the caller's text exactly as given; nothing is
// made absolute, resolved or case-folded unless an operation says so. Decomposition (root name,
// parent, file name, stem, extension) follows the path library's rules; the operations here add
// joining, normalisation, legality rules and the file-system queries and changes on a path.
#pragma once

#include <qobase/strings/std_str.h>

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <initializer_list>

namespace QO {
namespace Sonvo {
class IProgress;
}
}  // namespace QO

namespace zu {

// The path library's path object: the text as UTF-8 bytes, with its decomposition rules.
using FsPath = boost::filesystem::path;

class Path {
 public:
  // The empty path.
  Path();
  // The caller's text, unchanged.
  Path(const CStdStr& text);      // NOLINT: paths are made from strings everywhere
  Path(const std::string& text);  // NOLINT
  Path(const char* text);         // NOLINT
  // Adopts a path object allocated with new; a null pointer gives the empty path.
  explicit Path(FsPath* adopted);
  Path(const Path& other);
  // Takes the other's path object; the other is left empty and only fit to be destroyed or
  // assigned to. No allocation.
  Path(Path&& other) noexcept;
  Path& operator=(const Path& other);
  // Exchanges the two path objects. No allocation.
  Path& operator=(Path&& other) noexcept;
  virtual ~Path();

  // Byte-wise equality of the texts: "A/b" != "a/b", "a//b" != "a/b".
  bool operator==(const Path& other) const;
  bool operator!=(const Path& other) const { return !(*this == other); }
  // Byte-wise order (unsigned bytes; a proper prefix orders first), for ordered containers.
  bool operator<(const Path& other) const;

  // The text as stored.
  operator CStdStr() const;  // NOLINT
  // The stored text without a copy.
  const std::string& GetText() const;
  // The underlying path object.
  const FsPath& GetFsPath() const;
  // Replaces the text by the caller's, unchanged.
  void SetFullPath(const CStdStr& text);

  bool IsEmpty() const;
  Path& Clear();
  // "/".
  static const CStdStr& GetNameSeparator();

  // Components. The root name is empty except for a network prefix ("//host").
  CStdStr GetRootName() const;
  CStdStr GetParent() const;
  // The file name; "." for a text ending in a separator.
  CStdStr GetFileName() const;
  // The file name without its extension.
  CStdStr GetStem() const;
  // The extension with its dot (".wav"), or empty.
  CStdStr GetFileExtension() const;
  // The path itself when it names an existing directory, else its parent; with
  // `addTrailingSeparator` it ends in exactly one "/". Empty for the empty path.
  CStdStr GetFileDirectory(bool addTrailingSeparator) const;
  // The first component of the normalised text: "a//b/c" gives "a", "abc" gives "abc",
  // "/a/b" gives "".
  CStdStr GetTopFolderPath() const;

  // Editing; each returns *this.
  // Removes the old extension and appends `ext` (a dot is added when missing); an empty `ext`
  // only removes.
  Path& ReplaceExtension(const CStdStr& ext);
  // This path then `part`, joined as Join does.
  Path& Append(const CStdStr& part);
  // `part` then this path, joined as Join does.
  Path& Prepend(const CStdStr& part);
  // Ends the text in exactly one "/".
  Path& AddTrailingSeparator();
  Path& RemoveTrailingSeparator();
  // Collapses runs of separators and drops trailing ones; "." and ".." stay. "a//b///c/" gives
  // "a/b/c"; "" and "///" are left unchanged.
  Path& NormalizeFilePath();
  // Lexical normal form without a trailing separator: "a/./b/../c/" gives "a/c".
  Path& Canonicalize();
  // Replaces the characters that no file name may hold in the last component by "_" and drops
  // one final dot: "dir/a:b*c." gives "dir/a_b_c".
  Path& MakeLegal();
  // Replaces the text by GetPathRelative(base) when that is not empty.
  Path& MakePathRelative(const Path& base);

  // Joins the non-empty parts with "/" and normalises (Join) or canonicalises (Combine). No
  // non-empty part gives "/"; a trailing separator on the joined text survives as exactly one.
  // Join({"C:", "x"}) is "C:/x"; Join({"a/", "/b"}) is "a/b"; Combine({"a", "..", "b"}) is "b".
  static Path Join(std::initializer_list<CStdStr> parts);
  static Path Combine(std::initializer_list<CStdStr> parts);
  // The steps of Join and Combine. `acc` starts null and is owned by the caller until
  // ConcatenateFinalize adopts it (and sets it to null).
  static void ConcatenatePart(const CStdStr& part, FsPath*& acc);
  static Path ConcatenateFinalize(FsPath*& acc, bool normalize, bool canonicalize);

  // This path relative to `base` (both made weakly canonical against the file system); empty on
  // error or when there is no relative form.
  CStdStr GetPathRelative(const Path& base) const;

  // Legality and classification.
  // False for any of <>*?"| in the text, a reserved component, or a leading ".". "" is legal.
  bool IsLegal() const;
  // As IsLegal, and false for a text ending in ".".
  bool IsLegalDirectoryName() const;
  // A component whose part before the first dot is a reserved device name: "dir/con.txt" yes,
  // "dir/.con" no.
  bool ContainsReservedName() const;
  // `name`, trimmed, equals a reserved device name ignoring case: " com1 " and "Nul" yes,
  // "COM10" and "CON.txt" no.
  static bool IsReservedName(const CStdStr& name);
  // The text is exactly its own root path ("/").
  bool IsRoot() const;
  // Does not begin with "/" and has no root directory.
  bool IsRelative() const;

  // File-system queries through the path. None of them throws for an ordinary failure.
  bool Exists() const;
  bool IsDirectory() const;
  // Exists and is not a directory.
  bool FileExists() const;
  // Both name the same file-system object.
  bool IsEquivalent(const Path& other) const;
  // The user-hidden flag is set.
  bool IsHidden() const;
  // Exists and has none of the write permission bits. Throws the path library's
  // filesystem_error when the permissions of an existing path cannot be read.
  bool IsReadOnly() const;
  // Size in bytes; 0 on any error (a directory, a missing file).
  std::uint64_t GetFileSize() const;
  // Modification time in seconds since 1970-01-01 UTC; -1 on error.
  std::int64_t GetLastWriteTime() const;

  // File-system changes through the path.
  // Sets the modification time of an existing path; false for a negative time or on error.
  bool SetLastWriteTime(long long seconds) const;
  // Sets or clears the user-hidden flag; true when it already had that state.
  bool SetHiddenStatus(bool hidden) const;
  // Adds the write permission for owner, group and others to an existing path. Throws the path
  // library's filesystem_error when the permissions cannot be changed.
  void RemoveReadOnlyStatus() const;
  // Creates this directory (one level); true when it exists afterwards. False when the parent is
  // missing or the text holds one of <>*?"|.
  bool CreateDirectory() const;
  // Creates every missing level; false when the text holds one of <>*?"|.
  bool CreateDirectories() const;
  // Removes the file or empty directory, or with `recursive` a directory and its contents. False
  // when nothing was removed or an error was reported.
  bool Remove(bool recursive) const;
  // Renames to `destination`; when that fails and `copyIfRenameFails`, copies instead (the
  // source stays). True at once when both name the same object.
  bool Move(const Path& destination, bool copyIfRenameFails) const;
  // Copies this one object to `destination`, creating missing parent directories. Never
  // overwrites: an existing destination file makes it fail. A file copy that fails part way
  // (a full disk) removes what it wrote. A directory is copied as an empty
  // directory, a symbolic link as a link. `progress` (may be null) gets 0..100.
  bool Copy(const Path& destination, QO::Sonvo::IProgress* progress) const;
  // The single-object copy of `from` to `to`, reporting 0 then 100 to `progress` (may be null)
  // whatever the outcome. It uses only its arguments, so it is static; calls through an object
  // still compile.
  static bool FsPathCopy(const Path& from, const Path& to, QO::Sonvo::IProgress* progress);

  // The process's current working directory (empty when it cannot be read).
  static Path GetCurrent();
  // Changes the working directory. Throws the path library's filesystem_error on failure.
  static void SetCurrent(const Path& path);

  // Older spellings, kept for existing callers; each does exactly what the operation it names
  // does.
  CStdStr GetFullPath() const;                            // older spelling of operator CStdStr
  CStdStr GetDrive() const;                               // older spelling of GetRootName
  CStdStr GetName() const;                                // older spelling of GetFileName
  CStdStr GetFileNameOnly() const;                        // older spelling of GetStem
  CStdStr GetDirectory(bool addTrailingSeparator) const;  // older spelling of GetFileDirectory
  Path& ChangeExtension(const CStdStr& ext);              // older spelling of ReplaceExtension
  bool DirectoryExists() const;                           // older spelling of IsDirectory
  bool IsFile() const;                                    // older spelling of FileExists

 private:
  const FsPath& Fs() const;
  FsPath& MutableFs();

  FsPath* m_path;
};

// Any of <>*?"| in `path`.
bool FilePathHasInvalidCharacters(const CStdStr& path);
// Any of :<>*?"\/| in `name`.
bool FileNameHasInvalidCharacters(const CStdStr& name);
// `text` is exactly a path separator ("/").
bool IsSeparator(const CStdStr& text);
// Older spelling of IsSeparator.
bool IsPathSeparator(const CStdStr& text);
// A network share root "//host/share" (and, by convention, any two-character text);
// "//host/share/x" and "//host/" are not.
bool IsWindowNetworkRoot(CStdStr text);

// Existence tests on plain strings, as Path::Exists and Path::FileExists.
bool PathFileExists(const CStdStr& path);
bool FileExists(const CStdStr& path);

}  // namespace zu
