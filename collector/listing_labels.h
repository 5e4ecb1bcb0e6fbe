#ifndef VTR_COLLECTOR_LISTING_LABELS_H
#define VTR_COLLECTOR_LISTING_LABELS_H

#include <string>

namespace vtr {
namespace ipmitool {

// Labels of the verbose listing ("ipmitool sensor -v") that the collector reads. Strings, so
// that looking one up in a record builds no key: the two type labels are too long to be
// held without an allocation.
inline const std::string kSensorIdLabel = "Sensor ID";
inline const std::string kEntityIdLabel = "Entity ID";
inline const std::string kThresholdTypeLabel = "Sensor Type (Threshold)";
inline const std::string kDiscreteTypeLabel = "Sensor Type (Discrete)";
inline const std::string kSensorReadingLabel = "Sensor Reading";
inline const std::string kStatesAssertedLabel = "States Asserted";
// A threshold sensor's status ("ok", "Lower Non-Critical") and its six thresholds, in the
// order of ThresholdLevel (sensor_health.h), which is also the compact table's.
inline const std::string kStatusLabel = "Status";
inline const std::string kThresholdLabels[] = {"Lower Non-Recoverable", "Lower Critical", "Lower Non-Critical",
                                               "Upper Non-Critical",    "Upper Critical", "Upper Non-Recoverable"};
// Stands where "States Asserted" would when the BMC cannot read a discrete sensor.
inline const std::string kUnableToReadLabel = "Unable to read sensor";

}  // namespace ipmitool
}  // namespace vtr

#endif
