#ifndef VTR_HOST_EVENT_PRINTER_H
#define VTR_HOST_EVENT_PRINTER_H

#include <cstddef>
#include <string>
#include <utility>

#include "tools/event_blocks.h"
#include "tools/plugin_library.h"
#include "tools/prometheus.h"

namespace vtr {
namespace host {

struct RenderedEvent {
  // The event's fields as the plug-in's own event-to-JSON function writes them, plus
  // "source", "schema", "type" and "timestamp" (the block's time stamp, in microseconds).
  std::string jsonLine;
  EventSnapshot snapshot;
};

class EventPrinter {
 public:
  EventPrinter(const PluginApi& api, std::string sourceId) : api_(api), sourceId_(std::move(sourceId)) {}

  // Throws HostError when the plug-in cannot write the record as JSON.
  RenderedEvent render(const EventBlock& block, std::size_t index) const;

 private:
  const PluginApi& api_;
  std::string sourceId_;
};

}  // namespace host
}  // namespace vtr

#endif
