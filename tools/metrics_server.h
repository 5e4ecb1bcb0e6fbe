#ifndef VTR_HOST_METRICS_SERVER_H
#define VTR_HOST_METRICS_SERVER_H

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "tools/command_line.h"
#include "tools/host_board.h"

namespace vtr {
namespace host {

// Serves the board at / (the landing page) and /metrics (the exposition) on its own thread,
// from construction to destruction.
class MetricsServer {
 public:
  // Throws HostError when the address cannot be bound (in use, not local, not resolvable).
  MetricsServer(const ListenAddress& address, const MetricsBoard& board);
  ~MetricsServer();
  MetricsServer(const MetricsServer&) = delete;
  MetricsServer& operator=(const MetricsServer&) = delete;

  // The landing page's URL; /metrics is next to it.
  std::string url() const;

 private:
  ListenAddress address_;
  class OneRequestPerConnection;
  std::unique_ptr<OneRequestPerConnection> server_;
  std::atomic<bool> listenReturned_{false};
  std::thread thread_;
};

}  // namespace host
}  // namespace vtr

#endif
