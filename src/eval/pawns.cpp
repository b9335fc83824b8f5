// Pawn structure: everything that depends on the pawns alone is computed
// once per pawn configuration and cached; the weights are applied afresh at
// every call so that the cache never goes stale when parameters change.
#include "eval/eval_terms.h"
#include "eval/evaluate.h"
#include "eval/pawn_masks.h"

#include <algorithm>
#include <cstdlib>

namespace morvane {

PawnTable g_pawnTable;

namespace {

void compute_side(PawnEntry& e, Color c, Bitboard own, Bitboard enemy) {
    e.pawnAttacks[c] = pawn_attacks_bb(c, own);
    for (Bitboard b = own; b;) {
        const Square s = pop_lsb(b);
        const int f = file_of(s);
        const Bitboard ahead = ranks_ahead(c, rank_of(s));
        const Bitboard behind = ranks_level_or_behind(c, rank_of(s));
        const Bitboard span = adjacent_files(f) | file_bb(f);
        if (!(own & adjacent_files(f))) e.isolated[c] |= square_bb(s);
        const bool passed = !(enemy & span & ahead);
        if (passed) e.passed[c] |= square_bb(s);
        const Square stop = c == WHITE ? s + 8 : s - 8;
        if (stop >= 0 && stop < 64 && (pawnAtt[c][stop] & enemy) && !(own & adjacent_files(f) & behind))
            e.backward[c] |= square_bb(s);
        if (!passed && popcount(enemy & span & ahead) < popcount(own & span & behind)) e.candidates[c] |= square_bb(s);
    }
    constexpr Bitboard QueenSide = 0x0F0F0F0F0F0F0F0FULL;
    const Bitboard allPawns = own | enemy;
    for (Bitboard b = e.passed[c]; b;) {
        const Square s = pop_lsb(b);
        const int f = file_of(s), r = rank_of(s);
        for (Bitboard n = e.passed[c] & adjacent_files(f); n;) {
            const int dr = rank_of(pop_lsb(n)) - r;
            if (dr > -2 && dr < 2) e.connectedPassed[c] |= square_bb(s);
        }
        if ((f <= 1 && (allPawns & ~QueenSide)) || (f >= 6 && (allPawns & QueenSide)))
            e.outsidePassed[c] |= square_bb(s);
    }
    for (int f = 0; f < 8; ++f) {
        const Bitboard onFile = own & file_bb(f);
        if (!more_than_one(onFile)) continue;
        const Bitboard mostAdvanced = c == WHITE ? square_bb(63 - std::countl_zero(onFile)) : onFile & -onFile;
        const Bitboard doubled = onFile & ~mostAdvanced;
        e.doubled[c] |= doubled;
        if (!(enemy & adjacent_files(f))) e.lockedDoubled[c] |= doubled;
    }
    // A square stays safe from enemy pawns when none can ever reach a
    // neighbouring file at its rank or beyond (pawns never move backward).
    e.safe[c] = ~fill_forward(c ^ 1, shift_west(enemy) | shift_east(enemy));
    e.outposts[c] = e.safe[c] & e.pawnAttacks[c];
}

void compute_entry(PawnEntry& e, const Board& board) {
    const Bitboard white = board.pieces(WHITE, PAWN), black = board.pieces(BLACK, PAWN);
    compute_side(e, WHITE, white, black);
    compute_side(e, BLACK, black, white);
    for (Color c : {WHITE, BLACK}) {
        const Bitboard own = c == WHITE ? white : black;
        const Bitboard weak = e.isolated[c ^ 1] | e.backward[c ^ 1];
        for (int f = 0; f < 8; ++f)
            if (!(own & file_bb(f)) && (weak & file_bb(f))) e.targetFiles[c] |= file_bb(f);
    }
    e.structureFlags = structure_flags(white, black);
}

}  // namespace

const PawnEntry& probe_pawn_entry(const Board& board) {
    const std::uint64_t key = board.pawn_key();
    PawnEntry& slot = g_pawnTable.slot(key);
    if (slot.valid == 1 && slot.key == key) return slot;
    slot = PawnEntry{};
    compute_entry(slot, board);
    slot.key = key;
    slot.valid = 1;
    return slot;
}

void apply_pawn_structure(EvalState& s) {
    const EngineConfig& c = g_config;
    const PawnEntry& e = *s.pawns;
    const Board& b = s.board;
    for (Color us : {WHITE, BLACK}) {
        const int isolated = popcount(e.isolated[us]), doubled = popcount(e.doubled[us]);
        const int locked = popcount(e.lockedDoubled[us]), backward = popcount(e.backward[us]);
        s.add(us,
              -(c.isolated_pawn_penalty_mg * isolated + c.doubled_pawn_penalty_mg * doubled +
                c.doubled_pawn_locked_penalty_mg * locked + c.backward_pawn_penalty_mg * backward),
              -(c.isolated_pawn_penalty_eg * isolated + c.doubled_pawn_penalty_eg * doubled +
                c.doubled_pawn_locked_penalty_eg * locked + c.backward_pawn_penalty_eg * backward));

        const Bitboard heavy = b.pieces(us, ROOK) | b.pieces(us, QUEEN);
        const Square ownKing = b.king_square(us), enemyKing = b.king_square(us ^ 1);
        for (Bitboard p = e.passed[us]; p;) {
            const Square sq = pop_lsb(p);
            const int rel = us == WHITE ? rank_of(sq) : 7 - rank_of(sq);
            s.add(us, c.passed_pawn_bonus_mg[rel], c.passed_pawn_bonus_eg[rel]);
            const Square front = us == WHITE ? sq + 8 : sq - 8;
            if (front < 0 || front > 63 || !b.piece_on(front))
                s.add(us, c.passed_pawn_free_bonus_mg, c.passed_pawn_free_bonus_eg);
            if (rook_attacks(sq, b.occupied()) & heavy & file_bb(file_of(sq)))
                s.add(us, c.passed_pawn_supported_bonus_mg, c.passed_pawn_supported_bonus_eg);
            if (e.connectedPassed[us] & square_bb(sq))
                s.add(us, c.passed_pawn_connected_bonus_mg, c.passed_pawn_connected_bonus_eg);
            if (e.outsidePassed[us] & square_bb(sq))
                s.add(us, c.passed_pawn_outside_bonus_mg, c.passed_pawn_outside_bonus_eg);
            if (ownKing != NO_SQUARE && enemyKing != NO_SQUARE) {
                // Kings race to the promotion square of the pawn's file.
                auto distance = [&](Square k) {
                    const int rows = us == WHITE ? 7 - rank_of(k) : rank_of(k);
                    return std::max(std::abs(file_of(k) - file_of(sq)), rows);
                };
                s.eg[us] += c.passed_pawn_king_distance_weight_eg * (distance(enemyKing) - distance(ownKing));
            }
        }
        const int candidates = popcount(e.candidates[us]);
        s.add(us, c.passed_pawn_candidate_bonus_mg * candidates, c.passed_pawn_candidate_bonus_eg * candidates);
    }
}

}  // namespace morvane
