#ifndef VTR_HOST_LANDING_PAGE_H
#define VTR_HOST_LANDING_PAGE_H

#include <string>

#include "tools/host_board.h"

namespace vtr {
namespace host {

constexpr const char* kLandingPageContentType = "text/html; charset=utf-8";

// Text for HTML content and quoted attribute values: & < > " ' escaped, bytes that are not
// UTF-8 replaced by U+FFFD.
std::string escapeHtml(const std::string& text);

// The page at /: the host's status, a link to /metrics, then the latest event's sensors, one
// row per numeric field (sensor, health, state in words, value or "no reading", unit, an
// inline SVG trend with its thresholds): first those that are not nominal, most urgent first,
// in the section "attention"; then the rest, grouped by sensor type. Plain HTML and SVG; it
// loads nothing else.
std::string renderLandingPage(const BoardView& view);

}  // namespace host
}  // namespace vtr

#endif
