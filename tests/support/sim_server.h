#ifndef VTR_TEST_SIM_SERVER_H
#define VTR_TEST_SIM_SERVER_H

#include <string>
#include <utility>
#include <vector>

#include "collector/remote_bmc.h"

namespace vtr {
namespace test {

// The real BMC simulator (ipmi_sim) on a free loopback port, reached by the real tool through
// the provider's remote BMC options. Stopped by its pid in the destructor. With `console`, its
// command console is open as well, for sim/set-sensor to change sensors while it runs.
class SimServer {
 public:
  explicit SimServer(const std::string& profile, bool console = false);
  ~SimServer();
  SimServer(const SimServer&) = delete;
  SimServer& operator=(const SimServer&) = delete;

  // False when the simulator could not be started; reason() says why.
  bool running() const { return running_; }
  // False when ipmi_sim or ipmitool is not installed: the one case where a test may skip.
  bool installed() const { return installed_; }
  const std::string& reason() const { return reason_; }
  int port() const { return port_; }
  // The ipmi_sim process id, 0 when none was started.
  int pid() const { return pid_; }
  // The console's TCP port, 0 without one.
  int consolePort() const { return consolePort_; }
  const std::string& user() const { return user_; }
  // A file of mode 600 holding the password.
  const std::string& passwordFile() const { return passwordFile_; }
  // The provider options that reach this server: host, port, user, cipher suite, and the
  // password file unless `withPasswordFile` is false (then IPMI_PASSWORD must hold it).
  std::vector<std::pair<std::string, std::string>> bmcOptions(bool withPasswordFile = true) const;
  // The same, as the collector takes them.
  ipmitool::RemoteBmc remoteBmc() const;

 private:
  bool running_ = false;
  bool installed_ = true;
  std::string reason_;
  int port_ = 0;
  int pid_ = 0;
  int consolePort_ = 0;
  std::string workDir_;
  std::string user_;
  std::string passwordFile_;
};

}  // namespace test
}  // namespace vtr

#endif
