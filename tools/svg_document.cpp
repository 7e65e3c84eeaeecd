#include "svg_document.h"

#include <cmath>
#include <cstdio>

namespace qobase_tool {

SvgDocument::SvgDocument(int width, int height) {
  m_writer.WriteStartDocument();
  Begin("svg");
  Attribute("xmlns", "http://www.w3.org/2000/svg");
  Attribute("width", width);
  Attribute("height", height);
  Attribute("viewBox", "0 0 " + std::to_string(width) + " " + std::to_string(height));
  Attribute("font-family", "DejaVu Sans, Helvetica, Arial, sans-serif");
  Rect(0, 0, width, height, "#ffffff");
}

void SvgDocument::Begin(const char* element) {
  m_writer.WriteStartElement(element, QO::XmlElementType::Object);
}

void SvgDocument::Attribute(const char* name, const std::string& value) {
  m_writer.WriteAttributeString(name, CStdStr(value));
}

void SvgDocument::Attribute(const char* name, double value) { Attribute(name, SvgNumber(value)); }

void SvgDocument::End() { m_writer.WriteEndElement(); }

void SvgDocument::Rect(double x, double y, double width, double height, const std::string& fill) {
  Begin("rect");
  Attribute("x", x);
  Attribute("y", y);
  Attribute("width", width);
  Attribute("height", height);
  Attribute("fill", fill);
  End();
}

void SvgDocument::Line(double x1, double y1, double x2, double y2, const std::string& stroke,
                       double width) {
  Begin("line");
  Attribute("x1", x1);
  Attribute("y1", y1);
  Attribute("x2", x2);
  Attribute("y2", y2);
  Attribute("stroke", stroke);
  Attribute("stroke-width", width);
  End();
}

void SvgDocument::Text(double x, double y, const std::string& text, const char* anchor, double size,
                       const std::string& fill) {
  Begin("text");
  Attribute("x", x);
  Attribute("y", y);
  Attribute("font-size", size);
  Attribute("text-anchor", anchor);
  Attribute("fill", fill);
  m_writer.WriteString(CStdStr(text));
  End();
}

void SvgDocument::StrokedPath(const std::string& data, const std::string& stroke, double width) {
  Begin("path");
  Attribute("d", data);
  Attribute("fill", "none");
  Attribute("stroke", stroke);
  Attribute("stroke-width", width);
  End();
}

std::string SvgDocument::Finish() {
  End();  // svg
  m_writer.WriteEndDocument();
  return std::string(m_writer.GetBufferedText(), m_writer.GetBufferedSize()) + "\n";
}

std::string SvgNumber(double value) {
  if (!std::isfinite(value)) return "0";
  char text[32];
  std::snprintf(text, sizeof text, "%.2f", value);
  std::string number = text;
  // "12.50" -> "12.5", "3.00" -> "3", "-0.00" -> "0".
  while (number.back() == '0') number.pop_back();
  if (number.back() == '.') number.pop_back();
  return number == "-0" ? "0" : number;
}

std::vector<double> NiceTicks(double low, double high, int count) {
  std::vector<double> ticks;
  if (!(high > low) || count < 1 || !std::isfinite(low) || !std::isfinite(high)) return ticks;
  const double rough = (high - low) / count;
  const double power = std::pow(10.0, std::floor(std::log10(rough)));
  double step = power;
  for (const double factor : {1.0, 2.0, 5.0, 10.0}) {
    step = factor * power;
    if (step >= rough) break;
  }
  // Ticks as whole multiples of the step, so 0.1 steps do not drift to 0.30000000000000004.
  for (double n = std::ceil(low / step - 1e-9); n * step <= high + step * 1e-9; n += 1.0) {
    ticks.push_back(n * step);
  }
  return ticks;
}

std::string TickLabel(double value, double step) {
  int decimals = 0;
  while (decimals < 6 && std::fabs(step * std::pow(10.0, decimals) -
                                   std::round(step * std::pow(10.0, decimals))) > 1e-6) {
    ++decimals;
  }
  // A tick computed as -0.0, or a hair below 0, is labelled "0".
  if (std::fabs(value) < std::fabs(step) * 1e-9) value = 0.0;
  char text[32];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

}  // namespace qobase_tool
