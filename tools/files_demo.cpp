// The files section of `qobase demo`: paths, a locked file, temporary names, and recursive
// listing, copying and removal inside a scratch directory that is removed afterwards.
#include <internal/scratch_folder.h>
#include <qobase/files/directory_operations.h>
#include <qobase/files/file.h>
#include <qobase/files/file_operation.h>
#include <qobase/files/path.h>
#include <qobase/result_code.h>

#include <algorithm>
#include <cstdlib>
#include <ostream>

#include "command.h"

namespace qobase_tool {
namespace {

bool FilesDemoIn(const zu::Path& scratch, std::ostream& out) {
  zu::Path take = zu::Path::Join({scratch.GetFullPath(), "session//takes/", "take:01?.wav"});
  out << "   Join:        " << take.GetFullPath() << "\n";
  out << "   IsLegal:     " << (take.IsLegal() ? "yes" : "no") << "\n";
  take.MakeLegal();
  out << "   MakeLegal:   " << take.GetFileName() << "\n";
  out << "   Canonical:   " << zu::Path("session/./takes/../mixes/").Canonicalize().GetFullPath()
      << "\n";
  if (!zu::EnsureDirectoryExists(take.GetParent())) return false;

  zu::File writer;
  if (writer.Open(take, k_openModeWrite, 0) != QO::k_resultSuccess) return false;
  const bool written = writer.WriteExact("RIFF....WAVE", 12);
  zu::File second;
  const QO::ResultCode locked = second.Open(take, k_openModeWrite, 0);
  out << "   second writer while the first holds the file: result " << locked << "\n";
  writer.Close();
  if (!written || locked != QO::k_resultFailure) return false;

  zu::Path temporary;
  const unsigned int number =
      zu::FileOperation::TouchTempFileName(zu::Path(take.GetParent()), "wav", temporary);
  out << "   temporary:   " << temporary.GetFileName() << " (number " << number << ")\n";
  if (number == 0) return false;

  const CStdStr session = zu::Path::Join({scratch.GetFullPath(), "session"}).GetFullPath();
  const CStdStr backup = zu::Path::Join({scratch.GetFullPath(), "backup"}).GetFullPath();
  const bool copied = zu::CopyFilesRecursive(session, backup, zu::PathFilter::Basic, false);
  std::vector<CStdStr> files;
  zu::ListDirectoryRecursive(backup, files);
  std::sort(files.begin(), files.end());
  out << "   copied " << files.size() << " files into backup/:\n";
  for (const CStdStr& file : files) {
    out << "     " << zu::Path(file).MakePathRelative(zu::Path(backup)).GetFullPath() << "\n";
  }
  const bool removed = zu::RemoveDirectoryRecursive(backup, zu::PathFilter::Basic);
  out << "   removed backup/: " << (removed && !zu::Path(backup).Exists() ? "yes" : "no") << "\n";
  out << "   the basic filter refuses \"/\": "
      << (zu::RemoveDirectoryRecursive("/", zu::PathFilter::Basic) ? "no" : "yes") << "\n";
  return copied && files.size() == 2 && removed;
}

bool FilesDemo(std::ostream& out) {
  const qobase_internal::ScratchFolder scratch(qobase_internal::ScratchFolder::SystemTempFolder(),
                                               "qobase-demo");
  if (!scratch.IsValid()) return false;
  try {
    return FilesDemoIn(zu::Path(scratch.Path()), out);
  } catch (const std::exception& error) {
    out << "   error: " << error.what() << "\n";
    return false;
  }
}

const DemoRegistration s_section({20, "files and paths", FilesDemo});

}  // namespace
}  // namespace qobase_tool
