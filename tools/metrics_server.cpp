#include "tools/metrics_server.h"

#include <httplib.h>

#include <sys/socket.h>

#include <chrono>

#include "tools/landing_page.h"
#include "tools/plugin_library.h"
#include "tools/prometheus.h"

namespace vtr {
namespace host {

namespace {

// Each connection holds a worker until it is read or times out: enough workers that a few
// hundred idle local connections do not keep a scrape waiting.
constexpr std::size_t kServerThreads = 256;
// A scrape is one short request; anything slower or larger is not a scraper.
constexpr time_t kReadTimeoutSec = 2;
constexpr time_t kWriteTimeoutSec = 5;
constexpr time_t kKeepAliveTimeoutSec = 2;
constexpr std::size_t kMaxRequestBodyBytes = 0;

// SO_REUSEADDR only: without the library's SO_REUSEPORT a port in use stays refused, so a
// second host cannot share it and split the scrapes.
void exclusivePortOptions(socket_t sock) {
  int yes = 1;
  setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
}

bool carriesBody(const httplib::Request& request) {
  return request.has_header("Transfer-Encoding") ||
         (request.has_header("Content-Length") && request.get_header_value("Content-Length") != "0");
}

// Refuses before any body is read: only GET and HEAD, and never with a body.
httplib::Server::HandlerResponse refuseOtherRequests(const httplib::Request& request, httplib::Response& response) {
  if (request.method != "GET" && request.method != "HEAD") {
    response.status = 405;
    response.set_header("Allow", "GET, HEAD");
  } else if (carriesBody(request)) {
    response.status = 413;
  } else {
    return httplib::Server::HandlerResponse::Unhandled;
  }
  response.set_header("Connection", "close");
  return httplib::Server::HandlerResponse::Handled;
}

}  // namespace

MetricsServer::MetricsServer(const ListenAddress& address, const MetricsBoard& board)
    : address_(address), server_(std::make_unique<httplib::Server>()) {
  server_->new_task_queue = [] { return new httplib::ThreadPool(kServerThreads); };
  server_->set_socket_options(exclusivePortOptions);
  server_->set_read_timeout(kReadTimeoutSec);
  server_->set_write_timeout(kWriteTimeoutSec);
  server_->set_keep_alive_timeout(kKeepAliveTimeoutSec);
  server_->set_payload_max_length(kMaxRequestBodyBytes);
  server_->set_pre_routing_handler(refuseOtherRequests);
  server_->Get("/metrics", [&board](const httplib::Request&, httplib::Response& response) {
    response.set_content(renderExposition(board.view()), kExpositionContentType);
  });
  server_->Get("/", [&board](const httplib::Request&, httplib::Response& response) {
    response.set_content(renderLandingPage(board.view()), kLandingPageContentType);
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
  return "http://" + host + ":" + std::to_string(address_.port) + "/";
}

}  // namespace host
}  // namespace vtr
