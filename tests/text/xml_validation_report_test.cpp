// ValidateXmlFileReport: problems in document order with their lines, a limit that stops the
// reading, and the default ValidateXmlFile left reporting the last problem as before.
#include <qobase/text/xml_validation_report.h>

#include <gtest/gtest.h>

#include <string>

#include "support/temp_dir.h"

namespace {

const char* const k_schema =
    "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\"><xs:element name=\"T\">"
    "<xs:complexType><xs:sequence><xs:element name=\"n\" type=\"xs:int\" maxOccurs=\"unbounded\"/>"
    "</xs:sequence></xs:complexType></xs:element></xs:schema>";

// Invalid values on lines 2, 4 and 5.
const char* const k_threeProblems = "<T>\n<n>x</n>\n<n>1</n>\n<n>y</n>\n<n>z</n>\n</T>\n";

std::string Lines(const XmlValidationReport& report) {
  std::string lines;
  for (const XmlValidationIssue& issue : report.issues) {
    lines += std::to_string(issue.line) + (issue.wellFormedness ? "w " : " ");
  }
  return lines;
}

}  // namespace

TEST(XmlValidationReportTest, ProblemsInOrderUpToTheLimit) {
  qotest::TempDir dir;
  const std::string schema = dir.File("n.xsd");
  ASSERT_TRUE(qotest::WriteFileBytes(schema, k_schema));
  const struct {
    std::string name, xml;
    size_t limit;
    bool valid;
    unsigned int code;
    std::string lines;
    bool stopped;
  } cases[] = {
      {"valid", "<T><n>1</n></T>", 1, true, 0, "", false},
      {"first only", k_threeProblems, 1, false, ValidationErrorInfo::k_documentNotValid, "2 ",
       true},
      {"limit 0 is 1", k_threeProblems, 0, false, ValidationErrorInfo::k_documentNotValid, "2 ",
       true},
      {"all", k_threeProblems, 10, false, ValidationErrorInfo::k_documentNotValid, "2 4 5 ", false},
      {"two of three", k_threeProblems, 2, false, ValidationErrorInfo::k_documentNotValid, "2 4 ",
       true},
      {"not well-formed", "<T>\n<n>1</n>\n<n>2</T>\n", 5, false,
       ValidationErrorInfo::k_documentNotRead, "3w ", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string xml = dir.File("doc.xml");
    ASSERT_TRUE(qotest::WriteFileBytes(xml, c.xml));
    XmlValidationReport report;
    EXPECT_EQ(ValidateXmlFileReport(xml, schema, c.limit, report), c.valid);
    EXPECT_EQ(report.code, c.code);
    // A well-formedness error may come with follow-up errors: the first one is what counts.
    EXPECT_EQ(Lines(report).substr(0, c.lines.size()), c.lines);
    if (c.code == ValidationErrorInfo::k_documentNotValid) {
      EXPECT_EQ(Lines(report), c.lines);
    }
    EXPECT_EQ(report.stoppedAtLimit, c.stopped);
  }

  // The default keeps reporting the last problem, from the whole document.
  const std::string xml = dir.File("three.xml");
  ASSERT_TRUE(qotest::WriteFileBytes(xml, k_threeProblems));
  ValidationErrorInfo info;
  EXPECT_FALSE(ValidateXmlFile(xml, schema, info));
  EXPECT_EQ(info.line, 5u);
  XmlValidationReport report;
  ASSERT_FALSE(ValidateXmlFileReport(xml, schema, 1, report));
  EXPECT_NE(report.issues.front().message.find("'x' is not a valid value"), std::string::npos);
  EXPECT_EQ(report.issues.front().message.back(), '.');  // no trailing line feed
}

TEST(XmlValidationReportTest, SchemaProblemsAndMissingDocuments) {
  qotest::TempDir dir;
  const std::string notSchema = dir.File("bad.xsd"), xml = dir.File("doc.xml");
  ASSERT_TRUE(qotest::WriteFileBytes(notSchema, "<notaschema/>"));
  ASSERT_TRUE(qotest::WriteFileBytes(xml, "<T/>"));
  XmlValidationReport report;
  EXPECT_FALSE(ValidateXmlFileReport(xml, notSchema, 1, report));
  EXPECT_EQ(report.code, ValidationErrorInfo::k_schemaNotParsed);
  ASSERT_EQ(report.issues.size(), 1u);
  EXPECT_FALSE(report.issues.front().message.empty());

  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("n.xsd"), k_schema));
  EXPECT_FALSE(ValidateXmlFileReport(dir.File("missing.xml"), dir.File("n.xsd"), 1, report));
  EXPECT_EQ(report.code, ValidationErrorInfo::k_documentNotRead);
  EXPECT_FALSE(ValidateXmlFileReport(std::string("doc.xml\0x", 9), dir.File("n.xsd"), 1, report));
  EXPECT_EQ(report.code, ValidationErrorInfo::k_documentNotRead);
}
