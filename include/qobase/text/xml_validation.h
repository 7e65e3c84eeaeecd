// Validation of XML files and parsed documents against XML Schemas. Parsed schemas are cached
// for the life of the process in XmlGlobals, which also records the last libxml2 error.
#pragma once

#include <qobase/strings/std_str.h>

#include <map>

struct _xmlDoc;
struct _xmlSchema;
struct _xmlSchemaParserCtxt;
struct _xmlError;

// Why a validation failed. Filled only on failure.
struct ValidationErrorInfo {
  enum Code : unsigned int {
    k_schemaNotRead = 1,     // the schema file could not be read or no context could be made
    k_schemaNotParsed = 3,   // the schema does not parse (now or at an earlier use of its path)
    k_documentNotRead = 5,   // the XML file could not be read
    k_documentNotValid = 7,  // the document does not conform to the schema
  };

  unsigned int code = 0;
  unsigned int line = 0;    // of the last libxml2 error
  unsigned int column = 0;  // of the last libxml2 error
  CStdStr message;          // text of the last libxml2 error
  CStdStr file;             // the XML file's path when it could not be read
};

// True when the XML file at `xmlPath` conforms to the schema at `schemaPath`.
bool ValidateXmlFile(const CStdStr& xmlPath, const CStdStr& schemaPath, ValidationErrorInfo& info);
// True when the parsed document conforms to the schema at `schemaPath`.
bool ValidateXmlDoc(_xmlDoc* doc, const CStdStr& schemaPath, ValidationErrorInfo& info);

// Process-wide libxml2 state: made when the library is loaded (initialising libxml2 and
// installing the error handler), torn down when it is unloaded. Used from one thread at a time.
class XmlGlobals {
 public:
  // One parsed schema and what it was parsed from; any of them may be null.
  struct SchemaHolder {
    _xmlDoc* document = nullptr;
    _xmlSchemaParserCtxt* parser = nullptr;
    _xmlSchema* schema = nullptr;
  };

  // The instance.
  static XmlGlobals& Get();

  // The cached schema for `schemaPath`, parsed at its first use. Null, with info.code 1 or 3,
  // when it cannot be used; a path that failed once fails with 3 without being read again.
  _xmlSchema* GetSchema(const CStdStr& schemaPath, ValidationErrorInfo& info);

  // Receives every libxml2 error and keeps the last one's message, line and column.
  static void StructuredErrorHandler(void* userData, _xmlError* error);

  // Copies the last error's message, line and column into `info`.
  void CopyLastError(ValidationErrorInfo& info) const;

  CStdStr m_lastErrorMessage;
  unsigned int m_lastErrorLine = 0;
  unsigned int m_lastErrorColumn = 0;
  std::map<CStdStr, SchemaHolder> m_schemas;

  XmlGlobals(const XmlGlobals&) = delete;
  XmlGlobals& operator=(const XmlGlobals&) = delete;

 private:
  XmlGlobals();
  ~XmlGlobals();

  static XmlGlobals s_instance;
};
