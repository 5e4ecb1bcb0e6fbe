// The page at /: the sensors that need attention first, most urgent first, with their state in
// words; then the rest by sensor type; one row and one trend per sensor, thresholds drawn,
// "no reading" where a field has none, and every text from the BMC escaped.

#include "tools/landing_page.h"

#include <gtest/gtest.h>

#include <array>
#include <iterator>

#include "tools/trend_svg.h"

namespace vtr {
namespace host {
namespace {

std::size_t count(const std::string& text, const std::string& part) {
  std::size_t found = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
  return found;
}

TEST(LandingPage, ShowsEachSensorWithItsTrendByTypeAndEscapesWhatTheBmcSent) {
  MetricsBoard board;
  board.setUp(true);
  board.setSensorFacts({{"evil", {"<script>x</script> \"q\" & 'a'", "1", "3.1", "T<emp>", "degrees C", false, {}}},
                        {"ps1_status", {"PS1 Status", "2", "10.1", "Power Supply", "", true, {}}},
                        {"inlet", {"Inlet", "3", "3.2", "T<emp>", "degrees C", false, {}}}});
  for (double temperature : {40.0, 41.5}) {
    board.publish({"ipmitool", "node<1>", 1732180000000000, 1732180000000000, 0.5,
                   {{"evil", temperature, {}}, {"ps1_status", std::nullopt, {}}, {"inlet", 20, {}}, {"bare", 7, {}}}});
  }
  const std::string page = renderLandingPage(board.view());

  EXPECT_EQ(page.find("<script>"), std::string::npos) << page;
  for (const char* part : {"&lt;script&gt;x&lt;/script&gt; &quot;q&quot; &amp; &#39;a&#39;", "ipmitool on node&lt;1&gt;",
                           ">41.5<", ">degrees C<", ">no reading<", ">bare<", "2024-11-21 09:06:40 UTC",
                           "<a href=\"/metrics\">", ">up<", "2 events so far", "took 0.500 s",
                           "does not report sensor health", "<td class=\"health unknown\">unknown</td>"}) {
    EXPECT_NE(page.find(part), std::string::npos) << part << "\nin\n" << page;
  }
  // Without health from the plug-in nothing is singled out, and nothing is called nominal.
  EXPECT_EQ(count(page, "<tr class=\"attention\">"), 0u);
  EXPECT_EQ(count(page, ">nominal<"), 0u);
  // Groups in the order the BMC lists their types; a sensor without facts has a group of its own.
  const std::size_t temperatures = page.find(">T&lt;emp&gt;</th>");
  const std::size_t inlet = page.find(">Inlet</td>");
  const std::size_t supplies = page.find(">Power Supply</th>");
  EXPECT_LT(temperatures, inlet);
  EXPECT_LT(inlet, supplies);
  EXPECT_LT(supplies, page.find(">No sensor type</th>"));
  EXPECT_EQ(count(page, "<tr><td"), 4u);
  EXPECT_EQ(count(page, "<svg"), 4u);
  EXPECT_EQ(count(page, "<script"), 0u);
}

constexpr std::uint8_t N = VTR_HEALTH_NOMINAL, W = VTR_HEALTH_WARNING, C = VTR_HEALTH_CRITICAL, U = VTR_HEALTH_UNKNOWN;
using Thresholds = std::array<std::optional<double>, 6>;
const Thresholds kVolts = {10.2, 10.8, 11.22, 12.72, 13.2, 13.8};
const Thresholds kRpm = {300, 480, 600, std::nullopt, std::nullopt, std::nullopt};
const Thresholds kCelsius = {0, 3, 5, 85, 90, 95};
// A power supply's states as the plug-in names them, one with markup in its name.
const std::vector<SensorLabels::State> kSupplyStates = {
    {0, "Presence detected", N}, {1, "Failure detected", C}, {3, "Power Supply AC lost", C}, {5, "<Lost> & \"gone\"", W}};

struct SensorCase {
  const char* sensor;  // also its field name
  const char* unit;    // nullptr for a discrete sensor
  std::optional<double> value;
  FieldHealth health;
  const char* shownHealth;
  const char* words;  // as the page holds them, escaped
};

// In schema order; the page sorts them.
const SensorCase kSensors[] = {
    {"FAN3B", "RPM", 540, {W, "Lower Non-Critical", kRpm, 0}, "warning", "below lower non-critical 600 RPM"},
    {"CPU1 Temp", "degrees C", 92, {C, "Upper Critical", kCelsius, 0}, "critical", "above upper critical 90 degrees C"},
    {"12V", "Volts", 10.8, {C, "cr", kVolts, 0}, "critical", "at lower critical 10.8 Volts"},
    {"5V", "Volts", 10, {C, "Lower Non-Recoverable", kVolts, 0}, "critical", "below lower non-recoverable 10.2 Volts"},
    // Back under the threshold but within its hysteresis: the BMC's status stands.
    {"Outlet Temp", "degrees C", 84, {W, "Upper Non-Critical", kCelsius, 0}, "warning", "status Upper Non-Critical"},
    {"Inlet Temp", "degrees C", 40, {U, "odd", kCelsius, 0}, "unknown", "status odd not known"},
    // No reading is never nominal, whatever the plug-in says.
    {"PCH Temp", "degrees C", std::nullopt, {N, "", kCelsius, 0}, "unknown", "no reading"},
    {"PS2 Status", nullptr, 0x0b00, {C, "", {}, 0b1011}, "critical",
     "Failure detected, Power Supply AC lost; also asserted: Presence detected"},
    {"PS3 Status", nullptr, 0x2002, {W, "", {}, 0x220}, "warning",
     "&lt;Lost&gt; &amp; &quot;gone&quot;; also asserted: state 9"},
    {"PS4 Status", nullptr, 0x00ff, {U, "", {}, 0}, "unknown", "states not known"},
    {"PS1 Status", nullptr, 0x0100, {N, "", {}, 1}, "nominal", "Presence detected"},
    {"VBAT", "Volts", 12, {N, "ok", kVolts, 0}, "nominal", ""},
};

// Most urgent first: a non-recoverable crossing, a failed part, other critical crossings; then
// the warnings, a part's state first; then the unknown; each in schema order.
const char* const kAttentionOrder[] = {"5V",          "PS2 Status", "CPU1 Temp",  "12V",      "PS3 Status",
                                       "FAN3B",       "Outlet Temp", "Inlet Temp", "PCH Temp", "PS4 Status"};

std::string rowStart(const SensorCase& sensor) {
  const bool attention = std::string(sensor.shownHealth) != "nominal";
  return std::string(attention ? "<tr class=\"attention\">" : "<tr>") + "<td title=\"field " + sensor.sensor + "\">" +
         sensor.sensor + "</td><td class=\"health " + sensor.shownHealth + "\">" + sensor.shownHealth +
         "</td><td class=\"state\">" + sensor.words + "</td>";
}

TEST(LandingPage, LeadsWithWhatNeedsAttentionMostUrgentFirstInWords) {
  MetricsBoard board;
  SensorFactsTable facts;
  EventSnapshot event{"ipmitool", "node1", 1732180000000000, 1732180000000000, 0.5, {}};
  for (const SensorCase& sensor : kSensors) {
    const bool discrete = sensor.unit == nullptr;
    facts[sensor.sensor] = {sensor.sensor, "", "", discrete ? "Power Supply" : "Other", discrete ? "" : sensor.unit,
                            discrete, discrete ? kSupplyStates : std::vector<SensorLabels::State>{}};
    event.fields.push_back({sensor.sensor, sensor.value, sensor.health});
  }
  board.setSensorFacts(facts);
  board.publish(event);
  const std::string page = renderLandingPage(board.view());

  const std::size_t attention = page.find("<section id=\"attention\">");
  const std::size_t rest = page.find("<section id=\"sensors\">");
  ASSERT_LT(attention, rest) << page;
  for (const SensorCase& sensor : kSensors) {
    const std::size_t at = page.find(rowStart(sensor));
    ASSERT_NE(at, std::string::npos) << rowStart(sensor) << "\nin\n" << page;
    EXPECT_EQ(at < rest, std::string(sensor.shownHealth) != "nominal") << sensor.sensor;
  }
  std::size_t previous = attention;
  for (const char* sensor : kAttentionOrder) {
    const std::size_t at = page.find("<tr class=\"attention\"><td title=\"field " + std::string(sensor) + "\">");
    EXPECT_LT(previous, at) << sensor << " out of order";
    previous = at;
  }
  EXPECT_EQ(count(page, "<tr class=\"attention\">"), std::size(kAttentionOrder));
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

TEST(TrendSvg, DrawsTheThresholdsNearestTheReadings) {
  const std::vector<TrendThreshold> fan = {{300, "lower non-recoverable 300", true},
                                           {480, "lower critical 480", true},
                                           {600, "lower non-critical 600", false}};
  const struct {
    std::vector<std::optional<double>> values;
    std::vector<const char*> lines;  // each line's class, height and title
  } cases[] = {
      // Between two thresholds: they bound the scale; the one beyond stays out.
      {{540, 560},
       {"<line class=\"warning\" x1=\"0\" x2=\"120.0\" y1=\"2.0\" y2=\"2.0\"><title>lower non-critical 600</title>",
        "<line class=\"critical\" x1=\"0\" x2=\"120.0\" y1=\"26.0\" y2=\"26.0\"><title>lower critical 480</title>"}},
      // Far above the only threshold near it: the scale reaches down to it.
      {{5460, std::nullopt, 5400}, {"<line class=\"warning\" x1=\"0\" x2=\"120.0\" y1=\"26.0\""}},
      {{std::nullopt}, {}},
  };
  for (const auto& trend : cases) {
    const std::string svg = trendSvg(trend.values, 60, fan);
    EXPECT_EQ(count(svg, "<line"), trend.lines.size()) << svg;
    for (const char* line : trend.lines) EXPECT_NE(svg.find(line), std::string::npos) << line << "\nin\n" << svg;
  }
}

}  // namespace
}  // namespace host
}  // namespace vtr
