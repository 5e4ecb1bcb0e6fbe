// The page at /: one row and one trend per sensor, "no reading" where a field has none, and
// every text from the BMC escaped.

#include "tools/landing_page.h"

#include <gtest/gtest.h>

#include "tools/trend_svg.h"

namespace vtr {
namespace host {
namespace {

std::size_t count(const std::string& text, const std::string& part) {
  std::size_t found = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
  return found;
}

TEST(LandingPage, ShowsEachSensorWithItsTrendAndEscapesWhatTheBmcSent) {
  MetricsBoard board;
  board.setUp(true);
  board.setSensorFacts({{"evil", {"<script>x</script> \"q\" & 'a'", "1", "3.1", "T<emp>", "degrees C", false, {}}},
                        {"ps1_status", {"PS1 Status", "2", "10.1", "Power Supply", "", true, {}}}});
  for (double temperature : {40.0, 41.5}) {
    board.publish({"ipmitool", "node<1>", 1732180000000000, 1732180000000000, 0.5,
                   {{"evil", temperature, {}}, {"ps1_status", std::nullopt, {}}, {"bare", 7, {}}}});
  }
  const std::string page = renderLandingPage(board.view());

  EXPECT_EQ(page.find("<script>"), std::string::npos) << page;
  for (const char* part : {"&lt;script&gt;x&lt;/script&gt; &quot;q&quot; &amp; &#39;a&#39;", "T&lt;emp&gt;",
                           "ipmitool on node&lt;1&gt;", ">41.5<", ">degrees C<", ">no reading<", ">bare<",
                           "2024-11-21 09:06:40 UTC", "<a href=\"/metrics\">", ">up<", "2 events so far",
                           "last sample took 0.500 s"}) {
    EXPECT_NE(page.find(part), std::string::npos) << part << "\nin\n" << page;
  }
  EXPECT_EQ(count(page, "<tr><td"), 3u);
  EXPECT_EQ(count(page, "<svg"), 3u);
  EXPECT_EQ(count(page, "<script"), 0u);
}

TEST(TrendSvg, GapsSplitTheLineAndALoneReadingIsADot) {
  const std::string svg = trendSvg({1.0, 2.0, std::nullopt, 3.0, std::nullopt, 4.0, 5.0}, 60);
  EXPECT_EQ(count(svg, "<polyline"), 2u) << svg;
  EXPECT_EQ(count(svg, "<circle"), 1u) << svg;
  EXPECT_NE(svg.find("<title>1 to 5 over the last 7 samples</title>"), std::string::npos) << svg;
  // The newest sample sits at the right edge, the highest value at the top.
  EXPECT_NE(svg.find("118.0,2.0\"/>"), std::string::npos) << svg;
  EXPECT_EQ(count(trendSvg({}, 60), "<svg"), 1u);
}

}  // namespace
}  // namespace host
}  // namespace vtr
