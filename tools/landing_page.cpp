#include "tools/landing_page.h"

#include <time.h>

#include <cmath>
#include <cstdio>

#include "tools/number_text.h"
#include "tools/trend_svg.h"
#include "tools/utf8_text.h"

namespace vtr {
namespace host {

namespace {

// The page reloads itself, so a person watching sees new samples without JavaScript.
constexpr int kRefreshSeconds = 10;

constexpr const char* kStyle =
    "body{font-family:sans-serif;margin:1.5em;color:#222}"
    "table{border-collapse:collapse}"
    "th,td{padding:.25em .75em;border-bottom:1px solid #ddd;text-align:left}"
    "td.value{text-align:right;font-variant-numeric:tabular-nums}"
    "td.missing{color:#a33}"
    "svg.trend{background:#f1f4f6}"
    "svg.trend polyline{fill:none;stroke:#2a6f97;stroke-width:1.5}"
    "svg.trend circle{fill:#2a6f97}";

std::string utcTime(std::uint64_t microseconds) {
  const time_t seconds = static_cast<time_t>(microseconds / 1000000);
  struct tm parts {};
  gmtime_r(&seconds, &parts);
  char text[64];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts);
  return text;
}

std::string secondsText(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f s", seconds);
  return text;
}

// A discrete sensor's states word as the tool prints it; any other value as its shortest text.
std::string valueText(double value, const SensorLabels* sensor) {
  if (sensor != nullptr && sensor->discrete && value >= 0 && value <= 0xffff && std::floor(value) == value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%04x", static_cast<unsigned>(value));
    return text;
  }
  return shortestText(value);
}

std::string cell(const std::string& text, const char* htmlClass = nullptr) {
  std::string open = htmlClass != nullptr ? std::string("<td class=\"") + htmlClass + "\">" : "<td>";
  return open + escapeHtml(text) + "</td>";
}

std::string row(const FieldValue& field, const SensorLabels* sensor, const std::string& time, const BoardView& view) {
  const auto trend = view.trends.find(field.name);
  const std::string sensorName = sensor != nullptr ? sensor->name : field.name;
  std::string html = "<tr><td title=\"field " + escapeHtml(field.name) + "\">" + escapeHtml(sensorName) + "</td>";
  html += cell(sensor != nullptr ? sensor->type : "");
  html += field.value ? cell(valueText(*field.value, sensor), "value") : cell("no reading", "value missing");
  html += cell(sensor != nullptr ? sensor->unit : "");
  html += cell(time);
  html += "<td>" +
          trendSvg(trend != view.trends.end() ? trend->second : std::vector<std::optional<double>>{},
                   MetricsBoard::kTrendLength) +
          "</td></tr>\n";
  return html;
}

std::string status(const BoardView& view) {
  std::string html = "<p>Status: <strong>" + std::string(view.up ? "up" : "down") + "</strong> &middot; " +
                     std::to_string(view.eventsTotal) + " events so far";
  if (view.latest) html += " &middot; last sample took " + secondsText(view.latest->sampleDurationSeconds);
  return html + " &middot; <a href=\"/metrics\">/metrics</a></p>\n";
}

std::string eventTable(const EventSnapshot& event, const BoardView& view) {
  const std::string time = utcTime(event.sampleTimeUs);
  std::string html =
      "<table>\n<thead><tr><th>Sensor</th><th>Type</th><th>Value</th><th>Unit</th><th>Time of the sample</th>"
      "<th>Last " +
      std::to_string(MetricsBoard::kTrendLength) + " samples</th></tr></thead>\n<tbody>\n";
  for (const FieldValue& field : event.fields) {
    const auto found = view.facts->find(field.name);
    html += row(field, found != view.facts->end() ? &found->second : nullptr, time, view);
  }
  return html + "</tbody>\n</table>\n";
}

}  // namespace

std::string escapeHtml(const std::string& text) {
  std::string escaped;
  escaped.reserve(text.size());
  for (char c : replaceInvalidUtf8(text)) {
    switch (c) {
      case '&': escaped += "&amp;"; break;
      case '<': escaped += "&lt;"; break;
      case '>': escaped += "&gt;"; break;
      case '"': escaped += "&quot;"; break;
      case '\'': escaped += "&#39;"; break;
      default: escaped += c;
    }
  }
  return escaped;
}

std::string renderLandingPage(const BoardView& view) {
  const std::string heading =
      view.latest ? escapeHtml(view.latest->schema) + " on " + escapeHtml(view.latest->source) : "vtr-host";
  std::string html = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                     "<meta http-equiv=\"refresh\" content=\"" + std::to_string(kRefreshSeconds) + "\">\n"
                     "<title>" + heading + "</title>\n<style>" + kStyle + "</style>\n</head>\n<body>\n"
                     "<h1>" + heading + "</h1>\n" + status(view);
  html += view.latest ? eventTable(*view.latest, view) : "<p>No event yet.</p>\n";
  return html + "</body>\n</html>\n";
}

}  // namespace host
}  // namespace vtr
