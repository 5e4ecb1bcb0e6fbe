#ifndef VTR_COLLECTOR_SAMPLE_ASSEMBLY_H
#define VTR_COLLECTOR_SAMPLE_ASSEMBLY_H

#include <string>

#include "collector/collector_types.h"

namespace vtr {
namespace ipmitool {

// Puts a cleaned value of type `type` into the sample when the schema fixed that type for its
// field, and says whether it did: the first value of a field wins. A value of another type
// is skipped with a warning.
bool storeSampleValue(const std::string& label, const std::string& fieldName, std::string&& value,
                      CollectorFieldType type, CollectorFieldType expected, SensorSample& out);

}  // namespace ipmitool
}  // namespace vtr

#endif
