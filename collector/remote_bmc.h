#ifndef VTR_COLLECTOR_REMOTE_BMC_H
#define VTR_COLLECTOR_REMOTE_BMC_H

#include <string>

namespace vtr {
namespace ipmitool {

// How the tool reaches a BMC over the network. An empty host means the local BMC, and then
// the other values take no part in any command line.
struct RemoteBmc {
  std::string host;            // HOST, HOST:PORT, an IPv4 address, [IPv6] or [IPv6]:PORT
  std::string user;            // empty: the tool's default user
  std::string interface;       // "lan" or "lanplus"
  std::string cipherSuite;     // empty: the tool's own choice
  std::string privilegeLevel;  // empty: the tool's default
  std::string passwordFile;    // empty: the tool reads IPMI_PASSWORD (-E)
};

// The values an option can set, one each.
enum class BmcPart { Host, User, Interface, CipherSuite, PrivilegeLevel, PasswordFile };

inline std::string& bmcPart(RemoteBmc& bmc, BmcPart part) {
  switch (part) {
    case BmcPart::Host:
      return bmc.host;
    case BmcPart::User:
      return bmc.user;
    case BmcPart::Interface:
      return bmc.interface;
    case BmcPart::CipherSuite:
      return bmc.cipherSuite;
    case BmcPart::PrivilegeLevel:
      return bmc.privilegeLevel;
    case BmcPart::PasswordFile:
      break;
  }
  return bmc.passwordFile;
}
inline const std::string& bmcPart(const RemoteBmc& bmc, BmcPart part) {
  return bmcPart(const_cast<RemoteBmc&>(bmc), part);
}

// Why a value is refused, or an empty text. These values are pasted into a shell command line,
// so each is held to a strict character set; the password file must also be readable here and
// by its owner only.
std::string refuseBmcPart(BmcPart part, const std::string& value);

// Whether a path may stand unquoted in a command line: letters, digits, '.', '_', '+', '-' and
// '/', not led by '-'.
bool isCommandLinePath(const std::string& path);

// "ipmitool <arguments>", with the LAN arguments between the two when a host is set. The
// password never appears: it is named by file (-f) or left to the environment (-E).
std::string ipmitoolCommand(const RemoteBmc& bmc, const std::string& arguments);

}  // namespace ipmitool
}  // namespace vtr

#endif
