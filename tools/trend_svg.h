#ifndef VTR_HOST_TREND_SVG_H
#define VTR_HOST_TREND_SVG_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vtr {
namespace host {

// A line across a trend at one of its sensor's thresholds.
struct TrendThreshold {
  double value;
  std::string label;  // its tooltip, plain text: "lower critical 10.8"
  bool critical;      // drawn in the critical colour, else in the warning one
};

// A small inline SVG of a field's recent values, oldest first; `slots` values fill the width
// and the newest sits at the right edge. A sample without a reading leaves a gap; a lone
// reading between gaps is a dot. Its title gives the range of the readings. The scale covers
// the readings and the nearest threshold on either side of them, so a reading shows where it
// stands against its limits without far ones flattening it; every threshold in that scale is
// a line.
std::string trendSvg(const std::vector<std::optional<double>>& values, std::size_t slots,
                     const std::vector<TrendThreshold>& thresholds = {});

}  // namespace host
}  // namespace vtr

#endif
