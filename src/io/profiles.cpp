#include "unitops/io/profiles.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/contract/svg_text.hpp"
#include "unitops/io/errors.hpp"
#include "unitops/models/reaction/reaction_entry.hpp"
#include "unitops/models/reaction/reaction_op.hpp"

namespace unitops {

namespace {

constexpr const char* kColours[] = {"#1f5f99", "#c0392b", "#2e7d32", "#a64d00", "#6a1b9a", "#00796b", "#8d6e00", "#37474f"};
constexpr std::size_t kColourCount = sizeof kColours / sizeof kColours[0];

// Geometry of the chart, px.
constexpr double kLeft = 90.0, kPlotWidth = 600.0, kLegendX = kLeft + kPlotWidth + 24.0, kWidth = kLegendX + 190.0;
constexpr double kTop = 56.0, kPanelHeight = 200.0, kPanelGap = 64.0;

struct Series {
    std::string name;
    std::vector<double> y;
};

struct Panel {
    std::string axis;  //!< the y axis's label with its unit
    std::vector<Series> series;
};

//! Ticks at 1, 2 or 5 times a power of ten that cover [lo, hi] in about six steps.
std::vector<double> Ticks(double& lo, double& hi) {
    if (!(hi > lo)) {
        const double pad = std::abs(lo) > 0.0 ? std::abs(lo) * 0.1 : 1.0;
        lo -= pad;
        hi += pad;
    }
    const double raw = (hi - lo) / 6.0;
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    double step = 10.0 * power;
    for (double m : {1.0, 2.0, 5.0}) {
        if (m * power >= raw) {
            step = m * power;
            break;
        }
    }
    lo = std::floor(lo / step + 1e-9) * step;
    hi = std::ceil(hi / step - 1e-9) * step;
    std::vector<double> ticks;
    for (double t = lo; t <= hi + step * 1e-6; t += step) ticks.push_back(std::abs(t) < step * 1e-9 ? 0.0 : t);
    return ticks;
}

std::string Label(double v) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", v);
    return text;
}

class ProfileChart {
public:
    ProfileChart(const CTalReactorDR& r, const std::vector<std::string>& names) : r_(r) {
        for (int i = 0; i < r.NumberOfPoints(); ++i) x_.push_back(r.X().Shown(i));
        Panel conc{"Concentration (" + r.Conc().UnitName() + ")", {}};
        for (int k = 0; k < r.Conc().NumberOfComps(); ++k) {
            if (!r.IsConcStoredForComp(k)) continue;
            Series s{static_cast<std::size_t>(k) < names.size() ? names[static_cast<std::size_t>(k)] : "C" + std::to_string(k), {}};
            for (int i = 0; i < r.NumberOfPoints(); ++i) s.y.push_back(r.Conc().Shown(k, i));
            conc.series.push_back(std::move(s));
        }
        if (!conc.series.empty()) panels_.push_back(std::move(conc));
        AddSingle(r.IsTempStored(), r.Temp(), "Temperature");
        AddSingle(r.IsDutyStored(), r.Duty(), r.IsXLength() ? "Duty per length" : "Duty");
    }

    std::string Draw(const std::string& title) const {
        const double height = kTop + std::max<std::size_t>(panels_.size(), 1) * (kPanelHeight + kPanelGap) + 8.0;
        std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + SvgNumber(kWidth) + "\" height=\"" +
                          SvgNumber(height) + "\" viewBox=\"0 0 " + SvgNumber(kWidth) + " " + SvgNumber(height) +
                          "\" font-family=\"sans-serif\" font-size=\"12\">\n";
        svg += "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
        svg += Text(kLeft, 28.0, title, "start", "font-size=\"16\" font-weight=\"bold\"");
        if (panels_.empty() || x_.empty()) {
            svg += Text(kLeft, kTop + 40.0, "Nothing is recorded: choose what to store in the operation's \"profiles\".", "start", "");
            return svg + "</svg>\n";
        }
        for (std::size_t p = 0; p < panels_.size(); ++p) svg += DrawPanel(panels_[p], kTop + p * (kPanelHeight + kPanelGap));
        return svg + "</svg>\n";
    }

private:
    void AddSingle(int stored, const CTalDataContainer& c, const std::string& what) {
        if (!stored) return;
        Series s{c.Name(), {}};
        for (int i = 0; i < r_.NumberOfPoints(); ++i) s.y.push_back(i < c.Size() ? c.Shown(i) : 0.0);
        panels_.push_back({what + " (" + c.UnitName() + ")", {std::move(s)}});
    }

    static std::string Text(double x, double y, const std::string& text, const char* anchor, const std::string& extra) {
        return "<text x=\"" + SvgNumber(x) + "\" y=\"" + SvgNumber(y) + "\" text-anchor=\"" + anchor + "\" " + extra + ">" +
               SvgEscaped(text) + "</text>\n";
    }

    static std::string Line(double x1, double y1, double x2, double y2, const char* style) {
        return "<line x1=\"" + SvgNumber(x1) + "\" y1=\"" + SvgNumber(y1) + "\" x2=\"" + SvgNumber(x2) + "\" y2=\"" +
               SvgNumber(y2) + "\" " + style + "/>\n";
    }

