// The one interface through which structured text is written: a stream of element, attribute
// and text events that XmlTextWriterLite2 turns into indented XML and JSONTextWriter into JSON.
#pragma once

#include <qobase/strings/std_str.h>

namespace QO {

namespace XmlElementType {
// How an element's children are shaped. The XML writer ignores it; the JSON writer writes an
// Object's children as named members, an Array's as unnamed items, and an ObjectArray's as
// items that are each an object of one member named after the child.
enum ElementType : unsigned int { Object = 0, Array = 1, ObjectArray = 2 };
}  // namespace XmlElementType

// Whether a writer has its buffer: not ready when its file could not be opened.
enum XmlWriterReadyState : unsigned int { k_writerReady = 0, k_writerNotReady = 3 };
// The writers' write state, which never changes.
enum XmlWriterWriteState : unsigned int { k_writerWriting = 5 };

// A writer of element, attribute and text events. It never checks well-formedness: the caller
// closes what it opens. Disposed of through Destroy.
class IXmlTextWriter {
 public:
  virtual void Destroy() = 0;
  virtual bool IsReady() const = 0;
  virtual XmlWriterReadyState GetReadyState() const = 0;
  // Copies the text another writer (of either kind, normally one writing only into memory) holds
  // in its buffer to this one. False when `other` is null or not one of the library's writers.
  virtual bool Append(IXmlTextWriter* other) = 0;
  virtual XmlWriterWriteState GetWriteState() const = 0;
  virtual void WriteStartDocument() = 0;
  virtual void WriteEndDocument() = 0;
  virtual void WriteStartElement(const CStdStr& name, XmlElementType::ElementType type) = 0;
  virtual void WriteEndElement() = 0;
  virtual void WriteAttributeString(const CStdStr& name, const CStdStr& value) = 0;
  // Text content, escaped as the format requires.
  virtual void WriteString(const CStdStr& text) = 0;
  virtual void WriteCData(const CStdStr& text) = 0;
  // Text written unchanged.
  virtual void WriteRaw(const CStdStr& text) = 0;

 protected:
  ~IXmlTextWriter() = default;
};

}  // namespace QO
