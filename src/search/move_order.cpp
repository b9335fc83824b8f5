// Move ordering: the table move first, then captures by their exchange
// value and capture history, killers, the countermove, and quiet moves by
// history. Good moves first is what makes the alpha-beta cut-offs happen.
#include <algorithm>

#include "config/engine_config.h"
#include "eval/see.h"
#include "search/search_context.h"

namespace morvane {

bool is_capture(const Board& board, Move m) {
    return move_flag(m) == FLAG_EN_PASSANT || board.piece_on(move_to(m)) != 0;
}

namespace {

int captured_type(const Board& board, Move m) {
    return move_flag(m) == FLAG_EN_PASSANT ? PAWN : piece_type(board.piece_on(move_to(m)));
}

int non_pawn_count(const Board& b, Color c) {
    return popcount(b.pieces(c, KNIGHT) | b.pieces(c, BISHOP) | b.pieces(c, ROOK) | b.pieces(c, QUEEN));
}

bool has_heavy(const Board& b, Color c) { return (b.pieces(c, ROOK) | b.pieces(c, QUEEN)) != 0; }

// Both sides still have most of their pieces, one of them largely undeveloped.
bool is_opening_position(const Board& b) {
    if (non_pawn_count(b, WHITE) <= 5 || non_pawn_count(b, BLACK) <= 5) return false;
    auto at_home = [&](Color c) {
        const int r = c == WHITE ? 0 : 56;
        const int homeCodes[][2] = {{KNIGHT, 1}, {KNIGHT, 6}, {BISHOP, 2}, {BISHOP, 5},
                                    {ROOK, 0},   {ROOK, 7},   {QUEEN, 3}};
        int n = 0;
        for (const auto& [type, file] : homeCodes) n += b.piece_on(r + file) == make_piece(c, type);
        return n;
    };
    return at_home(WHITE) >= 3 || at_home(BLACK) >= 3;
}

int piece_total(const Board& b) { return non_pawn_count(b, WHITE) + non_pawn_count(b, BLACK); }
bool middling_total(int total) { return total >= 2 && total <= 6; }

int material_difference(const Board& b) {
    const EngineConfig& c = g_config;
    const int values[7] = {0, c.material_pawn, c.material_knight, c.material_bishop, c.material_rook, c.material_queen,
                           0};
    int diff = 0;
    for (int type = PAWN; type <= QUEEN; ++type)
        diff += (popcount(b.pieces(WHITE, type)) - popcount(b.pieces(BLACK, type))) * values[type];
    return std::abs(diff);
}

// Whether the configured king-threat variant can change a quiet move's
// score in this position; decided once per node, as it does not depend on
// the move.
bool king_threats_scored(const Board& b) {
    const int variant = g_config.king_threat_bonus_enabled;
    if (variant < 3 || variant > 13 || variant == 8 || variant == 9 || variant == 12) return false;
    // This variant only rewards checks against a king without pieces: the
    // attack test is spared in every other position.
    return variant != 13 || non_pawn_count(b, b.side_to_move() ^ 1) == 0;
}

// Quiet-move score adjusted by the configured king-threat variant, in a
// position where king_threats_scored holds.
int king_threat_adjusted(const Board& b, Move m, int h) {
    const EngineConfig& c = g_config;
    const Color us = b.side_to_move(), them = us ^ 1;
    const int variant = c.king_threat_bonus_enabled;
    const bool bareOpponent = non_pawn_count(b, them) == 0;
    const bool check = move_threatens_king(b, m, us, true);
    auto zone = [&] { return move_threatens_king(b, m, us, false); };
    auto quiet_middlegame = [&] {
        const int total = piece_total(b);
        return !is_opening_position(b) && !middling_total(total) && total != 0;
    };
    switch (variant) {
        case 13:
            if (!check) return h;
            if (has_heavy(b, us) && bareOpponent) return h + c.king_threat_bonus_score;
            if (popcount(b.pieces(us, KNIGHT) | b.pieces(us, BISHOP)) >= 2 && bareOpponent)
                return h + c.king_threat_bonus_light_v13;
            return h;
        case 10:
            if (!check) return h;
            if (has_heavy(b, us) && !has_heavy(b, them)) return h + c.king_threat_bonus_score;
            return quiet_middlegame() ? h + c.king_threat_bonus_score_middlegame_check_v10 : h;
        case 11:
            if (check) return bareOpponent && has_heavy(b, us) ? h + c.king_threat_bonus_score : h;
            return quiet_middlegame() ? h + c.king_threat_malus_v11 : h;
        default: break;
    }
    const int checkBonus = check ? h + c.king_threat_bonus_score : h;
    const int zoneBonus = zone() ? h + c.king_threat_bonus_score / 2 : h;
    const int heavyOutcome = check ? h + c.king_threat_bonus_score : h + c.king_threat_bonus_score_heavy_noncheck;
    const bool oneHeavy = has_heavy(b, WHITE) != has_heavy(b, BLACK);
    const bool bigDifference = material_difference(b) >= c.king_threat_material_imbalance_threshold;
    auto imbalanceOutcome = [&] { return zone() ? h + c.king_threat_bonus_score_zone_imbalance : h; };
    switch (variant) {
        case 3: {
            const bool lightPresence = b.pieces(WHITE, QUEEN) || b.pieces(BLACK, KNIGHT) || b.pieces(BLACK, BISHOP) ||
                                       b.pieces(BLACK, QUEEN) || b.pieces(WHITE, KNIGHT) || b.pieces(WHITE, BISHOP);
            return middling_total(piece_total(b)) && lightPresence ? checkBonus : zoneBonus;
        }
        case 4: return oneHeavy || bigDifference ? checkBonus : zoneBonus;
        case 5: return oneHeavy ? checkBonus : !bigDifference ? h : zoneBonus;
        case 6: return oneHeavy ? heavyOutcome : !bigDifference ? h : imbalanceOutcome();
        case 7:
            if (oneHeavy) return heavyOutcome;
            if (bigDifference) return imbalanceOutcome();
            return check && quiet_middlegame() ? h + c.king_threat_bonus_score_middlegame_check : h;
        default: return h;
    }
}

}  // namespace

void score_moves(Board& board, ScoredMove* moves, int count, SearchContext& ctx, int ply, Move ttMove, Move prevMove) {
    const EngineConfig& c = g_config;
    const Color us = board.side_to_move();
    const Square prevTo = prevMove ? move_to(prevMove) : NO_SQUARE;
    const bool opening = c.recapture_bonus_disabled_in_opening && prevMove && is_opening_position(board);
    // Looked up once for the node: an empty slot holds the null move, which
    // equals no generated move.
    const Move killer0 = ply < MAX_PLY ? ctx.killers[ply][0] : NULL_MOVE;
    const Move killer1 = ply < MAX_PLY ? ctx.killers[ply][1] : NULL_MOVE;
    const Move counter = c.countermove_enabled && prevMove ? ctx.countermove[board.piece_on(prevTo)][prevTo] : NULL_MOVE;
    const bool threatsScored = king_threats_scored(board);
    const auto& history = ctx.history[us];
    for (int i = 0; i < count; ++i) {
        ScoredMove& sm = moves[i];
        const Move m = sm.move;
        const bool capture = is_capture(board, m);
        if (ttMove && m == ttMove) {
            sm.score = 2000000;
            if (capture) sm.see = see(board, m);
            continue;
        }
        if (capture) {
            const int ex = see(board, m);
            sm.see = ex;
            const int victim = captured_type(board, m);
            bool good = ex >= 0;
            if (c.capture_margin_tiered_enabled) {
                const int victimValue = victim == PAWN     ? c.material_pawn
                                        : victim == KNIGHT ? c.material_knight
                                        : victim == BISHOP ? c.material_bishop
                                        : victim == ROOK   ? c.material_rook
                                        : victim == QUEEN  ? c.material_queen
                                                           : 0;
                good = ex >=
                       (victimValue < c.capture_margin_value_threshold ? c.capture_margin_low : c.capture_margin_high);
            }
            int term = c.capture_history_enabled ? ctx.captureHistory[board.piece_on(move_from(m))][move_to(m)][victim]
                                                 : 0;
            if (prevMove && move_to(m) == prevTo && !opening) term += c.recapture_bonus;
            sm.score = ex + term + (good ? 1000000 : -900000);
            continue;
        }
        if (m == killer0) {
            sm.score = 900000;
        } else if (m == killer1) {
            sm.score = 890000;
        } else if (m == counter) {
            sm.score = c.countermove_bonus_score;
        } else {
            const int h = history[move_from(m)][move_to(m)];
            sm.score = threatsScored ? king_threat_adjusted(board, m, h) : h;
        }
    }
    std::sort(moves, moves + count, [](const ScoredMove& a, const ScoredMove& b) { return a.score > b.score; });
}

void update_cutoff_heuristics(const Board& board, SearchContext& ctx, Move m, int depth, int ply, Move prevMove,
                              const Move* triedQuiets, int triedCount) {
    const EngineConfig& c = g_config;
    const int bonus = depth * depth;
    if (is_capture(board, m)) {
        if (c.capture_history_enabled) {
            int& h = ctx.captureHistory[board.piece_on(move_from(m))][move_to(m)][captured_type(board, m)];
            h = std::min(h + bonus, HISTORY_CAP);
        }
        return;
    }
    if (ply < MAX_PLY && m != ctx.killers[ply][0]) {
        ctx.killers[ply][1] = ctx.killers[ply][0];
        ctx.killers[ply][0] = m;
    }
    const Color us = board.side_to_move();
    int& h = ctx.history[us][move_from(m)][move_to(m)];
    h = std::min(h + bonus, HISTORY_CAP);
    if (c.countermove_enabled && prevMove) {
        const Square to = move_to(prevMove);
        if (board.piece_on(to)) ctx.countermove[board.piece_on(to)][to] = m;
    }
    if (c.history_malus_enabled)
        for (int i = 0; i < triedCount; ++i) {
            if (triedQuiets[i] == m) continue;
            int& th = ctx.history[us][move_from(triedQuiets[i])][move_to(triedQuiets[i])];
            th = std::max(th - bonus / 2, -HISTORY_CAP);
        }
}

}  // namespace morvane
