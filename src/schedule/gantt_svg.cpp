#include "unitops/schedule/gantt_svg.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>

#include "unitops/contract/svg_text.hpp"

namespace unitops {

namespace {

// One hue per procedure; set-up bars take the same hue lighter so that the two read apart.
constexpr const char* kProcessColours[] = {"#1f5f99", "#2e7d32", "#a64d00", "#6a1b9a", "#00796b", "#8d2424", "#4e5b00", "#37474f"};
constexpr const char* kSetupColours[] = {"#9cc3e6", "#a5d6a7", "#f5c38f", "#ce93d8", "#80cbc4", "#e6a0a0", "#d4dc8a", "#b0bec5"};
constexpr std::size_t kColours = sizeof kProcessColours / sizeof kProcessColours[0];

std::string Escaped(const std::string& text) { return SvgEscaped(text); }
std::string Num(double x) { return SvgNumber(x); }

//! A step between ticks, in hours, that puts at most 16 ticks on `hours`.
double TickStep(double hours) {
    for (double step : {0.25, 0.5, 1.0, 2.0, 4.0, 6.0, 12.0, 24.0, 48.0, 96.0, 168.0, 336.0, 720.0}) {
        if (hours / step <= 16.0) return step;
    }
    return std::ceil(hours / 16.0 / 720.0) * 720.0;
}

class Chart {
public:
    Chart(const BatchSchedule& s, const GanttGeometry& g, int batches) : s_(s), g_(g), batches_(batches) {
        double last = 0.0;
        for (const ScheduledProcedure& p : s.procedures) last = std::max(last, p.end);
        const double hours = std::max((last + (batches - 1) * s.cycleTime) / 3600.0, 1.0 / 60.0);
        step_ = TickStep(hours);
        ticks_ = static_cast<int>(std::ceil(hours / step_ - 1e-9));
        pxPerHour_ = g.chartWidth / (ticks_ * step_);
        for (std::size_t i = 0; i < s.procedures.size(); ++i) colour_[s.procedures[i].procedure] = i % kColours;
    }

    std::string Draw(const std::string& title) {
        LayOutRows();
        const double height = RowY(rows_) + 56.0;
        const double width = g_.left + g_.chartWidth + 40.0;
        out_ += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        out_ += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + Num(width) + "\" height=\"" + Num(height) +
                "\" viewBox=\"0 0 " + Num(width) + " " + Num(height) +
                "\" xml:space=\"preserve\" font-family=\"sans-serif\" font-size=\"12\" data-x0=\"" +
                Num(g_.left) + "\" data-px-per-hour=\"" + Num(pxPerHour_) + "\">\n";
        out_ += "<defs><marker id=\"arrow\" viewBox=\"0 0 10 10\" refX=\"9\" refY=\"5\" markerWidth=\"7\" markerHeight=\"7\" "
                "orient=\"auto\"><path d=\"M0,0 L10,5 L0,10 z\" fill=\"#444\"/></marker></defs>\n";
        out_ += "<rect x=\"0\" y=\"0\" width=\"" + Num(width) + "\" height=\"" + Num(height) + "\" fill=\"white\"/>\n";
        out_ += "<text x=\"10\" y=\"22\" font-size=\"16\" font-weight=\"bold\">" + Escaped(title) + "</text>\n";
        Axis(height);
        OperationRows();
        Links();
        EquipmentRows();
        Footer(height);
        out_ += "</svg>\n";
        return out_;
    }

private:
    double X(double seconds) const { return g_.left + seconds / 3600.0 * pxPerHour_; }
    double RowY(int row) const { return g_.top + row * g_.rowHeight; }

    //! Rows: per procedure a heading and its operations; then a heading and one row per item.
    void LayOutRows() {
        int row = 0;
        for (const ScheduledProcedure& p : s_.procedures) {
            headingRow_[p.procedure] = row++;
            for (int i = 0; i < p.procedure->NumberOfOps(); ++i) opRow_[p.procedure->GetOp(i)] = row++;
        }
        equipmentHeading_ = row++;
        rows_ = row + static_cast<int>(s_.equipment.size());
    }

