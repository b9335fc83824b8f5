#include <iostream>

#include "core/notation.h"
#include "core/position_check.h"
#include "movegen/movegen.h"
#include "uci/commands.h"

namespace morvane {

namespace {

// Applies one UCI move text if it names a legal move.
bool play_uci_move(Board& board, const std::string& text) {
    ScoredMove moves[MAX_MOVES];
    const int n = generate_legal(board, moves, false);
    for (int i = 0; i < n; ++i)
        if (move_to_uci(moves[i].move) == text) {
            board.do_move(moves[i].move);
            return true;
        }
    return false;
}

void set_position(Board& board, std::istringstream& rest) {
    std::string token;
    rest >> token;
    if (token == "startpos") {
        board.set_fen(StartFen);
        rest >> token;
    } else if (token == "fen") {
        std::string fen;
        while (rest >> token && token != "moves") fen += (fen.empty() ? "" : " ") + token;
        board.set_fen(fen);
    } else {
        return;
    }
    if (const std::string problem = position_problem(board); !problem.empty())
        throw std::runtime_error("FEN invalide: " + problem);
    if (token != "moves") return;
    while (rest >> token) {
        if (!play_uci_move(board, token)) {
            std::cerr << "info string coup UCI non reconnu ou illegal: " << token << std::endl;
            return;
        }
    }
}

}  // namespace

void cmd_position(Board& board, std::istringstream& rest) {
    try {
        set_position(board, rest);
        return;
    } catch (const std::exception& e) {
        std::cerr << "info string EXCEPTION pendant position: " << e.what() << std::endl;
    } catch (...) {
        std::cerr << "info string EXCEPTION inconnue pendant position" << std::endl;
    }
    // A half-set board must never reach the move generator or the search.
    if (!position_problem(board).empty()) board.set_fen(StartFen);
}

}  // namespace morvane
