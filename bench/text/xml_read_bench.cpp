// Reading a 50 MB document node by node: XmlTextReaderLite against a bare xmlTextReaderRead loop
// over the same file.
#include <libxml/xmlreader.h>
#include <qobase/text/xml_text_reader.h>
#include <qobase/text/xml_text_writer_lite2.h>
#include <sys/stat.h>

#include "bench_support.h"
#include "text/text_bench_support.h"

namespace {

qobench::ScratchDir s_dir;
const std::string s_path = s_dir.File("read.xml");
constexpr int k_soundsPerGroup = 46;  // about 50 MB

void MakeDocument() {
  const textbench::Stream stream;
  XmlTextWriterLite2 writer{zu::Path(s_path)};
  writer.WriteStartDocument();
  stream.Emit(
      k_soundsPerGroup,
      [&](const CStdStr& name, int) { writer.WriteStartElement(name, QO::XmlElementType::Object); },
      [&](const CStdStr& name, const CStdStr& value) { writer.WriteAttributeString(name, value); },
      [&](const CStdStr& text) { writer.WriteString(text); },
      [&]() { writer.WriteEndElement(); });
}

void BM_XmlRead_Ours(benchmark::State& state) {
  long long nodes = 0;
  for (auto _ : state) {
    XmlTextReaderLite reader(s_path.c_str(), XmlTextReaderLite::k_xmlSourceFile);
    while (reader.Read()) nodes += reader.GetNodeType();
    if (reader.HasFailed()) state.SkipWithError("the document did not parse");
  }
  benchmark::DoNotOptimize(nodes);
}

void BM_XmlRead_Libxml2(benchmark::State& state) {
  long long nodes = 0;
  for (auto _ : state) {
    xmlTextReaderPtr reader = xmlNewTextReaderFilename(s_path.c_str());
    int result;
    while ((result = xmlTextReaderRead(reader)) == 1) nodes += xmlTextReaderNodeType(reader);
    if (result < 0) state.SkipWithError("the document did not parse");
    xmlFreeTextReader(reader);
  }
  benchmark::DoNotOptimize(nodes);
}

BENCHMARK(BM_XmlRead_Libxml2)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();
BENCHMARK(BM_XmlRead_Ours)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  MakeDocument();
  struct stat info {};
  stat(s_path.c_str(), &info);
  std::printf("document: %.1f MB\n", static_cast<double>(info.st_size) / 1e6);
  qobench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatio("XML read, XmlTextReaderLite / bare xmlTextReaderRead loop",
                      "BM_XmlRead_Ours/iterations:5/real_time",
                      "BM_XmlRead_Libxml2/iterations:5/real_time", 1.2);
  benchmark::Shutdown();
  return 0;
}
