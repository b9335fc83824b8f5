#include "sts/epd.h"

#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <sstream>

#include "core/file_read.h"

namespace morvane {

std::string trim(const std::string& text) {
    const char* blanks = " \t\r\n";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string extract_quoted(const std::string& text) {
    const auto open = text.find('"');
    if (open == std::string::npos) return {};
    const auto close = text.find('"', open + 1);
    if (close == std::string::npos) return {};
    return text.substr(open + 1, close - open - 1);
}

namespace {

// Suites hold a few thousand positions at most; this is far above.
constexpr std::size_t maxSuiteBytes = std::size_t{64} << 20;

// Points of a c0 item; suites give tens. The bound keeps every total of a
// run of the largest suite far from overflowing.
constexpr long long maxPoints = 1000000;

// The leading number of the text, as strtol reads it (no digits: 0);
// false when it lies beyond the bound, rather than wrapped.
bool read_points(const std::string& text, int& points) {
    errno = 0;
    const long long value = std::strtoll(text.c_str(), nullptr, 10);
    if (errno == ERANGE || value < -maxPoints || value > maxPoints) return false;
    points = static_cast<int>(value);
    return true;
}

void read_operation(const std::string& op, int lineNumber, StsPosition& pos) {
    if (op.size() < 3) return;
    const std::string code = op.substr(0, 3);
    if (code == "bm ") {
        std::istringstream moves(op.substr(3));
        std::string san;
        while (moves >> san) pos.best_moves.push_back(san);
    } else if (code == "id ") {
        pos.id = extract_quoted(op);
    } else if (code == "c0 ") {
        std::istringstream items(extract_quoted(op));
        std::string item;
        while (std::getline(items, item, ',')) {
            item = trim(item);
            const auto eq = item.find('=');
            if (eq == std::string::npos) continue;
            int points = 0;
            if (!read_points(trim(item.substr(eq + 1)), points)) {
                std::cerr << "Ligne " << lineNumber << " : points de c0 hors de -" << maxPoints << ".." << maxPoints
                          << " (" << item.substr(0, 40) << (item.size() > 40 ? "..." : "") << "), element ignore"
                          << std::endl;
                continue;
            }
            pos.alternatives.emplace_back(trim(item.substr(0, eq)), points);
        }
    }
}

}  // namespace

std::vector<StsPosition> parse_epd_file(const std::string& path) {
    std::vector<StsPosition> positions;
    std::string content, problem;
    if (const FileRead read = read_regular_file(path, maxSuiteBytes, content, problem); read != FileRead::Ok) {
        std::cerr << "Impossible d'ouvrir " << path << (read == FileRead::Refused ? " : " + problem : "") << std::endl;
        return positions;
    }
    std::istringstream file(content);
    std::string raw;
    int lineNumber = 0;
    while (std::getline(file, raw)) {
        ++lineNumber;
        const std::string line = trim(raw);
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        std::string f[4];
        if (!(fields >> f[0] >> f[1] >> f[2] >> f[3])) {
            std::cerr << "Ligne " << lineNumber << " : FEN incomplet, ignoree" << std::endl;
            continue;
        }
        StsPosition pos;
        pos.fen = f[0] + ' ' + f[1] + ' ' + f[2] + ' ' + f[3] + " 0 1";
        pos.line = lineNumber;
        std::string rest, op;
        std::getline(fields, rest);
        std::istringstream ops(rest);
        while (std::getline(ops, op, ';'))
            if (const std::string piece = trim(op); !piece.empty()) read_operation(piece, lineNumber, pos);
        if (pos.best_moves.empty()) {
            std::cerr << "Ligne " << lineNumber << " : pas de 'bm', ignoree" << std::endl;
            continue;
        }
        positions.push_back(std::move(pos));
    }
    return positions;
}

}  // namespace morvane
