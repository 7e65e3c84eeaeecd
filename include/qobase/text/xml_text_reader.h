// The pull reader for XML: moves node by node through a document held in a file or in memory
// and answers questions about the current node. XmlTextReaderLite sits on libxml2's text reader.
#pragma once

#include <qobase/strings/std_str.h>

struct _xmlTextReader;

namespace QO {

// Node types, numbered as libxml2 numbers them.
enum XmlNodeType : int {
  k_xmlNodeNone = 0,
  k_xmlNodeElement = 1,
  k_xmlNodeAttribute = 2,
  k_xmlNodeText = 3,
  k_xmlNodeCData = 4,
  k_xmlNodeEntityReference = 5,
  k_xmlNodeEntity = 6,
  k_xmlNodeProcessingInstruction = 7,
  k_xmlNodeComment = 8,
  k_xmlNodeDocument = 9,
  k_xmlNodeDocumentType = 10,
  k_xmlNodeDocumentFragment = 11,
  k_xmlNodeNotation = 12,
  k_xmlNodeWhitespace = 13,
  k_xmlNodeSignificantWhitespace = 14,
  k_xmlNodeEndElement = 15,
  k_xmlNodeEndEntity = 16,
  k_xmlNodeXmlDeclaration = 17,
};

// A forward-only XML reader. Disposed of through Destroy.
class IXmlTextReader {
 public:
  virtual void Destroy() = 0;
  // Local name of the current node (prefix dropped); empty when it has none.
  virtual CStdStr GetName() const = 0;
  // One of XmlNodeType, or -1 when the reader is broken.
  virtual int GetNodeType() const = 0;
  virtual bool IsEmptyElement() const = 0;
  // Value of the current node (text, attribute value); empty when it has none.
  virtual CStdStr GetValue() const = 0;
  // True before the first successful Read and once Read has met the end or an error.
  virtual bool IsEOF() const = 0;
  virtual int GetLineNumber() const = 0;
  virtual int GetLinePosition() const = 0;
  // Moves forward to the next element, text, CDATA, entity reference or end tag (or from an
  // attribute back to its element) and returns that node's type.
  virtual int MoveToContent() = 0;
  // Next node, never stopping on significant whitespace. False at the end or on an error, and
  // for every call after that.
  virtual bool Read() = 0;
  // Text of a text-only element: "<a>x</a>" gives "x" and moves past the end tag; "<a/>" gives
  // "" and moves on; an element with child elements gives "" and stays where it stands.
  virtual CStdStr ReadElementString(const CStdStr& name) = 0;
  // The markup inside / including the current element, then moves past it. The output is left
  // unchanged when there is nothing to read.
  virtual void ReadInnerXml(CStdStr& xml) = 0;
  virtual void ReadOuterXml(CStdStr& xml) = 0;
  // Moves past the current element and all its content; false at the end or on an error.
  virtual bool Skip() = 0;
  // Value of the current element's attribute; empty when it is missing.
  virtual CStdStr GetAttribute(const CStdStr& name) = 0;
  // False, with `value` untouched, when the attribute is missing.
  virtual bool GetAttribute(const CStdStr& name, CStdStr& value) = 0;
  virtual ~IXmlTextReader() = default;
};

}  // namespace QO

// IXmlTextReader over libxml2. A file that cannot be opened or a text that does not parse gives
// a reader whose Read fails at once.
class XmlTextReaderLite : public QO::IXmlTextReader {
 public:
  // What the constructor's string holds: 0 a file path, anything else the XML text itself.
  enum XmlSource : unsigned int { k_xmlSourceFile = 0, k_xmlSourceMemory = 1 };

  XmlTextReaderLite(const CStdStr& source, XmlSource kind);
  XmlTextReaderLite(const char* source, XmlSource kind);
  ~XmlTextReaderLite() override;
  XmlTextReaderLite(const XmlTextReaderLite&) = delete;
  XmlTextReaderLite& operator=(const XmlTextReaderLite&) = delete;

  void Destroy() override;
  CStdStr GetName() const override;
  // The type Read found, without asking libxml2 again.
  int GetNodeType() const override {
    return m_nodeType != k_nodeTypeUnknown ? m_nodeType : AskNodeType();
  }
  bool IsEmptyElement() const override;
  CStdStr GetValue() const override;
  bool IsEOF() const override;
  int GetLineNumber() const override;
  int GetLinePosition() const override;
  int MoveToContent() override;
  bool Read() override;
  CStdStr ReadElementString(const CStdStr& name) override;
  void ReadInnerXml(CStdStr& xml) override;
  void ReadOuterXml(CStdStr& xml) override;
  bool Skip() override;
  CStdStr GetAttribute(const CStdStr& name) override;
  bool GetAttribute(const CStdStr& name, CStdStr& value) override;

  // Appends the text, CDATA and whitespace that follow (the content of the current element when
  // standing on a start tag) to `text`, stopping at the first other node.
  void ReadString(CStdStr& text);

  // Steps through the current element's attributes: the first, then the next one each call
  // (GetName and GetValue describe it); false when there is none left. MoveToElement returns to
  // the element.
  bool MoveToFirstAttribute();
  bool MoveToNextAttribute();
  bool MoveToElement();
  // True when the last Read stopped on an error rather than at the end of the document.
  bool HasFailed() const { return m_failed; }

 private:
  void Open(const char* source, std::size_t length, XmlSource kind);
  void MoveToElementIfOnAttribute();
  // Records the result of a move of libxml2's reader: 1 a node, 0 the end, -1 an error.
  void NoteMoveResult(int result) {
    ForgetNodeType();
    m_eof = result != 1;
    m_failed = result < 0;
    m_finished = m_eof;
  }
  // The current node's type as libxml2 reports it.
  int AskNodeType() const;
  // Forgets the node type Read found; called before every other move of libxml2's reader.
  void ForgetNodeType() { m_nodeType = k_nodeTypeUnknown; }
  static constexpr int k_nodeTypeUnknown = -2;

  _xmlTextReader* m_reader = nullptr;
  char* m_text = nullptr;
  bool m_eof = true;
  bool m_failed = false;
  // Set once a move has met the end or an error; no later move asks libxml2 again.
  bool m_finished = false;
  // The type of the node the last Read stopped on, which Read needs anyway: asking libxml2 again
  // costs as much as the move itself for text (it scans it for blanks). k_nodeTypeUnknown once
  // the reader has moved otherwise.
  int m_nodeType = k_nodeTypeUnknown;
};
