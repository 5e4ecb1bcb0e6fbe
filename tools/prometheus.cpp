#include "tools/prometheus.h"

#include <cmath>
#include <sstream>
#include <unordered_set>

#include "tools/number_text.h"
#include "tools/utf8_text.h"

namespace vtr {
namespace host {

namespace {

struct Family {
  const char* name;
  const char* help;
};

// In the order they appear on the page.
enum FamilyIndex { kTemperature, kFanSpeed, kVoltage, kCurrent, kPower, kOtherReading, kStates, kFamilyCount };

constexpr Family kFamilies[kFamilyCount] = {
    {"ipmi_temperature_celsius", "Temperature reading of a threshold sensor, in degrees Celsius."},
    {"ipmi_fan_speed_rpm", "Fan speed reading of a threshold sensor, in rotations per minute."},
    {"ipmi_voltage_volts", "Voltage reading of a threshold sensor, in volts."},
    {"ipmi_current_amperes", "Current reading of a threshold sensor, in amperes."},
    {"ipmi_power_watts", "Power reading of a threshold sensor, in watts."},
    {"ipmi_sensor_reading",
     "Reading of a threshold sensor in the unit its unit label names, or of a field whose sensor is not described."},
    {"ipmi_sensor_states_asserted", "States word of a discrete sensor: bit n is set while its state n is asserted."},
};

// The units as the tool prints them after a reading.
struct UnitFamily {
  const char* unit;
  FamilyIndex family;
};
constexpr UnitFamily kUnitFamilies[] = {
    {"degrees C", kTemperature}, {"RPM", kFanSpeed}, {"Volts", kVoltage}, {"Amps", kCurrent}, {"Watts", kPower},
};

FamilyIndex familyOf(const SensorLabels* sensor) {
  if (sensor == nullptr) return kOtherReading;
  if (sensor->discrete) return kStates;
  for (const UnitFamily& entry : kUnitFamilies) {
    if (sensor->unit == entry.unit) return entry.family;
  }
  return kOtherReading;
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

// `{name="value",...}`; a label without a value is left out, as Prometheus reads it anyway.
class LabelSet {
 public:
  LabelSet& add(const char* name, const std::string& value) {
    if (value.empty()) return *this;
    text_ += text_.empty() ? "{" : ",";
    text_ += name;
    text_ += "=\"" + escapeLabelValue(value) + "\"";
    return *this;
  }
  std::string text() const { return text_.empty() ? "" : text_ + "}"; }

 private:
  std::string text_;
};

std::string sensorLabels(const SensorLabels* sensor, FamilyIndex family, const std::string& field,
                         const std::string& source) {
  LabelSet labels;
  if (sensor != nullptr) {
    labels.add("name", sensor->name).add("id", sensor->id).add("entity", sensor->entity).add("type", sensor->type);
    if (family == kOtherReading) labels.add("unit", sensor->unit);
  }
  return labels.add("field", field).add("source", source).text();
}

void writeFamily(std::ostream& out, const std::string& name, const std::string& help, const char* type) {
  out << "# HELP " << name << ' ' << escapeHelp(help) << '\n' << "# TYPE " << name << ' ' << type << '\n';
}

void writeSample(std::ostream& out, const std::string& name, const std::string& labels, double value) {
  out << name << labels << ' ' << formatSampleValue(value) << '\n';
}

void writeReadings(std::ostream& out, const EventSnapshot& event, const SensorFactsTable& facts) {
  std::string samples[kFamilyCount];
  // One sample per field name, whatever a plug-in sends: no two lines share name and labels.
  std::unordered_set<std::string> written;
  for (const FieldValue& field : event.fields) {
    if (!field.value || !written.insert(field.name).second) continue;
    const auto found = facts.find(field.name);
    const SensorLabels* sensor = found != facts.end() ? &found->second : nullptr;
    const FamilyIndex family = familyOf(sensor);
    samples[family] += kFamilies[family].name + sensorLabels(sensor, family, field.name, event.source) + ' ' +
                       formatSampleValue(*field.value) + '\n';
  }
  for (int family = 0; family < kFamilyCount; ++family) {
    if (samples[family].empty()) continue;
    writeFamily(out, kFamilies[family].name, kFamilies[family].help, "gauge");
    out << samples[family];
  }
}

}  // namespace

std::string escapeHelp(const std::string& text) { return escape(text, false); }

std::string escapeLabelValue(const std::string& text) { return escape(text, true); }

std::string formatSampleValue(double value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "+Inf" : "-Inf";
  return shortestText(value);
}

std::string renderExposition(const BoardView& view) {
  std::ostringstream out;
  const std::optional<EventSnapshot>& latest = view.latest;
  if (latest) writeReadings(out, *latest, *view.facts);
  writeFamily(out, "vtr_host_events_total", "Events received from the provider.", "counter");
  writeSample(out, "vtr_host_events_total", "", static_cast<double>(view.eventsTotal));
  if (latest) {
    writeFamily(out, "vtr_host_last_event_timestamp_seconds", "Time stamp of the latest event block.", "gauge");
    writeSample(out, "vtr_host_last_event_timestamp_seconds", "", static_cast<double>(latest->timestampUs) / 1e6);
    writeFamily(out, "vtr_host_sample_duration_seconds",
                "From the latest sample's time stamp to its arrival at the host.", "gauge");
    writeSample(out, "vtr_host_sample_duration_seconds", "", latest->sampleDurationSeconds);
    writeFamily(out, "vtr_host_fields_without_reading",
                "Fields of the latest event that hold no reading and are left out.", "gauge");
    writeSample(out, "vtr_host_fields_without_reading", "", static_cast<double>(latest->fieldsWithoutReading()));
  }
  writeFamily(out, "vtr_host_up", "1 while the provider runs.", "gauge");
  writeSample(out, "vtr_host_up", "", view.up ? 1 : 0);
  return out.str();
}

}  // namespace host
}  // namespace vtr
