// JSONTextWriter: writes the events of IXmlTextWriter as JSON, so one tree can be saved either as
// XML or as JSON. Elements become members or array items (by the parent's element type),
// attributes string members, text a string value or, beside other members, a "#text" member.
// Every value is a string. Indentation is one blank per level.
#pragma once

#include <qobase/text/text_writer_buffer.h>

#include <vector>

class JSONTextWriter : public QoTextWriterBuffer {
 public:
  // One open element.
  struct ElementLevel {
    QO::XmlElementType::ElementType type;
    bool opened;  // its "{" or "[" has been written
  };

  // A writer that keeps its text in memory (to be spliced into another with Append).
  JSONTextWriter();
  // A writer to `path` (an empty path: in memory). Check IsReady before writing.
  explicit JSONTextWriter(const zu::Path& path);
  ~JSONTextWriter() override;

  bool Append(QO::IXmlTextWriter* other) override;
  // "{", a line feed and the first indentation.
  void WriteStartDocument() override;
  // A line feed and "}" (no final line feed).
  void WriteEndDocument() override;
  void WriteStartElement(const CStdStr& name, QO::XmlElementType::ElementType type) override;
  void WriteEndElement() override;
  // A member of the current element: the same as an element of type Object holding the value.
  void WriteAttributeString(const CStdStr& name, const CStdStr& value) override;
  void WriteString(const CStdStr& text) override;
  void WriteCData(const CStdStr& text) override;
  // Writes the text unchanged, with no separator.
  void WriteRaw(const CStdStr& text) override;

  using QoTextWriterBuffer::WriteString;
  // Replaces the block by one of `size` bytes: a file writer (or one without a block) starts a
  // fresh one, dropping its content; a memory writer keeps content and write position.
  void AllocBuffer(std::size_t size);

  // Escapes backslash, double quote, backspace, form feed, line feed, carriage return and tab
  // with a backslash; a text holding none is left alone. Other control bytes stay unchanged.
  static void EscapeJSONCharacters(CStdStr& text);

  enum State : unsigned int {
    k_stateStart = 0,         // nothing written
    k_stateDocument = 1,      // after WriteStartDocument
    k_stateElementStart = 2,  // an element was started and has no content yet
    k_stateAfterValue = 3,    // after a string, an ended element or appended text
  };

 private:
  void WriteSpaces() { WriteChar(' ', m_indent); }
  // A line feed and the current indentation.
  void NewLine();
  void WriteQuotedText(const CStdStr& text);
  void WriteEscaped(const CStdStr& text);

  unsigned int m_state = k_stateStart;
  unsigned int m_indent = 0;
  std::vector<ElementLevel> m_levels;
};
