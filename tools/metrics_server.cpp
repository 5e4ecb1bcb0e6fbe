#include "tools/metrics_server.h"

#include <httplib.h>

#include <sys/socket.h>

#include <algorithm>
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
constexpr std::size_t kMaxRequestBodyBytes = 0;
// All a connection may send: room for a request line at the library's 8 KiB limit (longer
// gets 414) and a browser's headers.
constexpr std::size_t kMaxRequestHeadBytes = 32 * 1024;

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
  return httplib::Server::HandlerResponse::Handled;
}

// A connection's stream that reads at most `budget` bytes and then reads as closed: a line
// cut there is answered (414, 400) like any other.
class CappedStream : public httplib::Stream {
 public:
  CappedStream(httplib::Stream& socket, std::size_t budget) : socket_(socket), left_(budget) {}

  bool is_readable() const override { return left_ > 0 && socket_.is_readable(); }
  bool is_writable() const override { return socket_.is_writable(); }
  ssize_t read(char* ptr, size_t size) override {
    if (left_ == 0) return 0;
    const ssize_t got = socket_.read(ptr, std::min(size, left_));
    if (got > 0) left_ -= static_cast<std::size_t>(got);
    return got;
  }
  ssize_t write(const char* ptr, size_t size) override { return socket_.write(ptr, size); }
  void get_remote_ip_and_port(std::string& ip, int& port) const override { socket_.get_remote_ip_and_port(ip, port); }
  void get_local_ip_and_port(std::string& ip, int& port) const override { socket_.get_local_ip_and_port(ip, port); }
  socket_t socket() const override { return socket_.socket(); }

 private:
  httplib::Stream& socket_;
  std::size_t left_;
};

}  // namespace

// The library reads a request line or a header whole, however long, and on a kept-alive
// connection it reads the body of a refused request as the next request. So each connection
// serves one request, read through a budget, and is closed with whatever it still had to say
// unread: memory does not follow what a client sends.
class MetricsServer::OneRequestPerConnection : public httplib::Server {
 private:
  // The connection handling the library's TLS server replaces the same way.
  bool process_and_close_socket(socket_t sock) override {
    // Only wraps the socket in the library's stream with the server's time limits, whatever
    // its name says.
    const bool answered = httplib::detail::process_client_socket(
        sock, read_timeout_sec_, read_timeout_usec_, write_timeout_sec_, write_timeout_usec_,
        [this](httplib::Stream& socket) {
          CappedStream stream(socket, kMaxRequestHeadBytes);
          bool clientCloses = false;
          return process_request(stream, /*close_connection=*/true, clientCloses, nullptr);
        });
    shutdown(sock, SHUT_RDWR);
    httplib::detail::close_socket(sock);
    return answered;
  }
};

MetricsServer::MetricsServer(const ListenAddress& address, const MetricsBoard& board)
    : address_(address), server_(std::make_unique<OneRequestPerConnection>()) {
  server_->new_task_queue = [] { return new httplib::ThreadPool(kServerThreads); };
  server_->set_socket_options(exclusivePortOptions);
  server_->set_read_timeout(kReadTimeoutSec);
  server_->set_write_timeout(kWriteTimeoutSec);
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