    void Axis(double height) {
        for (int t = 0; t <= ticks_; ++t) {
            const double x = X(t * step_ * 3600.0);
            out_ += "<line class=\"grid\" x1=\"" + Num(x) + "\" y1=\"" + Num(g_.top - 6) + "\" x2=\"" + Num(x) + "\" y2=\"" +
                    Num(height - 40.0) + "\" stroke=\"#ddd\"/>\n";
            out_ += "<text class=\"tick\" x=\"" + Num(x) + "\" y=\"" + Num(g_.top - 10) + "\" text-anchor=\"middle\">" +
                    Escaped(HoursMinutes(t * step_ * 3600.0)) + "</text>\n";
        }
        out_ += "<text x=\"" + Num(g_.left + g_.chartWidth) + "\" y=\"" + Num(g_.top - 26) +
                "\" text-anchor=\"end\" fill=\"#555\">time from the start of batch 1 (h:mm)</text>\n";
    }

    void Label(int row, const std::string& text, const char* style) {
        out_ += "<text x=\"10\" y=\"" + Num(RowY(row) + g_.rowHeight * 0.68) + "\" " + style + ">" + Escaped(text) + "</text>\n";
    }

    void Bar(const char* cls, double start, double end, int row, const char* fill, const std::string& extra) {
        if (end - start <= 0.0) return;
        out_ += std::string("<rect class=\"") + cls + "\" x=\"" + Num(X(start)) + "\" y=\"" + Num(RowY(row) + 4) + "\" width=\"" +
                Num(X(end) - X(start)) + "\" height=\"" + Num(g_.rowHeight - 8) + "\" fill=\"" + fill + "\"" + extra + "/>\n";
    }

    void OperationRows() {
        for (const ScheduledProcedure& p : s_.procedures) {
            const int heading = headingRow_[p.procedure];
            out_ += "<rect x=\"0\" y=\"" + Num(RowY(heading)) + "\" width=\"" + Num(g_.left + g_.chartWidth + 40.0) + "\" height=\"" +
                    Num(g_.rowHeight) + "\" fill=\"#f2f2f2\"/>\n";
            Label(heading, p.procedure->Name() + " on " + p.equipment, "font-weight=\"bold\"");
            for (int i = 0; i < p.procedure->NumberOfOps(); ++i) Label(opRow_[p.procedure->GetOp(i)], "   " + p.procedure->GetOp(i)->Name(), "");
        }
        for (const ScheduledOperation& o : s_.operations) {
            const std::size_t c = colour_[o.procedure];
            const int row = opRow_[o.op];
            const std::string data = " data-op=\"" + Escaped(o.procedure->Name() + "/" + o.op->Name()) + "\" data-cycle=\"" +
                                     std::to_string(o.cycle + 1) + "\"";
            Bar("setup", o.setupStart, o.processStart, row, kSetupColours[c], data);
            Bar("process", o.processStart, o.end, row, kProcessColours[c], data);
        }
    }

    //! An arrow from the start of each transfer out to the start of the transfer that takes it in.
    void Links() {
        for (const TransferLink& l : s_.links) {
            const ScheduledOperation* from = FirstCycle(l.from);
            const ScheduledOperation* to = FirstCycle(l.to);
            if (!from || !to) continue;
            const double y1 = RowY(opRow_[l.from]) + g_.rowHeight / 2, y2 = RowY(opRow_[l.to]) + g_.rowHeight / 2;
            out_ += "<line class=\"link\" x1=\"" + Num(X(from->processStart)) + "\" y1=\"" + Num(y1) + "\" x2=\"" +
                    Num(X(to->processStart)) + "\" y2=\"" + Num(y2 + (y2 > y1 ? -5.0 : 5.0)) +
                    "\" stroke=\"#444\" stroke-dasharray=\"4 3\" marker-end=\"url(#arrow)\"/>\n";
        }
    }

    const ScheduledOperation* FirstCycle(const CTalOperation* op) const {
        for (const ScheduledOperation& o : s_.operations) {
            if (o.op == op && o.cycle == 0) return &o;
        }
        return nullptr;
    }

