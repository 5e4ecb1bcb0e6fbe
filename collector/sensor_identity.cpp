#include "collector/sensor_identity.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "collector/field_naming.h"
#include "collector/listing_labels.h"
#include "runtime/logger.h"

namespace vtr {
namespace ipmitool {

void getSensorName(const std::string& sensorId, std::string& sensorName) {
  const auto paren = sensorId.find('(');
  // The character before the parenthesis is the blank the tool prints there; it goes whatever it is.
  if (paren != std::string::npos && paren > 0) {
    sensorName = sensorId.substr(0, paren - 1);
  } else {
    sensorName = sensorId;
  }
  convertToSnakeCase(sensorName);
}

SensorNumberParse parseSensorNumber(const std::string& sensorId, int& number) {
  const auto open = sensorId.find('(');
  const auto close = sensorId.find(')');
  if (open == std::string::npos || close == std::string::npos) return SensorNumberParse::NoParentheses;
  const auto length = close > open ? close - open - 1 : std::string::npos;
  const std::string digits = sensorId.substr(open + 1, length);
  try {
    number = std::stoi(digits, nullptr, 16);
    return SensorNumberParse::Found;
  } catch (const std::invalid_argument&) {
    return SensorNumberParse::NotANumber;
  } catch (const std::out_of_range&) {
    return SensorNumberParse::OutOfRange;
  }
}

int getSensorNumber(const std::string& sensorId) {
  int number = -1;
  switch (parseSensorNumber(sensorId, number)) {
    case SensorNumberParse::Found:
      return number;
    case SensorNumberParse::NotANumber:
      vtr_log(VTR_LOG_WARNING,
              "[ipmitool collector] Could not parse Sensor Number from Sensor ID '%s': unable to convert to integer.",
              sensorId.c_str());
      break;
    case SensorNumberParse::OutOfRange:
      vtr_log(VTR_LOG_WARNING,
              "[ipmitool collector] Could not parse Sensor Number from Sensor ID '%s': Sensor Number is out of "
              "range for integer conversion.",
              sensorId.c_str());
      break;
    case SensorNumberParse::NoParentheses:
      break;
  }
  return -1;
}

SensorNames uniqueSensorNames(const SensorListing& listing) {
  SensorNames uniqueNames;
  std::unordered_map<std::string, uint32_t> nameCounts;
  std::unordered_map<std::string, std::string> namesById;
  for (const ListedSensor& sensor : listing) {
    const std::string& id = sensor.record.at(kSensorIdLabel);
    std::string name;
    getSensorName(id, name);
    ++nameCounts[name];
    namesById.emplace(id, std::move(name));
  }

  // First come, first served; every member of a shared name gets the number suffix.
  std::unordered_set<std::string> givenOut;
  for (const auto& [id, name] : namesById) {
    std::string candidate = name;
    if (nameCounts[name] > 1) {
      const int number = getSensorNumber(id);
      if (number == -1) {
        vtr_log(VTR_LOG_WARNING,
                "[ipmitool collector] Skipping sensor '%s': could not parse Sensor Number from Sensor ID.",
                id.c_str());
        continue;
      }
      candidate += "_" + std::to_string(number);
    }
    if (!givenOut.insert(candidate).second) {
      vtr_log(VTR_LOG_WARNING,
              "[ipmitool collector] Skipping sensor '%s': Sensor ID (Sensor Name and Sensor Number) is not unique.",
              id.c_str());
      continue;
    }
    uniqueNames[id] = std::move(candidate);
  }
  return uniqueNames;
}

}  // namespace ipmitool
}  // namespace vtr
