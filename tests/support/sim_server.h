#ifndef VTR_TEST_SIM_SERVER_H
#define VTR_TEST_SIM_SERVER_H

#include <string>

namespace vtr {
namespace test {

// The real BMC simulator (ipmi_sim) on a free loopback port, with a shim directory whose
// `ipmitool` runs the real tool with the LAN arguments. Stopped by its pid in the destructor.
class SimServer {
 public:
  // profile: "small" (the test server, about a dozen sensors) or "two-socket" (the demo server).
  explicit SimServer(const std::string& profile = "small");
  ~SimServer();
  SimServer(const SimServer&) = delete;
  SimServer& operator=(const SimServer&) = delete;

  // False when the simulator could not be started; reason() says why.
  bool running() const { return running_; }
  // False when ipmi_sim or ipmitool is not installed: the one case where a test may skip.
  //   if (!sim.installed()) GTEST_SKIP() << sim.reason();
  //   ASSERT_TRUE(sim.running()) << sim.reason();
  bool installed() const { return installed_; }
  const std::string& reason() const { return reason_; }
  int port() const { return port_; }
  // The ipmi_sim process id, 0 when none was started.
  int pid() const { return pid_; }
  // Directory holding the shim `ipmitool`; prepend it to PATH to use the simulator.
  const std::string& shimDirectory() const { return shimDir_; }
  // Puts the shim first in PATH for this process (restored by the destructor).
  void useShim();

 private:
  bool running_ = false;
  bool installed_ = true;
  std::string reason_;
  int port_ = 0;
  int pid_ = 0;
  std::string workDir_;
  std::string shimDir_;
  std::string savedPath_;
  bool pathChanged_ = false;
};

}  // namespace test
}  // namespace vtr

#endif
