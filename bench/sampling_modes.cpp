// Per-sample cost of the sampling modes against the simulated server, beside Debian's
// prometheus-ipmi-exporter scraping the same simulator (its ipmi collector, -W opensesspriv;
// once as configured by default, once with --bridge-sensors, which reads the sensors past
// LUN 0 as the modes do):
//   sampling-modes [--rounds 20] [--profiles two-socket,large]
// One collector per mode (discrete sensors included), the exporters; each round takes one
// sample of each, in turn (A B C ... A B C ...), so that a drift of the machine's speed hits
// all alike. Per mode and profile it prints the wall time of a sample (median), the CPU of the
// tool and the host together and the CPU of the simulator (both as the mean per sample), and
// the ratios the cached mode is held to.
//
// Where the CPU is read: the host is this thread (the collector's parse; RUSAGE_THREAD); the
// tool is every process this one started, reaped (RUSAGE_CHILDREN) or still running (the
// cached mode's tool shell: /proc/PID/schedstat); the exporter is its own threads
// (/proc/PID/task/*/schedstat) and the FreeIPMI tools it ran (cutime + cstime of
// /proc/PID/stat, in clock ticks: exact over the rounds, not per sample); the simulator is
// ipmi_sim's threads. The HTTP client's CPU (Prometheus's side) is not counted.
#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>
#include <httplib.h>

#include "collector/ipmitool_collector.h"
#include "support/sim_server.h"
#include "support/test_env.h"

extern char** environ;

namespace {

using vtr::ipmitool::CollectorConfig;
using vtr::ipmitool::CollectorOptions;
using vtr::ipmitool::IpmitoolCollector;
using Clock = std::chrono::steady_clock;

double toMs(const timeval& t) { return static_cast<double>(t.tv_sec) * 1e3 + t.tv_usec / 1e3; }

double usageMs(int who) {
  rusage usage{};
  getrusage(who, &usage);
  return toMs(usage.ru_utime) + toMs(usage.ru_stime);
}

// The run time of one task, in ms; 0 when it is gone.
double taskRuntimeMs(const std::string& schedstat) {
  std::ifstream in(schedstat);
  unsigned long long ns = 0;
  in >> ns;
  return static_cast<double>(ns) / 1e6;
}

// Every thread of a process.
double processRuntimeMs(pid_t pid) {
  double total = 0;
  const std::string tasks = "/proc/" + std::to_string(pid) + "/task";
  DIR* dir = opendir(tasks.c_str());
  if (dir == nullptr) return 0;
  while (const dirent* entry = readdir(dir))
    if (entry->d_name[0] != '.') total += taskRuntimeMs(tasks + "/" + entry->d_name + "/schedstat");
  closedir(dir);
  return total;
}

std::vector<long> statFields(pid_t pid) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const auto close = text.rfind(')');
  if (close == std::string::npos || close + 2 > text.size()) return {};  // gone
  std::istringstream after(text.substr(close + 2));
  std::vector<long> fields;
  std::string field;
  while (after >> field) fields.push_back(std::atol(field.c_str()));
  return fields;
}

// The CPU of the children a process reaped (cutime + cstime), in ms.
double reapedChildrenMs(pid_t pid) {
  const std::vector<long> fields = statFields(pid);  // from the state field on
  if (fields.size() < 15) return 0;
  return static_cast<double>(fields[13] + fields[14]) * 1e3 / static_cast<double>(sysconf(_SC_CLK_TCK));
}

// The children of this process still running, less those given.
double liveChildrenMs(const std::vector<pid_t>& except) {
  double total = 0;
  DIR* proc = opendir("/proc");
  while (const dirent* entry = readdir(proc)) {
    if (entry->d_name[0] < '1' || entry->d_name[0] > '9') continue;
    const pid_t pid = std::atoi(entry->d_name);
    const std::vector<long> fields = statFields(pid);
    if (fields.size() < 2 || fields[1] != getpid()) continue;
    if (std::find(except.begin(), except.end(), pid) != except.end()) continue;
    total += processRuntimeMs(pid);
  }
  closedir(proc);
  return total;
}

// Every figure of one sample, in ms.
struct Cost {
  double wall = 0;
  double cpu = 0;  // tool and host
  double sim = 0;
};

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double mean(const std::vector<double>& values) {
  double total = 0;
  for (double value : values) total += value;
  return values.empty() ? 0 : total / static_cast<double>(values.size());
}

// One way of taking a sample: a mode of the collector, or the exporter.
class Contender {
 public:
  virtual ~Contender() = default;
  virtual const char* name() const = 0;
  // Takes one sample; false when it failed.
  virtual bool sample() = 0;
  // The CPU this contender has used so far, tool and host, in ms.
  virtual double cpuMs() const = 0;
};

