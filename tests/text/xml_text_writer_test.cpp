#include <qobase/text/json_text_writer.h>
#include <qobase/text/xml_text_writer_lite2.h>

#include <gtest/gtest.h>

#include <string>

#include "support/temp_dir.h"

namespace {

using QO::XmlElementType::Object;

std::string Text(const QoTextWriterBuffer& writer) {
  return std::string(writer.GetBufferedText(), writer.GetBufferedSize());
}

const char k_header[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

}  // namespace

TEST(XmlTextWriterTest, DocumentWithIndentedElementsAttributesAndText) {
  XmlTextWriterLite2 writer;
  EXPECT_TRUE(writer.IsReady());
  EXPECT_EQ(writer.GetReadyState(), QO::k_writerReady);
  EXPECT_EQ(writer.GetWriteState(), 5u);
  writer.WriteStartDocument();
  writer.WriteStartElement("Root", Object);
  writer.WriteAttributeString("a", "x&y");
  writer.WriteStartElement("Child", Object);
  writer.WriteString("hi");
  writer.WriteEndElement();
  writer.WriteStartElement("Empty", Object);
  writer.WriteEndElement();
  writer.WriteEndElement();
  writer.WriteEndDocument();
  EXPECT_EQ(Text(writer), std::string(k_header) +
                              "<Root a=\"x&amp;y\">\n"
                              "\t<Child>hi</Child>\n"
                              "\t<Empty/>\n"
                              "</Root>\n");
}

TEST(XmlTextWriterTest, EventsInEveryState) {
  XmlTextWriterLite2 writer;
  writer.WriteStartElement("a", Object);
  writer.WriteEndElement();
  writer.WriteStartElement(CStdStr("b"), Object);
  writer.WriteString("");
  writer.WriteEndElement();
  EXPECT_EQ(Text(writer), "<a/>\n<b></b>\n");

  XmlTextWriterLite2 nested;
  nested.WriteStartElement("r", Object);
  nested.WriteStartElement("s", Object);
  nested.WriteAttributeString(CStdStr("k"), "v");
  nested.WriteAttributeString("q", "a\"b<c>'\x01\xc3\xa9");
  nested.WriteStartElement("t", Object);
  nested.WriteString("a\"b<c>&'");
  nested.WriteEndElement();
  nested.WriteStartElement("u", Object);
  nested.WriteCData("x]]>y<");
  nested.WriteEndElement();
  nested.WriteStartElement("v", Object);
  nested.WriteRaw("<w/>");
  nested.WriteRaw("&");
  nested.WriteEndElement();
  nested.WriteEndElement();
  nested.WriteStartElement("x", Object);
  nested.WriteString("t");
  nested.WriteStartElement("y", Object);  // after text: no line feed before the child
  nested.WriteEndElement();
  nested.WriteEndElement();
  nested.WriteEndDocument();  // writes nothing
  nested.WriteEndElement();
  nested.WriteEndElement();  // none open: ignored
  EXPECT_EQ(Text(nested),
            "<r>\n"
            "\t<s k=\"v\" q=\"a&quot;b&lt;c&gt;'\x01\xc3\xa9\">\n"
            "\t\t<t>a\"b&lt;c&gt;&amp;'</t>\n"
            "\t\t<u><![CDATA[x]]>y<]]></u>\n"
            "\t\t<v><w/>&</v>\n"
            "\t</s>\n"
            "\t<x>t\t\t<y/>\n"
            "\t</x>\n"
            "</r>\n");

  CStdStr text("a\"b<c");
  XmlTextWriterLite2::EscapeXMLCharacters(text, true);
  EXPECT_EQ(text, "a&quot;b&lt;c");
  text = "a\"b<c";
  XmlTextWriterLite2::EscapeXMLCharacters(text, false);
  EXPECT_EQ(text, "a\"b&lt;c");
  text = "&lt; & >";
  XmlTextWriterLite2::EscapeXMLCharacters(text, false);
  EXPECT_EQ(text, "&amp;lt; &amp; &gt;");
}

TEST(XmlTextWriterTest, AttributeValueAndHeaderPrimitives) {
  XmlTextWriterLite2 writer;
  writer.WriteStartDocument();
  EXPECT_EQ(writer.GetBufferedSize(), 39u);
  writer.WriteAttributeValue("1<2");
  writer.WriteChar('-', 3);
  writer.WriteString("ab", 1);
  EXPECT_EQ(Text(writer), std::string(k_header) + "=\"1&lt;2\"---a");
}

TEST(XmlTextWriterTest, AppendSplicesAnotherWritersText) {
  XmlTextWriterLite2 fragment;
  fragment.WriteStartElement("f", Object);
  fragment.WriteString("1");
  fragment.WriteEndElement();

  XmlTextWriterLite2 writer;
  writer.WriteStartElement("r", Object);
  writer.WriteStartElement("s", Object);
  EXPECT_TRUE(writer.Append(&fragment));  // ">" without a line feed, then the indentation
  EXPECT_TRUE(writer.Append(&fragment));
  writer.WriteEndElement();
  writer.WriteEndElement();
  EXPECT_EQ(Text(writer), "<r>\n\t<s>\t\t<f>1</f>\n\t\t<f>1</f>\n\t</s>\n</r>\n");

  JSONTextWriter json;
  json.WriteRaw("{}");
  XmlTextWriterLite2 mixed;
  EXPECT_TRUE(mixed.Append(&json));
  EXPECT_FALSE(mixed.Append(nullptr));
  EXPECT_TRUE(mixed.Append(&mixed));  // its own text, doubled
  EXPECT_EQ(Text(mixed), "{}{}");
}

TEST(XmlTextWriterTest, NamesAndTextsOfAnyLength) {
  // Longer than the reserve kept before the buffer end and than one signed length byte.
  const std::string name(100000, 'n');
  const std::string text(300000, 't');
  XmlTextWriterLite2 writer;
  writer.WriteStartElement(name, Object);
  writer.WriteAttributeString(CStdStr(name), text);
  writer.WriteStartElement(name, Object);
  writer.WriteString(text);
  writer.WriteEndElement();
  writer.WriteStartElement("c", Object);
  writer.WriteCData(text);
  writer.WriteEndElement();
  writer.WriteRaw(text);
  writer.WriteEndElement();
  writer.WriteString(text.data(), text.size());
  writer.WriteChar('z', 70000);
  EXPECT_EQ(Text(writer), "<" + name + " " + name + "=\"" + text + "\">\n" +
                              "\t<" + name + ">" + text + "</" + name + ">\n" +
                              "\t<c><![CDATA[" + text + "]]></c>\n" + text + "</" + name +
                              ">\n" + text + std::string(70000, 'z'));
}

TEST(XmlTextWriterTest, MemoryBufferGrowsAndAllocBufferKeepsContent) {
  XmlTextWriterLite2 writer;
  std::string expected;
  writer.WriteStartElement("list", Object);
  expected += "<list>\n";
  for (int i = 0; i < 40000; ++i) {
    writer.WriteStartElement("item", Object);
    writer.WriteAttributeString("n", std::to_string(i));
    writer.WriteEndElement();
    expected += "\t<item n=\"" + std::to_string(i) + "\"/>\n";
  }
  writer.WriteEndElement();
  expected += "</list>\n";
  ASSERT_GT(expected.size(), 2 * QoTextWriterBuffer::k_initialBufferSize);
  EXPECT_EQ(Text(writer), expected);

  writer.AllocBuffer(8 * 1024 * 1024, false);  // a memory writer keeps its text
  EXPECT_EQ(Text(writer), expected);
  writer.WriteRaw("!");
  EXPECT_EQ(Text(writer), expected + "!");
}

TEST(XmlTextWriterTest, FileThatCannotBeOpenedLeavesTheWriterNotReady) {
  qotest::TempDir dir;
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("plain"), "x"));
  XmlTextWriterLite2 blocked(zu::Path(dir.File("plain") + "/sub/out.xml"));
  EXPECT_FALSE(blocked.IsReady());
  EXPECT_EQ(blocked.GetReadyState(), QO::k_writerNotReady);
  EXPECT_EQ(blocked.GetBufferedSize(), 0u);
  // Writing to it is the caller's mistake, but does no harm.
  blocked.WriteStartDocument();
  blocked.WriteStartElement("a", Object);
  blocked.WriteString("t");
  blocked.WriteEndElement();
  EXPECT_TRUE(blocked.Append(&blocked));
  EXPECT_EQ(blocked.GetBufferedSize(), 0u);

  // The parent directory is made; a second writer on the same file is refused by the lock.
  const std::string path = dir.File("new/deeper/out.xml");
  {
    XmlTextWriterLite2 first{zu::Path(path)};
    ASSERT_TRUE(first.IsReady());
    EXPECT_FALSE(first.SetFilePath(zu::Path(dir.File("other.xml"))));
    XmlTextWriterLite2 second{zu::Path(path)};
    EXPECT_FALSE(second.IsReady());
    first.WriteStartElement("a", Object);
    first.WriteEndElement();
  }
  EXPECT_EQ(qotest::ReadFileBytes(path), "<a/>\n");

  // A memory writer can be given its file later.
  XmlTextWriterLite2* late = new XmlTextWriterLite2;
  late->WriteStartElement("b", Object);
  ASSERT_TRUE(late->SetFilePath(zu::Path(dir.File("late.xml"))));
  late->WriteEndElement();
  late->Destroy();
  EXPECT_EQ(qotest::ReadFileBytes(dir.File("late.xml")), "<b/>\n");
}
