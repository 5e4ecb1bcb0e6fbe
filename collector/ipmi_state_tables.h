#ifndef VTR_COLLECTOR_IPMI_STATE_TABLES_H
#define VTR_COLLECTOR_IPMI_STATE_TABLES_H

// The IPMI state tables with the names ipmitool prints: what each state offset of a discrete
// sensor means, how serious an asserted state is, and the sensor type names of the verbose
// listing. Data and lookups only: nothing here runs the tool.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vtr {
namespace ipmitool {

// How a sensor stands, from best to worst up to Critical. Unknown: nothing to judge by (no
// reading, a status the tables lack).
enum class SensorHealth { Nominal, Warning, Critical, Unknown };

// The event/reading type of sensors whose states belong to their sensor type.
inline constexpr std::uint8_t kSensorSpecificReadingType = 0x6F;

// Which table names a discrete sensor's states: its sensor type's own (event/reading type
// 0x6f), or a generic one (0x02-0x0c) whatever its sensor type.
struct DiscreteType {
  std::uint8_t sensorType;
  std::uint8_t readingType = kSensorSpecificReadingType;
};

// The asserted state offsets (0-14) of one discrete sensor.
class AssertedStates {
 public:
  AssertedStates() = default;
  // Bit k stands for offset k; bit 15 is no offset and is dropped.
  explicit AssertedStates(std::uint16_t bits) : bits_(bits & 0x7FFF) {}

  // offset: 0-14.
  void add(int offset) { bits_ |= static_cast<std::uint16_t>(1u << offset); }
  std::uint16_t bits() const { return bits_; }
  // In ascending order.
  std::vector<int> offsets() const;

 private:
  std::uint16_t bits_ = 0;
};

// The compact table's states word ("0x0b00" is offsets 0, 1 and 3): its first byte holds
// offsets 0-7 (bit 0 first), its second offsets 8-14 and a reserved top bit, which BMCs may
// set and which is ignored. Nothing for "na" or any text but "0x" and four hex digits.
std::optional<AssertedStates> decodeStatesWord(std::string_view word);
// Whether a states word sets its reserved top bit, which IPMI has BMCs return as 1 (and
// ipmi_sim as 0); false for a text that is not a states word.
bool setsReservedBit(std::string_view word);
// The states word of these states as the compact table prints it ("0x0b00"), with the
// reserved top bit as given ("0x0b80").
std::string encodeStatesWord(AssertedStates states, bool reservedBit);

// The name ipmitool prints for a state ("Failure detected"); nothing where it prints none.
std::optional<std::string_view> knownStateName(DiscreteType type, int offset);
// The same, with "state N" where ipmitool prints none.
std::string stateName(DiscreteType type, int offset);
// The names of the asserted states, in offset order.
std::vector<std::string> stateNames(DiscreteType type, AssertedStates states);

// The text between the brackets of a verbose listing's state line ("   [Drive Present]");
// nothing for any other line.
std::optional<std::string_view> bracketedStateName(std::string_view line);

// A verbose listing's state names read back into offsets, so that both listings give the same
// states. A name the table lacks, or has at more than one offset ("reserved"), cannot be
// placed and is kept apart.
struct NamedStates {
  AssertedStates asserted;
  std::vector<std::string> unplaced;
};
NamedStates statesFromNames(DiscreteType type, const std::vector<std::string_view>& names);

// The names of a state list as the SDR listing ("ipmitool sdr elist") prints it: joined by ", ",
// where a name may hold ", " itself ("AC out-of-range, but present"). A name of the sensor's
// tables is taken whole, the longest that fits; any other text runs to the next ", ".
std::vector<std::string_view> splitStateList(DiscreteType type, std::string_view list);

// The verbose listing prints a sensor's type but not its event/reading type; the names tell:
// the sensor type's own table if it holds every name, else the first generic table that does.
// Nothing for no names or names no table holds.
std::optional<std::uint8_t> readingTypeOfNames(std::uint8_t sensorType, const std::vector<std::string_view>& names);

// How serious state `offset` is while asserted; Nominal for a state the tables do not name.
SensorHealth stateHealth(DiscreteType type, int offset);
// The worst health among the asserted states (Nominal for none); Unknown without a states
// word, so that a decodeStatesWord result can be passed as it is.
SensorHealth statesHealth(DiscreteType type, const std::optional<AssertedStates>& states);

// A threshold sensor's status as the compact table ("ok", "nc", "cr", "nr"), the SDR listing
// ("ok", "lnc", "ucr", "lnr", ...) or the verbose listing ("ok", "Lower Non-Critical", "Upper
// Critical", "Lower Non-Recoverable", ...) prints it; Unknown for "na", "ns" and anything else.
SensorHealth thresholdStatusHealth(std::string_view status);

// The sensor type as the verbose listing names it ("Power Supply" for 0x08), "Unknown" for a
// code ipmitool has no name for.
std::string_view sensorTypeName(std::uint8_t code);
// The code of a sensor type name; nothing for "Unknown" and names ipmitool does not print.
std::optional<std::uint8_t> sensorTypeCode(std::string_view name);

}  // namespace ipmitool
}  // namespace vtr

#endif
