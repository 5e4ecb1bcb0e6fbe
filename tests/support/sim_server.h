#ifndef VTR_TEST_SIM_SERVER_H
#define VTR_TEST_SIM_SERVER_H

#include <string>

namespace vtr {
namespace test {

// The real BMC simulator (ipmi_sim) of a sim/ profile on a free loopback port, with a shim
// `ipmitool` that runs the real tool with the LAN arguments. Stopped by its pid in the
// destructor, which also restores PATH.
class SimServer {
 public:
  explicit SimServer(const std::string& profile);
  ~SimServer();
  SimServer(const SimServer&) = delete;
  SimServer& operator=(const SimServer&) = delete;

  // False when the simulator could not be started; reason() says why.
  bool running() const { return running_; }
  // False when ipmi_sim or ipmitool is not installed: the one case where a test may skip.
  bool installed() const { return installed_; }
  const std::string& reason() const { return reason_; }
  // Puts the shim first in PATH for this process.
  void useShim();

 private:
  bool running_ = false;
  bool installed_ = true;
  std::string reason_;
  int pid_ = 0;
  std::string workDir_;
  std::string shimDir_;
  std::string savedPath_;
  bool pathChanged_ = false;
};

}  // namespace test
}  // namespace vtr

#endif
