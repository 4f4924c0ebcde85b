// The chart of recorded profiles: a panel per kind of value with one line and one marker per point
// for each series, placed linearly on its axes, a legend, and the names escaped.
#include <gtest/gtest.h>

#include <sstream>

#include "unitops/io/profiles.hpp"
#include "unitops/models/reaction/reactor_dr.hpp"

namespace unitops {
namespace {

std::vector<std::pair<double, double>> PolylinePoints(const std::string& svg, std::size_t which) {
    std::size_t at = 0;
    for (std::size_t k = 0; k <= which; ++k) at = svg.find("<polyline", at + 1);
    const std::size_t start = svg.find("points=\"", at) + 8;
    std::stringstream s(svg.substr(start, svg.find('"', start) - start));
    std::vector<std::pair<double, double>> points;
    double x = 0.0, y = 0.0;
    char comma = 0;
    while (s >> x >> comma >> y) points.emplace_back(x, y);
    return points;
}

std::size_t Count(const std::string& text, const std::string& what) {
    std::size_t n = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
}

// Three points along 2 m: "A&B" falls 1, 0.5, 0 and C rises; the temperature is stored, the duty not.
TEST(ProfileChart, DrawsEachStoredSeriesLinearlyWithItsLegend) {
    CTalReactorDR recorder(1);
    const std::vector<int> flags = {1, 0, 1};
    recorder.Init(3, flags.data(), 3, 1, 0);
    for (int i = 0; i < 3; ++i) {
        const double y[] = {1.0 - 0.5 * i, 9.0, 0.25 * i, 300.0 + 10.0 * i};
        recorder.RecordData(i, 1.0 * i, 4, y, 0x406, 0.0, 0.0);
    }
    const std::string svg = ProfileSvg(recorder, {"A&B", "W", "C"}, "R-1 <profiles>");
    EXPECT_EQ(svg.rfind("<?xml", 0), 0u);
    EXPECT_EQ(svg.substr(svg.size() - 7), "</svg>\n");
    EXPECT_NE(svg.find(">R-1 &lt;profiles&gt;</text>"), std::string::npos);
    EXPECT_NE(svg.find(">A&amp;B</text>"), std::string::npos);
    EXPECT_EQ(svg.find(">W</text>"), std::string::npos);  // not stored
    EXPECT_NE(svg.find(">Concentration (kmol/m3)</text>"), std::string::npos);
    EXPECT_NE(svg.find(">Temperature (K)</text>"), std::string::npos);
    EXPECT_EQ(svg.find("Duty"), std::string::npos);
    EXPECT_EQ(Count(svg, ">Length (m)</text>"), 2u);  // under each panel
    EXPECT_EQ(Count(svg, "<polyline"), 3u);
    EXPECT_EQ(Count(svg, "<circle"), 9u);
    // Evenly spaced x and values that fall evenly: the markers are evenly spaced on both axes, and
    // the falling series goes down the page (y grows downwards) while the rising one goes up.
    const auto a = PolylinePoints(svg, 0), c = PolylinePoints(svg, 1);
    ASSERT_EQ(a.size(), 3u);
    ASSERT_EQ(c.size(), 3u);
    EXPECT_NEAR(a[1].first - a[0].first, a[2].first - a[1].first, 1e-3);
    EXPECT_NEAR(a[1].second - a[0].second, a[2].second - a[1].second, 1e-3);
    EXPECT_GT(a[1].second, a[0].second);
    EXPECT_LT(c[1].second, c[0].second);
    // 0.5 of A and 0.5 of C lie on one height.
    EXPECT_NEAR(a[1].second, c[2].second, 1e-3);
}

TEST(ProfileChart, SaysSoWhenNothingIsStored) {
    CTalReactorDR recorder(0);
    const std::vector<int> none = {0, 0};
    recorder.Init(2, none.data(), 21, 0, 0);
    const std::string svg = ProfileSvg(recorder, {"A", "B"}, "empty");
    EXPECT_NE(svg.find("Nothing is recorded"), std::string::npos);
    EXPECT_EQ(Count(svg, "<polyline"), 0u);
}

}  // namespace
}  // namespace unitops
