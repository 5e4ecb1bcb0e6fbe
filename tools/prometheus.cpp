#include "tools/prometheus.h"

#include <charconv>
#include <cmath>
#include <set>
#include <sstream>

#include "tools/utf8_text.h"

namespace vtr {
namespace host {

namespace {

bool isMetricNameCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == ':';
}

std::string escape(const std::string& text, bool quotes) {
  std::string escaped;
  escaped.reserve(text.size());
  for (char c : replaceInvalidUtf8(text)) {
    if (c == '\\') {
      escaped += "\\\\";
    } else if (c == '\n') {
      escaped += "\\n";
    } else if (c == '"' && quotes) {
      escaped += "\\\"";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

void writeFamily(std::ostream& out, const std::string& name, const std::string& help, const char* type) {
  out << "# HELP " << name << ' ' << escapeHelp(help) << '\n' << "# TYPE " << name << ' ' << type << '\n';
}

void writeSample(std::ostream& out, const std::string& name, const std::string& labels, double value) {
  out << name << labels << ' ' << formatSampleValue(value) << '\n';
}

void writeEventGauges(std::ostream& out, const EventSnapshot& event) {
  std::string labels = "{source=\"" + escapeLabelValue(event.source) + "\"}";
  // Two fields may sanitise to one name; a family may appear only once on a page.
  std::set<std::string> written;
  for (const NumericField& field : event.fields) {
    std::string name = prometheusMetricName(event.schema, field.name);
    if (!written.insert(name).second) continue;
    writeFamily(out, name, field.description, "gauge");
    writeSample(out, name, labels, field.value);
  }
}

}  // namespace

std::string prometheusMetricName(const std::string& schema, const std::string& field) {
  std::string name = schema + "_" + field;
  for (char& c : name) {
    if (!isMetricNameCharacter(c)) c = '_';
  }
  if (name.front() >= '0' && name.front() <= '9') name.insert(name.begin(), '_');
  return name;
}

std::string escapeHelp(const std::string& text) { return escape(text, false); }

std::string escapeLabelValue(const std::string& text) { return escape(text, true); }

std::string formatSampleValue(double value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "+Inf" : "-Inf";
  char text[32];
  std::to_chars_result result = std::to_chars(text, text + sizeof(text), value);
  return std::string(text, result.ptr);
}

void MetricsBoard::setUp(bool up) {
  std::lock_guard<std::mutex> lock(mutex_);
  up_ = up;
}

void MetricsBoard::publish(EventSnapshot snapshot) {
  std::lock_guard<std::mutex> lock(mutex_);
  latest_ = std::move(snapshot);
  ++eventsTotal_;
}

std::string MetricsBoard::exposition() const {
  std::optional<EventSnapshot> latest;
  std::uint64_t eventsTotal = 0;
  bool up = false;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    latest = latest_;
    eventsTotal = eventsTotal_;
    up = up_;
  }
  std::ostringstream out;
  if (latest) writeEventGauges(out, *latest);
  writeFamily(out, "vtr_host_events_total", "Events received from the provider.", "counter");
  writeSample(out, "vtr_host_events_total", "", static_cast<double>(eventsTotal));
  if (latest) {
    writeFamily(out, "vtr_host_last_event_timestamp_seconds", "Time stamp of the latest event block.", "gauge");
    writeSample(out, "vtr_host_last_event_timestamp_seconds", "", static_cast<double>(latest->timestampUs) / 1e6);
    writeFamily(out, "vtr_host_fields_without_reading",
                "Fields of the latest event that hold no reading and are left out.", "gauge");
    writeSample(out, "vtr_host_fields_without_reading", "", static_cast<double>(latest->fieldsWithoutReading));
  }
  writeFamily(out, "vtr_host_up", "1 while the provider runs.", "gauge");
  writeSample(out, "vtr_host_up", "", up ? 1 : 0);
  return out.str();
}

}  // namespace host
}  // namespace vtr
