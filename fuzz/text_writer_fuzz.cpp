// Drives both text writers with a fuzzed sequence of calls: elements, attributes, text, CDATA,
// raw text and the append of another writer. Each byte of the input is one call; the bytes after
// it give the call's text. Beyond the sanitizers it checks what must hold for any sequence: a
// writer never loses text (what it holds grows by at least what a call gave it), and an XML
// document written only with elements of plain names, attributes and text parses with libxml2
// once every element is closed.
#include <qobase/text/json_text_writer.h>
#include <qobase/text/xml_text_writer_lite2.h>

#include <libxml/parser.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>

namespace {

class CallReader {
 public:
  CallReader(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}
  bool Done() const { return m_position >= m_size; }
  uint8_t Byte() { return Done() ? 0 : m_data[m_position++]; }
  // A text of up to 31 bytes taken from the input.
  CStdStr Text() {
    const size_t length = Byte() % 32;
    CStdStr text;
    while (text.size() < length && !Done()) text += static_cast<char>(Byte());
    return text;
  }
  // A name of lower-case letters, never empty.
  CStdStr Name() {
    CStdStr name;
    name += static_cast<char>('a' + Byte() % 26);
    const size_t length = Byte() % 8;
    while (name.size() <= length && !Done()) name += static_cast<char>('a' + Byte() % 26);
    return name;
  }

 private:
  const uint8_t* m_data;
  size_t m_size;
  size_t m_position = 0;
};

// XML 1.0 text: no control bytes but tab, line feed and carriage return, only ASCII (so no
// invalid UTF-8 can make the document unreadable).
bool IsPlainText(const CStdStr& text) {
  for (const char c : text) {
    const unsigned char byte = static_cast<unsigned char>(c);
    if (byte >= 0x80 || (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r')) return false;
  }
  return true;
}

constexpr unsigned int k_parserDepthLimit = 256;

// Runs the calls on `writer`; true when only well-formed XML calls were made.
bool Drive(QoTextWriterBuffer& writer, const uint8_t* data, size_t size) {
  CallReader calls(data, size);
  unsigned int depth = 0;
  bool plain = true;
  bool hasRoot = false;
  bool tagOpen = false;  // attributes may still be written to the last started element
  std::set<CStdStr> attributeNames;
  writer.WriteStartDocument();
  while (!calls.Done()) {
    const size_t before = writer.GetBufferedSize();
    const uint8_t op = calls.Byte();
    const bool wasTagOpen = tagOpen;
    tagOpen = false;
    CStdStr text;
    switch (op % 9) {
      case 0:
        if (depth == 0 && hasRoot) plain = false;  // a second root
        hasRoot = true;
        writer.WriteStartElement(calls.Name(),
                                 static_cast<QO::XmlElementType::ElementType>(op / 9 % 3));
        // libxml2 refuses documents nested deeper than this; they are not checked by parsing.
        if (++depth > k_parserDepthLimit) plain = false;
        tagOpen = true;
        attributeNames.clear();
        break;
      case 1:
        if (depth > 0) {
          writer.WriteEndElement();
          --depth;
        }
        break;
      case 2: {
        text = calls.Text();
        const CStdStr name = calls.Name();
        if (!wasTagOpen || !attributeNames.insert(name).second || !IsPlainText(text)) plain = false;
        tagOpen = wasTagOpen;
        writer.WriteAttributeString(name, text);
        break;
      }
      case 3:
        text = calls.Text();
        if (depth == 0 || !IsPlainText(text)) plain = false;
        writer.WriteString(text);
        break;
      case 4:
        plain = false;
        text = calls.Text();
        writer.WriteCData(text);
        break;
      case 5:
        plain = false;
        text = calls.Text();
        writer.WriteRaw(text);
        break;
      case 6: {
        plain = false;
        XmlTextWriterLite2 other;
        other.WriteString(calls.Text());
        if (!writer.Append(&other)) std::abort();
        break;
      }
      case 7: {
        plain = false;
        JSONTextWriter other;
        other.WriteStartElement(calls.Name(), QO::XmlElementType::Object);
        other.WriteEndElement();
        if (!writer.Append(&other)) std::abort();
        break;
      }
      default:
        plain = false;
        // Its own text, doubled, while that stays small.
        if (writer.GetBufferedSize() < (1u << 20) && !writer.Append(&writer)) std::abort();
        break;
    }
    if (writer.GetBufferedSize() < before + text.size() && op % 9 != 5) std::abort();
  }
  while (depth > 0) {
    writer.WriteEndElement();
    --depth;
  }
  writer.WriteEndDocument();
  return plain && hasRoot;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;  // keeps the doubling appends' output bounded
  XmlTextWriterLite2 xml;
  if (Drive(xml, data, size)) {
    xmlDocPtr doc = xmlReadMemory(xml.GetBufferedText(), static_cast<int>(xml.GetBufferedSize()),
                                  "fuzz.xml", nullptr, XML_PARSE_NONET);
    if (!doc) {
      fwrite(xml.GetBufferedText(), 1, xml.GetBufferedSize(), stderr);
      std::abort();
    }
    xmlFreeDoc(doc);
  }
  JSONTextWriter json;
  Drive(json, data, size);
  return 0;
}
