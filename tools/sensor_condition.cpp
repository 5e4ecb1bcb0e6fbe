#include "tools/sensor_condition.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <optional>
#include <vector>

#include "provider/host_extensions.h"
#include "tools/number_text.h"

namespace vtr {
namespace host {

namespace {

constexpr std::array<const char*, VTR_THRESHOLD_COUNT> kThresholdNames = {
    "lower non-recoverable", "lower critical", "lower non-critical",
    "upper non-critical",    "upper critical", "upper non-recoverable"};

enum Urgency { kNonRecoverableCrossed, kStateReported, kOther };

constexpr int kDiscreteStates = 15;

constexpr int kUnknownRank = 2;

int severityRank(std::uint8_t health) {
  switch (health) {
    case VTR_HEALTH_CRITICAL: return 0;
    case VTR_HEALTH_WARNING: return 1;
    case VTR_HEALTH_NOMINAL: return 3;
    default: return kUnknownRank;
  }
}

bool isLower(int level) { return level <= VTR_THRESHOLD_LOWER_NON_CRITICAL; }

// The first threshold of `levels` (most severe first) that `value` reached, if any.
std::optional<int> crossedLevel(double value, const FieldHealth& health, std::initializer_list<int> levels) {
  for (int level : levels) {
    const std::optional<double>& threshold = health.thresholds[static_cast<std::size_t>(level)];
    if (threshold && (isLower(level) ? value <= *threshold : value >= *threshold)) return level;
  }
  return std::nullopt;
}

SensorCondition thresholdCondition(double value, const FieldHealth& health, const SensorLabels* sensor) {
  if (health.health == VTR_HEALTH_NOMINAL) return {VTR_HEALTH_NOMINAL, "", kOther};
  if (health.health != VTR_HEALTH_WARNING && health.health != VTR_HEALTH_CRITICAL) {
    return {VTR_HEALTH_UNKNOWN, health.status.empty() ? "no status" : "status " + health.status + " not known", kOther};
  }
  const std::optional<int> level =
      health.health == VTR_HEALTH_CRITICAL
          ? crossedLevel(value, health,
                         {VTR_THRESHOLD_LOWER_NON_RECOVERABLE, VTR_THRESHOLD_UPPER_NON_RECOVERABLE,
                          VTR_THRESHOLD_LOWER_CRITICAL, VTR_THRESHOLD_UPPER_CRITICAL})
          : crossedLevel(value, health, {VTR_THRESHOLD_LOWER_NON_CRITICAL, VTR_THRESHOLD_UPPER_NON_CRITICAL});
  // Back inside a threshold but still within its hysteresis, or thresholds the listing does not
  // print: the BMC's own status is all there is to say.
  if (!level) return {health.health, "status " + health.status, kOther};
  const double threshold = *health.thresholds[static_cast<std::size_t>(*level)];
  const char* side = value < threshold ? "below " : value > threshold ? "above " : "at ";
  std::string words = side + std::string(thresholdName(static_cast<std::size_t>(*level))) + " " + shortestText(threshold);
  if (sensor != nullptr && !sensor->unit.empty()) words += " " + sensor->unit;
  const bool nonRecoverable =
      *level == VTR_THRESHOLD_LOWER_NON_RECOVERABLE || *level == VTR_THRESHOLD_UPPER_NON_RECOVERABLE;
  return {health.health, words, nonRecoverable ? kNonRecoverableCrossed : kOther};
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

// States the tables do not name are nominal to the plug-in, and named by their offset.
SensorCondition discreteCondition(const FieldHealth& health, const SensorLabels& sensor) {
  if (severityRank(health.health) == kUnknownRank) return {VTR_HEALTH_UNKNOWN, "states not known", kOther};
  std::vector<std::string> raised;
  std::vector<std::string> others;
  for (int offset = 0; offset < kDiscreteStates; ++offset) {
    if ((health.asserted & (1u << offset)) == 0) continue;
    const auto named = std::find_if(sensor.states.begin(), sensor.states.end(),
                                    [offset](const SensorLabels::State& state) { return state.offset == offset; });
    const bool isRaised = named != sensor.states.end() && named->health != VTR_HEALTH_NOMINAL;
    (isRaised ? raised : others).push_back(named != sensor.states.end() ? named->name : "state " + std::to_string(offset));
  }
  std::string words;
  if (raised.empty()) {
    words = others.empty() ? "no state asserted" : joined(others);
  } else {
    words = joined(raised) + (others.empty() ? "" : "; also asserted: " + joined(others));
  }
  return {health.health, words, kStateReported};
}

}  // namespace

SensorCondition conditionOf(const FieldValue& field, const SensorLabels* sensor) {
  if (!field.health) return {VTR_HEALTH_UNKNOWN, "", kOther};
  // Whatever the plug-in says, a sensor without a reading is not known to be well.
  if (!field.value) return {VTR_HEALTH_UNKNOWN, "no reading", kOther};
  if (sensor != nullptr && sensor->discrete) return discreteCondition(*field.health, *sensor);
  return thresholdCondition(*field.value, *field.health, sensor);
}

const char* healthWord(std::uint8_t health) {
  switch (health) {
    case VTR_HEALTH_NOMINAL: return "nominal";
    case VTR_HEALTH_WARNING: return "warning";
    case VTR_HEALTH_CRITICAL: return "critical";
    default: return "unknown";
  }
}

bool moreUrgent(const SensorCondition& a, const SensorCondition& b) {
  const int rankA = severityRank(a.health);
  const int rankB = severityRank(b.health);
  return rankA != rankB ? rankA < rankB : a.urgency < b.urgency;
}

const char* thresholdName(std::size_t level) { return kThresholdNames.at(level); }

bool isNonCriticalThreshold(std::size_t level) {
  return level == VTR_THRESHOLD_LOWER_NON_CRITICAL || level == VTR_THRESHOLD_UPPER_NON_CRITICAL;
}

}  // namespace host
}  // namespace vtr
