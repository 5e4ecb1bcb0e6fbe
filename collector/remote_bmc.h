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

// These values are pasted into a shell command line, so each is held to a strict character
// set; the password file must also be readable here and by its owner only. Each returns why
// its value is refused, or an empty text.
std::string refuseBmcHost(const std::string& host);
std::string refuseBmcUser(const std::string& user);
std::string refuseBmcInterface(const std::string& interface);
std::string refuseBmcCipherSuite(const std::string& cipherSuite);
std::string refuseBmcPrivilegeLevel(const std::string& privilegeLevel);
std::string refuseBmcPasswordFile(const std::string& passwordFile);

// "ipmitool <arguments>", with the LAN arguments between the two when a host is set. The
// password never appears: it is named by file (-f) or left to the environment (-E).
std::string ipmitoolCommand(const RemoteBmc& bmc, const std::string& arguments);

}  // namespace ipmitool
}  // namespace vtr

#endif
