// XML schema validation of files and memory, and its error reports.
#include <qobase/text/xml_validation.h>

#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <cstring>
#include <string>
#include <thread>

#include "support/temp_dir.h"

namespace {

const char* const k_schema =
    "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\"><xs:element name=\"take\">"
    "<xs:complexType><xs:sequence><xs:element name=\"gain\" type=\"xs:int\" maxOccurs=\"9\"/>"
    "</xs:sequence><xs:attribute name=\"id\" type=\"xs:string\" use=\"required\"/>"
    "</xs:complexType></xs:element></xs:schema>";
const char* const k_valid = "<take id=\"t1\"><gain>3</gain><gain>-4</gain></take>";
const char* const k_invalid = "<take id=\"t1\">\n<gain>3</gain>\n<gain>loud</gain>\n</take>";

// What validating a file reports; a conforming file leaves the info untouched (code 0).
ValidationErrorInfo Validate(const std::string& xml, const std::string& schema) {
  ValidationErrorInfo info;
  const bool valid = ValidateXmlFile(xml, schema, info);
  EXPECT_EQ(valid, info.code == 0) << xml;
  return info;
}

}  // namespace

TEST(XmlValidationTest, FilesAndParsedDocuments) {
  qotest::TempDir dir;
  const std::string schema = dir.File("take.xsd"), valid = dir.File("valid.xml");
  ASSERT_TRUE(qotest::WriteFileBytes(schema, k_schema));
  ASSERT_TRUE(qotest::WriteFileBytes(valid, k_valid));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("invalid.xml"), k_invalid));

  EXPECT_EQ(Validate(valid, schema).message, "");
  // The parsed schema is kept: changing its file afterwards changes nothing.
  ASSERT_TRUE(qotest::WriteFileBytes(schema, "not a schema"));
  EXPECT_EQ(Validate(valid, schema).code, 0u);

  const ValidationErrorInfo info = Validate(dir.File("invalid.xml"), schema);
  EXPECT_EQ(info.code, ValidationErrorInfo::k_documentNotValid);
  EXPECT_EQ(info.line, 3u);
  EXPECT_NE(info.message.find("'loud' is not a valid value"), std::string::npos) << info.message;
  EXPECT_EQ(info.file, "");
  EXPECT_EQ(info.message, XmlGlobals::Get().m_lastErrorMessage);

  xmlDocPtr doc = xmlReadMemory(k_valid, static_cast<int>(std::strlen(k_valid)), "", nullptr, 0);
  ASSERT_NE(doc, nullptr);
  ValidationErrorInfo docInfo;
  EXPECT_TRUE(ValidateXmlDoc(doc, schema, docInfo));
  xmlFreeDoc(doc);
  doc = xmlReadMemory("<take><gain>1</gain></take>", 27, "", nullptr, 0);
  ASSERT_NE(doc, nullptr);
  EXPECT_FALSE(ValidateXmlDoc(doc, schema, docInfo));
  EXPECT_EQ(docInfo.code, ValidationErrorInfo::k_documentNotValid);
  EXPECT_NE(docInfo.message.find("'id' is required"), std::string::npos) << docInfo.message;
  xmlFreeDoc(doc);

  // Unreadable documents: missing, not well-formed, a path holding a zero byte (the file named
  // by the bytes before it is not used).
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("broken.xml"), "<take id=\"x\">\n<gain>"));
  for (const std::string& path :
       {dir.File("missing.xml"), dir.File("broken.xml"), valid + std::string(1, '\0') + "x"}) {
    EXPECT_EQ(Validate(path, schema).code, ValidationErrorInfo::k_documentNotRead);
    EXPECT_EQ(Validate(path, schema).file, path);
  }
  EXPECT_EQ(Validate(valid, schema + std::string(1, '\0')).code,
            ValidationErrorInfo::k_schemaNotRead);
}

TEST(XmlValidationTest, UnusableSchemasFailOnceAndAreNeverReadAgain) {
  qotest::TempDir dir;
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("doc.xml"), k_valid));
  const std::string doc = dir.File("doc.xml");

  // Missing schema file: 1 at first, 3 afterwards, even once a good schema appears at the path.
  const std::string late = dir.File("late.xsd");
  EXPECT_EQ(Validate(doc, late).code, ValidationErrorInfo::k_schemaNotRead);
  ASSERT_TRUE(qotest::WriteFileBytes(late, k_schema));
  EXPECT_EQ(Validate(doc, late).code, ValidationErrorInfo::k_schemaNotParsed);

  // A schema file that is not well-formed XML: no document, so 1, with the parser's position.
  const std::string malformed = dir.File("malformed.xsd");
  ASSERT_TRUE(qotest::WriteFileBytes(malformed, "<xs:schema>\n\n  <oops>\n</xs:schema>"));
  const ValidationErrorInfo parseError = Validate(doc, malformed);
  EXPECT_EQ(parseError.code, ValidationErrorInfo::k_schemaNotRead);
  EXPECT_EQ(parseError.line, 4u);
  EXPECT_GT(parseError.column, 0u);
  EXPECT_FALSE(parseError.message.empty());

  // Well-formed XML that is no schema: 3, then 3 again.
  const std::string notSchema = dir.File("not-a-schema.xsd");
  ASSERT_TRUE(qotest::WriteFileBytes(notSchema, "<catalog><item/></catalog>"));
  for (int attempt = 0; attempt < 2; ++attempt) {
    const ValidationErrorInfo info = Validate(doc, notSchema);
    EXPECT_EQ(info.code, ValidationErrorInfo::k_schemaNotParsed);
    EXPECT_FALSE(info.message.empty());
  }
}

TEST(XmlValidationTest, ErrorsOfOtherThreadsReachTheHandler) {
  std::thread worker([] {
    xmlDocPtr doc = xmlReadMemory("<a>\n<b>", 7, "", nullptr, 0);
    if (doc) xmlFreeDoc(doc);
  });
  worker.join();
  const XmlGlobals& globals = XmlGlobals::Get();
  EXPECT_NE(globals.m_lastErrorMessage.find("Premature end of data in tag"), std::string::npos)
      << globals.m_lastErrorMessage;
  EXPECT_EQ(globals.m_lastErrorLine, 2u);
}
