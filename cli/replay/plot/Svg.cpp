#include "cli/replay/plot/Svg.h"

#include <iterator>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

std::string escaped(std::string_view text) {
  std::string result;
  for (const char character : text) {
    switch (character) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      default:
        // XML has no place for other control characters.
        result += static_cast<unsigned char>(character) < 0x20 ? ' ' : character;
    }
  }
  return result;
}

}  // namespace

Svg::Svg(double width, double height)
    : text_(fmt::format(
          R"(<svg xmlns="http://www.w3.org/2000/svg" width="{0:.0f}" height="{1:.0f}" )"
          R"(viewBox="0 0 {0:.0f} {1:.0f}" font-family="system-ui, sans-serif" font-size="12">)"
          "\n",
          width, height)) {}

void Svg::rectangle(const Rect& frame, std::string_view style) {
  fmt::format_to(std::back_inserter(text_),
                 "<rect x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"{:.1f}\" {}/>\n",
                 frame.minX(), frame.minY(), frame.width(), frame.height(), style);
}

void Svg::circle(Point centre, double radius, std::string_view style) {
  fmt::format_to(std::back_inserter(text_),
                 "<circle cx=\"{:.1f}\" cy=\"{:.1f}\" r=\"{:.1f}\" {}/>\n", centre.x, centre.y,
                 radius, style);
}

void Svg::line(Point from, Point to, std::string_view style) {
  fmt::format_to(std::back_inserter(text_),
                 "<line x1=\"{:.1f}\" y1=\"{:.1f}\" x2=\"{:.1f}\" y2=\"{:.1f}\" {}/>\n", from.x,
                 from.y, to.x, to.y, style);
}

void Svg::polyline(std::span<const Point> points, std::string_view style) {
  if (points.size() < 2) return;
  text_ += "<polyline points=\"";
  appendPoints(points);
  fmt::format_to(std::back_inserter(text_),
                 " fill=\"none\" stroke-linejoin=\"round\" stroke-linecap=\"round\" {}/>\n", style);
}

void Svg::polygon(std::span<const Point> corners, std::string_view style) {
  text_ += "<polygon points=\"";
  appendPoints(corners);
  fmt::format_to(std::back_inserter(text_), " {}/>\n", style);
}

void Svg::appendPoints(std::span<const Point> points) {
  for (const Point& point : points) {
    fmt::format_to(std::back_inserter(text_), "{:.1f},{:.1f} ", point.x, point.y);
  }
  text_.back() = '"';
}

void Svg::text(Point position, std::string_view text, std::string_view style) {
  fmt::format_to(std::back_inserter(text_), "<text x=\"{:.1f}\" y=\"{:.1f}\" {}>{}</text>\n",
                 position.x, position.y, style, escaped(text));
}

void Svg::beginClip(const Rect& frame) {
  ++clipCount_;
  fmt::format_to(std::back_inserter(text_), "<clipPath id=\"clip{}\">", clipCount_);
  rectangle(frame, "");
  fmt::format_to(std::back_inserter(text_), "</clipPath>\n<g clip-path=\"url(#clip{})\">\n",
                 clipCount_);
}

void Svg::endClip() {
  text_ += "</g>\n";
}

std::string Svg::finish() const {
  return text_ + "</svg>\n";
}

}  // namespace tessline::cli
