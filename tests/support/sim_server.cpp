#include "support/sim_server.h"

#include <sys/prctl.h>
#include <sys/wait.h>

#include <map>
#include <sstream>

#include "support/test_env.h"

namespace vtr {
namespace test {
namespace {

// start-sim's exit code when ipmi_sim or ipmitool is missing.
constexpr int kNotInstalled = 3;

std::string simScript(const char* name) { return shellQuote(std::string(VTR_SOURCE_DIR) + "/sim/" + name); }

}  // namespace

SimServer::SimServer(const std::string& profile, bool console) : workDir_(makeTempDirectory("vtr-sim")) {
  // start-sim leaves ipmi_sim behind when it exits; as subreaper this process inherits it and
  // can reap it, where a container's init might leave it a zombie.
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  const ShellResult started = runShell(simScript("start-sim") + " --profile " + shellQuote(profile) + " --work-dir " +
                                       shellQuote(workDir_) + (console ? " --console" : "") + " 2>&1");
  if (started.exitCode != 0) {
    installed_ = started.exitCode != kNotInstalled;
    reason_ = "the simulated BMC did not start: " + started.output;
    return;
  }
  // start-sim prints "key=value" lines.
  std::map<std::string, std::string> info;
  std::istringstream lines(started.output);
  for (std::string line; std::getline(lines, line);)
    if (const auto equals = line.find('='); equals != std::string::npos) info[line.substr(0, equals)] = line.substr(equals + 1);
  try {
    pid_ = std::stoi(info.at("pid"));
    port_ = std::stoi(info.at("port"));
    user_ = info.at("user");
    passwordFile_ = info.at("password_file");
    if (console) consolePort_ = std::stoi(info.at("console_port"));
    running_ = true;
  } catch (const std::exception&) {
    reason_ = "unexpected output of start-sim: " + started.output;
  }
}

SimServer::~SimServer() {
  if (pid_ > 0) {
    runShell(simScript("stop-sim") + " " + std::to_string(pid_));
    waitpid(pid_, nullptr, WNOHANG);  // stop-sim returns once it has exited
  }
  removeDirectory(workDir_);
}

ipmitool::RemoteBmc SimServer::remoteBmc() const {
  // Suite 3 spares about ten seconds of negotiation per run.
  return {"127.0.0.1:" + std::to_string(port_), user_, "lanplus", "3", "", passwordFile_};
}

std::vector<std::pair<std::string, std::string>> SimServer::bmcOptions(bool withPasswordFile) const {
  const ipmitool::RemoteBmc bmc = remoteBmc();
  std::vector<std::pair<std::string, std::string>> options = {{"ipmitool-bmc-host", bmc.host},
                                                              {"ipmitool-bmc-user", bmc.user},
                                                              {"ipmitool-bmc-cipher-suite", bmc.cipherSuite}};
  if (withPasswordFile) options.emplace_back("ipmitool-bmc-password-file", bmc.passwordFile);
  return options;
}

}  // namespace test
}  // namespace vtr
