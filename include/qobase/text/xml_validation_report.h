// Validation that reports every problem it finds, in document order, each with its line, and
// stops after a given number, so the first problem of a large invalid document is known at
// once and no amount of problems grows without bound. ValidateXmlFile (xml_validation.h) keeps
// its own behaviour: it reads the whole document and reports the last problem only.
#pragma once

#include <qobase/strings/std_str.h>
#include <qobase/text/xml_validation.h>

#include <cstddef>
#include <vector>

// One problem: where it is and libxml2's text for it (without the trailing line feed).
struct XmlValidationIssue {
  unsigned int line = 0;
  unsigned int column = 0;
  CStdStr message;
  bool wellFormedness = false;  // the document is not well-formed XML (not a schema problem)
};

// What ValidateXmlFileReport found.
struct XmlValidationReport {
  // 0 when valid, else a ValidationErrorInfo code: k_schemaNotRead or k_schemaNotParsed (the
  // schema's own problem is then the one issue), k_documentNotRead (the file cannot be opened
  // or is not well-formed XML), k_documentNotValid.
  unsigned int code = 0;
  // In document order; at most the limit given.
  std::vector<XmlValidationIssue> issues;
  // True when reading stopped because the limit was reached: there may be more problems.
  bool stoppedAtLimit = false;
};

// Validates the XML file at `xmlPath` against the schema at `schemaPath` (cached as by
// ValidateXmlFile) while reading it, collecting problems until `maxIssues` (taken as at least 1)
// are found, then stops reading. True when the document is well-formed and valid.
//
//   XmlValidationReport report;
//   ValidateXmlFileReport("take.xml", "take.xsd", 1, report);  // stops at the first problem
bool ValidateXmlFileReport(const CStdStr& xmlPath, const CStdStr& schemaPath, size_t maxIssues,
                           XmlValidationReport& report);
