#include "tools/prometheus.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <sstream>
#include <tuple>
#include <unordered_set>

#include "tools/number_text.h"
#include "tools/sensor_condition.h"
#include "tools/utf8_text.h"

namespace vtr {
namespace host {

namespace {

struct Family {
  const char* name;
  const char* help;
};

// In the order they appear on the page.
enum FamilyIndex {
  kTemperature, kFanSpeed, kVoltage, kCurrent, kPower, kOtherReading, kStatesWord,
  kTemperatureState, kFanSpeedState, kVoltageState, kCurrentState, kPowerState, kOtherState,
  kTemperatureThreshold, kFanSpeedThreshold, kVoltageThreshold, kCurrentThreshold, kPowerThreshold, kOtherThreshold,
  kDiscreteState,
  kFamilyCount
};

constexpr Family kFamilies[kFamilyCount] = {
    {"ipmi_temperature_celsius", "Temperature reading of a threshold sensor, in degrees Celsius."},
    {"ipmi_fan_speed_rpm", "Fan speed reading of a threshold sensor, in rotations per minute."},
    {"ipmi_voltage_volts", "Voltage reading of a threshold sensor, in volts."},
    {"ipmi_current_amperes", "Current reading of a threshold sensor, in amperes."},
    {"ipmi_power_watts", "Power reading of a threshold sensor, in watts."},
    {"ipmi_sensor_reading",
     "Reading of a threshold sensor in the unit its unit label names, or of a field whose sensor is not described."},
    {"ipmi_sensor_states_asserted", "States word of a discrete sensor: bit n is set while its state n is asserted."},
    {"ipmi_temperature_state", "Health of a temperature sensor (0=nominal, 1=warning, 2=critical)."},
    {"ipmi_fan_speed_state", "Health of a fan speed sensor (0=nominal, 1=warning, 2=critical)."},
    {"ipmi_voltage_state", "Health of a voltage sensor (0=nominal, 1=warning, 2=critical)."},
    {"ipmi_current_state", "Health of a current sensor (0=nominal, 1=warning, 2=critical)."},
    {"ipmi_power_state", "Health of a power sensor (0=nominal, 1=warning, 2=critical)."},
    {"ipmi_sensor_state",
     "Health of any other sensor, a discrete one's the worst of its asserted states (0=nominal, 1=warning, "
     "2=critical)."},
    {"ipmi_temperature_threshold_celsius", "Threshold of a temperature sensor, in degrees Celsius."},
    {"ipmi_fan_speed_threshold_rpm", "Threshold of a fan speed sensor, in rotations per minute."},
    {"ipmi_voltage_threshold_volts", "Threshold of a voltage sensor, in volts."},
    {"ipmi_current_threshold_amperes", "Threshold of a current sensor, in amperes."},
    {"ipmi_power_threshold_watts", "Threshold of a power sensor, in watts."},
    {"ipmi_sensor_threshold", "Threshold of any other threshold sensor, in the unit its unit label names."},
    {"ipmi_discrete_state_asserted",
     "1 while a discrete sensor asserts the state its state label names, else 0; severity is how serious the "
     "state is while asserted."},
};

// Where each series of a field goes, by what its sensor measures.
struct SensorKind {
  const char* unit;  // as the tool prints it after a reading; null where the family does not say it
  FamilyIndex reading;
  FamilyIndex state;
  FamilyIndex threshold;
};
constexpr SensorKind kUnitKinds[] = {
    {"degrees C", kTemperature, kTemperatureState, kTemperatureThreshold},
    {"RPM", kFanSpeed, kFanSpeedState, kFanSpeedThreshold},
    {"Volts", kVoltage, kVoltageState, kVoltageThreshold},
    {"Amps", kCurrent, kCurrentState, kCurrentThreshold},
    {"Watts", kPower, kPowerState, kPowerThreshold},
};
constexpr SensorKind kOtherKind{nullptr, kOtherReading, kOtherState, kOtherThreshold};
// A discrete sensor has no thresholds: its states go to ipmi_discrete_state_asserted.
constexpr SensorKind kDiscreteKind{nullptr, kStatesWord, kOtherState, kOtherThreshold};

// FieldHealth::thresholds by index, as the level label names them: "lower_non_recoverable".
const std::string& thresholdLevel(std::size_t level) {
  static const auto kLevels = [] {
    std::array<std::string, std::tuple_size<decltype(FieldHealth::thresholds)>::value> levels;
    for (std::size_t i = 0; i < levels.size(); ++i) {
      levels[i] = thresholdName(i);
      std::replace_if(levels[i].begin(), levels[i].end(), [](char c) { return c == ' ' || c == '-'; }, '_');
    }
    return levels;
  }();
  return kLevels.at(level);
}

const SensorKind& kindOf(const SensorLabels* sensor) {
  if (sensor == nullptr) return kOtherKind;
  if (sensor->discrete) return kDiscreteKind;
  for (const SensorKind& kind : kUnitKinds) {
    if (sensor->unit == kind.unit) return kind;
  }
  return kOtherKind;
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

LabelSet sensorLabels(const SensorLabels* sensor, const SensorKind& kind, const std::string& field,
                      const std::string& source) {
  LabelSet labels;
  if (sensor != nullptr) {
    labels.add("name", sensor->name).add("id", sensor->id).add("entity", sensor->entity).add("type", sensor->type);
    if (kind.unit == nullptr) labels.add("unit", sensor->unit);
  }
  return labels.add("field", field).add("source", source);
}

void writeFamily(std::ostream& out, const std::string& name, const std::string& help, const char* type) {
  out << "# HELP " << name << ' ' << escapeHelp(help) << '\n' << "# TYPE " << name << ' ' << type << '\n';
}

void writeSample(std::ostream& out, const std::string& name, const std::string& labels, double value) {
  out << name << labels << ' ' << formatSampleValue(value) << '\n';
}

// Each family's samples, gathered field by field and written family by family.
class FamilySamples {
 public:
  void add(FamilyIndex family, const LabelSet& labels, double value) {
    samples_[family] += kFamilies[family].name + labels.text() + ' ' + formatSampleValue(value) + '\n';
  }
  void write(std::ostream& out) const {
    for (int family = 0; family < kFamilyCount; ++family) {
      if (samples_[family].empty()) continue;
      writeFamily(out, kFamilies[family].name, kFamilies[family].help, "gauge");
      out << samples_[family];
    }
  }

 private:
  std::string samples_[kFamilyCount];
};

// An unknown health has no number: no state rather than a 0 that reads as nominal. A threshold
// the listing has none for is left out; a discrete sensor has a series for every state it can
// name, 0 while not asserted, so that a cleared state keeps its series.
void addHealth(FamilySamples& samples, const SensorKind& kind, const LabelSet& labels, const FieldHealth& health,
               const SensorLabels* sensor) {
  if (health.health <= VTR_HEALTH_CRITICAL) samples.add(kind.state, labels, health.health);
  for (std::size_t level = 0; level < health.thresholds.size(); ++level) {
    if (health.thresholds[level]) {
      samples.add(kind.threshold, LabelSet(labels).add("level", thresholdLevel(level)), *health.thresholds[level]);
    }
  }
  if (sensor == nullptr) return;
  for (const SensorLabels::State& state : sensor->states) {
    samples.add(kDiscreteState, LabelSet(labels).add("state", state.name).add("severity", healthWord(state.health)),
                (health.asserted >> state.offset) & 1U);
  }
}

void writeSensors(std::ostream& out, const EventSnapshot& event, const SensorFactsTable& facts) {
  FamilySamples samples;
  // One sample per field name, whatever a plug-in sends: no two lines share name and labels.
  std::unordered_set<std::string> written;
  for (const FieldValue& field : event.fields) {
    if (!field.value || !written.insert(field.name).second) continue;
    const auto found = facts.find(field.name);
    const SensorLabels* sensor = found != facts.end() ? &found->second : nullptr;
    const SensorKind& kind = kindOf(sensor);
    const LabelSet labels = sensorLabels(sensor, kind, field.name, event.source);
    samples.add(kind.reading, labels, *field.value);
    if (field.health) addHealth(samples, kind, labels, *field.health, sensor);
  }
  samples.write(out);
}

// As the IPMI exporter has them, for its one collector, from the provider's last pass.
void writePass(std::ostream& out, const PassSummary& pass) {
  writeFamily(out, "ipmi_up", "1 when the last sampling pass read the BMC, 0 when it did not.", "gauge");
  writeSample(out, "ipmi_up", "{collector=\"ipmi\"}", pass.read ? 1 : 0);
  writeFamily(out, "ipmi_scrape_duration_seconds", "How long the last sampling pass took, in seconds.", "gauge");
  writeSample(out, "ipmi_scrape_duration_seconds", "", pass.durationSeconds);
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
  if (latest) writeSensors(out, *latest, *view.facts);
  if (view.lastPass) writePass(out, *view.lastPass);
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
