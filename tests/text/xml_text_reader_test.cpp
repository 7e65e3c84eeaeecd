// The XML pull reader: nodes, attributes, text and malformed documents.
#include <qobase/text/xml_text_reader.h>
#include <qobase/text/xml_validation.h>

#include <gtest/gtest.h>

#include <string>

#include "support/temp_dir.h"

namespace {

XmlTextReaderLite MemoryReader(const std::string& text) {
  return XmlTextReaderLite(CStdStr(text), XmlTextReaderLite::k_xmlSourceMemory);
}

// Where the reader stands, as "type:name", with "!" when IsEOF is true.
std::string At(const XmlTextReaderLite& reader) {
  return std::to_string(reader.GetNodeType()) + ":" + reader.GetName() +
         (reader.IsEOF() ? "!" : "");
}

// Runs one operation per letter and reports each as the letter, its result and where the reader
// then stands: w Read until it fails (every node as "type:name=value"), r Read, c MoveToContent,
// e ReadElementString, t ReadString (the text so far), s Skip, i ReadInnerXml, o ReadOuterXml
// ("-" when the output is left unchanged), a MoveToFirstAttribute. Booleans are T and F.
std::string Trace(XmlTextReaderLite& reader, const std::string& ops) {
  std::string trace;
  CStdStr text;
  for (const char op : ops) {
    CStdStr xml("-");
    std::string result;
    // clang-format off
    switch (op) {
      case 'w':
        while (reader.Read()) {
          result += (result.empty() ? "" : ",") + At(reader) + "=" + reader.GetValue();
        }
        result = "[" + result + "]";
        break;
      case 'r': result = reader.Read() ? "T" : "F"; break;
      case 'c': result = std::to_string(reader.MoveToContent()); break;
      case 'e': result = "'" + reader.ReadElementString("ignored") + "'"; break;
      case 't': reader.ReadString(text); result = "'" + text + "'"; break;
      case 's': result = reader.Skip() ? "T" : "F"; break;
      case 'i': reader.ReadInnerXml(xml); result = xml; break;
      case 'o': reader.ReadOuterXml(xml); result = xml; break;
      default: result = reader.MoveToFirstAttribute() ? "T" : "F"; break;
    }
    // clang-format on
    trace += (trace.empty() ? "" : " ") + std::string(1, op) + result + "@" + At(reader);
  }
  return trace;
}

}  // namespace

TEST(XmlTextReaderTest, ReadAndTheCompositeMoves) {
  const struct {
    std::string text;
    const char* ops;
    const char* trace;
  } cases[] = {
      // libxml2 reports blank text as significant whitespace, so the "\n " is never seen.
      {"<r>\n <a x=\"1\">t</a><!--c--></r>", "w",
       "w[1:r=,1:a=,3:#text=t,15:a=,8:#comment=c,15:r=]@0:!"},
      {"<r xml:space=\"preserve\"> <a/>\n\t</r>", "wr", "w[1:r=,1:a=,15:r=]@0:! rF@0:!"},
      // The whole text is parsed, its last byte included, but not up to a zero byte: the bytes
      // after it make the text invalid.
      {"<r/><!--tail-->", "w", "w[1:r=,8:#comment=tail]@0:!"},
      {std::string("<r>a</r>\0<x>", 12), "w", "w[]@0:!"},
      {"", "w", "w[]@0:!"},
      {"<?xml version=\"1.0\"?><!--c--><?pi x?><r a=\"1\"> <!--d--> t</r>", "ccaccrccrcrc",
       "c1@1:r c1@1:r aT@2:a c1@1:r c1@1:r rT@8:#comment c3@3:#text c3@3:#text rT@15:r c15@15:r "
       "rF@0:! c0@0:!"},
      // Text only: the text, past the end tag. Empty: nothing, past it. Child elements: nothing,
      // left where it stands. The name is not consulted.
      {"<r><a>x</a><e/><m>x<b/></m><c>1 &amp; <![CDATA[<2>]]> 3</c><n></n><w>\n </w><z/></r>",
       "rreeerreeeee",
       "rT@1:r rT@1:a e'x'@1:e e''@1:m e''@1:b rT@15:m rT@1:c e'1 & <2> 3'@1:n e''@1:w e''@1:z "
       "e''@15:r e''@15:r"},
      {"<r>a<![CDATA[b]]>c<x/>d</r>", "rtt", "rT@1:r t'abc'@1:x t'abc'@1:x"},
      // Skip from an attribute, over nested children, over empty elements, at the end.
      {"<r><a k=\"v\"><b><c/><b/></b><d>t</d></a><e/><f/></r>", "rrasssss",
       "rT@1:r rT@1:a aT@2:k sT@1:e sT@1:f sT@15:r sF@0:! sF@0:!"},
      {"<r><a/></r>", "rs", "rT@1:r sF@0:!"},
      {"<r><a x=\"1\"><b>t</b></a><c/><d/></r>", "rrioo",
       "rT@1:r rT@1:a i<b>t</b>@1:c o<c/>@1:d o<d/>@15:r"},
  };
  for (const auto& c : cases) {
    XmlTextReaderLite reader = MemoryReader(c.text);
    EXPECT_TRUE(reader.IsEOF());
    EXPECT_EQ(Trace(reader, c.ops), c.trace) << c.text;
  }
}

