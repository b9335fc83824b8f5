// Threats: pieces attacked by pawns, pieces the opponent can win by
// exchange, pins against the king, and the smaller extended threats.
#include "eval/eval_terms.h"
#include "eval/pawn_masks.h"
#include "eval/see.h"

namespace morvane {

namespace {

Bitboard minors(const EvalState& s, Color c) { return s.pieces(c, KNIGHT) | s.pieces(c, BISHOP); }
Bitboard majors(const EvalState& s, Color c) { return s.pieces(c, ROOK) | s.pieces(c, QUEEN); }

// The cheapest enemy attacker of s (not the king), lowest square on ties.
Square cheapest_attacker(const EvalState& s, Bitboard attackers) {
    Square best = NO_SQUARE;
    int bestValue = 0;
    for (Bitboard b = attackers; b;) {
        const Square sq = pop_lsb(b);
        const int v = s.value[piece_type(s.board.piece_on(sq))];
        if (best == NO_SQUARE || v < bestValue) best = sq, bestValue = v;
    }
    return best;
}

void exchange_threats(EvalState& s, Color us) {
    const Board& b = s.board;
    const Color them = us ^ 1;
    const Bitboard enemyNoKing = b.pieces(them) & ~b.pieces(them, KING);
    // Only pieces the enemy attacks at all need the exchange worked out.
    const Bitboard attacked = s.attacks_without_king(them);
    for (int type = KNIGHT; type <= QUEEN; ++type)
        for (Bitboard p = b.pieces(us, type) & attacked; p;) {
            const Square sq = pop_lsb(p);
            const Bitboard attackers = b.attackers_to(sq, b.occupied()) & enemyNoKing;
            if (!attackers) continue;
            const int v = see(b, make_move(cheapest_attacker(s, attackers), sq));
            if (v > 0) {
                const int penalty = v * g_config.threat_see_penalty_pct / 100;
                s.add(us, -penalty, -penalty);
            }
        }
}

// Pieces the enemy attacks and nothing of ours defends (the attack maps are
// complete: every piece, pawn and king of each side).
void hanging_pieces(EvalState& s, Color us) {
    const Bitboard hanging = s.attackMap[us ^ 1] & ~s.attackMap[us];
    for (int type = KNIGHT; type <= QUEEN; ++type) {
        const int each = g_config.hanging_piece_penalty_pct * s.value[type] / 100;
        const int penalty = each * popcount(s.pieces(us, type) & hanging);
        s.add(us, -penalty, -penalty);
    }
}

}  // namespace

void apply_threats(EvalState& s) {
    const EngineConfig& c = g_config;
    if (!c.threats_enabled) return;
    for (Color us : {WHITE, BLACK}) {
        const Color them = us ^ 1;
        const Bitboard hit = s.pawns->pawnAttacks[us];
        const int t = popcount(minors(s, them) & hit) * c.threat_by_pawn_minor_bonus +
                      popcount(majors(s, them) & hit) * c.threat_by_pawn_major_bonus;
        s.add(us, t, t);
        if (c.threat_see_enabled) exchange_threats(s, us);
        else hanging_pieces(s, us);
    }
}

void apply_pins(EvalState& s) {
    const EngineConfig& c = g_config;
    if (!c.pins_enabled) return;
    const Board& b = s.board;
    for (Color us : {WHITE, BLACK}) {
        for (Bitboard p = b.pinned(us ^ 1); p;) {
            const Square sq = pop_lsb(p);
            switch (piece_type(b.piece_on(sq))) {
                case KNIGHT: s.add(us, c.pin_knight_bonus_mg, c.pin_knight_bonus_eg); break;
                case BISHOP: s.add(us, c.pin_bishop_bonus_mg, c.pin_bishop_bonus_eg); break;
                case ROOK: s.add(us, c.pin_rook_bonus_mg, c.pin_rook_bonus_eg); break;
                case QUEEN: s.add(us, c.pin_queen_bonus_mg, c.pin_queen_bonus_eg); break;
                default: break;
            }
            if (more_than_one(b.attackers_to(sq, b.occupied()) & b.pieces(us)))
                s.add(us, c.pin_attacked_bonus_mg, c.pin_attacked_bonus_eg);
        }
    }
}

void apply_extended_threats(EvalState& s) {
    const EngineConfig& c = g_config;
    if (!c.threats_extended_enabled) return;
    const Board& b = s.board;
    for (Color us : {WHITE, BLACK}) {
        const Color them = us ^ 1;
        const Bitboard targets = b.pieces(them) & ~b.pieces(them, PAWN) & ~b.pieces(them, KING);

        if (const Square k = b.king_square(us); k != NO_SQUARE) {
            const int undefended = popcount(targets & kingAtt[k] & ~s.attackMap[them]);
            s.add(us, undefended * c.threat_by_king_bonus, undefended * c.threat_by_king_bonus);
        }

        const int contested = popcount(~b.pieces(us) & s.attackMap[us] & s.attackMap[them]);
        s.add(us, contested * c.restricted_piece_bonus_mg, contested * c.restricted_piece_bonus_eg);

        // Single pushes to an empty square no enemy pawn guards, from
        // which the pawn would attack a piece: those are the squares an
        // enemy pawn standing on a target would attack.
        const Bitboard pushes = (us == WHITE ? b.pieces(us, PAWN) << 8 : b.pieces(us, PAWN) >> 8) & ~b.occupied() &
                                ~s.pawns->pawnAttacks[them];
        const int safePushes = popcount(pushes & pawn_attacks_bb(them, targets));
        s.add(us, safePushes * c.threat_safe_pawn_push_bonus, safePushes * c.threat_safe_pawn_push_bonus);

        if (popcount(b.pieces(them, QUEEN)) == 1) {
            const Square q = lsb(b.pieces(them, QUEEN));
            if (s.attacksByType[us][KNIGHT] & knightAtt[q])
                s.add(us, c.threat_fork_queen_knight_bonus, c.threat_fork_queen_knight_bonus);
            if ((s.attacksByType[us][BISHOP] & bishop_attacks(q, b.occupied())) ||
                (s.attacksByType[us][ROOK] & rook_attacks(q, b.occupied())))
                s.add(us, c.threat_fork_queen_bishop_rook_bonus, c.threat_fork_queen_bishop_rook_bonus);
        }
    }
}

}  // namespace morvane
