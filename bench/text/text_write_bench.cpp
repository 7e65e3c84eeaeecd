// Writing one million elements (attributes and text, five deep) to a file: XmlTextWriterLite2
// against libxml2's xmlTextWriter with indenting, JSONTextWriter against RapidJSON's
// PrettyWriter writing the equivalent JSON document.
#include <libxml/xmlwriter.h>
#include <qobase/text/json_text_writer.h>
#include <qobase/text/xml_text_writer_lite2.h>
#include <rapidjson/filewritestream.h>
#include <rapidjson/prettywriter.h>

#include <vector>

#include "bench_support.h"
#include "text/text_bench_support.h"

namespace {

textbench::Stream s_stream;
qobench::ScratchDir s_dir;
const std::string s_xmlPath = s_dir.File("write.xml");
const std::string s_jsonPath = s_dir.File("write.json");
constexpr int k_soundsPerGroup = 100;  // one million elements

const xmlChar* X(const CStdStr& text) { return reinterpret_cast<const xmlChar*>(text.c_str()); }

void WriteThrough(QO::IXmlTextWriter& writer) {
  writer.WriteStartDocument();
  s_stream.Emit(
      k_soundsPerGroup,
      [&](const CStdStr& name, int depth) {
        // In JSON, containers are arrays of one-member objects; a Sound is an object.
        writer.WriteStartElement(name, depth < 4 ? QO::XmlElementType::ObjectArray
                                                 : QO::XmlElementType::Object);
      },
      [&](const CStdStr& name, const CStdStr& value) { writer.WriteAttributeString(name, value); },
      [&](const CStdStr& text) { writer.WriteString(text); },
      [&]() { writer.WriteEndElement(); });
  writer.WriteEndDocument();
}

void BM_XmlWrite_Ours(benchmark::State& state) {
  for (auto _ : state) {
    XmlTextWriterLite2 writer{zu::Path(s_xmlPath)};
    if (!writer.IsReady()) state.SkipWithError("cannot open the output file");
    WriteThrough(writer);
  }
}

void BM_XmlWrite_Libxml2(benchmark::State& state) {
  for (auto _ : state) {
    xmlTextWriterPtr writer = xmlNewTextWriterFilename(s_xmlPath.c_str(), 0);
    if (!writer) state.SkipWithError("cannot open the output file");
    xmlTextWriterSetIndent(writer, 1);
    xmlTextWriterSetIndentString(writer, reinterpret_cast<const xmlChar*>("\t"));
    xmlTextWriterStartDocument(writer, nullptr, "utf-8", nullptr);
    s_stream.Emit(
        k_soundsPerGroup,
        [&](const CStdStr& name, int) { xmlTextWriterStartElement(writer, X(name)); },
        [&](const CStdStr& name, const CStdStr& value) {
          xmlTextWriterWriteAttribute(writer, X(name), X(value));
        },
        [&](const CStdStr& text) { xmlTextWriterWriteString(writer, X(text)); },
        [&]() { xmlTextWriterEndElement(writer); });
    xmlTextWriterEndDocument(writer);
    xmlFreeTextWriter(writer);
  }
}

void BM_JsonWrite_Ours(benchmark::State& state) {
  for (auto _ : state) {
    JSONTextWriter writer{zu::Path(s_jsonPath)};
    if (!writer.IsReady()) state.SkipWithError("cannot open the output file");
    WriteThrough(writer);
  }
}

void BM_JsonWrite_RapidJson(benchmark::State& state) {
  static char buffer[65536];
  for (auto _ : state) {
    std::FILE* file = std::fopen(s_jsonPath.c_str(), "wb");
    if (!file) {
      state.SkipWithError("cannot open the output file");
      break;
    }
    rapidjson::FileWriteStream out(file, buffer, sizeof(buffer));
    rapidjson::PrettyWriter<rapidjson::FileWriteStream> writer(out);
    writer.SetIndent(' ', 1);
    std::vector<int> depths;
    writer.StartObject();
    s_stream.Emit(
        k_soundsPerGroup,
        [&](const CStdStr& name, int depth) {
          if (depth > 0) writer.StartObject();  // the one-member wrapper
          writer.Key(name.c_str(), static_cast<rapidjson::SizeType>(name.size()));
          if (depth < 4) {
            writer.StartArray();
          } else {
            writer.StartObject();
          }
          depths.push_back(depth);
        },
        [&](const CStdStr& name, const CStdStr& value) {
          writer.Key(name.c_str(), static_cast<rapidjson::SizeType>(name.size()));
          writer.String(value.c_str(), static_cast<rapidjson::SizeType>(value.size()));
        },
        [&](const CStdStr& text) {
          writer.Key("#text", 5);
          writer.String(text.c_str(), static_cast<rapidjson::SizeType>(text.size()));
        },
        [&]() {
          const int depth = depths.back();
          depths.pop_back();
          if (depth < 4) {
            writer.EndArray();
          } else {
            writer.EndObject();
          }
          if (depth > 0) writer.EndObject();
        });
    writer.EndObject();
    out.Flush();
    std::fclose(file);
  }
}

BENCHMARK(BM_XmlWrite_Libxml2)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(BM_XmlWrite_Ours)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(BM_JsonWrite_RapidJson)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(BM_JsonWrite_Ours)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  qobench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatio("XML write, XmlTextWriterLite2 / libxml2 xmlTextWriter",
                      "BM_XmlWrite_Ours/iterations:3/real_time",
                      "BM_XmlWrite_Libxml2/iterations:3/real_time", 0.33);
  reporter.PrintRatio("JSON write, JSONTextWriter / RapidJSON PrettyWriter",
                      "BM_JsonWrite_Ours/iterations:3/real_time",
                      "BM_JsonWrite_RapidJson/iterations:3/real_time", 1.0);
  benchmark::Shutdown();
  return 0;
}
