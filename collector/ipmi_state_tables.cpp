#include "collector/ipmi_state_tables.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "collector/text_scan.h"

namespace vtr {
namespace ipmitool {

namespace {

constexpr auto N = SensorHealth::Nominal;
constexpr auto W = SensorHealth::Warning;
constexpr auto C = SensorHealth::Critical;
constexpr std::uint8_t kSpecific = kSensorSpecificReadingType;
constexpr std::uint8_t kAnyType = 0x00;  // the sensor type of generic rows: they serve every type
constexpr std::uint8_t kFirstGenericReadingType = 0x02;
constexpr std::uint8_t kLastGenericReadingType = 0x0C;
// In a states word as printed ("0x0b80"): the top bit of its second byte.
constexpr unsigned kReservedBit = 0x80;

struct StateRow {
  std::uint8_t sensorType;
  std::uint8_t readingType;
  int offset;
  const char* name;  // as ipmitool prints it between brackets
  SensorHealth health;
};

// Every state ipmitool names, with its health when asserted. Offsets it has no name for are
// left out (they print nothing in the verbose listing). Critical: the part failed or stops the
// system (a failed or AC-lost supply, a processor error or thermal trip, uncorrectable memory
// or bus errors, a faulted drive or failed array, lost redundancy, a critical or
// non-recoverable transition). Warning: it still works but needs a look (predictive failure,
// correctable errors, throttling, an intrusion or security violation, a degraded array or
// redundancy, a watchdog that fired, a low battery, lost logging). Nominal: presence,
// configuration and the transitions of normal operation.
constexpr StateRow kStates[] = {
    // 0x05 Physical Security
    {0x05, kSpecific, 0, "General Chassis intrusion", W},
    {0x05, kSpecific, 1, "Drive Bay intrusion", W},
    {0x05, kSpecific, 2, "I/O Card area intrusion", W},
    {0x05, kSpecific, 3, "Processor area intrusion", W},
    {0x05, kSpecific, 4, "System unplugged from LAN", W},
    {0x05, kSpecific, 5, "Unauthorized dock", W},
    {0x05, kSpecific, 6, "FAN area intrusion", W},
    // 0x06 Platform Security
    {0x06, kSpecific, 0, "Front Panel Lockout violation attempted", W},
    {0x06, kSpecific, 1, "Pre-boot password violation - user password", W},
    {0x06, kSpecific, 2, "Pre-boot password violation - setup password", W},
    {0x06, kSpecific, 3, "Pre-boot password violation - network boot password", W},
    {0x06, kSpecific, 4, "Other pre-boot password violation", W},
    {0x06, kSpecific, 5, "Out-of-band access password violation", W},
    // 0x07 Processor
    {0x07, kSpecific, 0, "IERR", C},
    {0x07, kSpecific, 1, "Thermal Trip", C},
    {0x07, kSpecific, 2, "FRB1/BIST failure", C},
    {0x07, kSpecific, 3, "FRB2/Hang in POST failure", C},
    {0x07, kSpecific, 4, "FRB3/Processor startup/init failure", C},
    {0x07, kSpecific, 5, "Configuration Error", C},
    {0x07, kSpecific, 6, "SM BIOS Uncorrectable CPU-complex Error", C},
    {0x07, kSpecific, 7, "Presence detected", N},
    {0x07, kSpecific, 8, "Disabled", W},
    {0x07, kSpecific, 9, "Terminator presence detected", N},
    {0x07, kSpecific, 10, "Throttled", W},
    {0x07, kSpecific, 11, "Uncorrectable machine check exception", C},
    {0x07, kSpecific, 12, "Correctable machine check error", W},
    // 0x08 Power Supply
    {0x08, kSpecific, 0, "Presence detected", N},
    {0x08, kSpecific, 1, "Failure detected", C},
    {0x08, kSpecific, 2, "Predictive failure", W},
    {0x08, kSpecific, 3, "Power Supply AC lost", C},
    {0x08, kSpecific, 4, "AC lost or out-of-range", C},
    {0x08, kSpecific, 5, "AC out-of-range, but present", W},
    {0x08, kSpecific, 6, "Config Error", W},
    {0x08, kSpecific, 7, "Power Supply Inactive", W},
    // 0x09 Power Unit
    {0x09, kSpecific, 0, "Power off/down", N},
    {0x09, kSpecific, 1, "Power cycle", N},
    {0x09, kSpecific, 2, "240VA power down", C},
    {0x09, kSpecific, 3, "Interlock power down", W},
    {0x09, kSpecific, 4, "AC lost", C},
    {0x09, kSpecific, 5, "Soft-power control failure", C},
    {0x09, kSpecific, 6, "Failure detected", C},
    {0x09, kSpecific, 7, "Predictive failure", W},
    // 0x0C Memory
    {0x0C, kSpecific, 0, "Correctable ECC", W},
    {0x0C, kSpecific, 1, "Uncorrectable ECC", C},
    {0x0C, kSpecific, 2, "Parity", C},
    {0x0C, kSpecific, 3, "Memory Scrub Failed", C},
    {0x0C, kSpecific, 4, "Memory Device Disabled", W},
    {0x0C, kSpecific, 5, "Correctable ECC logging limit reached", W},
    {0x0C, kSpecific, 6, "Presence Detected", N},
    {0x0C, kSpecific, 7, "Configuration Error", W},
    {0x0C, kSpecific, 8, "Spare", N},
    {0x0C, kSpecific, 9, "Throttled", W},
    {0x0C, kSpecific, 10, "Critical Overtemperature", C},
    // 0x0D Drive Slot / Bay
    {0x0D, kSpecific, 0, "Drive Present", N},
    {0x0D, kSpecific, 1, "Drive Fault", C},
    {0x0D, kSpecific, 2, "Predictive Failure", W},
    {0x0D, kSpecific, 3, "Hot Spare", N},
    {0x0D, kSpecific, 4, "Parity Check In Progress", N},
    {0x0D, kSpecific, 5, "In Critical Array", W},
    {0x0D, kSpecific, 6, "In Failed Array", C},
    {0x0D, kSpecific, 7, "Rebuild In Progress", W},
    {0x0D, kSpecific, 8, "Rebuild Aborted", W},
    // 0x0F System Firmwares
    {0x0F, kSpecific, 0, "Unknown Error", W},
    {0x0F, kSpecific, 1, "Unknown Hang", C},
    {0x0F, kSpecific, 2, "Unknown Progress", N},
    // 0x10 Event Logging Disabled
    {0x10, kSpecific, 0, "Correctable memory error logging disabled", W},
    {0x10, kSpecific, 1, "Event logging disabled", W},
    {0x10, kSpecific, 2, "Log area reset/cleared", N},
    {0x10, kSpecific, 3, "All event logging disabled", W},
    {0x10, kSpecific, 4, "Log full", W},
    {0x10, kSpecific, 5, "Log almost full", N},
    // 0x11 Watchdog1
    {0x11, kSpecific, 0, "BIOS Reset", W},
    {0x11, kSpecific, 1, "OS Reset", W},
    {0x11, kSpecific, 2, "OS Shut Down", W},
    {0x11, kSpecific, 3, "OS Power Down", W},
    {0x11, kSpecific, 4, "OS Power Cycle", W},
    {0x11, kSpecific, 5, "OS NMI/Diag Interrupt", W},
    {0x11, kSpecific, 6, "OS Expired", W},
    {0x11, kSpecific, 7, "OS pre-timeout Interrupt", W},
    // 0x12 System Event
    {0x12, kSpecific, 0, "System Reconfigured", N},
    {0x12, kSpecific, 1, "OEM System boot event", N},
    {0x12, kSpecific, 2, "Undetermined system hardware failure", C},
    {0x12, kSpecific, 3, "Entry added to auxiliary log", N},
    {0x12, kSpecific, 4, "PEF Action", N},
    {0x12, kSpecific, 5, "Timestamp Clock Sync", N},
    // 0x13 Critical Interrupt
    {0x13, kSpecific, 0, "NMI/Diag Interrupt", W},
    {0x13, kSpecific, 1, "Bus Timeout", C},
    {0x13, kSpecific, 2, "I/O Channel check NMI", C},
    {0x13, kSpecific, 3, "Software NMI", W},
    {0x13, kSpecific, 4, "PCI PERR", C},
    {0x13, kSpecific, 5, "PCI SERR", C},
    {0x13, kSpecific, 6, "EISA failsafe timeout", C},
    {0x13, kSpecific, 7, "Bus Correctable error", W},
    {0x13, kSpecific, 8, "Bus Uncorrectable error", C},
    {0x13, kSpecific, 9, "Fatal NMI", C},
    {0x13, kSpecific, 10, "Bus Fatal Error", C},
    {0x13, kSpecific, 11, "Bus Degraded", W},
    // 0x14 Button
    {0x14, kSpecific, 0, "Power Button pressed", N},
    {0x14, kSpecific, 1, "Sleep Button pressed", N},
    {0x14, kSpecific, 2, "Reset Button pressed", N},
    {0x14, kSpecific, 3, "FRU Latch", N},
    {0x14, kSpecific, 4, "FRU Service", N},
    // 0x19 Chip Set
    {0x19, kSpecific, 0, "Soft Power Control Failure", C},
    {0x19, kSpecific, 1, "Thermal Trip", C},
    // 0x1B Cable / Interconnect
    {0x1B, kSpecific, 0, "Connected", N},
    {0x1B, kSpecific, 1, "Config Error", W},
    // 0x1D System Boot Initiated
    {0x1D, kSpecific, 0, "Initiated by power up", N},
    {0x1D, kSpecific, 1, "Initiated by hard reset", N},
    {0x1D, kSpecific, 2, "Initiated by warm reset", N},
    {0x1D, kSpecific, 3, "User requested PXE boot", N},
    {0x1D, kSpecific, 4, "Automatic boot to diagnostic", N},
    {0x1D, kSpecific, 5, "OS initiated hard reset", N},
    {0x1D, kSpecific, 6, "OS initiated warm reset", N},
    {0x1D, kSpecific, 7, "System Restart", N},
    // 0x1E Boot Error
    {0x1E, kSpecific, 0, "No bootable media", W},
    {0x1E, kSpecific, 1, "Non-bootable disk in drive", W},
    {0x1E, kSpecific, 2, "PXE server not found", W},
    {0x1E, kSpecific, 3, "Invalid boot sector", W},
    {0x1E, kSpecific, 4, "Timeout waiting for selection", W},
    // 0x1F OS Boot
    {0x1F, kSpecific, 0, "A: boot completed", N},
    {0x1F, kSpecific, 1, "C: boot completed", N},
    {0x1F, kSpecific, 2, "PXE boot completed", N},
    {0x1F, kSpecific, 3, "Diagnostic boot completed", N},
    {0x1F, kSpecific, 4, "CD-ROM boot completed", N},
    {0x1F, kSpecific, 5, "ROM boot completed", N},
    {0x1F, kSpecific, 6, "boot completed - device not specified", N},
    {0x1F, kSpecific, 7, "Installation started", N},
    {0x1F, kSpecific, 8, "Installation completed", N},
    {0x1F, kSpecific, 9, "Installation aborted", W},
    {0x1F, kSpecific, 10, "Installation failed", W},
    // 0x20 OS Critical Stop
    {0x20, kSpecific, 0, "Error during system startup", C},
    {0x20, kSpecific, 1, "Run-time critical stop", C},
    {0x20, kSpecific, 2, "OS graceful stop", N},
    {0x20, kSpecific, 3, "OS graceful shutdown", N},
    {0x20, kSpecific, 4, "PEF initiated soft shutdown", W},
    {0x20, kSpecific, 5, "Agent not responding", W},
    // 0x21 Slot / Connector
    {0x21, kSpecific, 0, "Fault Status", C},
    {0x21, kSpecific, 1, "Identify Status", N},
    {0x21, kSpecific, 2, "Device Installed", N},
    {0x21, kSpecific, 3, "Ready for Device Installation", N},
    {0x21, kSpecific, 4, "Ready for Device Removal", N},
    {0x21, kSpecific, 5, "Slot Power is Off", N},
    {0x21, kSpecific, 6, "Device Removal Request", N},
    {0x21, kSpecific, 7, "Interlock", N},
    {0x21, kSpecific, 8, "Slot is Disabled", N},
    {0x21, kSpecific, 9, "Spare Device", N},
    // 0x22 System ACPI Power State
    {0x22, kSpecific, 0, "S0/G0: working", N},
    {0x22, kSpecific, 1, "S1: sleeping with system hw & processor context maintained", N},
    {0x22, kSpecific, 2, "S2: sleeping, processor context lost", N},
    {0x22, kSpecific, 3, "S3: sleeping, processor & hw context lost, memory retained", N},
    {0x22, kSpecific, 4, "S4: non-volatile sleep/suspend-to-disk", N},
    {0x22, kSpecific, 5, "S5/G2: soft-off", N},
    {0x22, kSpecific, 6, "S4/S5: soft-off", N},
    {0x22, kSpecific, 7, "G3: mechanical off", N},
    {0x22, kSpecific, 8, "Sleeping in S1/S2/S3 state", N},
    {0x22, kSpecific, 9, "G1: sleeping", N},
    {0x22, kSpecific, 10, "S5: entered by override", N},
    {0x22, kSpecific, 11, "Legacy ON state", N},
    {0x22, kSpecific, 12, "Legacy OFF state", N},
    {0x22, kSpecific, 14, "Unknown", N},
    // 0x23 Watchdog2
    {0x23, kSpecific, 0, "Timer expired", W},
    {0x23, kSpecific, 1, "Hard reset", W},
    {0x23, kSpecific, 2, "Power down", W},
    {0x23, kSpecific, 3, "Power cycle", W},
    {0x23, kSpecific, 4, "reserved", N},
    {0x23, kSpecific, 5, "reserved", N},
    {0x23, kSpecific, 6, "reserved", N},
    {0x23, kSpecific, 7, "reserved", N},
    {0x23, kSpecific, 8, "Timer interrupt", W},
    // 0x24 Platform Alert
    {0x24, kSpecific, 0, "Platform generated page", N},
    {0x24, kSpecific, 1, "Platform generated LAN alert", N},
    {0x24, kSpecific, 2, "Platform Event Trap generated", N},
    {0x24, kSpecific, 3, "Platform generated SNMP trap, OEM format", N},
    // 0x25 Entity Presence
    {0x25, kSpecific, 0, "Present", N},
    {0x25, kSpecific, 1, "Absent", N},
    {0x25, kSpecific, 2, "Disabled", W},
    // 0x27 LAN
    {0x27, kSpecific, 0, "Heartbeat Lost", W},
    {0x27, kSpecific, 1, "Heartbeat", N},
    // 0x28 Management Subsys Health
    {0x28, kSpecific, 0, "Sensor access degraded or unavailable", W},
    {0x28, kSpecific, 1, "Controller access degraded or unavailable", W},
    {0x28, kSpecific, 2, "Management controller off-line", C},
    {0x28, kSpecific, 3, "Management controller unavailable", C},
    {0x28, kSpecific, 4, "Sensor failure", W},
    {0x28, kSpecific, 5, "FRU failure", W},
    // 0x29 Battery
    {0x29, kSpecific, 0, "Low", W},
    {0x29, kSpecific, 1, "Failed", C},
    {0x29, kSpecific, 2, "Presence Detected", N},
    // 0x2B Version Change
    {0x2B, kSpecific, 0, "Hardware change detected", N},
    {0x2B, kSpecific, 2, "Hardware incompatibility detected", W},
    {0x2B, kSpecific, 3, "Firmware or software incompatibility detected", W},
    {0x2B, kSpecific, 4, "Invalid or unsupported hardware version", W},
    {0x2B, kSpecific, 5, "Invalid or unsupported firmware or software version", W},
    {0x2B, kSpecific, 6, "Hardware change success", N},
    // 0x2C FRU State
    {0x2C, kSpecific, 0, "Not Installed", N},
    {0x2C, kSpecific, 1, "Inactive", N},
    {0x2C, kSpecific, 2, "Activation Requested", N},
    {0x2C, kSpecific, 3, "Activation in Progress", N},
    {0x2C, kSpecific, 4, "Active", N},
    {0x2C, kSpecific, 5, "Deactivation Requested", N},
    {0x2C, kSpecific, 6, "Deactivation in Progress", N},
    {0x2C, kSpecific, 7, "Communication lost", W},
    // Generic 0x02 DMI-based usage state
    {kAnyType, 0x02, 0, "Transition to Idle", N},
    {kAnyType, 0x02, 1, "Transition to Active", N},
    {kAnyType, 0x02, 2, "Transition to Busy", N},
    // Generic 0x03 digital: state deasserted/asserted
    {kAnyType, 0x03, 0, "State Deasserted", N},
    {kAnyType, 0x03, 1, "State Asserted", N},
    // Generic 0x04 predictive failure
    {kAnyType, 0x04, 0, "Predictive Failure Deasserted", N},
    {kAnyType, 0x04, 1, "Predictive Failure Asserted", W},
    // Generic 0x05 limit
    {kAnyType, 0x05, 0, "Limit Not Exceeded", N},
    {kAnyType, 0x05, 1, "Limit Exceeded", W},
    // Generic 0x06 performance
    {kAnyType, 0x06, 0, "Performance Met", N},
    {kAnyType, 0x06, 1, "Performance Lags", W},
    // Generic 0x07 severity
    {kAnyType, 0x07, 0, "Transition to OK", N},
    {kAnyType, 0x07, 1, "Transition to Non-critical from OK", W},
    {kAnyType, 0x07, 2, "Transition to Critical from less severe", C},
    {kAnyType, 0x07, 3, "Transition to Non-recoverable from less severe", C},
    {kAnyType, 0x07, 4, "Transition to Non-critical from more severe", W},
    {kAnyType, 0x07, 5, "Transition to Critical from Non-recoverable", C},
    {kAnyType, 0x07, 6, "Transition to Non-recoverable", C},
    {kAnyType, 0x07, 7, "Monitor", N},
    {kAnyType, 0x07, 8, "Informational", N},
    // Generic 0x08 device presence
    {kAnyType, 0x08, 0, "Device Absent", N},
    {kAnyType, 0x08, 1, "Device Present", N},
    // Generic 0x09 device enabled
    {kAnyType, 0x09, 0, "Device Disabled", N},
    {kAnyType, 0x09, 1, "Device Enabled", N},
    // Generic 0x0a availability
    {kAnyType, 0x0A, 0, "Transition to Running", N},
    {kAnyType, 0x0A, 1, "Transition to In Test", N},
    {kAnyType, 0x0A, 2, "Transition to Power Off", N},
    {kAnyType, 0x0A, 3, "Transition to On Line", N},
    {kAnyType, 0x0A, 4, "Transition to Off Line", W},
    {kAnyType, 0x0A, 5, "Transition to Off Duty", N},
    {kAnyType, 0x0A, 6, "Transition to Degraded", W},
    {kAnyType, 0x0A, 7, "Transition to Power Save", N},
    {kAnyType, 0x0A, 8, "Install Error", W},
    // Generic 0x0b redundancy
    {kAnyType, 0x0B, 0, "Fully Redundant", N},
    {kAnyType, 0x0B, 1, "Redundancy Lost", C},
    {kAnyType, 0x0B, 2, "Redundancy Degraded", W},
    {kAnyType, 0x0B, 3, "Non-Redundant: Sufficient from Redundant", W},
    {kAnyType, 0x0B, 4, "Non-Redundant: Sufficient from Insufficient", W},
    {kAnyType, 0x0B, 5, "Non-Redundant: Insufficient Resources", C},
    {kAnyType, 0x0B, 6, "Redundancy Degraded from Fully Redundant", W},
    {kAnyType, 0x0B, 7, "Redundancy Degraded from Non-Redundant", W},
    // Generic 0x0c ACPI device power state
    {kAnyType, 0x0C, 0, "D0 Power State", N},
    {kAnyType, 0x0C, 1, "D1 Power State", N},
    {kAnyType, 0x0C, 2, "D2 Power State", N},
    {kAnyType, 0x0C, 3, "D3 Power State", N},
};

struct TypeName {
  std::uint8_t code;
  const char* name;  // as the verbose listing's "Sensor Type" line prints it
};

constexpr TypeName kSensorTypes[] = {
    {0x01, "Temperature"},
    {0x02, "Voltage"},
    {0x03, "Current"},
    {0x04, "Fan"},
    {0x05, "Physical Security"},
    {0x06, "Platform Security"},
    {0x07, "Processor"},
    {0x08, "Power Supply"},
    {0x09, "Power Unit"},
    {0x0A, "Cooling Device"},
    {0x0B, "Other"},
    {0x0C, "Memory"},
    {0x0D, "Drive Slot / Bay"},
    {0x0E, "POST Memory Resize"},
    {0x0F, "System Firmwares"},
    {0x10, "Event Logging Disabled"},
    {0x11, "Watchdog1"},
    {0x12, "System Event"},
    {0x13, "Critical Interrupt"},
    {0x14, "Button"},
    {0x15, "Module / Board"},
    {0x16, "Microcontroller"},
    {0x17, "Add-in Card"},
    {0x18, "Chassis"},
    {0x19, "Chip Set"},
    {0x1A, "Other FRU"},
    {0x1B, "Cable / Interconnect"},
    {0x1C, "Terminator"},
    {0x1D, "System Boot Initiated"},
    {0x1E, "Boot Error"},
    {0x1F, "OS Boot"},
    {0x20, "OS Critical Stop"},
    {0x21, "Slot / Connector"},
    {0x22, "System ACPI Power State"},
    {0x23, "Watchdog2"},
    {0x24, "Platform Alert"},
    {0x25, "Entity Presence"},
    {0x26, "Monitor ASIC"},
    {0x27, "LAN"},
    {0x28, "Management Subsys Health"},
    {0x29, "Battery"},
    {0x2A, "Session Audit"},
    {0x2B, "Version Change"},
    {0x2C, "FRU State"},
};

struct StatusHealth {
  const char* status;
  SensorHealth health;
};

// The texts of the compact table's column, the SDR listing's column and the verbose listing's
// Status line.
constexpr StatusHealth kThresholdStatuses[] = {
    {"ok", N},
    {"nc", W},
    {"cr", C},
    {"nr", C},
    {"lnc", W},
    {"unc", W},
    {"lcr", C},
    {"ucr", C},
    {"lnr", C},
    {"unr", C},
    {"Lower Non-Critical", W},
    {"Upper Non-Critical", W},
    {"Lower Critical", C},
    {"Upper Critical", C},
    {"Lower Non-Recoverable", C},
    {"Upper Non-Recoverable", C},
};

// "0x" and four hex digits, as a number; nothing for any other text.
std::optional<std::uint16_t> statesWordValue(std::string_view word) {
  constexpr std::string_view kPrefix = "0x";
  if (word.size() != kPrefix.size() + 4 || word.substr(0, kPrefix.size()) != kPrefix) return std::nullopt;
  std::uint16_t value = 0;
  const char* last = word.data() + word.size();
  const auto [end, error] = std::from_chars(word.data() + kPrefix.size(), last, value, 16);
  if (error != std::errc() || end != last) return std::nullopt;
  return value;
}

bool rowServes(const StateRow& row, DiscreteType type) {
  if (row.readingType != type.readingType) return false;
  return row.readingType != kSpecific || row.sensorType == type.sensorType;
}

const StateRow* findState(DiscreteType type, int offset) {
  for (const StateRow& row : kStates)
    if (rowServes(row, type) && row.offset == offset) return &row;
  return nullptr;
}

std::vector<int> offsetsNamed(DiscreteType type, std::string_view name) {
  std::vector<int> offsets;
  for (const StateRow& row : kStates)
    if (rowServes(row, type) && name == row.name) offsets.push_back(row.offset);
  return offsets;
}

}  // namespace

std::vector<int> AssertedStates::offsets() const {
  std::vector<int> result;
  for (int offset = 0; offset < 15; ++offset)
    if (bits_ & (1u << offset)) result.push_back(offset);
  return result;
}

std::optional<AssertedStates> decodeStatesWord(std::string_view word) {
  const std::optional<std::uint16_t> value = statesWordValue(word);
  if (!value) return std::nullopt;
  const unsigned offsets0to7 = *value >> 8;
  const unsigned offsets8to14 = *value & ~kReservedBit & 0xFFu;
  return AssertedStates(static_cast<std::uint16_t>(offsets0to7 | offsets8to14 << 8));
}

bool setsReservedBit(std::string_view word) {
  const std::optional<std::uint16_t> value = statesWordValue(word);
  return value && (*value & kReservedBit) != 0;
}

std::string encodeStatesWord(AssertedStates states, bool reservedBit) {
  char word[sizeof "0x0000"];
  std::snprintf(word, sizeof word, "0x%02x%02x", states.bits() & 0xFFu, (states.bits() >> 8) | (reservedBit ? kReservedBit : 0u));
  return word;
}

std::optional<std::string_view> knownStateName(DiscreteType type, int offset) {
  if (const StateRow* row = findState(type, offset)) return row->name;
  return std::nullopt;
}

std::string stateName(DiscreteType type, int offset) {
  if (const auto name = knownStateName(type, offset)) return std::string(*name);
  return "state " + std::to_string(offset);
}

std::vector<std::string> stateNames(DiscreteType type, AssertedStates states) {
  std::vector<std::string> names;
  for (int offset : states.offsets()) names.push_back(stateName(type, offset));
  return names;
}

std::optional<std::string_view> bracketedStateName(std::string_view line) {
  const std::string_view text = trimBlanks(line);
  if (text.size() < 3 || text.front() != '[' || text.back() != ']') return std::nullopt;
  return text.substr(1, text.size() - 2);
}

NamedStates statesFromNames(DiscreteType type, const std::vector<std::string_view>& names) {
  NamedStates result;
  for (std::string_view name : names) {
    const std::vector<int> offsets = offsetsNamed(type, name);
    if (offsets.size() == 1)
      result.asserted.add(offsets.front());
    else
      result.unplaced.emplace_back(name);
  }
  return result;
}

std::vector<std::string_view> splitStateList(DiscreteType type, std::string_view list) {
  constexpr std::string_view kSeparator = ", ";
  std::vector<std::string_view> names;
  std::string_view::size_type at = 0;
  while (at < list.size()) {
    const std::string_view rest = list.substr(at);
    std::string_view::size_type length = 0;
    for (const StateRow& row : kStates) {
      const std::string_view name = row.name;
      const bool whole = rest.substr(0, name.size()) == name &&
                         (rest.size() == name.size() || rest.substr(name.size(), kSeparator.size()) == kSeparator);
      if (rowServes(row, type) && whole) length = std::max(length, name.size());
    }
    if (length == 0) length = std::min(rest.find(kSeparator), rest.size());
    names.push_back(rest.substr(0, length));
    at += length + kSeparator.size();
  }
  return names;
}

std::optional<std::uint8_t> readingTypeOfNames(std::uint8_t sensorType, const std::vector<std::string_view>& names) {
  if (names.empty()) return std::nullopt;
  const auto holdsAll = [&](DiscreteType type) {
    return std::all_of(names.begin(), names.end(),
                       [&](std::string_view name) { return !offsetsNamed(type, name).empty(); });
  };
  if (holdsAll({sensorType, kSpecific})) return kSpecific;
  for (std::uint8_t readingType = kFirstGenericReadingType; readingType <= kLastGenericReadingType; ++readingType)
    if (holdsAll({sensorType, readingType})) return readingType;
  return std::nullopt;
}

SensorHealth stateHealth(DiscreteType type, int offset) {
  const StateRow* row = findState(type, offset);
  return row != nullptr ? row->health : N;
}

SensorHealth statesHealth(DiscreteType type, const std::optional<AssertedStates>& states) {
  if (!states) return SensorHealth::Unknown;
  SensorHealth worst = N;
  for (int offset : states->offsets()) worst = std::max(worst, stateHealth(type, offset));
  return worst;
}

SensorHealth thresholdStatusHealth(std::string_view status) {
  for (const StatusHealth& row : kThresholdStatuses)
    if (status == row.status) return row.health;
  return SensorHealth::Unknown;
}

std::string_view sensorTypeName(std::uint8_t code) {
  for (const TypeName& row : kSensorTypes)
    if (row.code == code) return row.name;
  return "Unknown";
}

std::optional<std::uint8_t> sensorTypeCode(std::string_view name) {
  for (const TypeName& row : kSensorTypes)
    if (name == row.name) return row.code;
  return std::nullopt;
}

}  // namespace ipmitool
}  // namespace vtr
