#include "tablebase/syzygy.h"

#include <iostream>

#include "core/score.h"
#include "tablebase/cache.h"

namespace morvane {

namespace {

bool outside_tables(const Board& b) {
    return TB_LARGEST == 0 || static_cast<unsigned>(popcount(b.occupied())) > TB_LARGEST || b.state().castling != 0;
}

}  // namespace

TbPosition tb_position(const Board& b) {
    auto both = [&](int type) { return b.pieces(WHITE, type) | b.pieces(BLACK, type); };
    const int ep = b.state().epSquare;
    return {b.pieces(WHITE),
            b.pieces(BLACK),
            both(KING),
            both(QUEEN),
            both(ROOK),
            both(BISHOP),
            both(KNIGHT),
            both(PAWN),
            ep == NO_SQUARE ? 0u : static_cast<unsigned>(ep),
            b.side_to_move() == WHITE};
}

bool syzygy_init(const std::string& path) {
    if (!path.empty()) {
        if (tb_init(path.c_str()) && TB_LARGEST > 0) return true;
        std::cerr << "info string SyzygyPath \"" << path
                  << "\" : aucune tablebase utilisable, repli sur les donnees embarquees\n";
    }
    int dirFd = -1;
    const std::string dir = extract_embedded_to_cache(&dirFd);
    if (dir.empty()) {
        tb_init("");
        return false;
    }
    return tb_init_private_dir(dirFd, dir.c_str()) && TB_LARGEST > 0;
}

bool syzygy_probe_search(const Board& board, int ply, int& score) {
    if (outside_tables(board)) return false;
    // Stored values hold only right after a capture or pawn move.
    if (board.state().halfmove != 0) return false;
    const TbPosition a = tb_position(board);
    unsigned wdl = tb_probe_wdl_impl(a.white, a.black, a.kings, a.queens, a.rooks, a.bishops, a.knights, a.pawns, a.ep,
                                     a.turn);
    if (wdl == TB_RESULT_FAILED) return false;
    score = wdl == TB_WIN ? TB_WIN_SCORE - ply : wdl == TB_LOSS ? ply - TB_WIN_SCORE : 0;
    return true;
}

bool syzygy_root_probe(Board& board, TbRootMove& result) {
    if (outside_tables(board)) return false;
    const TbPosition a = tb_position(board);
    unsigned results[MAX_MOVES + 1];
    unsigned r = tb_probe_root_impl(a.white, a.black, a.kings, a.queens, a.rooks, a.bishops, a.knights, a.pawns,
                                    board.state().halfmove, a.ep, a.turn, results);
    if (r == TB_RESULT_FAILED || r == TB_RESULT_CHECKMATE || r == TB_RESULT_STALEMATE) return false;
    Square from = static_cast<Square>(tb_result_from(r)), to = static_cast<Square>(tb_result_to(r));
    unsigned promo = tb_result_promotes(r);
    Move m;
    if (tb_result_ep(r)) m = make_move(from, to, FLAG_EN_PASSANT);
    else if (promo >= 1 && promo <= 4)
        m = make_move(from, to, FLAG_PROMOTION, static_cast<int>(4 - promo));  // Q 3, R 2, B 1, N 0
    else m = make_move(from, to);
    unsigned wdl = tb_result_wdl(r);
    result.move = m;
    result.score = wdl == TB_WIN ? TB_WIN_SCORE : wdl == TB_LOSS ? -TB_WIN_SCORE : 0;
    return true;
}

}  // namespace morvane
