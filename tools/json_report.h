// JsonReport: how the program writes a JSON report, through the library's JSONTextWriter. The
// writer writes every value as a string, so numbers appear as strings holding exactly the text
// the command prints ("0.180", "48000"); a reader converts them with its own number parser.
//
//   JsonReport report;
//   report.Member("file", "a.wav");
//   report.BeginArray("onsets");
//   report.BeginItemObject(); report.Member("time", "0.180"); report.End();
//   report.End();
//   std::string text = report.Finish();  // {"file": "a.wav", "onsets": [{"time": "0.180"}]}
#pragma once

#include <qobase/text/json_text_writer.h>

#include <string>

namespace qobase_tool {

class JsonReport {
 public:
  // Starts the document's outer object.
  JsonReport();

  // A string member of the current object.
  void Member(const char* name, const std::string& value);
  // A member holding an object or an array; close it with End.
  void BeginObject(const char* name);
  void BeginArray(const char* name);
  // Items of the current array: a string, or an object closed with End.
  void Item(const std::string& value);
  void BeginItemObject();
  void End();

  // Ends the document and returns its text with a final line feed.
  std::string Finish();

 private:
  JSONTextWriter m_writer;
};

// The document on one line: the writer's line breaks and indentation taken out. The writer
// escapes every line feed inside a string, so only its own layout is removed.
std::string SingleLine(const std::string& document);

}  // namespace qobase_tool
