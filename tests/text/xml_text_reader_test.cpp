#include <qobase/text/xml_text_reader.h>
#include <qobase/text/xml_validation.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/temp_dir.h"

namespace {

// Every node the reader visits, as "type:name=value".
std::vector<std::string> Walk(XmlTextReaderLite& reader) {
  std::vector<std::string> nodes;
  while (reader.Read()) {
    nodes.push_back(std::to_string(reader.GetNodeType()) + ":" + reader.GetName() + "=" +
                    reader.GetValue());
  }
  return nodes;
}

XmlTextReaderLite MemoryReader(const char* text) {
  return XmlTextReaderLite(text, XmlTextReaderLite::k_xmlSourceMemory);
}

}  // namespace

TEST(XmlTextReaderTest, ReadVisitsEveryNodeButNeverSignificantWhitespace) {
  XmlTextReaderLite plain("<r>\n <a x=\"1\">t</a><!--c--></r>", XmlTextReaderLite::k_xmlSourceMemory);
  EXPECT_TRUE(plain.IsEOF());
  // libxml2 reports blank text as significant whitespace, so the "\n " is never seen.
  EXPECT_EQ(Walk(plain), (std::vector<std::string>{"1:r=", "1:a=", "3:#text=t", "15:a=",
                                                    "8:#comment=c", "15:r="}));
  EXPECT_TRUE(plain.IsEOF());
  EXPECT_FALSE(plain.Read());

  // Blank text under xml:space="preserve" is significant whitespace, which Read steps over.
  XmlTextReaderLite preserved("<r xml:space=\"preserve\"> <a/>\n\t</r>",
                              XmlTextReaderLite::k_xmlSourceMemory);
  EXPECT_EQ(Walk(preserved), (std::vector<std::string>{"1:r=", "1:a=", "15:r="}));
}

TEST(XmlTextReaderTest, AccessorsOfTheCurrentNode) {
  XmlTextReaderLite reader("<?xml version=\"1.0\"?>\n<p:r xmlns:p=\"urn:x\">\n<e/>\n</p:r>",
                           XmlTextReaderLite::k_xmlSourceMemory);
  ASSERT_TRUE(reader.Read());
  EXPECT_FALSE(reader.IsEOF());
  EXPECT_EQ(reader.GetName(), "r");  // prefix dropped
  EXPECT_EQ(reader.GetNodeType(), QO::k_xmlNodeElement);
  EXPECT_FALSE(reader.IsEmptyElement());
  EXPECT_EQ(reader.GetValue(), "");
  ASSERT_TRUE(reader.Read());
  EXPECT_EQ(reader.GetName(), "e");
  EXPECT_TRUE(reader.IsEmptyElement());
  // The parser's position, which runs ahead of the node: a short text is parsed in one go.
  EXPECT_EQ(reader.GetLineNumber(), 4);
  EXPECT_GT(reader.GetLinePosition(), 0);
}

TEST(XmlTextReaderTest, MemoryReaderParsesTheWholeTextIncludingItsLastCharacter) {
  // A comment after the root element ends with the text's very last byte.
  XmlTextReaderLite reader = MemoryReader("<r/><!--tail-->");
  EXPECT_EQ(Walk(reader), (std::vector<std::string>{"1:r=", "8:#comment=tail"}));

  // The full length is parsed, not up to a zero byte: the bytes after it make the text invalid.
  const std::string withNul("<r>a</r>\0<x>", 12);
  XmlTextReaderLite embedded(CStdStr(withNul), XmlTextReaderLite::k_xmlSourceMemory);
  EXPECT_EQ(Walk(embedded), std::vector<std::string>{});
  EXPECT_TRUE(embedded.IsEOF());
  XmlTextReaderLite upToNul(CStdStr(withNul.substr(0, 8)), XmlTextReaderLite::k_xmlSourceMemory);
  EXPECT_EQ(Walk(upToNul), (std::vector<std::string>{"1:r=", "3:#text=a", "15:r="}));
}

