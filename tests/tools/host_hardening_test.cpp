// vtr-host facing odd sensors and unfriendly local clients: no number for a missing reading,
// valid JSON whatever bytes a name holds, one host per port, and requests refused at once.

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "json/parson.h"
#include "host_process.h"
#include "support/fake_ipmitool.h"

namespace vtr {
namespace test {
namespace {

using Clock = std::chrono::steady_clock;

// The small server with a name that is not UTF-8 and, when `from` is given, one more edit.
std::string smallServerListing(const std::string& from = "", const std::string& to = "") {
  std::string listing = readFile(fixturePath("small-server", "verbose.txt"));
  listing.replace(listing.find("CPU1 Temp"), 9, "CPU\xff Temp");
  if (!from.empty()) listing.replace(listing.find(from), from.size(), to);
  return listing;
}

int connectLoopback(int port) {
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(port));
  connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address));
  return fd;
}

// The status line of the answer to `request`, sent whole; empty when none came.
std::string statusLineFor(int port, const std::string& request) {
  int fd = connectLoopback(port);
  timeval limit{30, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
  send(fd, request.data(), request.size(), MSG_NOSIGNAL);
  char head[64] = {};
  recv(fd, head, sizeof(head) - 1, 0);
  close(fd);
  std::string line(head);
  return line.substr(0, line.find('\r'));
}

class RunningHost : public ::testing::Test {
 protected:
  void start(std::vector<std::string> args) {
    args.insert(args.end(), {"--listen", std::to_string(port)});
    host = std::make_unique<HostProcess>(args);
    firstLine = host->readLine();
    ASSERT_TRUE(firstLine) << host->errorOutput();
  }
  void TearDown() override {
    host->signal(SIGTERM);
    EXPECT_EQ(host->wait(), 0) << host->errorOutput();
  }

  FakeIpmitool tool;
  int port = pickFreeLoopbackPort();
  std::unique_ptr<HostProcess> host;
  std::optional<std::string> firstLine;
};

TEST_F(RunningHost, FieldWithoutAReadingIsNullInTheLineAndAbsentFromMetrics) {
  tool.replayText(smallServerListing(), readFile(fixturePath("small-server", "compact.txt")));
  start(kDiscreteEverySecond);
  tool.replayText(smallServerListing("47 (+/- 0) degrees C", "na"), readFile(fixturePath("small-server", "compact.txt")));
  std::optional<std::string> line;
  do {
    line = host->readLine();
    ASSERT_TRUE(line) << host->errorOutput();
  } while (line->find("\"cpu2_temp\":null") == std::string::npos);

  std::unique_ptr<JSON_Value, void (*)(JSON_Value*)> event(json_parse_string(line->c_str()), json_value_free);
  ASSERT_TRUE(event) << "not valid JSON: " << *line;
  EXPECT_TRUE(json_object_has_value_of_type(json_object(event.get()), "cpu\xEF\xBF\xBD_temp", JSONNumber)) << *line;
  std::optional<HttpResponse> page = httpGet(port, "/metrics");
  ASSERT_TRUE(page);
  EXPECT_EQ(page->body.find("ipmitool_cpu2_temp"), std::string::npos) << page->body;
  EXPECT_NE(page->body.find("\nvtr_host_fields_without_reading 1\n"), std::string::npos) << page->body;
  EXPECT_NE(page->body.find("CPU\xEF\xBF\xBD Temp"), std::string::npos) << "HELP text in UTF-8";
}

TEST_F(RunningHost, SecondHostOnTheSamePortIsRefused) {
  start(kDiscreteEverySecond);
  HostProcess second({"--listen", std::to_string(port)});
  EXPECT_EQ(second.wait(), 1);
  EXPECT_EQ(second.errorLines().size(), 1u) << second.errorOutput();
}

TEST_F(RunningHost, RefusesAnythingButAShortGetOrHeadAtOnce) {
  start(kDiscreteEverySecond);
  const struct {
    std::string request;
    const char* status;
  } rows[] = {
      {"HEAD /metrics HTTP/1.1\r\nHost: x\r\n\r\n", "HTTP/1.1 200 OK"},
      {"POST /metrics HTTP/1.1\r\nHost: x\r\nContent-Length: 100000000\r\n\r\n",
       "HTTP/1.1 405 Method Not Allowed"},
      {"DELETE /metrics HTTP/1.1\r\nHost: x\r\n\r\n", "HTTP/1.1 405 Method Not Allowed"},
      {"GET /metrics HTTP/1.1\r\nHost: x\r\nContent-Length: 100000000\r\n\r\n", "HTTP/1.1 413 Payload Too Large"},
      {"GET /" + std::string(1 << 20, 'a') + " HTTP/1.1\r\nHost: x\r\n\r\n", "HTTP/1.1 414 URI Too Long"},
  };
  for (const auto& row : rows) EXPECT_EQ(statusLineFor(port, row.request), row.status) << row.request.substr(0, 20);
}

TEST_F(RunningHost, IdleConnectionsDoNotStarveAScrape) {
  start(kDiscreteEverySecond);
  std::vector<int> idle;
  for (int i = 0; i < 200; ++i) idle.push_back(connectLoopback(port));
  const auto started = Clock::now();
  std::optional<HttpResponse> page = httpGet(port, "/metrics");
  // Generous for a loaded machine; starved, the scrape waits minutes or times out.
  EXPECT_LT(Clock::now() - started, std::chrono::seconds(10));
  ASSERT_TRUE(page);
  EXPECT_NE(page->head.find(" 200 "), std::string::npos);
  for (int fd : idle) close(fd);
}

}  // namespace
}  // namespace test
}  // namespace vtr
