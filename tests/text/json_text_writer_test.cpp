#include <qobase/text/json_text_writer.h>
#include <qobase/text/xml_text_writer_lite2.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using QO::XmlElementType::Array;
using QO::XmlElementType::Object;
using QO::XmlElementType::ObjectArray;

std::string Text(const QoTextWriterBuffer& writer) {
  return std::string(writer.GetBufferedText(), writer.GetBufferedSize());
}

}  // namespace

TEST(JsonTextWriterTest, DocumentWithMembersArraysAndWrappedItems) {
  JSONTextWriter writer;
  QO::IXmlTextWriter& w = writer;
  w.WriteStartDocument();
  w.WriteStartElement("Project", Object);
  w.WriteAttributeString("Name", "Demo");
  w.WriteStartElement("Tags", Array);
  w.WriteStartElement("Tag", Object);
  w.WriteString("a");
  w.WriteEndElement();
  w.WriteStartElement("Tag", Object);
  w.WriteString("b");
  w.WriteEndElement();
  w.WriteEndElement();
  w.WriteStartElement("Items", ObjectArray);
  w.WriteStartElement("Item", Object);
  w.WriteAttributeString("Id", "1");
  w.WriteEndElement();
  w.WriteStartElement("Item", Object);
  w.WriteString("x");
  w.WriteEndElement();
  w.WriteEndElement();
  w.WriteStartElement("Empty", Object);
  w.WriteEndElement();
  w.WriteStartElement("Note", Object);
  w.WriteAttributeString("Lang", "en");
  w.WriteString("hello");
  w.WriteEndElement();
  w.WriteEndElement();
  w.WriteEndDocument();
  EXPECT_EQ(Text(writer),
            "{\n"
            " \"Project\": {\n"
            "  \"Name\": \"Demo\",\n"
            "  \"Tags\": [\n"
            "   \"a\",\n"
            "   \"b\"\n"
            "  ],\n"
            "  \"Items\": [\n"
            "   {\n"
            "    \"Item\": {\n"
            "     \"Id\": \"1\"\n"
            "    }\n"
            "   },\n"
            "   {\n"
            "    \"Item\": \"x\"\n"
            "   }\n"
            "  ],\n"
            "  \"Empty\": {},\n"
            "  \"Note\": {\n"
            "   \"Lang\": \"en\",\n"
            "   \"#text\": \"hello\"\n"
            "  }\n"
            " }\n"
            "}");
}

TEST(JsonTextWriterTest, EmptyElementsEscapesAndStates) {
  JSONTextWriter writer;
  writer.WriteStartDocument();
  writer.WriteEndDocument();
  EXPECT_EQ(Text(writer), "{\n \n}");

  JSONTextWriter empty;
  empty.WriteStartElement("o", Object);
  empty.WriteEndElement();
  empty.WriteStartElement("a", Array);
  empty.WriteEndElement();
  empty.WriteStartElement("w", ObjectArray);
  empty.WriteEndElement();
  EXPECT_EQ(Text(empty), "\"o\": {},\n\"a\": [],\n\"w\": []");

  JSONTextWriter escaped;
  escaped.WriteStartElement("k\"", Object);  // names are never escaped
  escaped.WriteString("a\\\"b\x01/\xc3\xa9\b\f\n\r\t");
  escaped.WriteEndElement();
  EXPECT_EQ(Text(escaped), "\"k\"\": \"a\\\\\\\"b\x01/\xc3\xa9\\b\\f\\n\\r\\t\"");

  // Text straight after the document start gets no opening quote: callers start an element.
  JSONTextWriter early;
  early.WriteStartDocument();
  early.WriteString("t");
  EXPECT_EQ(Text(early), "{\n t\"");

  // CDATA is a string; raw text goes in unchanged without a separator or state change.
  JSONTextWriter raw;
  raw.WriteStartElement("r", Array);
  raw.WriteStartElement("i", Object);
  raw.WriteCData("<\"c\">");
  raw.WriteEndElement();
  raw.WriteRaw(" /*raw*/");
  raw.WriteStartElement("i", Object);
  raw.WriteString("d");
  raw.WriteEndElement();
  raw.WriteEndElement();
  raw.WriteEndElement();  // none open: ignored
  EXPECT_EQ(Text(raw), "\"r\": [\n \"<\\\"c\\\">\" /*raw*/,\n \"d\"\n]");

  CStdStr text("a\\\"b");
  JSONTextWriter::EscapeJSONCharacters(text);
  EXPECT_EQ(text, "a\\\\\\\"b");
  text = "plain \x01";
  JSONTextWriter::EscapeJSONCharacters(text);
  EXPECT_EQ(text, "plain \x01");
}

TEST(JsonTextWriterTest, AppendAfterAValueAddsTheSeparator) {
  JSONTextWriter fragment;
  fragment.WriteStartElement("f", Object);
  fragment.WriteString("1");
  fragment.WriteEndElement();

  JSONTextWriter writer;
  writer.WriteStartDocument();
  EXPECT_TRUE(writer.Append(&fragment));
  EXPECT_TRUE(writer.Append(&fragment));
  writer.WriteStartElement("g", Object);
  EXPECT_TRUE(writer.Append(&fragment));  // nothing is opened for the new element
  writer.WriteEndElement();
  writer.WriteEndDocument();
  EXPECT_FALSE(writer.Append(nullptr));
  EXPECT_EQ(Text(writer), "{\n \"f\": \"1\",\n \"f\": \"1\",\n \"g\": \"f\": \"1\"\n}");

  // The text of an XML writer is taken as it is.
  XmlTextWriterLite2 xml;
  xml.WriteRaw("<x/>");
  JSONTextWriter mixed;
  mixed.WriteStartDocument();
  mixed.WriteStartElement("a", Object);
  mixed.WriteString("1");
  mixed.WriteEndElement();
  EXPECT_TRUE(mixed.Append(&xml));
  EXPECT_EQ(Text(mixed), "{\n \"a\": \"1\",\n <x/>");
}

TEST(JsonTextWriterTest, AllocBufferKeepsTheTextOfAMemoryWriter) {
  JSONTextWriter writer;
  const std::string long_text(100000, 'v');
  writer.WriteStartElement(CStdStr(std::string(50000, 'n')), Object);
  writer.WriteString(long_text);
  writer.AllocBuffer(4 * 1024 * 1024);
  writer.WriteEndElement();
  EXPECT_EQ(Text(writer), "\"" + std::string(50000, 'n') + "\": \"" + long_text + "\"");
}
