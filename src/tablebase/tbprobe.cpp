// Endgame-table probes. The stored values assume that no capture is
// better, so the probes resolve captures (and en passant) by a small search
// before trusting a stored value.
#include "tablebase/tbprobe.h"

#include "tablebase/tb_files.h"
#include "tablebase/tb_position.h"

namespace morvane {

namespace tb {
namespace {

const int WdlToDtz[5] = {-1, -101, 0, 101, 1};

// Stored value of the position: the win/draw/loss value (-2..2) or the
// distance without sign. success: 0 failure, -1 the file holds no value for
// this side to move.
int probe_table(const TbPos& p, int kind, int* success) {
    std::uint64_t key = calc_key(p, false);
    if (key == 0) return 0;  // bare kings: a draw, no file needed
    TbEntry* e = find_entry(key);
    if (!e || !e->files[kind].present) {
        *success = 0;
        return 0;
    }
    if (!init_table(*e, kind)) {
        *success = 0;
        return 0;
    }
    bool swap = key != e->key;
    int sq[4];
    std::uint64_t used = 0;
    for (int i = 0; i < e->mat.n; ++i) {
        int type = e->mat.code[i] & 7;
        bool whiteInTable = (e->mat.code[i] >> 3) == 0;
        bool white = swap ? !whiteInTable : whiteInTable;
        std::uint64_t b = type_bb(p, type) & side_bb(p, white) & ~used;
        if (!b) {
            *success = 0;
            return 0;
        }
        int s = tb_lsb(b);
        used |= std::uint64_t{1} << s;
        sq[i] = swap ? s ^ 56 : s;
    }
    std::uint32_t idx = encode(e->mat, sq);
    bool whiteToMove = swap ? !p.turn : p.turn;
    int side = whiteToMove ? 0 : 1;
    const TbFile& f = e->files[kind];
    if (idx == invalidIndex || idx >= e->mat.size) {
        *success = 0;
        return 0;
    }
    if (!(f.sides >> side & 1)) {
        *success = -1;
        return 0;
    }
    int v = part_value(f.parts[side], idx);
    // Win/draw/loss values index the distance tables: nothing above 4.
    if (v < 0 || (kind == WDL && v > 4)) {
        drop_damaged(*e, kind, v < 0 ? "donnees compressees invalides" : "valeur hors bornes");
        *success = 0;
        return 0;
    }
    return kind == WDL ? v - 2 : v;
}

// Alpha-beta over captures, backed by the stored values.
int probe_ab(const TbPos& p, int alpha, int beta, int* success) {
    TbMove moves[maxTbMoves];
    int n = gen_captures(p, moves);
    for (int i = 0; i < n; ++i) {
        TbPos q = do_move(p, moves[i]);
        if (!is_legal(q)) continue;
        int v = -probe_ab(q, -beta, -alpha, success);
        if (*success == 0) return 0;
        if (v > alpha) {
            if (v >= beta) return v;
            alpha = v;
        }
    }
    int v = probe_table(p, WDL, success);
    if (*success == 0) return 0;
    return alpha >= v ? alpha : v;
}

// Win/draw/loss from the side to move (-2..2). success: 0 failure, 1 from
// the table, 2 decided by a capture or a forced zeroing move.
int probe_wdl(const TbPos& p, int* success) {
    *success = 1;
    TbMove moves[maxTbMoves];
    int n = gen_captures(p, moves);
    int bestCap = -3, bestEp = -3;
    for (int i = 0; i < n; ++i) {
        TbPos q = do_move(p, moves[i]);
        if (!is_legal(q)) continue;
        int v = -probe_ab(q, -2, -bestCap, success);
        if (*success == 0) return 0;
        if (v > bestCap) {
            if (v == 2) {
                *success = 2;
                return 2;
            }
            if (!moves[i].ep) bestCap = v;
            else if (v > bestEp) bestEp = v;
        }
    }
    int v = probe_table(p, WDL, success);
    if (*success == 0) return 0;
    if (bestEp > bestCap) {
        if (bestEp > v) {
            *success = 2;
            return bestEp;
        }
        bestCap = bestEp;
    }
    if (bestCap >= v) {
        *success = 1 + (bestCap > 0);
        return bestCap;
    }
    // A stored draw ignores en passant: if that capture is the only legal
    // move and there is no check, it is forced.
    if (bestEp > -3 && v == 0) {
        TbMove all[maxTbMoves];
        int m = gen_moves(p, all);
        bool other = false;
        for (int i = 0; i < m && !other; ++i)
            if (!all[i].ep && is_legal(do_move(p, all[i]))) other = true;
        if (!other && !is_check(p)) {
            *success = 2;
            return bestEp;
        }
    }
    return v;
}

int probe_dtz(const TbPos& p, int* success) {
    int wdl = probe_wdl(p, success);
    if (*success == 0) return 0;
    if (wdl == 0) return 0;
    if (*success == 2) return WdlToDtz[wdl + 2];
    TbMove moves[maxTbMoves];
    int n = 0;
    if (wdl > 0) {
        // A winning pawn move zeroes at once.
        n = gen_moves(p, moves);
        for (int i = 0; i < n; ++i) {
            if (!(p.pawns >> moves[i].from & 1) || is_capture(p, moves[i])) continue;
            TbPos q = do_move(p, moves[i]);
            if (!is_legal(q)) continue;
            int v = -probe_wdl(q, success);
            if (*success == 0) return 0;
            if (v == wdl) return WdlToDtz[wdl + 2];
        }
    }
    int d = probe_table(p, DTZ, success);
    if (*success > 0) return wdl > 0 ? d : -d;
    if (*success == 0) return 0;
    // The file keeps the other side to move only: look one move ahead.
    *success = 1;
    if (n == 0) n = gen_moves(p, moves);
    if (wdl > 0) {
        int best = 0xFFFF;
        for (int i = 0; i < n; ++i) {
            if (is_zeroing(p, moves[i])) continue;
            TbPos q = do_move(p, moves[i]);
            if (!is_legal(q)) continue;
            int v;
            if (is_mate(q)) {
                v = 1;
            } else {
                v = -probe_dtz(q, success);
                if (*success == 0) return 0;
                if (v <= 0) continue;
                ++v;
            }
            if (v < best) best = v;
        }
        return best == 0xFFFF ? 0 : best;
    }
    int best = -1;
    for (int i = 0; i < n; ++i) {
        TbPos q = do_move(p, moves[i]);
        if (!is_legal(q)) continue;
        int v;
        if (is_zeroing(p, moves[i])) {
            v = wdl == -2 ? -1 : -101;
        } else {
            v = -probe_dtz(q, success) - 1;
            if (*success == 0) return 0;
        }
        if (v < best) best = v;
    }
    return best;
}

unsigned dtz_to_wdl(unsigned rule50, int d) {
    if (d > 0) return static_cast<unsigned>(d) + rule50 <= 100 ? TB_WIN : TB_CURSED_WIN;
    if (d < 0) return static_cast<unsigned>(-d) + rule50 <= 100 ? TB_LOSS : TB_BLESSED_LOSS;
    return TB_DRAW;
}

unsigned pack(TbMove m, unsigned wdl, int v) {
    unsigned dtz = static_cast<unsigned>(v < 0 ? -v : v);
    return wdl | unsigned(m.to) << 4 | unsigned(m.from) << 10 | unsigned(m.promo) << 16 | unsigned(m.ep) << 19 |
           dtz << 20;
}

unsigned probe_root(const TbPos& p, unsigned* results) {
    TbMove moves[maxTbMoves];
    int n = gen_moves(p, moves);
    int legal = 0;
    for (int i = 0; i < n; ++i) legal += is_legal(do_move(p, moves[i]));
    if (results) results[0] = TB_RESULT_FAILED;
    if (legal == 0) return is_check(p) ? TB_RESULT_CHECKMATE : TB_RESULT_STALEMATE;

    int success;
    int dtz = probe_dtz(p, &success);
    if (!success) return TB_RESULT_FAILED;

    int scores[maxTbMoves];
    int numDraw = 0;
    int k = 0;
    for (int i = 0; i < n; ++i) {
        TbPos q = do_move(p, moves[i]);
        if (!is_legal(q)) {
            scores[i] = 32767;
            continue;
        }
        int v;
        if (dtz > 0 && is_mate(q)) {
            v = 1;
        } else if (q.rule50 != 0) {
            v = -probe_dtz(q, &success);
            if (v > 0) ++v;
            else if (v < 0) --v;
        } else {
            v = -probe_wdl(q, &success);
            v = WdlToDtz[v + 2];
        }
        if (!success) return TB_RESULT_FAILED;
        scores[i] = v;
        if (v == 0) ++numDraw;
        if (results) results[k++] = pack(moves[i], dtz_to_wdl(p.rule50, v), v);
    }
    if (results) results[k] = TB_RESULT_FAILED;

    int best = -1;
    if (dtz > 0) {
        int bestV = 32767;
        for (int i = 0; i < n; ++i)
            if (scores[i] > 0 && scores[i] < 32767 && scores[i] < bestV) {
                bestV = scores[i];
                best = i;
            }
        if (best < 0) return TB_RESULT_FAILED;
    } else if (dtz < 0) {
        int bestV = 0;
        for (int i = 0; i < n; ++i)
            if (scores[i] < bestV) {
                bestV = scores[i];
                best = i;
            }
        if (best < 0) return TB_RESULT_CHECKMATE;
    } else {
        if (numDraw == 0) return TB_RESULT_STALEMATE;
        // A fixed choice among the drawing moves that varies with material.
        std::uint64_t pick = calc_key(p, true) % static_cast<std::uint64_t>(numDraw);
        for (int i = 0; i < n; ++i)
            if (scores[i] == 0 && pick-- == 0) {
                best = i;
                break;
            }
    }
    return pack(moves[best], dtz_to_wdl(p.rule50, scores[best]), scores[best]);
}

}  // namespace
}  // namespace tb

using namespace tb;

unsigned tb_probe_wdl_impl(std::uint64_t white, std::uint64_t black, std::uint64_t kings, std::uint64_t queens,
                           std::uint64_t rooks, std::uint64_t bishops, std::uint64_t knights, std::uint64_t pawns,
                           unsigned ep, bool turn) {
    TbPos p;
    if (!make_pos(p, white, black, kings, queens, rooks, bishops, knights, pawns, ep, turn)) return TB_RESULT_FAILED;
    int success;
    int v = probe_wdl(p, &success);
    if (!success) return TB_RESULT_FAILED;
    return static_cast<unsigned>(v + 2);
}

unsigned tb_probe_root_impl(std::uint64_t white, std::uint64_t black, std::uint64_t kings, std::uint64_t queens,
                            std::uint64_t rooks, std::uint64_t bishops, std::uint64_t knights, std::uint64_t pawns,
                            unsigned rule50, unsigned ep, bool turn, unsigned* results) {
    TbPos p;
    if (!make_pos(p, white, black, kings, queens, rooks, bishops, knights, pawns, ep, turn)) return TB_RESULT_FAILED;
    p.rule50 = static_cast<std::uint8_t>(rule50 > 255 ? 255 : rule50);
    return probe_root(p, results);
}

int tb_probe_dtz_impl(std::uint64_t white, std::uint64_t black, std::uint64_t kings, std::uint64_t queens,
                      std::uint64_t rooks, std::uint64_t bishops, std::uint64_t knights, std::uint64_t pawns,
                      unsigned ep, bool turn, int* success) {
    TbPos p;
    if (!make_pos(p, white, black, kings, queens, rooks, bishops, knights, pawns, ep, turn)) {
        *success = 0;
        return 0;
    }
    return probe_dtz(p, success);
}

}  // namespace morvane
