// JSONTextWriter: JSON formatted straight into the writer's buffer.
#include <qobase/text/json_text_writer.h>

#include "text/escape_scan.h"

namespace {

// True when the text holds a character that JSON escapes with a backslash.
bool NeedsJsonEscape(const CStdStr& text) {
  const char* end = text.data() + text.size();
  return qobase_text::FindJsonSpecial(text.data(), text.data(), end) != end;
}

const char* OpeningBracket(QO::XmlElementType::ElementType type) {
  return type == QO::XmlElementType::Object ? "{" : "[";
}

const char* ClosingBracket(QO::XmlElementType::ElementType type) {
  return type == QO::XmlElementType::Object ? "}" : "]";
}

}  // namespace

JSONTextWriter::JSONTextWriter() : QoTextWriterBuffer(zu::Path()) {}

JSONTextWriter::JSONTextWriter(const zu::Path& path) : QoTextWriterBuffer(path) {}

// Open elements and the document stay unclosed; the buffered text goes to the file in the base
// destructor.
JSONTextWriter::~JSONTextWriter() = default;

void JSONTextWriter::AllocBuffer(std::size_t size) {
  if (IsFileWriter() || !IsReady()) {
    MakeFreshBlock(size);
  } else {
    ResizeBlock(size);
  }
}

void JSONTextWriter::EscapeJSONCharacters(CStdStr& text) {
  if (!NeedsJsonEscape(text)) return;
  // Backslashes first, so the ones the later escapes add are not doubled.
  text.Replace("\\", "\\\\");
  text.Replace("\"", "\\\"");
  text.Replace("\b", "\\b");
  text.Replace("\f", "\\f");
  text.Replace("\n", "\\n");
  text.Replace("\r", "\\r");
  text.Replace("\t", "\\t");
}

void JSONTextWriter::NewLine() {
  WriteString("\n", 1);
  WriteSpaces();
}

void JSONTextWriter::WriteStartDocument() {
  WriteString("{\n", 2);
  ++m_indent;
  WriteSpaces();
  m_state = k_stateDocument;
}

void JSONTextWriter::WriteEndDocument() { WriteString("\n}", 2); }

void JSONTextWriter::WriteStartElement(const CStdStr& name, QO::XmlElementType::ElementType type) {
  ElementLevel* parent = m_levels.empty() ? nullptr : &m_levels.back();
  if (m_state == k_stateElementStart && parent && !parent->opened) {
    WriteString(OpeningBracket(parent->type), 1);
    ++m_indent;
    parent->opened = true;
    NewLine();
  } else if (m_state == k_stateAfterValue) {
    WriteString(",", 1);
    NewLine();
  }
  if (parent && parent->type == QO::XmlElementType::ObjectArray) {
    WriteString("{", 1);
    ++m_indent;
    NewLine();
  }
  if (!parent || parent->type != QO::XmlElementType::Array) {
    WriteString("\"", 1);
    WriteString(name.data(), name.size());
    WriteString("\": ", 3);
  }
  m_levels.push_back(ElementLevel{type, false});
  m_state = k_stateElementStart;
}

void JSONTextWriter::WriteEndElement() {
  // Without an open element there is nothing to close.
  if (m_levels.empty()) return;
  const ElementLevel level = m_levels.back();
  if (m_state == k_stateElementStart) {
    WriteString(level.type == QO::XmlElementType::Object ? "{}" : "[]", 2);
  }
  if (level.opened) {
    if (m_indent > 0) --m_indent;
    NewLine();
    WriteString(ClosingBracket(level.type), 1);
  }
  m_levels.pop_back();
  if (!m_levels.empty() && m_levels.back().type == QO::XmlElementType::ObjectArray) {
    if (m_indent > 0) --m_indent;
    NewLine();
    WriteString("}", 1);
  }
  m_state = k_stateAfterValue;
}

// One pass straight into the buffer. Each character maps on its own, so this gives the same
// bytes as EscapeJSONCharacters without its copies.
void JSONTextWriter::WriteEscaped(const CStdStr& text) {
  const char* run = text.data();
  const char* const end = run + text.size();
  for (const char* p = qobase_text::FindJsonSpecial(text.data(), run, end); p != end;
       p = qobase_text::FindJsonSpecial(text.data(), run, end)) {
    WriteString(run, static_cast<std::size_t>(p - run));
    char escape[2] = {'\\', *p};
    switch (*p) {
      case '\b':
        escape[1] = 'b';
        break;
      case '\f':
        escape[1] = 'f';
        break;
      case '\n':
        escape[1] = 'n';
        break;
      case '\r':
        escape[1] = 'r';
        break;
      case '\t':
        escape[1] = 't';
        break;
      default:
        break;  // backslash and double quote stand for themselves
    }
    WriteString(escape, 2);
    run = p + 1;
  }
  WriteString(run, static_cast<std::size_t>(end - run));
}

void JSONTextWriter::WriteQuotedText(const CStdStr& text) {
  if (m_state == k_stateAfterValue) {
    WriteString(",", 1);
    NewLine();
    WriteString("\"#text\": \"", 10);
  } else if (m_state == k_stateElementStart) {
    WriteString("\"", 1);
  }
  WriteEscaped(text);
  WriteString("\"", 1);
  m_state = k_stateAfterValue;
}

void JSONTextWriter::WriteString(const CStdStr& text) { WriteQuotedText(text); }

void JSONTextWriter::WriteCData(const CStdStr& text) { WriteQuotedText(text); }

void JSONTextWriter::WriteAttributeString(const CStdStr& name, const CStdStr& value) {
  WriteStartElement(name, QO::XmlElementType::Object);
  WriteString(value);
  WriteEndElement();
}

void JSONTextWriter::WriteRaw(const CStdStr& text) {
  // Room for three times the text is made first (flushing a file writer, growing a memory one),
  // the same rule Append follows with the plain length.
  if (text.empty() || !MakeRoom(3 * text.size())) return;
  WriteString(text.data(), text.size());
}

bool JSONTextWriter::Append(QO::IXmlTextWriter* other) {
  const QoTextWriterBuffer* source = AsTextWriterBuffer(other);
  if (!source) return false;
  if (m_state == k_stateAfterValue) {
    WriteString(",", 1);
    NewLine();
  }
  WriteBufferOf(*source);
  m_state = k_stateAfterValue;
  return true;
}