class CollectorMode : public Contender {
 public:
  CollectorMode(const char* name, CollectorOptions options, const std::vector<pid_t>& notOurs)
      : name_(name), collector_(CollectorConfig(options), stop_), notOurs_(notOurs) {
    std::vector<std::unique_ptr<vtr_type_field_info_t>> fields;
    ready_ = collector_.setFieldsInfo(fields);
    IpmitoolCollector::freeFieldsInfo(fields);
  }
  bool ready() const { return ready_; }
  const char* name() const override { return name_; }
  bool sample() override {
    vtr::ipmitool::SensorSample sample;
    return collector_.getSensorsData(sample) && vtr::ipmitool::holdsAnyValue(sample);
  }
  double cpuMs() const override {
    return usageMs(RUSAGE_THREAD) + usageMs(RUSAGE_CHILDREN) + liveChildrenMs(notOurs_);
  }

 private:
  const char* name_;
  volatile bool stop_ = false;
  IpmitoolCollector collector_;
  std::vector<pid_t> notOurs_;
  bool ready_ = false;
};

int freeTcpPort() {
  const int probe = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  bind(probe, reinterpret_cast<sockaddr*>(&address), sizeof address);
  getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length);
  close(probe);
  return ntohs(address.sin_port);
}

bool running(pid_t pid) { return pid > 0 && waitpid(pid, nullptr, WNOHANG) == 0; }

// prometheus-ipmi-exporter on a free port, its ipmi collector reading the simulator. Without
// --bridge-sensors FreeIPMI reads the sensors of LUN 0 only.
class Exporter : public Contender {
 public:
  Exporter(const vtr::test::SimServer& sim, bool bridgeSensors)
      : name_(bridgeSensors ? "ipmi exporter, all LUNs" : "ipmi exporter"),
        dir_(vtr::test::makeTempDirectory("vtr-exporter")) {
    const std::string config = dir_ + "/ipmi_remote.yml";
    std::ofstream(config) << "modules:\n  default:\n    user: \"" << sim.user() << "\"\n    pass: \""
                          << password(sim) << "\"\n    driver: \"LAN_2_0\"\n    privilege: \"admin\"\n"
                          << "    timeout: 10000\n    collectors:\n    - ipmi\n"
                          << "    workaround_flags:\n    - opensesspriv\n"
                          << (bridgeSensors ? "    custom_args:\n      ipmi:\n      - \"--bridge-sensors\"\n" : "");
    port_ = freeTcpPort();
    const std::string configFlag = "--config.file=" + config;
    const std::string listenFlag = "--web.listen-address=127.0.0.1:" + std::to_string(port_);
    const char* argv[] = {"prometheus-ipmi-exporter", configFlag.c_str(), listenFlag.c_str(), "--log.level=error",
                          nullptr};
    if (posix_spawnp(&pid_, argv[0], nullptr, nullptr, const_cast<char* const*>(argv), environ) != 0) pid_ = -1;
    path_ = "/ipmi?module=default&target=127.0.0.1:" + std::to_string(sim.port());
    client_ = std::make_unique<httplib::Client>("127.0.0.1", port_);
    client_->set_read_timeout(60);
    for (int attempt = 0; attempt < 100 && running(pid_) && !client_->Get("/"); ++attempt)
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  ~Exporter() override {
    if (pid_ > 0) {
      kill(pid_, SIGTERM);
      waitpid(pid_, nullptr, 0);
    }
    vtr::test::removeDirectory(dir_);
  }
  pid_t pid() const { return pid_; }
  const char* name() const override { return name_; }
  bool sample() override {
    const auto answer = client_->Get(path_.c_str());
    return answer && answer->status == 200 && answer->body.find("ipmi_up{collector=\"ipmi\"} 1") != std::string::npos;
  }
  double cpuMs() const override { return processRuntimeMs(pid_) + reapedChildrenMs(pid_); }

 private:
  static std::string password(const vtr::test::SimServer& sim) {
    std::string text = vtr::test::readFile(sim.passwordFile());
    return text.substr(0, text.find('\n'));
  }

  const char* name_;
  std::string dir_;
  int port_ = 0;
  pid_t pid_ = -1;
  std::string path_;
  std::unique_ptr<httplib::Client> client_;
};

// A stand-in `sudo` that runs its arguments as they are, so that the cached mode takes the path
// it takes under sudo: a run of its own per sample.
class PassThroughSudo {
 public:
  PassThroughSudo() : dir_(vtr::test::makeTempDirectory("vtr-sudo")) {
    const std::string sudo = dir_ + "/sudo";
    std::ofstream(sudo) << "#!/bin/sh\nexec \"$@\"\n";
    chmod(sudo.c_str(), 0755);
    savedPath_ = vtr::test::prependToPath(dir_);
  }
  ~PassThroughSudo() {
    vtr::test::restorePath(savedPath_);
    vtr::test::removeDirectory(dir_);
  }

