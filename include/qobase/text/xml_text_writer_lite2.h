// XmlTextWriterLite2: writes the events of IXmlTextWriter as XML indented by tabs, straight into
// one large buffer that goes to a file in blocks or stays in memory.
//
//   <?xml version="1.0" encoding="utf-8"?>
//   <Root a="x&amp;y">
//   	<Child>hi</Child>
//   	<Empty/>
//   </Root>
#pragma once

#include <qobase/text/text_writer_buffer.h>

#include <string>
#include <vector>

class XmlTextWriterLite2 : public QoTextWriterBuffer {
 public:
  // A writer that keeps its text in memory (to be spliced into another with Append).
  XmlTextWriterLite2();
  // A writer to `path` (an empty path: in memory). Check IsReady before writing.
  explicit XmlTextWriterLite2(const zu::Path& path);
  ~XmlTextWriterLite2() override;

  bool Append(QO::IXmlTextWriter* other) override;
  void WriteStartDocument() override;
  void WriteEndDocument() override;
  void WriteStartElement(const CStdStr& name, QO::XmlElementType::ElementType type) override;
  void WriteEndElement() override;
  void WriteAttributeString(const CStdStr& name, const CStdStr& value) override;
  void WriteString(const CStdStr& text) override;
  void WriteCData(const CStdStr& text) override;
  void WriteRaw(const CStdStr& text) override;

  using QoTextWriterBuffer::WriteString;
  void WriteStartElement(const char* name, QO::XmlElementType::ElementType type);
  void WriteAttributeString(const char* name, const CStdStr& value);
  // Writes ="value" with the value escaped for an attribute.
  void WriteAttributeValue(const CStdStr& value);
  // Replaces the block by one of `size` bytes. Without `keep`, a file writer starts a fresh block
  // and drops its content; otherwise content and write position are kept.
  void AllocBuffer(std::size_t size, bool keep);

  // Escapes & < > (and " for an attribute) as entities; a text holding none is left alone.
  // "a\"b<c" gives "a&quot;b&lt;c" for an attribute and "a\"b&lt;c" as text.
  static void EscapeXMLCharacters(CStdStr& text, bool attribute);

  enum State : unsigned int {
    k_stateStart = 0,      // nothing written yet
    k_stateBetween = 1,    // after the header, a closed element or an Append
    k_stateTagOpen = 2,    // a start tag whose ">" is not written yet
    k_stateAfterText = 3,  // after text, raw text or CDATA
  };

 private:
  void StartElement(const char* name, std::size_t length);
  void Indent() { WriteChar('\t', m_nameEnds.size()); }
  void WriteEscaped(const CStdStr& text, bool attribute);

  unsigned int m_state = k_stateStart;
  // Names of the open elements, innermost last: their bytes one after another and where each
  // ends. Names of any length are kept.
  std::string m_names;
  std::vector<std::size_t> m_nameEnds;
};
