#include "spsa/history.h"

#include <fstream>
#include <iomanip>
#include <sstream>

namespace spsa {

namespace {

constexpr std::size_t FirstKeyColumn = 5;  // after iteration, games, wins, draws, losses

std::string history_row(const TunerState& s) {
    std::ostringstream row;
    row << s.iteration << ',' << s.total.games() << ',' << s.total.wins << ',' << s.total.draws << ','
        << s.total.losses << std::fixed << std::setprecision(3);
    for (double v : s.values) row << ',' << v;
    return row.str();
}

bool write_lines(const std::string& path, std::ios::openmode mode, const std::vector<std::string>& lines,
                 std::string& error) {
    std::ofstream out(path, mode);
    for (const std::string& line : lines) out << line << '\n';
    out.flush();
    if (!out) error = "cannot write " + path;
    return static_cast<bool>(out);
}

std::vector<std::string> split_commas(const std::string& line) {
    std::vector<std::string> cells;
    std::istringstream in(line);
    for (std::string cell; std::getline(in, cell, ',');) cells.push_back(cell);
    return cells;
}

}  // namespace

bool start_history(const std::string& path, const TunerState& state, std::string& error) {
    std::string header = "iteration,games,wins,draws,losses";
    for (const TunedKey& key : state.keys) header += ',' + key.name;
    return write_lines(path, std::ios::trunc, {header, history_row(state)}, error);
}

bool append_history(const std::string& path, const TunerState& state, std::string& error) {
    return write_lines(path, std::ios::app, {history_row(state)}, error);
}

bool trim_history(const std::string& path, std::int64_t iteration, std::string& error) {
    std::ifstream in(path);
    if (!in) {
        error = "cannot read " + path;
        return false;
    }
    std::vector<std::string> kept;
    for (std::string line; std::getline(in, line);) {
        const bool header = kept.empty();
        std::int64_t rowIteration = -1;
        std::istringstream(line) >> rowIteration;
        // A row cut short by a killed run has no place either.
        if (header || (rowIteration >= 0 && rowIteration <= iteration && !in.eof())) kept.push_back(line);
    }
    in.close();
    return write_lines(path, std::ios::trunc, kept, error);
}

bool read_history(std::istream& in, History& history, std::string& error) {
    history = {};
    std::string line;
    std::getline(in, line);
    const std::vector<std::string> header = split_commas(line);
    if (header.size() <= FirstKeyColumn) {
        error = "the history has no key column";
        return false;
    }
    history.keys.assign(header.begin() + FirstKeyColumn, header.end());
    history.values.resize(history.keys.size());
    while (std::getline(in, line)) {
        const std::vector<std::string> cells = split_commas(line);
        if (cells.size() != header.size()) continue;  // a row cut short
        try {
            history.iterations.push_back(std::stod(cells[0]));
            for (std::size_t i = 0; i < history.keys.size(); ++i)
                history.values[i].push_back(std::stod(cells[FirstKeyColumn + i]));
        } catch (const std::exception&) {
            error = "unreadable history row: " + line;
            return false;
        }
    }
    if (history.iterations.empty()) {
        error = "the history has no row";
        return false;
    }
    return true;
}

bool mean_of_last_iterations(const History& history, std::int64_t lastIteration, std::int64_t count,
                             std::vector<double>& means, std::string& error) {
    means.assign(history.keys.size(), 0);
    std::int64_t rows = 0;
    for (std::size_t row = 0; row < history.iterations.size(); ++row) {
        const double iteration = history.iterations[row];
        if (iteration <= static_cast<double>(lastIteration - count) || iteration > static_cast<double>(lastIteration))
            continue;
        ++rows;
        for (std::size_t i = 0; i < means.size(); ++i) means[i] += history.values[i][row];
    }
    if (count < 1 || rows != count) {
        error = "the history does not hold the " + std::to_string(count) + " iterations up to " +
                std::to_string(lastIteration);
        return false;
    }
    for (double& mean : means) mean /= static_cast<double>(rows);
    return true;
}

}  // namespace spsa
