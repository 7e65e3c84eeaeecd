#include <qobase/text/xml_validation.h>

#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <string>
#include <thread>

#include "support/temp_dir.h"

namespace {

const char* const k_schema =
    "<?xml version=\"1.0\"?>\n"
    "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\">\n"
    "  <xs:element name=\"take\">\n"
    "    <xs:complexType>\n"
    "      <xs:sequence>\n"
    "        <xs:element name=\"gain\" type=\"xs:int\" maxOccurs=\"unbounded\"/>\n"
    "      </xs:sequence>\n"
    "      <xs:attribute name=\"id\" type=\"xs:string\" use=\"required\"/>\n"
    "    </xs:complexType>\n"
    "  </xs:element>\n"
    "</xs:schema>\n";

const char* const k_valid = "<take id=\"t1\"><gain>3</gain><gain>-4</gain></take>";
const char* const k_invalid = "<take id=\"t1\">\n<gain>3</gain>\n<gain>loud</gain>\n</take>";

}  // namespace

TEST(XmlValidationTest, ConformingAndNonConformingFiles) {
  qotest::TempDir dir;
  const std::string schema = dir.File("take.xsd");
  ASSERT_TRUE(qotest::WriteFileBytes(schema, k_schema));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("valid.xml"), k_valid));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("invalid.xml"), k_invalid));

  ValidationErrorInfo info;
  EXPECT_TRUE(ValidateXmlFile(dir.File("valid.xml"), schema, info));
  EXPECT_EQ(info.code, 0u);  // untouched on success
  EXPECT_EQ(info.message, "");

  EXPECT_FALSE(ValidateXmlFile(dir.File("invalid.xml"), schema, info));
  EXPECT_EQ(info.code, ValidationErrorInfo::k_documentNotValid);
  EXPECT_EQ(info.line, 3u);
  EXPECT_NE(info.message.find("'loud' is not a valid value"), std::string::npos) << info.message;
  EXPECT_EQ(info.file, "");
  EXPECT_EQ(info.message, XmlGlobals::Get().m_lastErrorMessage);

  // A path holding a zero byte names no file: the file named by the bytes before it is not used.
  const std::string cut(1, '\0');
  ValidationErrorInfo nulDoc, nulSchema;
  EXPECT_FALSE(ValidateXmlFile(dir.File("valid.xml") + cut + "x", schema, nulDoc));
  EXPECT_EQ(nulDoc.code, ValidationErrorInfo::k_documentNotRead);
  EXPECT_EQ(nulDoc.file, dir.File("valid.xml") + cut + "x");
  EXPECT_FALSE(ValidateXmlFile(dir.File("valid.xml"), schema + cut + "x", nulSchema));
  EXPECT_EQ(nulSchema.code, ValidationErrorInfo::k_schemaNotRead);

  // The cached schema serves a second validation.
  ValidationErrorInfo again;
  EXPECT_TRUE(ValidateXmlFile(dir.File("valid.xml"), schema, again));
  EXPECT_EQ(XmlGlobals::Get().m_schemas.count(schema), 1u);
}