TEST(XmlTextReaderTest, FileReaderAndUnreadableSources) {
  qotest::TempDir dir;
  const std::string path = dir.File("doc.xml");
  ASSERT_TRUE(qotest::WriteFileBytes(path, "<doc><v>1</v><v>2</v></doc>"));
  XmlTextReaderLite reader(path.c_str(), XmlTextReaderLite::k_xmlSourceFile);
  ASSERT_EQ(reader.MoveToContent(), QO::k_xmlNodeElement);
  EXPECT_EQ(reader.GetName(), "doc");
  ASSERT_TRUE(reader.Read());
  EXPECT_EQ(reader.ReadElementString("v"), "1");
  EXPECT_EQ(reader.ReadElementString("v"), "2");
  EXPECT_EQ(reader.GetNodeType(), QO::k_xmlNodeEndElement);

  XmlTextReaderLite missing(dir.File("missing.xml").c_str(), XmlTextReaderLite::k_xmlSourceFile);
  EXPECT_FALSE(missing.Read());
  EXPECT_TRUE(missing.IsEOF());
  EXPECT_EQ(missing.GetName(), "");
  EXPECT_EQ(missing.GetValue(), "");
  EXPECT_EQ(missing.GetNodeType(), -1);
  EXPECT_TRUE(missing.IsEmptyElement());  // libxml2's -1 is non-zero
  EXPECT_EQ(missing.GetLineNumber(), 0);
  EXPECT_EQ(missing.MoveToContent(), -1);
  EXPECT_FALSE(missing.Skip());
  EXPECT_EQ(missing.ReadElementString("x"), "");
  CStdStr untouched("keep");
  missing.ReadInnerXml(untouched);
  missing.ReadOuterXml(untouched);
  EXPECT_EQ(untouched, "keep");
  EXPECT_FALSE(missing.GetAttribute("a", untouched));
  EXPECT_EQ(untouched, "keep");

  XmlTextReaderLite nullText(static_cast<const char*>(nullptr), XmlTextReaderLite::k_xmlSourceMemory);
  EXPECT_FALSE(nullText.Read());
  XmlTextReaderLite empty("", XmlTextReaderLite::k_xmlSourceMemory);
  EXPECT_FALSE(empty.Read());
  EXPECT_TRUE(empty.IsEOF());
}

TEST(XmlTextReaderTest, MalformedDocumentStopsWithAnErrorRecordedByTheHandler) {
  XmlTextReaderLite reader = MemoryReader("<a>\n<b>\n</a>");
  // The error lies in the first block libxml2 parses, so not even the first node is delivered.
  EXPECT_EQ(Walk(reader), std::vector<std::string>{});
  EXPECT_TRUE(reader.IsEOF());
  EXPECT_FALSE(reader.Read());
  const XmlGlobals& globals = XmlGlobals::Get();
  EXPECT_NE(globals.m_lastErrorMessage.find("mismatch"), std::string::npos)
      << globals.m_lastErrorMessage;
  EXPECT_EQ(globals.m_lastErrorLine, 3u);

  // An attribute value beyond libxml2's size limit is an error, not a crash.
  std::string huge = "<a v=\"" + std::string(11 * 1024 * 1024, 'x') + "\"/>";
  XmlTextReaderLite hugeReader(CStdStr(std::move(huge)), XmlTextReaderLite::k_xmlSourceMemory);
  EXPECT_FALSE(hugeReader.Read());
  EXPECT_TRUE(hugeReader.IsEOF());
}

TEST(XmlTextReaderTest, MoveToContentSkipsToTheNextContentNode) {
  XmlTextReaderLite reader = MemoryReader("<?xml version=\"1.0\"?><!--c--><?pi x?><r a=\"1\"> <!--d--> t</r>");
  EXPECT_EQ(reader.MoveToContent(), QO::k_xmlNodeElement);
  EXPECT_EQ(reader.GetName(), "r");
  EXPECT_EQ(reader.MoveToContent(), QO::k_xmlNodeElement);  // already on content: stays
  ASSERT_TRUE(reader.Read());
  EXPECT_EQ(reader.GetNodeType(), QO::k_xmlNodeComment);
  EXPECT_EQ(reader.MoveToContent(), QO::k_xmlNodeText);
  EXPECT_EQ(reader.GetValue(), " t");
  EXPECT_EQ(reader.MoveToContent(), QO::k_xmlNodeText);
  ASSERT_TRUE(reader.Read());
  EXPECT_EQ(reader.MoveToContent(), QO::k_xmlNodeEndElement);
  EXPECT_FALSE(reader.Read());
  // At the end, the type of the node it stood on.
  EXPECT_EQ(reader.MoveToContent(), reader.GetNodeType());
}