 private:
  std::string dir_;
  std::string savedPath_;
};

bool compare(const std::string& profile, int rounds) {
  vtr::test::SimServer sim(profile);
  if (!sim.running()) {
    std::fprintf(stderr, "sampling-modes: %s\n", sim.reason().c_str());
    return false;
  }
  Exporter exporter(sim, false);
  Exporter bridgingExporter(sim, true);
  const std::vector<pid_t> notOurs = {sim.pid(), exporter.pid(), bridgingExporter.pid()};
  const auto options = [&](bool singleRun, bool cached, bool sudo) {
    CollectorOptions o;
    o.includeDiscreteSensors = true;
    o.singleRunSampling = singleRun;
    o.cachedSampling = cached;
    o.useSudo = sudo;
    o.remoteBmc = sim.remoteBmc();
    return o;
  };
  const PassThroughSudo sudo;
  std::vector<std::unique_ptr<Contender>> contenders;
  contenders.push_back(std::make_unique<CollectorMode>("default", options(false, false, false), notOurs));
  contenders.push_back(std::make_unique<CollectorMode>("single-run", options(true, false, false), notOurs));
  contenders.push_back(std::make_unique<CollectorMode>("cached", options(false, true, false), notOurs));
  contenders.push_back(
      std::make_unique<CollectorMode>("cached, a run per sample", options(false, true, true), notOurs));
  for (const auto& contender : contenders) {
    const auto* mode = dynamic_cast<const CollectorMode*>(contender.get());
    if (mode != nullptr && !mode->ready()) {
      std::fprintf(stderr, "sampling-modes: %s did not start\n", mode->name());
      return false;
    }
  }
  std::vector<Contender*> all;
  for (const auto& contender : contenders) all.push_back(contender.get());
  all.push_back(&exporter);
  all.push_back(&bridgingExporter);

  // A first sample each, unmeasured: the caches are made, the tool shell started.
  for (Contender* contender : all) {
    if (!contender->sample()) {
      std::fprintf(stderr, "sampling-modes: %s: the first sample failed\n", contender->name());
      return false;
    }
  }
  std::vector<std::vector<Cost>> costs(all.size());
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < all.size(); ++i) {
      const double cpuBefore = all[i]->cpuMs();
      const double simBefore = processRuntimeMs(sim.pid());
      const auto started = Clock::now();
      if (!all[i]->sample()) {
        std::fprintf(stderr, "sampling-modes: %s: a sample failed\n", all[i]->name());
        return false;
      }
      const std::chrono::duration<double, std::milli> wall = Clock::now() - started;
      // The processes a sample started are reaped by now; a long-lived one has blocked, so its
      // run time is up to date.
      costs[i].push_back({wall.count(), all[i]->cpuMs() - cpuBefore, processRuntimeMs(sim.pid()) - simBefore});
    }
  }

  std::printf("\n%s, %d rounds, ms per sample\n", profile.c_str(), rounds);
  std::printf("  %-26s %12s %18s %16s\n", "", "wall median", "tool+host CPU mean", "simulator CPU mean");
  std::vector<Cost> summary;
  for (std::size_t i = 0; i < all.size(); ++i) {
    std::vector<double> wall, cpu, simCpu;
    for (const Cost& cost : costs[i]) {
      wall.push_back(cost.wall);
      cpu.push_back(cost.cpu);
      simCpu.push_back(cost.sim);
    }
    summary.push_back({median(wall), mean(cpu), mean(simCpu)});
    std::printf("  %-26s %12.1f %18.1f %16.2f\n", all[i]->name(), summary.back().wall, summary.back().cpu,
                summary.back().sim);
  }
  const Cost& singleRun = summary[1];
  const Cost& cached = summary[2];
  for (std::size_t i = all.size() - 2; i < all.size(); ++i) {
    std::printf("  cached / %s: wall %.2f, CPU %.2f\n", all[i]->name(), cached.wall / summary[i].wall,
                cached.cpu / summary[i].cpu);
  }
  std::printf("  cached / single-run: simulator CPU %.2f\n", cached.sim / singleRun.sim);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  int rounds = 20;
  std::string profiles = "two-socket,large";
  CLI::App app{"Per-sample cost of the sampling modes beside the IPMI exporter, interleaved.", "sampling-modes"};
  app.add_option("--rounds", rounds, "samples of each contender per profile")->check(CLI::PositiveNumber);
  app.add_option("--profiles", profiles, "simulated servers, comma-separated");
  CLI11_PARSE(app, argc, argv);
  bool ok = true;
  std::istringstream names(profiles);
  for (std::string profile; std::getline(names, profile, ',');) ok = compare(profile, rounds) && ok;
  return ok ? 0 : 1;
}
