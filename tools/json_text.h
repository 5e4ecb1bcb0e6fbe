#ifndef VTR_HOST_JSON_TEXT_H
#define VTR_HOST_JSON_TEXT_H

#include <string>

#include "tools/plugin_library.h"

namespace vtr {
namespace host {

// Appends `value`, a JSON value of the plug-in's, as compact JSON text: the layout and string
// escapes of the plug-in's own serialiser ("/" as "\/" included), but every number as its
// shortest text and every byte that is not UTF-8 as U+FFFD, in one pass. Written here rather
// than serialised and rewritten because the event line is the host's largest cost per sample.
// False, with `out` partly written, for a value of no JSON type (a null pointer).
bool appendJsonText(const PluginApi& api, const JSON_Value* value, std::string& out);

}  // namespace host
}  // namespace vtr

#endif
