// SvgDocument: how the program draws a plot, an SVG document written through the library's
// XmlTextWriterLite2 (elements and escaped attributes, never pasted text), with the few shapes
// the plots use, and the axis ticks a person expects (steps of 1, 2 or 5 times a power of 10).
#pragma once

#include <qobase/text/xml_text_writer_lite2.h>

#include <string>
#include <vector>

namespace qobase_tool {

class SvgDocument {
 public:
  // Starts an <svg> of `width` x `height` pixels on a white background.
  SvgDocument(int width, int height);

  // An element with attributes; close it with End. Attributes follow Begin.
  void Begin(const char* element);
  void Attribute(const char* name, const std::string& value);
  void Attribute(const char* name, double value);
  void End();

  void Rect(double x, double y, double width, double height, const std::string& fill);
  void Line(double x1, double y1, double x2, double y2, const std::string& stroke, double width);
  // Text with its anchor ("start", "middle", "end") at the baseline point (x, y).
  void Text(double x, double y, const std::string& text, const char* anchor, double size,
            const std::string& fill = "#222");
  // A path of straight segments ("M x y V y ..."), stroked, not filled.
  void StrokedPath(const std::string& data, const std::string& stroke, double width);

  // Closes the document and returns its text.
  std::string Finish();

 private:
  XmlTextWriterLite2 m_writer;
};

// A coordinate or size in the plots' precision: "12.5", "3", "-0.25".
std::string SvgNumber(double value);

// Tick values from `low` to `high` (both included when they fall on a tick), about `count` of
// them, spaced 1, 2 or 5 times a power of 10.
std::vector<double> NiceTicks(double low, double high, int count);

// A tick label: as few decimals as the step needs ("0.25", "10", "1.5").
std::string TickLabel(double value, double step);

}  // namespace qobase_tool
