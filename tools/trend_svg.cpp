#include "tools/trend_svg.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "tools/number_text.h"

namespace vtr {
namespace host {

namespace {

constexpr double kWidth = 120;
constexpr double kHeight = 28;
constexpr double kPad = 2;

// One decimal is finer than a pixel; to_chars keeps a page of a few thousand points cheap.
void appendCoordinate(std::string& out, double value) {
  char text[32];
  const std::to_chars_result result = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 1);
  out.append(text, result.ptr);
}

std::string coordinate(double value) {
  std::string text;
  appendCoordinate(text, value);
  return text;
}

struct Range {
  double low;
  double high;
  std::size_t readings;
};

Range rangeOf(const std::vector<std::optional<double>>& values) {
  Range range{0, 0, 0};
  for (const std::optional<double>& value : values) {
    if (!value) continue;
    range.low = range.readings == 0 ? *value : std::min(range.low, *value);
    range.high = range.readings == 0 ? *value : std::max(range.high, *value);
    ++range.readings;
  }
  return range;
}

// The readings' range widened to the nearest threshold below and above it.
Range scaleOf(const Range& readings, const std::vector<TrendThreshold>& thresholds) {
  if (readings.readings == 0) return readings;
  std::optional<double> below;
  std::optional<double> above;
  for (const TrendThreshold& threshold : thresholds) {
    if (threshold.value <= readings.low) below = std::max(below.value_or(threshold.value), threshold.value);
    if (threshold.value >= readings.high) above = std::min(above.value_or(threshold.value), threshold.value);
  }
  return {below.value_or(readings.low), above.value_or(readings.high), readings.readings};
}

std::string title(const Range& range, std::size_t samples) {
  if (range.readings == 0) return "no reading in the last " + std::to_string(samples) + " samples";
  return shortestText(range.low) + " to " + shortestText(range.high) + " over the last " + std::to_string(samples) +
         " samples";
}

}  // namespace

std::string trendSvg(const std::vector<std::optional<double>>& values, std::size_t slots,
                     const std::vector<TrendThreshold>& thresholds) {
  slots = std::max({slots, values.size(), std::size_t{2}});
  const Range readings = rangeOf(values);
  const Range range = scaleOf(readings, thresholds);
  const double step = (kWidth - 2 * kPad) / static_cast<double>(slots - 1);
  const std::size_t first = slots - values.size();
  const auto x = [&](std::size_t i) { return kPad + static_cast<double>(first + i) * step; };
  const auto y = [&](double value) {
    if (range.high == range.low) return kHeight / 2;
    return kPad + (range.high - value) / (range.high - range.low) * (kHeight - 2 * kPad);
  };

  std::string svg = "<svg class=\"trend\" width=\"" + coordinate(kWidth) + "\" height=\"" + coordinate(kHeight) +
                    "\" viewBox=\"0 0 " + coordinate(kWidth) + " " + coordinate(kHeight) + "\" role=\"img\"><title>" +
                    title(readings, values.size()) + "</title>";
  // Under the readings, so a reading on a threshold stays visible.
  for (const TrendThreshold& threshold : thresholds) {
    if (range.readings == 0 || threshold.value < range.low || threshold.value > range.high) continue;
    const std::string height = coordinate(y(threshold.value));
    svg += std::string("<line class=\"") + (threshold.critical ? "critical" : "warning") + "\" x1=\"0\" x2=\"" +
           coordinate(kWidth) + "\" y1=\"" + height + "\" y2=\"" + height + "\"><title>" + threshold.label +
           "</title></line>";
  }
  // Each run of consecutive readings is one line; a run of one is a dot.
  for (std::size_t start = 0; start < values.size();) {
    if (!values[start]) {
      ++start;
      continue;
    }
    std::size_t end = start;
    while (end < values.size() && values[end]) ++end;
    if (end - start == 1) {
      svg += "<circle cx=\"" + coordinate(x(start)) + "\" cy=\"" + coordinate(y(*values[start])) + "\" r=\"1.5\"/>";
    } else {
      svg += "<polyline points=\"";
      for (std::size_t i = start; i < end; ++i) {
        if (i != start) svg += ' ';
        appendCoordinate(svg, x(i));
        svg += ',';
        appendCoordinate(svg, y(*values[i]));
      }
      svg += "\"/>";
    }
    start = end;
  }
  return svg + "</svg>";
}

}  // namespace host
}  // namespace vtr
