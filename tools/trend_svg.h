#ifndef VTR_HOST_TREND_SVG_H
#define VTR_HOST_TREND_SVG_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vtr {
namespace host {

// A small inline SVG of a field's recent values, oldest first, scaled to their own range;
// `slots` values fill the width and the newest sits at the right edge. A sample without a
// reading leaves a gap; a lone reading between gaps is a dot. Its title gives the range.
std::string trendSvg(const std::vector<std::optional<double>>& values, std::size_t slots);

}  // namespace host
}  // namespace vtr

#endif
