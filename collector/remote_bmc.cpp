#include "collector/remote_bmc.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <stdexcept>

namespace vtr {
namespace ipmitool {

namespace {

constexpr const char* kDigits = "0123456789";
constexpr const char* kNameCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-";
constexpr const char* kIpv6Characters = "0123456789ABCDEFabcdef:.";
constexpr const char* kUserCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
constexpr const char* kPathCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._+-/";

bool madeOf(const std::string& text, const char* allowed) {
  return !text.empty() && text.find_first_not_of(allowed) == std::string::npos;
}

// A leading '-' would make the value read as one of the tool's flags.
bool isWord(const std::string& text, const char* allowed) { return madeOf(text, allowed) && text.front() != '-'; }

bool isPort(const std::string& text) {
  if (text.size() > 5 || !madeOf(text, kDigits)) return false;
  const unsigned long port = std::stoul(text);
  return port >= 1 && port <= 65535;
}

bool isOneOf(const std::string& text, std::initializer_list<const char*> choices) {
  for (const char* choice : choices)
    if (text == choice) return true;
  return false;
}

struct HostAndPort {
  std::string host;
  std::string port;  // empty: the tool's default port
};

// HOST, HOST:PORT, an IPv4 address, [IPv6] or [IPv6]:PORT; nothing else.
std::optional<HostAndPort> splitHost(const std::string& text) {
  HostAndPort address{text, ""};
  std::string::size_type portColon = std::string::npos;
  if (!text.empty() && text.front() == '[') {
    const auto close = text.find(']');
    if (close == std::string::npos) return std::nullopt;
    address.host = text.substr(1, close - 1);
    if (!madeOf(address.host, kIpv6Characters) || address.host.find(':') == std::string::npos) return std::nullopt;
    if (close + 1 < text.size()) {
      if (text[close + 1] != ':') return std::nullopt;
      portColon = close + 1;
    }
  } else {
    portColon = text.find(':');
    address.host = text.substr(0, portColon);
    if (!isWord(address.host, kNameCharacters)) return std::nullopt;
  }
  if (portColon != std::string::npos) {
    address.port = text.substr(portColon + 1);
    if (!isPort(address.port)) return std::nullopt;
  }
  return address;
}

std::string lanArguments(const RemoteBmc& bmc) {
  const std::optional<HostAndPort> address = splitHost(bmc.host);
  // The provider refuses such a host before any collector exists.
  if (!address) throw std::invalid_argument("unchecked BMC host");
  std::string arguments = "-I " + bmc.interface + " -H " + address->host;
  if (!address->port.empty()) arguments += " -p " + address->port;
  if (!bmc.user.empty()) arguments += " -U " + bmc.user;
  if (!bmc.privilegeLevel.empty()) arguments += " -L " + bmc.privilegeLevel;
  if (!bmc.cipherSuite.empty()) arguments += " -C " + bmc.cipherSuite;
  arguments += bmc.passwordFile.empty() ? " -E" : " -f " + bmc.passwordFile;
  return arguments;
}

std::string refuseBmcHost(const std::string& host) {
  if (host.empty() || splitHost(host)) return "";
  return "expected HOST, HOST:PORT, an IPv4 address or [IPv6]:PORT, the name of letters, digits, '.' and '-'";
}

std::string refuseBmcUser(const std::string& user) {
  if (user.empty() || isWord(user, kUserCharacters)) return "";
  return "expected letters, digits, '.', '_' and '-'";
}

std::string refuseBmcInterface(const std::string& interface) {
  if (isOneOf(interface, {"lan", "lanplus"})) return "";
  return "expected 'lan' or 'lanplus'";
}

std::string refuseBmcCipherSuite(const std::string& cipherSuite) {
  if (cipherSuite.empty() || (cipherSuite.size() <= 2 && madeOf(cipherSuite, kDigits))) return "";
  return "expected a cipher suite number (0 to 99)";
}

std::string refuseBmcPrivilegeLevel(const std::string& privilegeLevel) {
  if (privilegeLevel.empty() || isOneOf(privilegeLevel, {"CALLBACK", "USER", "OPERATOR", "ADMINISTRATOR", "OEM"}))
    return "";
  return "expected CALLBACK, USER, OPERATOR, ADMINISTRATOR or OEM";
}

std::string refuseBmcPasswordFile(const std::string& passwordFile) {
  if (passwordFile.empty()) return "";
  if (!isCommandLinePath(passwordFile)) return "expected a path of letters, digits, '.', '_', '+', '-' and '/'";
  const int fd = open(passwordFile.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    return errno == ENOENT ? "the file does not exist" : std::string("the file cannot be read: ") + strerror(errno);
  }
  struct stat status {};
  const bool statted = fstat(fd, &status) == 0;
  close(fd);
  if (!statted || !S_ISREG(status.st_mode)) return "not a regular file";
  if ((status.st_mode & (S_IRGRP | S_IROTH)) != 0) return "the file is readable by group or others (chmod 600 it)";
  return "";
}

}  // namespace

std::string refuseBmcPart(BmcPart part, const std::string& value) {
  switch (part) {
    case BmcPart::Host:
      return refuseBmcHost(value);
    case BmcPart::User:
      return refuseBmcUser(value);
    case BmcPart::Interface:
      return refuseBmcInterface(value);
    case BmcPart::CipherSuite:
      return refuseBmcCipherSuite(value);
    case BmcPart::PrivilegeLevel:
      return refuseBmcPrivilegeLevel(value);
    case BmcPart::PasswordFile:
      break;
  }
  return refuseBmcPasswordFile(value);
}

bool isCommandLinePath(const std::string& path) { return isWord(path, kPathCharacters); }

std::string ipmitoolCommand(const RemoteBmc& bmc, const std::string& arguments) {
  if (bmc.host.empty()) return "ipmitool " + arguments;
  return "ipmitool " + lanArguments(bmc) + " " + arguments;
}

}  // namespace ipmitool
}  // namespace vtr