TEST(XmlTextReaderTest, AccessorsAttributesAndTheFailureFlag) {
  XmlTextReaderLite reader = MemoryReader(
      "<?xml version=\"1.0\"?>\n<p:r xmlns:p=\"urn:x\" id=\"7\" b=\"x&lt;\" e=\"\">\n<c/>\n</p:r>");
  ASSERT_TRUE(reader.Read());
  EXPECT_EQ(At(reader), "1:r");  // prefix dropped
  EXPECT_FALSE(reader.IsEmptyElement());
  EXPECT_EQ(reader.GetAttribute("b"), "x<");
  EXPECT_EQ(reader.GetAttribute("missing"), "");
  CStdStr value("old");
  EXPECT_FALSE(reader.GetAttribute("missing", value));
  EXPECT_EQ(value, "old");
  EXPECT_TRUE(reader.GetAttribute("e", value));
  EXPECT_EQ(value, "");
  EXPECT_EQ(At(reader), "1:r");  // back on the element
  std::string attributes;
  for (bool more = reader.MoveToFirstAttribute(); more; more = reader.MoveToNextAttribute()) {
    attributes += At(reader) + "=" + reader.GetValue() + " ";
  }
  EXPECT_EQ(attributes, "2:p=urn:x 2:id=7 2:b=x< 2:e= ");
  EXPECT_TRUE(reader.MoveToElement());
  ASSERT_TRUE(reader.Read());
  EXPECT_EQ(At(reader), "1:c");
  EXPECT_TRUE(reader.IsEmptyElement());
  // The parser's position, which runs ahead of the node: a short text is parsed in one go.
  EXPECT_EQ(reader.GetLineNumber(), 4);
  EXPECT_GT(reader.GetLinePosition(), 0);
  while (reader.Read()) {
  }
  EXPECT_FALSE(reader.HasFailed());

  // Long enough that the error after the root element is met well after the first nodes.
  std::string text = "<r>";
  for (int i = 0; i < 20000; ++i) text += "<c/>";
  XmlTextReaderLite broken = MemoryReader(text + "</r><bad");
  int nodes = 0;
  while (broken.Read()) ++nodes;
  EXPECT_GT(nodes, 1000);
  EXPECT_TRUE(broken.HasFailed());
}

TEST(XmlTextReaderTest, NodeTypeFollowsEveryMoveAfterRead) {
  // Read keeps the type it found; every other move must be seen by GetNodeType too.
  XmlTextReaderLite reader = MemoryReader("<r a=\"1\" b=\"2\"><c d=\"3\"/> <e>t</e></r>");
  std::string trace;
  auto note = [&](const char* step) { trace += std::string(step) + At(reader) + " "; };
  reader.Read();
  note("read ");
  reader.MoveToFirstAttribute();
  note("first ");
  reader.MoveToNextAttribute();
  note("next ");
  reader.GetAttribute("a");  // from an attribute: back on the element
  note("get ");
  reader.MoveToFirstAttribute();
  reader.MoveToContent();
  note("content ");
  reader.Read();
  reader.MoveToFirstAttribute();
  reader.Skip();
  note("skip ");
  reader.MoveToFirstAttribute();  // none: stays
  note("none ");
  reader.Read();
  note("read ");
  CStdStr text;
  reader.ReadString(text);
  note("string ");
  EXPECT_EQ(trace,
            "read 1:r first 2:a next 2:b get 1:r content 1:r skip 1:e none 1:e read 3:#text "
            "string 15:e ");
}

