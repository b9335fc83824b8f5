#include "search/pv_extension.h"

#include "movegen/movegen.h"
#include "search/tt.h"

namespace morvane {

namespace {

bool is_legal_here(Board& board, Move m) {
    ScoredMove moves[MAX_MOVES];
    const int n = generate_legal(board, moves, false);
    for (int i = 0; i < n; ++i)
        if (moves[i].move == m) return true;
    return false;
}

}  // namespace

void extend_pv_from_tt(Board& board, std::vector<Move>& pv, int length) {
    const int rootPly = board.ply();
    std::size_t played = 0;
    for (; played < pv.size(); ++played) {
        if (!is_legal_here(board, pv[played])) {
            pv.resize(played);
            break;
        }
        board.do_move(pv[played]);
    }
    // A repeated position would only lead the table round in a circle.
    bool repeated = board.ply() > rootPly && board.is_repetition();
    while (!repeated && static_cast<int>(pv.size()) < length) {
        const TTEntry* entry = g_tt.probe(board.key());
        if (!entry || !entry->move || !is_legal_here(board, entry->move)) break;
        board.do_move(entry->move);
        pv.push_back(entry->move);
        repeated = board.is_repetition();
    }
    board.undo_to(rootPly);
}

}  // namespace morvane
