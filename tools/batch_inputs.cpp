#include "batch_inputs.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

namespace qobase_tool {
namespace {

namespace fs = std::filesystem;

bool HasExtension(const fs::path& path, const std::vector<std::string>& extensions) {
  std::string extension = path.extension().string();
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

// Appends the matching regular files of `folder` (and below, when recursive) in name order;
// sub-folders are listed where their name sorts.
void ListFolder(const std::string& folder, bool recursive,
                const std::vector<std::string>& extensions, std::vector<BatchInput>& inputs) {
  std::error_code error;
  std::vector<fs::directory_entry> entries;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    entries.push_back(*it);
  }
  if (error) {
    inputs.push_back({folder, "cannot list the folder: " + error.message()});
    return;
  }
  std::sort(entries.begin(), entries.end(),
            [](const fs::directory_entry& a, const fs::directory_entry& b) {
              return a.path().filename() < b.path().filename();
            });
  for (const fs::directory_entry& entry : entries) {
    const std::string path =
        folder + (folder.back() == '/' ? "" : "/") + entry.path().filename().string();
    std::error_code statusError;
    // Links to folders are not followed: a link back up would never end.
    if (entry.is_directory(statusError) && !entry.is_symlink(statusError)) {
      if (recursive) ListFolder(path, recursive, extensions, inputs);
    } else if (entry.is_regular_file(statusError) && HasExtension(entry.path(), extensions)) {
      inputs.push_back({path, ""});
    }
  }
}

}  // namespace

std::vector<BatchInput> ExpandBatchInputs(const std::vector<std::string>& arguments, bool recursive,
                                          const std::vector<std::string>& extensions) {
  std::vector<BatchInput> inputs;
  for (const std::string& argument : arguments) {
    std::error_code error;
    if (!argument.empty() && fs::is_directory(argument, error)) {
      const size_t before = inputs.size();
      ListFolder(argument, recursive, extensions, inputs);
      if (inputs.size() == before) {
        std::string names;
        for (const std::string& extension : extensions) {
          names += (names.empty() ? "" : ", ") + extension;
        }
        inputs.push_back(
            {argument, "the folder holds no " + names + " files" +
                           (recursive ? "" : " (--recursive looks into its folders)")});
      }
    } else {
      inputs.push_back({argument, ""});
    }
  }
  return inputs;
}

}  // namespace qobase_tool
