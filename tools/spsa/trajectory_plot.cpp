#include "spsa/trajectory_plot.h"

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <vector>

namespace spsa {

namespace {

constexpr int FirstKeyColumn = 5;  // after iteration, games, wins, draws, losses
constexpr int Columns = 4, PanelWidth = 300, PanelHeight = 130, Margin = 10;

std::vector<std::string> split_commas(const std::string& line) {
    std::vector<std::string> cells;
    std::istringstream in(line);
    for (std::string cell; std::getline(in, cell, ',');) cells.push_back(cell);
    return cells;
}

struct Series {
    std::string name;
    std::vector<double> values;
};

void draw_panel(std::ostream& svg, const Series& series, const std::vector<double>& iterations, int x0, int y0) {
    const auto [lowIt, highIt] = std::minmax_element(series.values.begin(), series.values.end());
    double low = *lowIt, high = *highIt;
    if (high - low < 1e-9) low -= 1, high += 1;
    const double lastIteration = std::max(iterations.back(), 1.0);
    const int left = x0 + 40, right = x0 + PanelWidth - Margin, top = y0 + 22, bottom = y0 + PanelHeight - 14;
    auto x = [&](double it) { return left + (right - left) * it / lastIteration; };
    auto y = [&](double v) { return bottom - (bottom - top) * (v - low) / (high - low); };
    svg << "<rect x='" << left << "' y='" << top << "' width='" << right - left << "' height='" << bottom - top
        << "' fill='none' stroke='#bbb'/>\n";
    svg << "<text x='" << x0 + 4 << "' y='" << y0 + 14 << "' font-size='11'>" << series.name << ": "
        << series.values.front() << " &#8594; " << series.values.back() << "</text>\n";
    svg << "<text x='" << left - 3 << "' y='" << top + 8 << "' font-size='9' text-anchor='end'>" << high
        << "</text>\n<text x='" << left - 3 << "' y='" << bottom << "' font-size='9' text-anchor='end'>" << low
        << "</text>\n<text x='" << right << "' y='" << bottom + 11 << "' font-size='9' text-anchor='end'>"
        << iterations.back() << "</text>\n";
    // The start value, so that drift reads at a glance.
    svg << "<line x1='" << left << "' x2='" << right << "' y1='" << y(series.values.front()) << "' y2='"
        << y(series.values.front()) << "' stroke='#999' stroke-dasharray='3,3'/>\n<polyline fill='none' "
        << "stroke='#1f5fa8' points='";
    for (std::size_t i = 0; i < series.values.size(); ++i) svg << x(iterations[i]) << ',' << y(series.values[i]) << ' ';
    svg << "'/>\n";
}

}  // namespace

bool write_trajectory_svg(std::istream& history, std::ostream& svg, std::string& error) {
    std::string line;
    std::getline(history, line);
    const std::vector<std::string> header = split_commas(line);
    if (header.size() <= FirstKeyColumn) {
        error = "the history has no key column";
        return false;
    }
    std::vector<Series> series;
    for (std::size_t i = FirstKeyColumn; i < header.size(); ++i) series.push_back({header[i], {}});
    std::vector<double> iterations;
    while (std::getline(history, line)) {
        const std::vector<std::string> cells = split_commas(line);
        if (cells.size() != header.size()) continue;  // a row cut short
        try {
            iterations.push_back(std::stod(cells[0]));
            for (std::size_t i = 0; i < series.size(); ++i) series[i].values.push_back(std::stod(cells[FirstKeyColumn + i]));
        } catch (const std::exception&) {
            error = "unreadable history row: " + line;
            return false;
        }
    }
    if (iterations.empty()) {
        error = "the history has no row";
        return false;
    }
    const int rows = static_cast<int>((series.size() + Columns - 1) / Columns);
    svg << std::setprecision(4) << "<svg xmlns='http://www.w3.org/2000/svg' width='" << Columns * PanelWidth
        << "' height='" << rows * PanelHeight << "' font-family='sans-serif'>\n<rect width='100%' height='100%' "
        << "fill='white'/>\n";
    for (std::size_t i = 0; i < series.size(); ++i)
        draw_panel(svg, series[i], iterations, static_cast<int>(i % Columns) * PanelWidth,
                   static_cast<int>(i / Columns) * PanelHeight);
    svg << "</svg>\n";
    return static_cast<bool>(svg);
}

}  // namespace spsa
