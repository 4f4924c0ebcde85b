// The Gantt chart: a well-formed XML document whose bars, read back through the chart's scale,
// give the schedule's times, with the equipment rows repeated one cycle time apart.
#include <gtest/gtest.h>

#include <map>
// GCC 12 warns of a maybe-uninitialized std::function inside <regex> when building with the
// sanitizers; the warning comes from the library's own code, not from this test.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <regex>
#include <string>
#include <vector>

#include "schedule_fixtures.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/schedule/gantt_svg.hpp"

namespace unitops::test {
namespace {

//! Elements open and close in order, attributes are quoted, and no bare '&' or '<' is in text.
std::string XmlProblem(const std::string& xml) {
    std::vector<std::string> open;
    std::size_t i = 0;
    if (xml.rfind("<?xml", 0) == 0) i = xml.find("?>") + 2;
    while (i < xml.size()) {
        const std::size_t lt = xml.find('<', i);
        const std::string text = xml.substr(i, lt == std::string::npos ? std::string::npos : lt - i);
        for (std::size_t a = text.find('&'); a != std::string::npos; a = text.find('&', a + 1)) {
            if (!std::regex_search(text.substr(a), std::regex("^&(amp|lt|gt|quot|apos);"))) return "bare & in " + text;
        }
        if (lt == std::string::npos) break;
        const std::size_t gt = xml.find('>', lt);
        if (gt == std::string::npos) return "unclosed tag";
        const std::string tag = xml.substr(lt + 1, gt - lt - 1);
        if (tag.find('<') != std::string::npos) return "'<' inside a tag";
        if (tag[0] == '/') {
            if (open.empty() || open.back() != tag.substr(1)) return "mismatched </" + tag.substr(1) + ">";
            open.pop_back();
        } else {
            static const std::regex kElement(R"re(^([A-Za-z][\w:-]*)(\s+[\w:-]+="[^"<]*")*\s*/?$)re");
            std::smatch m;
            if (!std::regex_match(tag, m, kElement)) return "bad element <" + tag + ">";
            if (tag.back() != '/') open.push_back(m[1]);
        }
        i = gt + 1;
    }
    if (!open.empty()) return "unclosed <" + open.back() + ">";
    return "";
}

struct Bar {
    std::string cls, op, equipment;
    int cycle = 0, batch = 0;
    double x = 0, width = 0;
};

std::vector<Bar> Bars(const std::string& svg) {
    std::vector<Bar> bars;
    const std::regex rect(R"re(<rect class="([a-z ]+)" x="([-0-9.]+)" y="[-0-9.]+" width="([0-9.]+)"[^>]*>)re");
    for (auto it = std::sregex_iterator(svg.begin(), svg.end(), rect); it != std::sregex_iterator(); ++it) {
        Bar b{(*it)[1], "", "", 0, 0, std::stod((*it)[2]), std::stod((*it)[3])};
        const std::string all = (*it)[0];
        std::smatch m;
        if (std::regex_search(all, m, std::regex(R"re(data-op="([^"]+)")re"))) b.op = m[1];
        if (std::regex_search(all, m, std::regex(R"re(data-cycle="(\d+)")re"))) b.cycle = std::stoi(m[1]);
        if (std::regex_search(all, m, std::regex(R"re(data-equipment="([^"]+)")re"))) b.equipment = m[1];
        if (std::regex_search(all, m, std::regex(R"re(data-batch="(\d+)")re"))) b.batch = std::stoi(m[1]);
        bars.push_back(b);
    }
    return bars;
}

double Attribute(const std::string& svg, const std::string& name) {
    std::smatch m;
    EXPECT_TRUE(std::regex_search(svg, m, std::regex(name + R"re(="([-0-9.]+)")re")));
    return m.empty() ? 0.0 : std::stod(m[1]);
}

class GanttChart : public ::testing::Test {
protected:
    void SetUp() override {
        doc_ = LoadFlowsheet(TwoVesselRecipe(), "two vessels");
        ASSERT_TRUE(Simulator(*doc_).Run().completed);
        schedule_ = ComputeSchedule(*doc_);
        ASSERT_TRUE(schedule_.Ok()) << schedule_.error;
    }
    std::unique_ptr<CTalDocEss> doc_;
    BatchSchedule schedule_;
};

TEST_F(GanttChart, IsWellFormedXml) {
    const std::string svg = GanttSvg(schedule_, "Two <vessels> & more", 3);
    EXPECT_EQ(XmlProblem(svg), "");
    EXPECT_NE(svg.find("Two &lt;vessels&gt; &amp; more"), std::string::npos);
    EXPECT_EQ(XmlProblem("<svg><g></svg></g>"), "mismatched </svg>");  // the checker itself can fail
}

//! The process bar of every operation cycle, keyed by "procedure/operation#cycle" (from 1), in
//! hours; each operation cycle of the schedule must have exactly one bar at its own times.
std::map<std::string, std::pair<double, double>> ProcessBarsMatch(const BatchSchedule& schedule) {
    const std::string svg = GanttSvg(schedule, "t", 1);
    const double x0 = Attribute(svg, "data-x0"), pxPerHour = Attribute(svg, "data-px-per-hour");
    EXPECT_GT(pxPerHour, 0.0);
    const auto hours = [&](double x) { return (x - x0) / pxPerHour; };
    std::map<std::string, std::pair<double, double>> process;
    for (const Bar& b : Bars(svg)) {
        if (b.cls != "process") continue;
        const std::string key = b.op + "#" + std::to_string(b.cycle);
        EXPECT_EQ(process.count(key), 0u) << "two bars for " << key;
        process[key] = {hours(b.x), hours(b.x + b.width)};
    }
    EXPECT_EQ(process.size(), schedule.operations.size());
    for (const ScheduledOperation& o : schedule.operations) {
        const std::string key = o.procedure->Name() + "/" + o.op->Name() + "#" + std::to_string(o.cycle + 1);
        const auto found = process.find(key);
        if (found == process.end()) {
            ADD_FAILURE() << "no bar for " << key;
            continue;
        }
        EXPECT_NEAR(found->second.first, o.processStart / 3600.0, 1e-3) << key;
        EXPECT_NEAR(found->second.second, o.end / 3600.0, 1e-3) << key;
    }
    return process;
}

TEST_F(GanttChart, BarsGiveBackTheScheduleTimes) {
    const auto process = ProcessBarsMatch(schedule_);
    // By hand: the reaction runs from 0:50 to 4:50.
    ASSERT_EQ(process.count("P-2/REACT#1"), 1u);
    EXPECT_NEAR(process.at("P-2/REACT#1").first, 50.0 / 60.0, 1e-3);
    EXPECT_NEAR(process.at("P-2/REACT#1").second, 50.0 / 60.0 + 4.0, 1e-3);
}

TEST(GanttChartOfCycles, EveryCycleHasItsOwnBars) {
    auto doc = LoadFlowsheet(CyclingVessel(2), "cycles");
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    const BatchSchedule schedule = ComputeSchedule(*doc);
    ASSERT_TRUE(schedule.Ok()) << schedule.error;
    const auto process = ProcessBarsMatch(schedule);
    // By hand: cycle 1 holds 0:10-0:30 and agitates 0:30-0:45; cycle 2 holds 0:55-1:15, agitates 1:15-1:30.
    ASSERT_EQ(process.count("P-1/HOLD-1#2"), 1u);
    EXPECT_NEAR(process.at("P-1/HOLD-1#1").first * 60.0, 10.0, 1e-3);
    EXPECT_NEAR(process.at("P-1/HOLD-1#2").first * 60.0, 55.0, 1e-3);
    EXPECT_NEAR(process.at("P-1/AGITATE-1#2").second * 60.0, 90.0, 1e-3);
}

TEST_F(GanttChart, EquipmentRowsRepeatOneCycleTimeApartAndMarkTheBottleneck) {
    const std::string svg = GanttSvg(schedule_, "t", 3);
    const double x0 = Attribute(svg, "data-x0"), pxPerHour = Attribute(svg, "data-px-per-hour");
    int onBottleneck = 0;
    for (const Bar& b : Bars(svg)) {
        if (b.cls.rfind("occupancy", 0) != 0) continue;
        const double start = (b.x - x0) / pxPerHour;
        if (b.equipment == "V-102") {
            ++onBottleneck;
            EXPECT_EQ(b.cls, "occupancy bottleneck");
            EXPECT_NEAR(start, 20.0 / 60 + (b.batch - 1) * 5.5, 1e-3);  // a 5:30 h cycle
            EXPECT_NEAR(b.width / pxPerHour, 5.5, 1e-3);
        } else {
            EXPECT_EQ(b.cls, "occupancy");
            EXPECT_NEAR(start, (b.batch - 1) * 5.5, 1e-3);
        }
    }
    EXPECT_EQ(onBottleneck, 3);
    EXPECT_NE(svg.find("V-102 (bottleneck)"), std::string::npos);
    EXPECT_NE(svg.find("class=\"link\""), std::string::npos);
}

TEST_F(GanttChart, SetUpAndProcessAreSeparateBars) {
    auto doc = LoadFlowsheet(CyclingVessel(2), "cycles");
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    const BatchSchedule s = ComputeSchedule(*doc);
    const std::string svg = GanttSvg(s, "t", 1);
    const double x0 = Attribute(svg, "data-x0"), pxPerHour = Attribute(svg, "data-px-per-hour");
    int setups = 0;
    for (const Bar& b : Bars(svg)) {
        if (b.cls != "setup") continue;
        ++setups;
        EXPECT_EQ(b.op, "P-1/HOLD-1");
        EXPECT_NEAR((b.x - x0) / pxPerHour * 60.0, 45.0 * (b.cycle - 1), 1e-2);
        EXPECT_NEAR(b.width / pxPerHour * 60.0, 10.0, 1e-2);
    }
    EXPECT_EQ(setups, 2);  // agitation has no set-up: no bar
}

}  // namespace
}  // namespace unitops::test
