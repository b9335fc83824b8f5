#include "spsa/trajectory_plot.h"

#include <algorithm>
#include <iomanip>
#include <vector>

#include "spsa/history.h"

namespace spsa {

namespace {

constexpr int Columns = 4, PanelWidth = 300, PanelHeight = 130, Margin = 10;

void draw_panel(std::ostream& svg, const std::string& name, const std::vector<double>& values,
                const std::vector<double>& iterations, int x0, int y0) {
    const auto [lowIt, highIt] = std::minmax_element(values.begin(), values.end());
    double low = *lowIt, high = *highIt;
    if (high - low < 1e-9) low -= 1, high += 1;
    const double lastIteration = std::max(iterations.back(), 1.0);
    const int left = x0 + 40, right = x0 + PanelWidth - Margin, top = y0 + 22, bottom = y0 + PanelHeight - 14;
    auto x = [&](double it) { return left + (right - left) * it / lastIteration; };
    auto y = [&](double v) { return bottom - (bottom - top) * (v - low) / (high - low); };
    svg << "<rect x='" << left << "' y='" << top << "' width='" << right - left << "' height='" << bottom - top
        << "' fill='none' stroke='#bbb'/>\n";
    svg << "<text x='" << x0 + 4 << "' y='" << y0 + 14 << "' font-size='11'>" << name << ": "
        << values.front() << " &#8594; " << values.back() << "</text>\n";
    svg << "<text x='" << left - 3 << "' y='" << top + 8 << "' font-size='9' text-anchor='end'>" << high
        << "</text>\n<text x='" << left - 3 << "' y='" << bottom << "' font-size='9' text-anchor='end'>" << low
        << "</text>\n<text x='" << right << "' y='" << bottom + 11 << "' font-size='9' text-anchor='end'>"
        << iterations.back() << "</text>\n";
    // The start value, so that drift reads at a glance.
    svg << "<line x1='" << left << "' x2='" << right << "' y1='" << y(values.front()) << "' y2='"
        << y(values.front()) << "' stroke='#999' stroke-dasharray='3,3'/>\n<polyline fill='none' "
        << "stroke='#1f5fa8' points='";
    for (std::size_t i = 0; i < values.size(); ++i) svg << x(iterations[i]) << ',' << y(values[i]) << ' ';
    svg << "'/>\n";
}

}  // namespace

bool write_trajectory_svg(std::istream& historyFile, std::ostream& svg, std::string& error) {
    History history;
    if (!read_history(historyFile, history, error)) return false;
    const std::size_t keys = history.keys.size();
    const int rows = static_cast<int>((keys + Columns - 1) / Columns);
    svg << std::setprecision(4) << "<svg xmlns='http://www.w3.org/2000/svg' width='" << Columns * PanelWidth
        << "' height='" << rows * PanelHeight << "' font-family='sans-serif'>\n<rect width='100%' height='100%' "
        << "fill='white'/>\n";
    for (std::size_t i = 0; i < keys; ++i)
        draw_panel(svg, history.keys[i], history.values[i], history.iterations, static_cast<int>(i % Columns) * PanelWidth,
                   static_cast<int>(i / Columns) * PanelHeight);
    svg << "</svg>\n";
    return static_cast<bool>(svg);
}

}  // namespace spsa