TEST(XmlValidationTest, ParsedDocumentsAndMissingFiles) {
  qotest::TempDir dir;
  const std::string schema = dir.File("take.xsd");
  ASSERT_TRUE(qotest::WriteFileBytes(schema, k_schema));

  xmlDocPtr valid = xmlReadMemory(k_valid, static_cast<int>(std::string(k_valid).size()), "", nullptr, 0);
  ASSERT_NE(valid, nullptr);
  ValidationErrorInfo info;
  EXPECT_TRUE(ValidateXmlDoc(valid, schema, info));
  xmlFreeDoc(valid);

  xmlDocPtr missingAttribute = xmlReadMemory("<take><gain>1</gain></take>", 27, "", nullptr, 0);
  ASSERT_NE(missingAttribute, nullptr);
  EXPECT_FALSE(ValidateXmlDoc(missingAttribute, schema, info));
  EXPECT_EQ(info.code, ValidationErrorInfo::k_documentNotValid);
  EXPECT_NE(info.message.find("'id' is required"), std::string::npos) << info.message;
  xmlFreeDoc(missingAttribute);

  ValidationErrorInfo missing;
  const std::string missingPath = dir.File("missing.xml");
  EXPECT_FALSE(ValidateXmlFile(missingPath, schema, missing));
  EXPECT_EQ(missing.code, ValidationErrorInfo::k_documentNotRead);
  EXPECT_EQ(missing.file, missingPath);

  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("broken.xml"), "<take id=\"x\">\n<gain>"));
  ValidationErrorInfo broken;
  EXPECT_FALSE(ValidateXmlFile(dir.File("broken.xml"), schema, broken));
  EXPECT_EQ(broken.code, ValidationErrorInfo::k_documentNotRead);
  EXPECT_EQ(broken.file, dir.File("broken.xml"));
}

TEST(XmlValidationTest, UnusableSchemasFailOnceAndAreNeverReadAgain) {
  qotest::TempDir dir;
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("doc.xml"), k_valid));
  const std::string doc = dir.File("doc.xml");

  // Missing schema file: 1 at first, 3 afterwards, even once a good schema appears at the path.
  const std::string late = dir.File("late.xsd");
  ValidationErrorInfo first;
  EXPECT_FALSE(ValidateXmlFile(doc, late, first));
  EXPECT_EQ(first.code, ValidationErrorInfo::k_schemaNotRead);
  ASSERT_TRUE(qotest::WriteFileBytes(late, k_schema));
  ValidationErrorInfo second;
  EXPECT_FALSE(ValidateXmlFile(doc, late, second));
  EXPECT_EQ(second.code, ValidationErrorInfo::k_schemaNotParsed);

  // A schema file that is not well-formed XML: no document, so 1, with the parser's position.
  const std::string malformed = dir.File("malformed.xsd");
  ASSERT_TRUE(qotest::WriteFileBytes(malformed, "<xs:schema>\n\n  <oops>\n</xs:schema>"));
  ValidationErrorInfo parseError;
  EXPECT_FALSE(ValidateXmlFile(doc, malformed, parseError));
  EXPECT_EQ(parseError.code, ValidationErrorInfo::k_schemaNotRead);
  EXPECT_EQ(parseError.line, 4u);
  EXPECT_GT(parseError.column, 0u);
  EXPECT_FALSE(parseError.message.empty());

  // Well-formed XML that is no schema: 3, then 3 again.
  const std::string notSchema = dir.File("not-a-schema.xsd");
  ASSERT_TRUE(qotest::WriteFileBytes(notSchema, "<catalog><item/></catalog>"));
  for (int attempt = 0; attempt < 2; ++attempt) {
    ValidationErrorInfo info;
    EXPECT_FALSE(ValidateXmlFile(doc, notSchema, info));
    EXPECT_EQ(info.code, ValidationErrorInfo::k_schemaNotParsed);
    EXPECT_FALSE(info.message.empty());
  }
  const auto& holder = XmlGlobals::Get().m_schemas.at(notSchema);
  EXPECT_NE(holder.document, nullptr);
  EXPECT_NE(holder.parser, nullptr);
  EXPECT_EQ(holder.schema, nullptr);
}

TEST(XmlValidationTest, ErrorsOfOtherThreadsReachTheHandler) {
  std::thread worker([] {
    const std::string text = "<a>\n<b>";
    xmlDocPtr doc = xmlReadMemory(text.data(), static_cast<int>(text.size()), "", nullptr, 0);
    if (doc) xmlFreeDoc(doc);
  });
  worker.join();
  const XmlGlobals& globals = XmlGlobals::Get();
  EXPECT_NE(globals.m_lastErrorMessage.find("Premature end of data in tag"), std::string::npos)
      << globals.m_lastErrorMessage;
  EXPECT_EQ(globals.m_lastErrorLine, 2u);
}