TEST(XmlTextReaderTest, ReadElementString) {
  XmlTextReaderLite reader = MemoryReader(
      "<r><a>x</a><e/><m>x<b/></m><c>1 &amp; <![CDATA[<2>]]> 3</c><n></n><w>\n  </w><z/></r>");
  ASSERT_TRUE(reader.Read());
  ASSERT_TRUE(reader.Read());
  EXPECT_EQ(reader.ReadElementString("a"), "x");
  EXPECT_EQ(reader.GetName(), "e");  // after the end tag
  EXPECT_EQ(reader.ReadElementString("e"), "");
  EXPECT_EQ(reader.GetName(), "m");  // the empty element was read past
  EXPECT_EQ(reader.ReadElementString("m"), "");
  EXPECT_EQ(reader.GetName(), "b");  // stays on the child element
  EXPECT_EQ(reader.GetNodeType(), QO::k_xmlNodeElement);
  ASSERT_TRUE(reader.Read());  // </m>
  ASSERT_TRUE(reader.Read());
  EXPECT_EQ(reader.ReadElementString("c"), "1 & <2> 3");
  EXPECT_EQ(reader.ReadElementString("n"), "");
  EXPECT_EQ(reader.GetName(), "w");
  EXPECT_EQ(reader.ReadElementString("w"), "");  // blank text is never visited
  EXPECT_EQ(reader.GetName(), "z");
  // The name argument is not consulted.
  EXPECT_EQ(reader.ReadElementString("other"), "");
  EXPECT_EQ(reader.GetNodeType(), QO::k_xmlNodeEndElement);
  EXPECT_EQ(reader.ReadElementString("r"), "");  // not on an element
}

TEST(XmlTextReaderTest, ReadStringAppendsTextUntilOtherMarkup) {
  XmlTextReaderLite reader = MemoryReader("<r>a<![CDATA[b]]>c<x/>d</r>");
  ASSERT_TRUE(reader.Read());
  CStdStr text(">");
  reader.ReadString(text);
  EXPECT_EQ(text, ">abc");
  EXPECT_EQ(reader.GetName(), "x");
  reader.ReadString(text);  // an empty element holds nothing and is not left
  EXPECT_EQ(text, ">abc");
  EXPECT_EQ(reader.GetName(), "x");
}

TEST(XmlTextReaderTest, SkipMovesPastTheWholeElement) {
  XmlTextReaderLite reader = MemoryReader("<r><a><b><c/><b/></b><d>t</d></a><e/><f/></r>");
  ASSERT_TRUE(reader.Read());
  ASSERT_TRUE(reader.Read());
  ASSERT_EQ(reader.GetName(), "a");
  EXPECT_TRUE(reader.Skip());
  EXPECT_EQ(reader.GetName(), "e");
  EXPECT_EQ(reader.GetNodeType(), QO::k_xmlNodeElement);
  EXPECT_TRUE(reader.Skip());  // an empty element: one Read
  EXPECT_EQ(reader.GetName(), "f");
  EXPECT_TRUE(reader.Skip());
  EXPECT_EQ(reader.GetNodeType(), QO::k_xmlNodeEndElement);
  EXPECT_FALSE(reader.Skip());  // past the last node
  EXPECT_TRUE(reader.IsEOF());

  // Skipping the root element reaches the end of the document.
  XmlTextReaderLite root = MemoryReader("<r><a/></r>");
  ASSERT_TRUE(root.Read());
  EXPECT_FALSE(root.Skip());
  EXPECT_TRUE(root.IsEOF());
}

