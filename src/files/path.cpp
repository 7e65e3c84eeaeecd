// zu::Path value operations: construction, components, editing, joining and legality.
#include <qobase/files/path.h>

#include <boost/filesystem/operations.hpp>
#include <cstring>
#include <locale>

#include "files/path_text.h"

namespace zu {
namespace {

const CStdStr separator("/");
const CStdStr genericSeparator("/");
const CStdStr pointSeparator(".");
const char s_invalidFilePathChar[] = "<>*?\"|";
const char s_invalidFileNameChar[] = ":<>*?\"\\/|";
const char* const sa_reservedNames[] = {
    "AUX",  "COM1", "COM2", "COM3", "COM4", "COM5", "COM6", "COM7", "COM8", "COM9", "CON",
    "LPT1", "LPT2", "LPT3", "LPT4", "LPT5", "LPT6", "LPT7", "LPT8", "LPT9", "NUL",  "PRN"};

const FsPath& EmptyFsPath() {
  static const FsPath s_empty;
  return s_empty;
}

// Removes every trailing '/' and appends one; an empty text stays empty.
void EndInOneSeparator(std::string& text) {
  if (text.empty()) return;
  while (!text.empty() && text.back() == '/') text.pop_back();
  text += '/';
}

bool EqualsNoCase(const CStdStr& a, const char* b) {
  const std::ctype<char>& ctype = std::use_facet<std::ctype<char>>(std::locale::classic());
  const size_t length = std::strlen(b);
  if (a.size() != length) return false;
  for (size_t i = 0; i < length; ++i) {
    if (ctype.tolower(a[i]) != ctype.tolower(b[i])) return false;
  }
  return true;
}

}  // namespace

Path::Path() : m_path(new FsPath()) {}
Path::Path(const CStdStr& text) : m_path(new FsPath(static_cast<const std::string&>(text))) {}
Path::Path(const std::string& text) : m_path(new FsPath(text)) {}
Path::Path(const char* text) : m_path(new FsPath(text ? text : "")) {}
Path::Path(FsPath* adopted) : m_path(adopted ? adopted : new FsPath()) {}
Path::Path(const Path& other) : m_path(new FsPath(other.Fs())) {}
Path::Path(Path&& other) noexcept : m_path(other.m_path) { other.m_path = nullptr; }

Path& Path::operator=(const Path& other) {
  if (this != &other) MutableFs() = other.Fs();
  return *this;
}

Path& Path::operator=(Path&& other) noexcept {
  std::swap(m_path, other.m_path);
  return *this;
}

Path::~Path() { delete m_path; }

const FsPath& Path::Fs() const { return m_path ? *m_path : EmptyFsPath(); }

FsPath& Path::MutableFs() {
  if (!m_path) m_path = new FsPath();
  return *m_path;
}

bool Path::operator==(const Path& other) const { return Fs().native() == other.Fs().native(); }
bool Path::operator<(const Path& other) const {
  return Fs().native().compare(other.Fs().native()) < 0;
}

Path::operator CStdStr() const { return Fs().native(); }
CStdStr Path::GetFullPath() const { return Fs().native(); }
const std::string& Path::GetText() const { return Fs().native(); }
const FsPath& Path::GetFsPath() const { return Fs(); }
void Path::SetFullPath(const CStdStr& text) { MutableFs() = static_cast<const std::string&>(text); }

bool Path::IsEmpty() const { return Fs().empty(); }
Path& Path::Clear() {
  MutableFs().clear();
  return *this;
}

const CStdStr& Path::GetNameSeparator() { return separator; }

CStdStr Path::GetRootName() const { return Fs().root_name().native(); }
CStdStr Path::GetDrive() const { return GetRootName(); }
CStdStr Path::GetParent() const { return Fs().parent_path().native(); }
CStdStr Path::GetFileName() const { return Fs().filename().native(); }
CStdStr Path::GetName() const { return GetFileName(); }
CStdStr Path::GetStem() const { return Fs().stem().native(); }
CStdStr Path::GetFileNameOnly() const { return GetStem(); }
CStdStr Path::GetFileExtension() const { return Fs().extension().native(); }

CStdStr Path::GetFileDirectory(bool addTrailingSeparator) const {
  if (IsEmpty()) return CStdStr();
  boost::system::error_code error;
  const boost::filesystem::file_status status = boost::filesystem::status(Fs(), error);
  std::string directory = (!error && status.type() == boost::filesystem::directory_file)
                              ? Fs().native()
                              : Fs().parent_path().native();
  if (addTrailingSeparator) EndInOneSeparator(directory);
  return directory;
}

CStdStr Path::GetDirectory(bool addTrailingSeparator) const {
  return GetFileDirectory(addTrailingSeparator);
}

CStdStr Path::GetTopFolderPath() const {
  Path normal(*this);
  normal.NormalizeFilePath();
  const std::string& text = normal.Fs().native();
  const size_t slash = text.find('/');
  return slash == std::string::npos ? text : text.substr(0, slash);
}

Path& Path::ReplaceExtension(const CStdStr& ext) {
  MutableFs().replace_extension(FsPath(static_cast<const std::string&>(ext)));
  return *this;
}

Path& Path::ChangeExtension(const CStdStr& ext) { return ReplaceExtension(ext); }

Path& Path::Append(const CStdStr& part) {
  FsPath* acc = nullptr;
  ConcatenatePart(Fs().native(), acc);
  ConcatenatePart(part, acc);
  *this = ConcatenateFinalize(acc, true, false);
  return *this;
}

Path& Path::Prepend(const CStdStr& part) {
  FsPath* acc = nullptr;
  ConcatenatePart(part, acc);
  ConcatenatePart(Fs().native(), acc);
  *this = ConcatenateFinalize(acc, true, false);
  return *this;
}

Path& Path::AddTrailingSeparator() {
  std::string text = Fs().native();
  EndInOneSeparator(text);
  MutableFs() = text;
  return *this;
}

Path& Path::RemoveTrailingSeparator() {
  MutableFs().remove_trailing_separator();
  return *this;
}

Path& Path::NormalizeFilePath() {
  const std::string& text = Fs().native();
  // Fast answer for the common case: no doubled and no trailing separator.
  if (text.empty() || (text.back() != '/' && text.find("//") == std::string::npos)) return *this;
  std::string collapsed = text;
  if (detail::CollapseSeparators(collapsed)) MutableFs() = std::move(collapsed);
  return *this;
}

Path& Path::Canonicalize() {
  if (IsEmpty()) return *this;
  std::string normal = Fs().lexically_normal().native();
  const size_t length = normal.size();
  if (length >= 3 && normal[length - 1] == '.' && normal[length - 2] != '.') normal.pop_back();
  MutableFs() = normal;
  return RemoveTrailingSeparator();
}

Path& Path::MakeLegal() {
  CStdStr name = GetFileName();
  if (name.empty()) return *this;
  for (char& ch : name) {
    if (std::strchr(s_invalidFileNameChar, ch) != nullptr && ch != '\0') ch = '_';
  }
  if (!name.empty() && name.back() == '.') name.pop_back();
  *this = Join({GetParent(), name});
  return *this;
}

Path& Path::MakePathRelative(const Path& base) {
  CStdStr relative = GetPathRelative(base);
  if (!relative.empty()) SetFullPath(relative);
  return *this;
}

Path Path::Join(std::initializer_list<CStdStr> parts) {
  FsPath* acc = nullptr;
  for (const CStdStr& part : parts) ConcatenatePart(part, acc);
  return ConcatenateFinalize(acc, true, false);
}

Path Path::Combine(std::initializer_list<CStdStr> parts) {
  FsPath* acc = nullptr;
  for (const CStdStr& part : parts) ConcatenatePart(part, acc);
  return ConcatenateFinalize(acc, false, true);
}

void Path::ConcatenatePart(const CStdStr& part, FsPath*& acc) {
  if (part.empty()) return;
  if (!acc) {
    if (part.back() == ':') {
      acc = new FsPath(part + separator);
      return;
    }
    acc = new FsPath();
  }
  // Version 3 append: a separator only when neither side supplies one; an absolute part is
  // appended, never substituted.
  *acc /= FsPath(static_cast<const std::string&>(part));
}

Path Path::ConcatenateFinalize(FsPath*& acc, bool normalize, bool canonicalize) {
  if (!acc) return Path(separator);
  const std::string& text = acc->native();
  const bool trailing = !text.empty() && IsSeparator(CStdStr(text.back(), 1));
  Path result(acc);
  acc = nullptr;
  if (normalize) result.NormalizeFilePath();
  if (canonicalize) result.Canonicalize();
  if (trailing) {
    std::string joined = result.Fs().native();
    while (!joined.empty() && joined.back() == '/') joined.pop_back();
    joined += separator;
    result.MutableFs() = joined;
  }
  return result;
}

CStdStr Path::GetPathRelative(const Path& base) const {
  boost::system::error_code error;
  const FsPath relative = boost::filesystem::relative(Fs(), base.Fs(), error);
  if (error) return CStdStr();
  return relative.native();
}

bool Path::IsLegal() const {
  const std::string& text = Fs().native();
  if (FilePathHasInvalidCharacters(text)) return false;
  if (ContainsReservedName()) return false;
  return text.empty() || text[0] != '.';
}

bool Path::IsLegalDirectoryName() const {
  const std::string& text = Fs().native();
  if (!text.empty() && text.back() == '.') return false;
  return IsLegal();
}

bool Path::ContainsReservedName() const {
  const std::string& text = Fs().native();
  size_t position = 0;
  while (position < text.size()) {
    size_t end = text.find(genericSeparator[0], position);
    if (end == std::string::npos) end = text.size();
    if (end > position && text[position] != pointSeparator[0]) {
      const size_t dot = text.find(pointSeparator[0], position);
      const size_t tokenEnd = (dot == std::string::npos || dot > end) ? end : dot;
      if (IsReservedName(text.substr(position, tokenEnd - position))) return true;
    }
    position = end + 1;
  }
  return false;
}

bool Path::IsReservedName(const CStdStr& name) {
  CStdStr trimmed(name);
  trimmed.Trim();
  for (const char* reserved : sa_reservedNames) {
    if (EqualsNoCase(trimmed, reserved)) return true;
  }
  return false;
}

bool Path::IsRoot() const {
  if (IsEmpty()) return false;
  return Fs().native() == Fs().root_path().native();
}

bool Path::IsRelative() const {
  const std::string& text = Fs().native();
  if (!text.empty() && text[0] == '/') return false;
  return Fs().root_directory().empty();
}

bool FilePathHasInvalidCharacters(const CStdStr& path) {
  return path.find_first_of(s_invalidFilePathChar) != std::string::npos;
}

bool FileNameHasInvalidCharacters(const CStdStr& name) {
  return name.find_first_of(s_invalidFileNameChar) != std::string::npos;
}

bool IsSeparator(const CStdStr& text) { return text == separator || text == genericSeparator; }

bool IsPathSeparator(const CStdStr& text) { return IsSeparator(text); }

bool IsWindowNetworkRoot(CStdStr text) {
  if (text.size() == 2) return true;
  if (text.size() < 2) return false;
  const std::string rest = text.substr(2);
  if (rest.size() < 2) return false;
  const size_t slash = rest.find(separator, 2);
  if (slash == std::string::npos || slash == rest.size() - 1) return false;
  return rest.find(separator, slash + 1) == std::string::npos;
}

namespace detail {

bool CollapseSeparators(std::string& text) {
  const size_t length = text.size();
  if (length == 0) return false;
  if (text.back() != '/' && text.find("//") == std::string::npos) return false;
  std::string result;
  result.reserve(length);
  // Only a text starting with "//" can carry a root name; ask the path library then.
  const bool rootName =
      length > 2 && text[0] == '/' && text[1] == '/' && !FsPath(text).root_name().empty();
  if (text[0] == '/' && !rootName) result += '/';
  bool anyToken = false;
  size_t position = 0;
  while (position < length) {
    while (position < length && text[position] == '/') ++position;
    if (position >= length) break;
    size_t end = text.find('/', position);
    if (end == std::string::npos) end = length;
    if (anyToken) result += '/';
    result.append(text, position, end - position);
    anyToken = true;
    position = end;
  }
  if (!anyToken || result == text) return false;
  text.swap(result);
  return true;
}

}  // namespace detail
}  // namespace zu
