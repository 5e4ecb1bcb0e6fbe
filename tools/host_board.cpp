#include "tools/host_board.h"

#include <algorithm>
#include <utility>

namespace vtr {
namespace host {

std::uint64_t EventSnapshot::fieldsWithoutReading() const {
  return static_cast<std::uint64_t>(
      std::count_if(fields.begin(), fields.end(), [](const FieldValue& field) { return !field.value; }));
}

MetricsBoard::MetricsBoard() : facts_(std::make_shared<const SensorFactsTable>()) {}

void MetricsBoard::setUp(bool up) {
  std::lock_guard<std::mutex> lock(mutex_);
  up_ = up;
}

void MetricsBoard::setSensorFacts(SensorFactsTable facts) {
  auto shared = std::make_shared<const SensorFactsTable>(std::move(facts));
  std::lock_guard<std::mutex> lock(mutex_);
  facts_ = std::move(shared);
}

void MetricsBoard::publish(EventSnapshot snapshot) {
  std::lock_guard<std::mutex> lock(mutex_);
  for (const FieldValue& field : snapshot.fields) {
    std::deque<std::optional<double>>& trend = trends_[field.name];
    trend.push_back(field.value);
    if (trend.size() > kTrendLength) trend.pop_front();
  }
  latest_ = std::move(snapshot);
  ++eventsTotal_;
}

void MetricsBoard::setLastPass(PassSummary pass) {
  std::lock_guard<std::mutex> lock(mutex_);
  lastPass_ = pass;
}

BoardView MetricsBoard::view() const {
  std::lock_guard<std::mutex> lock(mutex_);
  BoardView view{latest_, eventsTotal_, up_, facts_, {}, lastPass_};
  for (const auto& [name, trend] : trends_) {
    view.trends.emplace(name, std::vector<std::optional<double>>(trend.begin(), trend.end()));
  }
  return view;
}

}  // namespace host
}  // namespace vtr