    std::string DrawPanel(const Panel& panel, double top) const {
        double xlo = *std::min_element(x_.begin(), x_.end()), xhi = *std::max_element(x_.begin(), x_.end());
        double ylo = panel.series.front().y.front(), yhi = ylo;
        for (const Series& s : panel.series) {
            for (double v : s.y) {
                ylo = std::min(ylo, v);
                yhi = std::max(yhi, v);
            }
        }
        const std::vector<double> xt = Ticks(xlo, xhi), yt = Ticks(ylo, yhi);
        const double bottom = top + kPanelHeight;
        const auto px = [&](double v) { return kLeft + (v - xlo) / (xhi - xlo) * kPlotWidth; };
        const auto py = [&](double v) { return bottom - (v - ylo) / (yhi - ylo) * kPanelHeight; };
        std::string svg = "<g class=\"panel\">\n";
        for (double t : yt) {
            svg += Line(kLeft, py(t), kLeft + kPlotWidth, py(t), "stroke=\"#e0e0e0\"");
            svg += Text(kLeft - 6.0, py(t) + 4.0, Label(t), "end", "");
        }
        for (double t : xt) {
            svg += Line(px(t), top, px(t), bottom, "stroke=\"#e0e0e0\"");
            svg += Text(px(t), bottom + 16.0, Label(t), "middle", "");
        }
        svg += "<rect x=\"" + SvgNumber(kLeft) + "\" y=\"" + SvgNumber(top) + "\" width=\"" + SvgNumber(kPlotWidth) +
               "\" height=\"" + SvgNumber(kPanelHeight) + "\" fill=\"none\" stroke=\"#333\"/>\n";
        svg += Text(kLeft + kPlotWidth / 2.0, bottom + 34.0, r_.XVarName() + " (" + r_.X().UnitName() + ")", "middle", "");
        const double mid = top + kPanelHeight / 2.0;
        svg += Text(kLeft - 58.0, mid, panel.axis, "middle", "transform=\"rotate(-90 " + SvgNumber(kLeft - 58.0) + " " + SvgNumber(mid) + ")\"");
        for (std::size_t k = 0; k < panel.series.size(); ++k) {
            const Series& s = panel.series[k];
            const char* colour = kColours[k % kColourCount];
            std::string points;
            for (std::size_t i = 0; i < s.y.size(); ++i) points += (i ? " " : "") + SvgNumber(px(x_[i])) + "," + SvgNumber(py(s.y[i]));
            svg += "<polyline fill=\"none\" stroke=\"" + std::string(colour) + "\" stroke-width=\"2\" points=\"" + points + "\"/>\n";
            for (std::size_t i = 0; i < s.y.size(); ++i) {
                svg += "<circle cx=\"" + SvgNumber(px(x_[i])) + "\" cy=\"" + SvgNumber(py(s.y[i])) + "\" r=\"2.5\" fill=\"" + colour + "\"/>\n";
            }
            const double ly = top + 14.0 + 18.0 * k;
            svg += Line(kLegendX, ly - 4.0, kLegendX + 22.0, ly - 4.0, ("stroke=\"" + std::string(colour) + "\" stroke-width=\"3\"").c_str());
            svg += Text(kLegendX + 28.0, ly, s.name, "start", "");
        }
        return svg + "</g>\n";
    }

    const CTalReactorDR& r_;
    std::vector<double> x_;
    std::vector<Panel> panels_;
};

// Letters, digits, '-', '_' and '.' are kept in a file name; anything else becomes '_'.
std::string FileStem(const std::string& text) {
    std::string out;
    for (char c : text) out += std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_' || c == '.' ? c : '_';
    return out;
}

}  // namespace

std::string ProfileSvg(const CTalReactorDR& recorder, const std::vector<std::string>& names, const std::string& title) {
    return ProfileChart(recorder, names).Draw(title);
}

std::vector<std::string> WriteProfiles(CTalDocEss& doc, const std::string& dir) {
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    if (!std::filesystem::is_directory(dir)) throw InputError(dir, "cannot make the folder for the profiles");
    std::vector<std::string> written;
    for (const auto& p : doc.Procedures()) {
        for (int i = 0; i < p->NumberOfOps(); ++i) {
            auto* op = dynamic_cast<CTalRxnOp*>(p->GetOp(i));
            if (!op || !op->GetDataRecorder()) continue;
            const std::string stem = (std::filesystem::path(dir) / FileStem(p->Name() + "_" + op->Name())).string();
            // The results are those of the run at hand: a question on results out of date goes on with them.
            ValidationSink page(QuestionPolicy::No);
            ProfileCommand how;
            how.page = &page;
            for (const auto& [command, extension] : {std::pair{kSaveAsciiCommand, ".dat"}, std::pair{kSaveTabSeparatedCommand, ".tsv"}}) {
                how.path = stem + extension;
                if (!op->ExecuteCommand(command, how)) {
                    throw InputError(how.path, page.Issues().empty() ? "cannot write the profiles" : page.Issues().back().text);
                }
                written.push_back(how.path);
            }
            const std::string svgPath = stem + ".svg";
            std::ofstream svg(svgPath);
            svg << ProfileSvg(*op->GetDataRecorder(), op->ComponentNames(), p->Name() + " / " + op->Name() + ": profiles");
            svg.close();
            if (!svg) throw InputError(svgPath, "cannot write the file");
            written.push_back(svgPath);
        }
    }
    return written;
}

}  // namespace unitops
