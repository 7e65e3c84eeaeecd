// Writing one million elements (attributes and text, five deep) to a new file, from opening it to
// closing it: XmlTextWriterLite2 against libxml2's xmlTextWriter with indenting, JSONTextWriter
// against RapidJSON's PrettyWriter writing the equivalent JSON document. Every run writes a file
// that did not exist, after the previous output was removed and written back (untimed).
#include <libxml/xmlwriter.h>
#include <qobase/text/json_text_writer.h>
#include <qobase/text/xml_text_writer_lite2.h>
#include <rapidjson/filewritestream.h>
#include <rapidjson/prettywriter.h>
#include <sys/stat.h>

#include <vector>

#include "bench_support.h"
#include "text/text_bench_support.h"

namespace {

constexpr int k_soundsPerGroup = 100;  // one million elements

const xmlChar* X(const CStdStr& text) { return reinterpret_cast<const xmlChar*>(text.c_str()); }

long long FileSize(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 ? static_cast<long long>(info.st_size) : -1;
}

void WriteThrough(const textbench::Stream& stream, QO::IXmlTextWriter& writer) {
  writer.WriteStartDocument();
  stream.Emit(
      k_soundsPerGroup,
      [&](const CStdStr& name, int depth) {
        // In JSON, containers are arrays of one-member objects; a Sound is an object.
        writer.WriteStartElement(
            name, depth < 4 ? QO::XmlElementType::ObjectArray : QO::XmlElementType::Object);
      },
      [&](const CStdStr& name, const CStdStr& value) { writer.WriteAttributeString(name, value); },
      [&](const CStdStr& text) { writer.WriteString(text); }, [&]() { writer.WriteEndElement(); });
  writer.WriteEndDocument();
}

bool XmlOurs(const textbench::Stream& stream, const std::string& path) {
  XmlTextWriterLite2 writer{zu::Path(path)};
  if (!writer.IsReady()) return false;
  WriteThrough(stream, writer);
  return true;
}

bool XmlLibxml2(const textbench::Stream& stream, const std::string& path) {
  xmlTextWriterPtr writer = xmlNewTextWriterFilename(path.c_str(), 0);
  if (!writer) return false;
  xmlTextWriterSetIndent(writer, 1);
  xmlTextWriterSetIndentString(writer, reinterpret_cast<const xmlChar*>("\t"));
  xmlTextWriterStartDocument(writer, nullptr, "utf-8", nullptr);
  stream.Emit(
      k_soundsPerGroup,
      [&](const CStdStr& name, int) { xmlTextWriterStartElement(writer, X(name)); },
      [&](const CStdStr& name, const CStdStr& value) {
        xmlTextWriterWriteAttribute(writer, X(name), X(value));
      },
      [&](const CStdStr& text) { xmlTextWriterWriteString(writer, X(text)); },
      [&]() { xmlTextWriterEndElement(writer); });
  xmlTextWriterEndDocument(writer);
  xmlFreeTextWriter(writer);
  return true;
}

bool JsonOurs(const textbench::Stream& stream, const std::string& path) {
  JSONTextWriter writer{zu::Path(path)};
  if (!writer.IsReady()) return false;
  WriteThrough(stream, writer);
  return true;
}

bool JsonRapidJson(const textbench::Stream& stream, const std::string& path) {
  static char buffer[65536];
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) return false;
  rapidjson::FileWriteStream out(file, buffer, sizeof(buffer));
  rapidjson::PrettyWriter<rapidjson::FileWriteStream> writer(out);
  writer.SetIndent(' ', 1);
  std::vector<int> depths;
  writer.StartObject();
  stream.Emit(
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
  return std::fclose(file) == 0;
}

// Both sides write to their own file, removed and written back before each run.
qobench::Side FreshFileSide(const textbench::Stream& stream, const std::string& path,
                            bool (*write)(const textbench::Stream&, const std::string&)) {
  return {[path] { qobench::RemoveAndSync(path); },
          [&stream, path, write] { return write(stream, path) && FileSize(path) > 0; }};
}

}  // namespace

int main() {
  const qobench::ScratchDir dir;
  if (!dir.IsValid()) return 1;
  const textbench::Stream stream;
  const std::string ours = dir.File("ours.out"), peer = dir.File("peer.out");
  const int rounds = qobench::Rounds(5);

  // The sizes say what each side writes (the peers indent and escape in their own ways).
  long long sizes[4] = {-1, -1, -1, -1};
  if (XmlOurs(stream, ours)) sizes[0] = FileSize(ours);
  if (XmlLibxml2(stream, peer)) sizes[1] = FileSize(peer);
  if (JsonOurs(stream, ours)) sizes[2] = FileSize(ours);
  if (JsonRapidJson(stream, peer)) sizes[3] = FileSize(peer);
  for (const long long size : sizes) {
    if (size <= 0) return 1;
  }
  std::printf(
      "one million elements: XML %.1f MB (libxml2 %.1f MB), JSON %.1f MB (RapidJSON %.1f MB); "
      "best of %d interleaved rounds\n",
      sizes[0] / 1e6, sizes[1] / 1e6, sizes[2] / 1e6, sizes[3] / 1e6, rounds);

  bool ok = true;
  ok &= qobench::PrintRow(
      "XML write 1M elements, new file, XmlTextWriterLite2 vs libxml2 xmlTextWriter",
      qobench::CompareInterleaved(rounds, FreshFileSide(stream, ours, XmlOurs),
                                  FreshFileSide(stream, peer, XmlLibxml2)),
      0.25);
  ok &= qobench::PrintRow(
      "JSON write 1M elements, new file, JSONTextWriter vs RapidJSON PrettyWriter",
      qobench::CompareInterleaved(rounds, FreshFileSide(stream, ours, JsonOurs),
                                  FreshFileSide(stream, peer, JsonRapidJson)),
      0.8, 0.6);
  std::remove(ours.c_str());
  std::remove(peer.c_str());
  return ok ? 0 : 1;
}
