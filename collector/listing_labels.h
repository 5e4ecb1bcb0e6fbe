#ifndef VTR_COLLECTOR_LISTING_LABELS_H
#define VTR_COLLECTOR_LISTING_LABELS_H

namespace vtr {
namespace ipmitool {

// Labels of the verbose listing ("ipmitool sensor -v") that the collector reads.
inline constexpr char kSensorIdLabel[] = "Sensor ID";
inline constexpr char kEntityIdLabel[] = "Entity ID";
inline constexpr char kThresholdTypeLabel[] = "Sensor Type (Threshold)";
inline constexpr char kDiscreteTypeLabel[] = "Sensor Type (Discrete)";
inline constexpr char kSensorReadingLabel[] = "Sensor Reading";
inline constexpr char kStatesAssertedLabel[] = "States Asserted";
// Stands where "States Asserted" would when the BMC cannot read a discrete sensor.
inline constexpr char kUnableToReadLabel[] = "Unable to read sensor";

}  // namespace ipmitool
}  // namespace vtr

#endif
