#ifndef VTR_HOST_EVENT_PRINTER_H
#define VTR_HOST_EVENT_PRINTER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/event_blocks.h"
#include "tools/plugin_library.h"
#include "tools/host_board.h"

namespace vtr {
namespace host {

struct RenderedEvent {
  // The event's fields as the plug-in's own event-to-JSON function writes them (null for a
  // field without a reading), plus "source", "schema", "type" and "timestamp" (the block's
  // time stamp, in microseconds); every number as its shortest text, and valid UTF-8 whatever
  // bytes the names hold.
  std::string jsonLine;
  EventSnapshot snapshot;
};

class EventPrinter {
 public:
  EventPrinter(const PluginApi& api, vtr_event_provider_t* provider, std::string sourceId)
      : api_(api), provider_(provider), sourceId_(std::move(sourceId)) {}

  // Call after the progress call that handed the block over. Throws HostError when the
  // plug-in cannot write the record as JSON.
  RenderedEvent render(const EventBlock& block, std::size_t index) const;

 private:
  // The event's first field, its sample time, which names it to the plug-in.
  static std::uint64_t eventTimestamp(const vtr_type_definition_t& type, const std::uint8_t* event);
  // Per field of the event, whether it holds a reading; all true when the plug-in cannot tell.
  std::vector<bool> fieldsWithReading(const vtr_type_definition_t& type, std::uint64_t timestampUs) const;
  // Per field of the event, how its sensor stood; none when the plug-in cannot tell.
  std::vector<std::optional<FieldHealth>> fieldsHealth(const vtr_type_definition_t& type,
                                                       std::uint64_t timestampUs) const;

  const PluginApi& api_;
  vtr_event_provider_t* provider_;
  std::string sourceId_;
};

}  // namespace host
}  // namespace vtr

#endif
