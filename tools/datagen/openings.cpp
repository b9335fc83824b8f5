#include "datagen/openings.h"

#include <fstream>
#include <iostream>
#include <sstream>

#include "core/position_check.h"
#include "movegen/movegen.h"

namespace morvane {

namespace {

// The four position fields, and the move counters when they are numbers.
std::string fen_of_line(const std::string& line) {
    std::istringstream in(line);
    std::string field, fen;
    for (int i = 0; i < 4 && in >> field; ++i) fen += (i ? " " : "") + field;
    for (int i = 0; i < 2 && in >> field && field.find_first_not_of("0123456789") == std::string::npos; ++i)
        fen += ' ' + field;
    return fen;
}

}  // namespace

std::vector<std::string> read_openings(const std::string& path) {
    std::vector<std::string> openings;
    std::ifstream file(path);
    if (!file) {
        std::cerr << "cannot read " << path << '\n';
        return openings;
    }
    Board board;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        const std::string fen = fen_of_line(line);
        if (fen.empty() || fen[0] == '#') continue;
        std::string problem;
        try {
            board.set_fen(fen);
            problem = position_problem(board);
        } catch (const std::exception& e) {
            problem = e.what();
        }
        ScoredMove moves[MAX_MOVES];
        if (problem.empty() && generate_legal(board, moves, false) == 0) problem = "no legal move";
        if (problem.empty())
            openings.push_back(fen);
        else
            std::cerr << path << ':' << number << ": skipped (" << problem << ")\n";
    }
    return openings;
}

}  // namespace morvane