TEST(XmlTextReaderTest, InnerAndOuterXml) {
  XmlTextReaderLite reader = MemoryReader("<r><a x=\"1\"><b>t</b></a><c/><d/></r>");
  ASSERT_TRUE(reader.Read());
  ASSERT_TRUE(reader.Read());
  CStdStr inner;
  reader.ReadInnerXml(inner);
  EXPECT_EQ(inner, "<b>t</b>");
  EXPECT_EQ(reader.GetName(), "c");
  CStdStr outer;
  reader.ReadOuterXml(outer);
  EXPECT_EQ(outer, "<c/>");
  EXPECT_EQ(reader.GetName(), "d");
  reader.ReadOuterXml(outer);
  EXPECT_EQ(outer, "<d/>");
  EXPECT_EQ(reader.GetNodeType(), QO::k_xmlNodeEndElement);
}

TEST(XmlTextReaderTest, GetAttribute) {
  XmlTextReaderLite reader = MemoryReader("<r id=\"7\" name=\"a &amp; b\" empty=\"\"><c/></r>");
  ASSERT_TRUE(reader.Read());
  EXPECT_EQ(reader.GetAttribute("id"), "7");
  EXPECT_EQ(reader.GetAttribute("name"), "a & b");
  EXPECT_EQ(reader.GetAttribute("missing"), "");
  CStdStr value("old");
  EXPECT_FALSE(reader.GetAttribute("missing", value));
  EXPECT_EQ(value, "old");
  EXPECT_TRUE(reader.GetAttribute("empty", value));
  EXPECT_EQ(value, "");
  // The reader is back on the element afterwards.
  EXPECT_EQ(reader.GetNodeType(), QO::k_xmlNodeElement);
  EXPECT_EQ(reader.GetName(), "r");
  ASSERT_TRUE(reader.Read());
  EXPECT_EQ(reader.GetName(), "c");

  QO::IXmlTextReader* owned = new XmlTextReaderLite("<r a=\"1\"/>", XmlTextReaderLite::k_xmlSourceMemory);
  EXPECT_TRUE(owned->Read());
  EXPECT_EQ(owned->GetAttribute("a"), "1");
  owned->Destroy();
}

TEST(XmlTextReaderTest, AttributeWalkAndFailureFlag) {
  XmlTextReaderLite reader = MemoryReader("<r a=\"1\" b=\"x&lt;\"><c/></r>");
  ASSERT_TRUE(reader.Read());
  std::vector<std::string> attributes;
  for (bool more = reader.MoveToFirstAttribute(); more; more = reader.MoveToNextAttribute()) {
    attributes.push_back(reader.GetName() + "=" + reader.GetValue());
    EXPECT_EQ(reader.GetNodeType(), QO::k_xmlNodeAttribute);
  }
  EXPECT_EQ(attributes, (std::vector<std::string>{"a=1", "b=x<"}));
  EXPECT_EQ(reader.MoveToContent(), QO::k_xmlNodeElement);
  EXPECT_EQ(reader.GetName(), "r");
  ASSERT_TRUE(reader.MoveToFirstAttribute());
  EXPECT_TRUE(reader.MoveToElement());
  EXPECT_EQ(reader.GetName(), "r");
  ASSERT_TRUE(reader.Read());
  EXPECT_FALSE(reader.MoveToFirstAttribute());  // <c/> has none
  while (reader.Read()) {
  }
  EXPECT_FALSE(reader.HasFailed());

  // Long enough that the error after the root element is met well after the first nodes.
  std::string text = "<r>";
  for (int i = 0; i < 20000; ++i) text += "<c/>";
  text += "</r><bad";
  XmlTextReaderLite broken(CStdStr(text), XmlTextReaderLite::k_xmlSourceMemory);
  int nodes = 0;
  while (broken.Read()) ++nodes;
  EXPECT_GT(nodes, 1000);
  EXPECT_TRUE(broken.HasFailed());
  EXPECT_TRUE(broken.IsEOF());

  XmlTextReaderLite fine = MemoryReader("<r/>");
  while (fine.Read()) {
  }
  EXPECT_FALSE(fine.HasFailed());
  EXPECT_TRUE(fine.IsEOF());
}