    //! Each item over the batches, one plant cycle time apart; the bottleneck in red.
    void EquipmentRows() {
        out_ += "<rect x=\"0\" y=\"" + Num(RowY(equipmentHeading_)) + "\" width=\"" + Num(g_.left + g_.chartWidth + 40.0) +
                "\" height=\"" + Num(g_.rowHeight) + "\" fill=\"#f2f2f2\"/>\n";
        Label(equipmentHeading_, "Equipment, " + std::to_string(batches_) + (batches_ == 1 ? " batch" : " batches") + " every " +
                                     HoursMinutes(s_.cycleTime) + " h",
              "font-weight=\"bold\"");
        for (std::size_t e = 0; e < s_.equipment.size(); ++e) {
            const EquipmentOccupancy& item = s_.equipment[e];
            const int row = equipmentHeading_ + 1 + static_cast<int>(e);
            const bool bottleneck = item.name == s_.bottleneck;
            Label(row, "   " + item.name + (bottleneck ? " (bottleneck)" : ""), bottleneck ? "fill=\"#c00000\" font-weight=\"bold\"" : "");
            for (int b = 0; b < batches_; ++b) {
                for (const ScheduledProcedure& p : s_.procedures) {
                    if (p.equipment != item.name) continue;
                    const double shift = b * s_.cycleTime;
                    const std::string extra = " data-equipment=\"" + Escaped(item.name) + "\" data-batch=\"" + std::to_string(b + 1) +
                                              "\" fill-opacity=\"0.85\"" +
                                              (bottleneck ? " stroke=\"#c00000\" stroke-width=\"2\"" : " stroke=\"white\"");
                    Bar(bottleneck ? "occupancy bottleneck" : "occupancy", p.start + shift, p.end + shift, row,
                        kProcessColours[colour_[p.procedure]], extra);
                    if (X(p.end) - X(p.start) > 14.0) {
                        out_ += "<text x=\"" + Num((X(p.start + shift) + X(p.end + shift)) / 2) + "\" y=\"" + Num(RowY(row) + g_.rowHeight * 0.68) +
                                "\" text-anchor=\"middle\" fill=\"white\" font-size=\"10\">" + std::to_string(b + 1) + "</text>\n";
                    }
                }
            }
        }
    }

    void Footer(double height) {
        const double y = height - 30.0;
        out_ += "<rect x=\"10\" y=\"" + Num(y - 10) + "\" width=\"14\" height=\"10\" fill=\"" + kSetupColours[0] + "\"/>\n";
        out_ += "<text x=\"28\" y=\"" + Num(y) + "\">set-up</text>\n";
        out_ += "<rect x=\"80\" y=\"" + Num(y - 10) + "\" width=\"14\" height=\"10\" fill=\"" + kProcessColours[0] + "\"/>\n";
        out_ += "<text x=\"98\" y=\"" + Num(y) + "\">process</text>\n";
        out_ += "<line x1=\"160\" y1=\"" + Num(y - 5) + "\" x2=\"190\" y2=\"" + Num(y - 5) +
                "\" stroke=\"#444\" stroke-dasharray=\"4 3\" marker-end=\"url(#arrow)\"/>\n";
        out_ += "<text x=\"196\" y=\"" + Num(y) + "\">transfer</text>\n";
        char text[200];
        std::snprintf(text, sizeof text, "Batch time %s h   Minimum cycle time %s h   Plant cycle time %s h   Batches per year %.0f",
                      HoursMinutes(s_.batchTime).c_str(), HoursMinutes(s_.minimumCycleTime).c_str(), HoursMinutes(s_.cycleTime).c_str(),
                      s_.batchesPerYear);
        out_ += "<text x=\"10\" y=\"" + Num(y + 20) + "\">" + Escaped(text) + "   Bottleneck " + Escaped(s_.bottleneck) + "</text>\n";
    }

    const BatchSchedule& s_;
    GanttGeometry g_;
    int batches_;
    double step_ = 1.0;
    int ticks_ = 1;
    double pxPerHour_ = 1.0;
    std::map<const CTalProcedure*, std::size_t> colour_;
    std::map<const CTalProcedure*, int> headingRow_;
    std::map<const CTalOperation*, int> opRow_;
    int equipmentHeading_ = 0;
    int rows_ = 0;
    std::string out_;
};

}  // namespace

std::string GanttSvg(const BatchSchedule& schedule, const std::string& title, int batches, const GanttGeometry& geometry) {
    if (!schedule.Ok() || schedule.procedures.empty()) return "";
    return Chart(schedule, geometry, std::max(batches, 1)).Draw(title);
}

}  // namespace unitops