TEST(XmlTextReaderTest, FileReaderAndUnreadableSources) {
  qotest::TempDir dir;
  const std::string path = dir.File("doc.xml");
  ASSERT_TRUE(qotest::WriteFileBytes(path, "<doc><v>1</v><v>2</v></doc>"));
  XmlTextReaderLite reader(path.c_str(), XmlTextReaderLite::k_xmlSourceFile);
  EXPECT_EQ(Trace(reader, "creee"), "c1@1:doc rT@1:v e'1'@1:v e'2'@15:doc e''@15:doc");

  // No reader at all: a missing file, a path with a zero byte (it would name another file).
  XmlTextReaderLite missing(dir.File("missing.xml").c_str(), XmlTextReaderLite::k_xmlSourceFile);
  XmlTextReaderLite cut(CStdStr(path + std::string(1, '\0')), XmlTextReaderLite::k_xmlSourceFile);
  auto* none = new XmlTextReaderLite(static_cast<const char*>(nullptr),
                                     XmlTextReaderLite::k_xmlSourceMemory);
  for (XmlTextReaderLite* r : {&missing, &cut, none}) {
    EXPECT_EQ(Trace(*r, "rceiosa"), "rF@-1:! c-1@-1:! e''@-1:! i-@-1:! o-@-1:! sF@-1:! aF@-1:!");
    EXPECT_EQ(r->GetValue(), "");
    EXPECT_TRUE(r->IsEmptyElement());  // libxml2's -1 is non-zero
    EXPECT_EQ(r->GetLineNumber(), 0);
    CStdStr untouched("keep");
    EXPECT_FALSE(r->GetAttribute("a", untouched));
    EXPECT_EQ(untouched, "keep");
  }
  static_cast<QO::IXmlTextReader*>(none)->Destroy();
}

TEST(XmlTextReaderTest, MalformedDocumentStopsWithAnErrorRecordedByTheHandler) {
  XmlTextReaderLite reader = MemoryReader("<a>\n<b>\n</a>");
  // The error lies in the first block libxml2 parses, so not even the first node is delivered.
  EXPECT_EQ(Trace(reader, "w"), "w[]@0:!");
  const XmlGlobals& globals = XmlGlobals::Get();
  EXPECT_NE(globals.m_lastErrorMessage.find("mismatch"), std::string::npos)
      << globals.m_lastErrorMessage;
  EXPECT_EQ(globals.m_lastErrorLine, 3u);

  // An attribute value beyond libxml2's size limit is an error, not a crash.
  XmlTextReaderLite huge = MemoryReader("<a v=\"" + std::string(11 * 1024 * 1024, 'x') + "\"/>");
  EXPECT_FALSE(huge.Read());
  EXPECT_TRUE(huge.IsEOF());
}

// A truncated document met inside a composite read used to be dropped there, and libxml2 then
// handed back nodes again after its error, so a caller's loop never ended. Once the reader has
// met the end or an error, every later move fails without asking libxml2 again.
TEST(XmlTextReaderTest, CallerLoopsEndOnTruncatedDocuments) {
  const std::string documents[] = {"<is>n", std::string("<a><\0", 5), "<a><b>x</b>", "<a>",
                                   "<a><b/><c>t</c>"};
  const char* const composites = "eiso";
  for (const std::string& text : documents) {
    for (const char* op = composites; *op; ++op) {
      XmlTextReaderLite reader = MemoryReader(text);
      int steps = 0;
      while (reader.Read() && ++steps < 1000) {
        if (reader.GetNodeType() != QO::k_xmlNodeElement) continue;
        CStdStr xml;
        switch (*op) {
          case 'e':
            reader.ReadElementString("x");
            break;
          case 'i':
            reader.ReadInnerXml(xml);
            break;
          case 's':
            reader.Skip();
            break;
          default:
            reader.ReadOuterXml(xml);
            break;
        }
      }
      EXPECT_LT(steps, 1000) << "endless loop on '" << text << "' with " << *op;
      // After the end, nothing moves again.
      EXPECT_FALSE(reader.Read());
      EXPECT_FALSE(reader.Skip());
      EXPECT_TRUE(reader.IsEOF());
    }
  }
}
