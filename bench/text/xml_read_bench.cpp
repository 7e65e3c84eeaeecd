// Walking a 50 MB document node by node, from opening the file to freeing the reader:
// XmlTextReaderLite against a bare xmlTextReaderRead loop over the same file. Both sides look at
// every node's type, the least a caller does, and must arrive at the same sum of types.
#include <libxml/xmlreader.h>
#include <qobase/text/xml_text_reader.h>
#include <qobase/text/xml_text_writer_lite2.h>
#include <sys/stat.h>

#include "bench_support.h"
#include "text/text_bench_support.h"

namespace {

constexpr int k_soundsPerGroup = 46;  // about 50 MB

void MakeDocument(const std::string& path) {
  const textbench::Stream stream;
  XmlTextWriterLite2 writer{zu::Path(path)};
  writer.WriteStartDocument();
  stream.Emit(
      k_soundsPerGroup,
      [&](const CStdStr& name, int) { writer.WriteStartElement(name, QO::XmlElementType::Object); },
      [&](const CStdStr& name, const CStdStr& value) { writer.WriteAttributeString(name, value); },
      [&](const CStdStr& text) { writer.WriteString(text); }, [&]() { writer.WriteEndElement(); });
}

}  // namespace

int main() {
  const qobench::ScratchDir dir;
  if (!dir.IsValid()) return 1;
  const std::string path = dir.File("read.xml");
  MakeDocument(path);
  struct stat info {};
  if (stat(path.c_str(), &info) != 0) return 1;

  long long oursSum = -1, peerSum = -2;
  const qobench::Side ours{nullptr, [&] {
                             XmlTextReaderLite reader(path.c_str(),
                                                      XmlTextReaderLite::k_xmlSourceFile);
                             long long sum = 0;
                             while (reader.Read()) sum += reader.GetNodeType();
                             oursSum = sum;
                             return !reader.HasFailed();
                           }};
  const qobench::Side peer{nullptr, [&] {
                             xmlTextReaderPtr reader = xmlNewTextReaderFilename(path.c_str());
                             if (!reader) return false;
                             long long sum = 0;
                             int result;
                             while ((result = xmlTextReaderRead(reader)) == 1) {
                               const int type = xmlTextReaderNodeType(reader);
                               // Our reader steps over significant whitespace.
                               if (type != XML_READER_TYPE_SIGNIFICANT_WHITESPACE) sum += type;
                             }
                             xmlFreeTextReader(reader);
                             peerSum = sum;
                             return result == 0;
                           }};
  const int rounds = qobench::Rounds(7);
  std::printf("document: %.1f MB, best of %d interleaved rounds\n",
              static_cast<double>(info.st_size) / 1e6, rounds);
  const qobench::Comparison result = qobench::CompareInterleaved(rounds, ours, peer);
  if (result.ok && oursSum != peerSum) {
    std::fprintf(stderr, "xml_read_bench: the walks disagree (%lld vs %lld)\n", oursSum, peerSum);
    return 1;
  }
  return qobench::PrintRow("XML read 50 MB node walk, XmlTextReaderLite vs bare xmlTextReaderRead",
                           result, 1.05, 1.02)
             ? 0
             : 1;
}
