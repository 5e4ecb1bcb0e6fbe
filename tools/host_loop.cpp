#include "tools/host_loop.h"

#include <pthread.h>
#include <time.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <vector>

#include "tools/event_blocks.h"
#include "tools/event_printer.h"
#include "tools/metrics_server.h"
#include "tools/plugin_library.h"
#include "tools/provider_session.h"
#include "tools/sensor_facts.h"
#include "tools/tool_watch.h"

namespace vtr {
namespace host {

namespace {

constexpr std::size_t kSerializerBytes = 64 * 1024;
constexpr long kProgressPeriodNs = 100 * 1000 * 1000;

// Threads started while this lives never take SIGINT or SIGTERM, so the signal reaches the
// loop's thread instead of cutting short a sleep in the provider or the HTTP server.
class StopSignalsBlocked {
 public:
  StopSignalsBlocked() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, &previous_);
  }
  ~StopSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
  StopSignalsBlocked(const StopSignalsBlocked&) = delete;
  StopSignalsBlocked& operator=(const StopSignalsBlocked&) = delete;

 private:
  sigset_t previous_;
};

// False once stdout is gone (a closed pipe): nobody reads the events any more.
bool printLine(const std::string& line) {
  return std::fwrite(line.data(), 1, line.size(), stdout) == line.size() && std::fputc('\n', stdout) != EOF &&
         std::fflush(stdout) == 0;
}

class EventPump {
 public:
  EventPump(const HostOptions& options, ProviderSession& session, const EventPrinter& printer,
            MetricsBoard& board)
      : options_(options),
        session_(session),
        printer_(printer),
        board_(board),
        toolWatch_(session.name()),
        buffer_(kSerializerBytes) {}

  void run(const volatile std::sig_atomic_t& stopRequested) {
    using Clock = std::chrono::steady_clock;
    std::optional<Clock::time_point> deadline;
    if (options_.durationSeconds > 0) {
      deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                    std::chrono::duration<double>(options_.durationSeconds));
    }
    while (!stopIsRequested(stopRequested) && !(deadline && Clock::now() >= deadline)) {
      bool morePending = false;
      if (!drainOnce(morePending)) return;
      if (!morePending) {
        // A signal ends the nap early, which is what we want.
        timespec nap{0, kProgressPeriodNs};
        nanosleep(&nap, nullptr);
      }
    }
  }

 private:
  // One progress call and every event it wrote; false when the host should stop.
  bool drainOnce(bool& morePending) {
    vtr_data_serializer_t serializer{session_.typeSystem(), buffer_.data(), buffer_.size(), 0};
    morePending = session_.progress(serializer) == 1;
    // A pass has ended before its event is handed over: whoever finds an event on /metrics
    // finds its pass there too.
    recordLastPass();
    toolWatch_.afterDrain(serializer.used > 0);
    for (const EventBlock& block : decodeEventBlocks(buffer_.data(), serializer.used, *session_.typeSystem())) {
      for (std::size_t i = 0; i < block.count; ++i) {
        RenderedEvent event = printer_.render(block, i);
        // Published first: whoever has read the line finds the event on /metrics.
        board_.publish(std::move(event.snapshot));
        if (!printLine(event.jsonLine)) return false;
        if (options_.samples > 0 && ++printed_ >= options_.samples) return false;
      }
    }
    return true;
  }

  void recordLastPass() {
    const std::optional<vtr_ipmitool_pass_t> pass = session_.lastPass();
    if (!pass || pass->ended_us == lastPassEndedUs_) return;
    lastPassEndedUs_ = pass->ended_us;
    // A clock set back during the pass would make its length negative.
    const std::uint64_t lengthUs = pass->ended_us > pass->started_us ? pass->ended_us - pass->started_us : 0;
    board_.setLastPass({pass->read != 0, static_cast<double>(lengthUs) / 1e6});
  }

  const HostOptions& options_;
  ProviderSession& session_;
  const EventPrinter& printer_;
  MetricsBoard& board_;
  ToolWatch toolWatch_;
  std::vector<std::uint8_t> buffer_;
  std::uint64_t printed_ = 0;
  std::uint64_t lastPassEndedUs_ = 0;
};

// Errors, so that a missing tool or a refused option names itself.
constexpr std::uint32_t kDefaultLogLevel = 3;

// --log-level wins; else the plug-in's own VTR_API_LOG_LEVEL; else errors only.
void applyLogLevel(const PluginApi& api, const std::optional<std::uint32_t>& level) {
  if (level) {
    if (!api.set_log_level) throw HostError("plug-in does not export vtr_set_log_level (--log-level)");
    api.set_log_level(*level);
  } else if (api.set_log_level && std::getenv("VTR_API_LOG_LEVEL") == nullptr) {
    api.set_log_level(kDefaultLogLevel);
  }
}

// The initialised session, or InitializeFailed after a missing tool has said so.
std::unique_ptr<ProviderSession> openSession(const PluginApi& api, const HostOptions& options,
                                             const volatile std::sig_atomic_t& stopRequested) {
  try {
    return std::make_unique<ProviderSession>(api, options.providerOptions, stopRequested);
  } catch (const InitializeFailed& failure) {
    ToolWatch(failure.provider()).look();
    throw;
  }
}

}  // namespace

void runHost(const HostOptions& options, const volatile std::sig_atomic_t& stopRequested) {
  // Destruction runs bottom-up: the provider is stopped and destroyed, the plug-in unloaded,
  // then the HTTP server stopped, and only then the board it reads.
  MetricsBoard board;
  std::unique_ptr<MetricsServer> server;
  if (options.listen) {
    StopSignalsBlocked blocked;
    server = std::make_unique<MetricsServer>(*options.listen, board);
  }
  PluginLibrary plugin(options.pluginPath);
  applyLogLevel(plugin.api(), options.logLevel);
  const std::unique_ptr<ProviderSession> session = openSession(plugin.api(), options, stopRequested);
  if (!session->initialized()) return;  // stopped while initialising
  if (!options.schemaOut.empty()) session->writeSchema(options.schemaOut);
  EventPrinter printer(plugin.api(), session->record(), session->firstSourceId());
  board.setSensorFacts(readSensorFacts(plugin.api(), session->record()));
  {
    StopSignalsBlocked blocked;
    session->start();
  }
  board.setUp(true);
  // Only now: a failure before this point is reported by its own single line.
  if (server) {
    const std::string page = server->url();
    std::fprintf(stderr, "vtr-host: serving %s and %smetrics\n", page.c_str(), page.c_str());
  }
  EventPump(options, *session, printer, board).run(stopRequested);
  board.setUp(false);
}

}  // namespace host
}  // namespace vtr
