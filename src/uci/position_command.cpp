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
            // A game longer than the tables keeps its recent part: the
            // positions since the last irreversible move (all a repetition
            // can reach; past a hundred plies the fifty-move rule decides).
            if (board.ply() >= MAX_ROOT_PLY) board.keep_recent_history(std::min<int>(board.state().halfmove, 100));
            board.do_move(moves[i].move);
            return true;
        }
    return false;
}

}  // namespace

// The board keeps whatever the FEN parser accepted, even a position no
// search can play: "go" refuses those itself, so a GUI never gets a move
// computed for some other position.
void cmd_position(Board& board, std::istringstream& rest) {
    std::string token;
    rest >> token;
    if (token == "startpos") {
        board.set_fen(StartFen);
        rest >> token;
    } else if (token == "fen") {
        std::string fen;
        while (rest >> token && token != "moves") fen += (fen.empty() ? "" : " ") + token;
        try {
            board.set_fen(fen);
        } catch (const std::exception& e) {
            std::cerr << "info string EXCEPTION pendant position: " << e.what() << std::endl;
            return;
        }
        if (const std::string dropped = drop_impossible_rights(board); !dropped.empty())
            std::cerr << "info string FEN corrigee: " << dropped << std::endl;
    } else {
        return;
    }
    if (token != "moves") return;
    // The move generator needs a playable position to test moves against.
    if (const std::string problem = position_problem(board); !problem.empty()) {
        std::cerr << "info string coups ignores, position injouable: " << problem << std::endl;
        return;
    }
    while (rest >> token) {
        if (!play_uci_move(board, token)) {
            std::cerr << "info string coup UCI non reconnu ou illegal: " << token << std::endl;
            return;
        }
    }
}

}  // namespace morvane
