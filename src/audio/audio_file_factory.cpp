// QoAudioFileReader::Create: picks a reader by the file name's extension.
#include <qobase/audio/audio_file_extensions.h>
#include <qobase/audio/audio_file_reader.h>
#include <qobase/audio/wav_file_reader.h>
#include <qobase/files/path.h>

#include <memory>

const CStdStr s_csOriginalFileExtAmb(".amb");
const CStdStr s_csOriginalFileExtWav(".wav");
const CStdStr s_csOriginalFileExtZem(".zem");

namespace {

// ASCII case is ignored, nothing else is folded; equal only when both end together.
bool ExtensionEquals(const CStdStr& extension, const CStdStr& known) {
  if (extension.size() != known.size()) return false;
  for (size_t i = 0; i < extension.size(); ++i) {
    char c = extension[i];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c != known[i]) return false;
  }
  return true;
}

}  // namespace

QoAudioFileReader* QoAudioFileReader::Create(const char* path) {
  if (path == nullptr) return nullptr;
  const zu::Path filePath(path);
  const CStdStr extension = filePath.GetFileExtension();
  if (!ExtensionEquals(extension, s_csOriginalFileExtAmb) &&
      !ExtensionEquals(extension, s_csOriginalFileExtWav) &&
      !ExtensionEquals(extension, s_csOriginalFileExtZem)) {
    return nullptr;
  }
  std::unique_ptr<QoWavFileReader> reader(new QoWavFileReader);
  if (!reader->Open(filePath)) return nullptr;
  return reader.release();
}
