#include "tools/landing_page.h"

#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "tools/number_text.h"
#include "tools/sensor_condition.h"
#include "tools/trend_svg.h"
#include "tools/utf8_text.h"

namespace vtr {
namespace host {

namespace {

// The page reloads itself, so a person watching sees new samples without JavaScript.
constexpr int kRefreshSeconds = 10;

// Both tables take their column widths from the same header, so their columns line up.
constexpr const char* kStyle =
    "body{font-family:sans-serif;margin:1.5em;color:#222;max-width:78em}"
    "h2{font-size:1.2em;margin:1.2em 0 .4em}"
    "table{border-collapse:collapse;width:100%;table-layout:fixed}"
    "th,td{padding:.25em .6em;border-bottom:1px solid #ddd;text-align:left;overflow-wrap:anywhere}"
    "thead th:nth-child(1){width:11em}thead th:nth-child(2){width:5.5em}"
    "thead th:nth-child(4){width:6em}thead th:nth-child(5){width:6em}thead th:nth-child(6){width:124px}"
    "th.group{background:#e8edf1;padding-top:.6em}"
    "td.value{text-align:right;font-variant-numeric:tabular-nums}"
    "td.missing{color:#a33}"
    "td.health{font-weight:bold;text-align:center}"
    "td.critical{background:#b3261e;color:#fff}"
    "td.warning{background:#f6c343;color:#3b2b00}"
    "td.unknown{background:#d5dadf;color:#333}"
    "td.nominal{color:#1e7b34}"
    "tr.attention td{background-color:#fdf3f2}"
    "tr.attention td.critical{background:#b3261e}tr.attention td.warning{background:#f6c343}"
    "tr.attention td.unknown{background:#d5dadf}"
    "svg.trend{background:#f1f4f6;display:block}"
    "svg.trend polyline{fill:none;stroke:#2a6f97;stroke-width:1.5}"
    "svg.trend circle{fill:#2a6f97}"
    "svg.trend line{stroke-width:1;stroke-dasharray:3 2}"
    "svg.trend line.warning{stroke:#c98a00}svg.trend line.critical{stroke:#b3261e}";

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

std::string cell(const std::string& text, const std::string& htmlClass = "") {
  return (htmlClass.empty() ? "<td>" : "<td class=\"" + htmlClass + "\">") + escapeHtml(text) + "</td>";
}

// One field of the latest event and what the page says of it.
struct SensorRow {
  const FieldValue* field;
  const SensorLabels* sensor;  // null when the plug-in gave no facts for the field
  SensorCondition condition;
};

std::vector<TrendThreshold> trendThresholds(const FieldValue& field) {
  std::vector<TrendThreshold> lines;
  if (!field.health) return lines;
  for (std::size_t level = 0; level < field.health->thresholds.size(); ++level) {
    if (const std::optional<double>& value = field.health->thresholds[level]) {
      lines.push_back({*value, thresholdName(level) + std::string(" ") + shortestText(*value),
                       !isNonCriticalThreshold(level)});
    }
  }
  return lines;
}

std::string row(const SensorRow& sensorRow, const BoardView& view, bool attention) {
  const FieldValue& field = *sensorRow.field;
  const SensorLabels* sensor = sensorRow.sensor;
  const auto trend = view.trends.find(field.name);
  const std::string health = healthWord(sensorRow.condition.health);
  std::string html = std::string(attention ? "<tr class=\"attention\">" : "<tr>") + "<td title=\"field " +
                     escapeHtml(field.name) + "\">" + escapeHtml(sensor != nullptr ? sensor->name : field.name) +
                     "</td>";
  html += cell(health, "health " + health);
  html += cell(sensorRow.condition.words, "state");
  html += field.value ? cell(valueText(*field.value, sensor), "value") : cell("no reading", "value missing");
  html += cell(sensor != nullptr ? sensor->unit : "");
  html += "<td>" +
          trendSvg(trend != view.trends.end() ? trend->second : std::vector<std::optional<double>>{},
                   MetricsBoard::kTrendLength, trendThresholds(field)) +
          "</td></tr>\n";
  return html;
}

std::string tableHead() {
  return "<thead><tr><th>Sensor</th><th>Health</th><th>State</th><th>Value</th><th>Unit</th><th>Last " +
         std::to_string(MetricsBoard::kTrendLength) + " samples</th></tr></thead>\n";
}

std::string status(const BoardView& view) {
  std::string html = "<p>Status: <strong>" + std::string(view.up ? "up" : "down") + "</strong> &middot; " +
                     std::to_string(view.eventsTotal) + " events so far";
  if (view.latest) {
    html += " &middot; last sample " + utcTime(view.latest->sampleTimeUs) + ", took " +
            secondsText(view.latest->sampleDurationSeconds);
  }
  return html + " &middot; <a href=\"/metrics\">/metrics</a></p>\n";
}

// The sensors that are not nominal, most urgent first.
std::string attentionSection(const std::vector<SensorRow>& rows, bool healthReported, const BoardView& view) {
  std::string html = "<section id=\"attention\">\n<h2>Needs attention</h2>\n";
  if (!healthReported) {
    html += "<p>This plug-in does not report sensor health, so every sensor's health is unknown.</p>\n";
  } else if (rows.empty()) {
    html += "<p>Nothing: every sensor is nominal.</p>\n";
  } else {
    html += "<table>\n" + tableHead() + "<tbody>\n";
    for (const SensorRow& sensorRow : rows) html += row(sensorRow, view, true);
    html += "</tbody>\n</table>\n";
  }
  return html + "</section>\n";
}

// The rest, one group per sensor type in the order the BMC lists them.
std::string sensorsByType(const std::vector<SensorRow>& rows, const BoardView& view) {
  if (rows.empty()) return "";
  const auto typeOf = [](const SensorRow& sensorRow) {
    return sensorRow.sensor != nullptr && !sensorRow.sensor->type.empty() ? sensorRow.sensor->type : "No sensor type";
  };
  std::vector<std::string> types;
  for (const SensorRow& sensorRow : rows)
    if (std::find(types.begin(), types.end(), typeOf(sensorRow)) == types.end()) types.push_back(typeOf(sensorRow));
  std::string html = "<section id=\"sensors\">\n<h2>Other sensors, by type</h2>\n<table>\n" + tableHead();
  for (const std::string& type : types) {
    html += "<tbody>\n<tr><th colspan=\"6\" class=\"group\">" + escapeHtml(type) + "</th></tr>\n";
    for (const SensorRow& sensorRow : rows)
      if (typeOf(sensorRow) == type) html += row(sensorRow, view, false);
    html += "</tbody>\n";
  }
  return html + "</table>\n</section>\n";
}

std::string eventSections(const EventSnapshot& event, const BoardView& view) {
  std::vector<SensorRow> attention;
  std::vector<SensorRow> rest;
  bool healthReported = false;
  for (const FieldValue& field : event.fields) {
    const auto found = view.facts->find(field.name);
    const SensorLabels* sensor = found != view.facts->end() ? &found->second : nullptr;
    SensorRow sensorRow{&field, sensor, conditionOf(field, sensor)};
    healthReported = healthReported || field.health.has_value();
    const bool needsAttention = field.health && sensorRow.condition.health != VTR_HEALTH_NOMINAL;
    (needsAttention ? attention : rest).push_back(std::move(sensorRow));
  }
  std::stable_sort(attention.begin(), attention.end(),
                   [](const SensorRow& a, const SensorRow& b) { return moreUrgent(a.condition, b.condition); });
  return attentionSection(attention, healthReported, view) + sensorsByType(rest, view);
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
  html += view.latest ? eventSections(*view.latest, view) : "<p>No event yet.</p>\n";
  return html + "</body>\n</html>\n";
}

}  // namespace host
}  // namespace vtr
