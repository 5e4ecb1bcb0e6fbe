#include "tools/metrics_server.h"

#include <httplib.h>

#include <chrono>

#include "tools/plugin_library.h"

namespace vtr {
namespace host {

namespace {

// A scrape is one short request at a time; the library's default pool would start a thread
// per core for nothing.
constexpr std::size_t kServerThreads = 2;

}  // namespace

MetricsServer::MetricsServer(const ListenAddress& address, const MetricsBoard& board)
    : address_(address), server_(std::make_unique<httplib::Server>()) {
  server_->new_task_queue = [] { return new httplib::ThreadPool(kServerThreads); };
  server_->Get("/metrics", [&board](const httplib::Request&, httplib::Response& response) {
    response.set_content(board.exposition(), kExpositionContentType);
  });
  bool bound = address_.port == 0 ? (address_.port = server_->bind_to_any_port(address_.host)) > 0
                                   : server_->bind_to_port(address_.host, address_.port);
  if (!bound) throw HostError("cannot listen on " + url() + " (in use or not a local address)");
  thread_ = std::thread([this] {
    server_->listen_after_bind();
    listenReturned_ = true;
  });
  // stop() only reaches a server that is already accepting; wait for that before going on.
  while (!server_->is_running() && !listenReturned_) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

MetricsServer::~MetricsServer() {
  server_->stop();
  thread_.join();
}

std::string MetricsServer::url() const {
  bool v6 = address_.host.find(':') != std::string::npos;
  std::string host = v6 ? "[" + address_.host + "]" : address_.host;
  return "http://" + host + ":" + std::to_string(address_.port) + "/metrics";
}

}  // namespace host
}  // namespace vtr
