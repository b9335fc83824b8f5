#include <iostream>

#include "core/notation.h"
#include "movegen/movegen.h"
#include "uci/commands.h"

namespace morvane {

void cmd_go_perft(Board& board, int depth) {
    ScoredMove moves[MAX_MOVES] = {};
    const int n = generate_legal(board, moves, false);
    std::uint64_t total = 0;
    for (int i = 0; i < n; ++i) {
        board.do_move(moves[i].move);
        std::uint64_t count = 1;
        if (depth == 2) {
            ScoredMove replies[MAX_MOVES] = {};
            count = static_cast<std::uint64_t>(generate_legal(board, replies, false));
        } else if (depth > 2) {
            count = perft_count(board, depth - 1);
        }
        board.undo_move();
        std::cout << move_to_uci(moves[i].move) << ": " << count << '\n';
        total += count;
    }
    std::cout << "\nNodes searched: " << total << '\n' << std::flush;
}

}  // namespace morvane
