#ifndef VTR_COLLECTOR_SAMPLE_ASSEMBLY_H
#define VTR_COLLECTOR_SAMPLE_ASSEMBLY_H

#include <string>

#include "collector/collector_config.h"
#include "collector/collector_types.h"
#include "collector/sensor_fields.h"
#include "collector/sensor_identity.h"

namespace vtr {
namespace ipmitool {

// Gives a field a cleaned value of type `type` when the schema fixed that type for it, and
// says whether it did: the first value of a field wins. A value without a type, or of another
// type, is skipped with a warning naming its label.
bool storeSampleValue(const std::string& label, std::string&& value, CollectorFieldType type, bool isDefault,
                      const SensorField& field, FieldReading& reading);

// The readings of `fields` in a verbose listing: each kept sensor's values go to the fields
// of its "Sensor ID". `names` (the start-up sensor names) serves the debug line that reports
// every label without a field.
void assembleSample(const SensorFields& fields, const SensorNames& names, const SensorListing& listing,
                    SensorSample& out);

}  // namespace ipmitool
}  // namespace vtr

#endif
