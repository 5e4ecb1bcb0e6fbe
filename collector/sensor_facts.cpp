#include "collector/sensor_facts.h"

#include "collector/listing_labels.h"
#include "collector/listing_parser.h"
#include "collector/sensor_identity.h"
#include "collector/text_scan.h"

namespace vtr {
namespace ipmitool {

namespace {

std::string labelValue(const SensorRecord& record, const std::string& label) {
  const auto found = record.find(label);
  return found == record.end() ? std::string() : found->second;
}

}  // namespace

SensorFacts sensorFactsOf(const SensorRecord& record, CollectorSensorType kind) {
  SensorFacts facts;
  const std::string sensorId = labelValue(record, kSensorIdLabel);
  facts.name = listingSensorName(sensorId);
  int number = -1;
  if (parseSensorNumber(sensorId, number) == SensorNumberParse::Found) facts.number = number;
  facts.entity = labelValue(record, kEntityIdLabel);
  facts.type = labelValue(record, kind == Discrete ? kDiscreteTypeLabel : kThresholdTypeLabel);
  if (kind == Threshold) facts.unit = readingUnit(labelValue(record, kSensorReadingLabel));
  facts.kind = kind;
  return facts;
}

std::string readingUnit(std::string_view reading) {
  reading = trimBlanks(withoutCarriageReturn(reading));
  // The tolerance "(+/- 0.5)" stands between the number and the unit when the tool prints one.
  const auto close = reading.find(')');
  const auto afterNumber = close != std::string_view::npos ? close + 1 : reading.find(' ');
  if (afterNumber == std::string_view::npos) return "";
  return std::string(trimBlanks(reading.substr(afterNumber)));
}

}  // namespace ipmitool
}  // namespace vtr
