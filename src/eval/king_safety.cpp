// King safety, in four middlegame-minded terms:
// - shelter and storm: own pawns in front of the king shield it, files
//   without an own pawn open lines towards it, and enemy pawns marching on
//   those files open them further;
// - chain storm: a pawn chain advancing at the enemy king's wing;
// - minority attack: fewer pawns advancing against a queenside majority;
// - king danger: enemy pieces attacking the squares around the king, safe
//   checks available to them, and squares only the king defends.
#include <algorithm>
#include <cstdlib>

#include "eval/eval_terms.h"
#include "eval/pawn_masks.h"

namespace morvane {

namespace {

int percent_of(int value, int pct) { return value * pct / 100; }

// Files of the king and its neighbours, the usual shelter.
Bitboard king_wing(Square k) { return file_bb(file_of(k)) | adjacent_files(file_of(k)); }

// Rewards own pawns within two ranks in front of the king, punishes each
// of the three files without an own pawn, and each enemy pawn storming down
// them, more the closer it stands. A storming pawn that is stuck behind one
// of ours is slower to open lines, the more so when no queen can follow up.
void shelter_and_storm(EvalState& s, Color us) {
    const EngineConfig& c = g_config;
    const Square k = s.board.king_square(us);
    if (k == NO_SQUARE) return;
    const Color them = us ^ 1;
    const Bitboard own = s.pieces(us, PAWN), enemy = s.pieces(them, PAWN);
    const Bitboard wing = king_wing(k);
    const Bitboard inFront = ranks_ahead(us, rank_of(k));
    const Bitboard nearFront = inFront & ~ranks_ahead(us, std::clamp(rank_of(k) + (us == WHITE ? 2 : -2), 0, 7));

    int score = c.king_shelter_bonus_per_pawn * popcount(own & wing & nearFront);
    for (Bitboard files = wing & rank_bb(0); files;) {
        const Bitboard file = file_bb(file_of(pop_lsb(files)));
        if (!(own & file & inFront)) score -= c.king_open_file_penalty;
    }
    for (Bitboard storm = enemy & wing & inFront; storm;) {
        const Square p = pop_lsb(storm);
        const int ranksAway = std::abs(rank_of(p) - rank_of(k));
        if (ranksAway > 4) continue;
        int penalty = c.king_storm_penalty_base + c.king_storm_penalty_per_rank_away * (5 - ranksAway);
        const Square ahead = them == WHITE ? p + 8 : p - 8;
        const bool blocked = ahead >= 0 && ahead < 64 && (own & square_bb(ahead));
        if (blocked && !s.pieces(them, QUEEN))
            penalty -= percent_of(penalty, c.king_safety_no_queen_blocked_reduction_pct);
        score -= penalty;
    }
    s.mg[us] += score;
}

// A pawn that is itself defended by a pawn (part of a chain) and stands
// within three ranks of the enemy king on its wing prepares a breakthrough.
// Such storms need heavy pieces to follow, so they count less without them.
void chain_storm(EvalState& s, Color us) {
    const EngineConfig& c = g_config;
    const Color them = us ^ 1;
    const Square k = s.board.king_square(them);
    if (k == NO_SQUARE || (s.pawns->structureFlags & CentreOpen)) return;
    const Bitboard own = s.pieces(us, PAWN);
    int bonus = 0;
    for (Bitboard chain = own & king_wing(k) & s.pawns->pawnAttacks[us]; chain;) {
        const int ranksAway = std::abs(rank_of(pop_lsb(chain)) - rank_of(k));
        if (ranksAway >= 1 && ranksAway <= 3)
            bonus += c.chain_storm_bonus_base - c.chain_storm_bonus_per_rank_away * (ranksAway - 1);
    }
    if (!s.pieces(us, QUEEN)) bonus -= percent_of(bonus, c.chain_storm_no_queen_reduction_pct);
    if (!s.pieces(us, ROOK)) bonus -= percent_of(bonus, c.chain_storm_no_rook_reduction_pct);
    s.mg[us] += bonus;
}

// The side with fewer queenside pawns gains for each rank its pawns there
// have advanced: the classic way to create a weakness in a majority.
void minority_attack(EvalState& s, Color us) {
    const EngineConfig& c = g_config;
    constexpr Bitboard QueenWing = 0x0707070707070707ULL;  // files a-c
    const Bitboard own = s.pieces(us, PAWN) & QueenWing, enemy = s.pieces(us ^ 1, PAWN) & QueenWing;
    if (!own || popcount(own) >= popcount(enemy)) return;
    int ranks = 0;
    for (Bitboard b = own; b;) {
        const Square p = pop_lsb(b);
        ranks += (us == WHITE ? rank_of(p) : 7 - rank_of(p)) - 1;
    }
    s.add(us, c.minority_attack_bonus_per_rank_mg * ranks, c.minority_attack_bonus_per_rank_eg * ranks);
}

// The danger from the pieces of one type attacking the king zone: a full
// weight for each that reaches it, a divided one for each slider that would
// reach it through one piece of either side.
template <int Type>
int zone_attackers(const PieceAttacks& pa, Bitboard zone, Bitboard occupied, int weight, int xrayDivisor) {
    int danger = 0;
    for (int i = 0; i < pa.count; ++i) {
        if (pa.attacks[i] & zone) {
            danger += weight;
        } else if (Type != KNIGHT && (empty_board_attacks(Type, pa.square[i]) & zone)) {
            const Bitboard xray = piece_attacks(Type, pa.square[i], occupied & ~pa.attacks[i]);
            if (xray & zone) danger += weight / xrayDivisor;
        }
    }
    return danger;
}

// Danger to our king from the enemy pieces: each piece attacking the king's
// zone (through one blocker counts too, divided), each kind of safe check
// the enemy has, and each zone square that only our king defends. The total
// drops when the enemy has no queen to lead the attack.
void king_danger(EvalState& s, Color us) {
    const EngineConfig& c = g_config;
    const Board& b = s.board;
    const Square k = b.king_square(us);
    if (k == NO_SQUARE) return;
    const Color them = us ^ 1;
    const Bitboard zone = kingAtt[k] | square_bb(k);
    const int weight[7] = {0,
                           0,
                           c.king_danger_weight_knight,
                           c.king_danger_weight_bishop,
                           c.king_danger_weight_rook,
                           c.king_danger_weight_queen,
                           0};
    const int safeCheck[7] = {0,
                              0,
                              c.king_danger_safe_check_knight,
                              c.king_danger_safe_check_bishop,
                              c.king_danger_safe_check_rook,
                              c.king_danger_safe_check_queen,
                              0};
    const int xrayDivisor = std::max(c.king_danger_xray_divisor, 1);

    // Squares from which each kind of piece would give check.
    const Bitboard diagonal = bishop_attacks(k, b.occupied()), straight = rook_attacks(k, b.occupied());
    const Bitboard checkFrom[7] = {0, 0, knightAtt[k], diagonal, straight, diagonal | straight, 0};
    const Bitboard safe = ~b.pieces(them) & ~s.attackMap[us];

    int danger = zone_attackers<KNIGHT>(s.pieceAttacks[them][KNIGHT], zone, b.occupied(), weight[KNIGHT], xrayDivisor) +
                 zone_attackers<BISHOP>(s.pieceAttacks[them][BISHOP], zone, b.occupied(), weight[BISHOP], xrayDivisor) +
                 zone_attackers<ROOK>(s.pieceAttacks[them][ROOK], zone, b.occupied(), weight[ROOK], xrayDivisor) +
                 zone_attackers<QUEEN>(s.pieceAttacks[them][QUEEN], zone, b.occupied(), weight[QUEEN], xrayDivisor);
    for (int type = KNIGHT; type <= QUEEN; ++type)
        if (checkFrom[type] & s.attacksByType[them][type] & safe) danger += safeCheck[type];
    danger += c.king_danger_deflection_bonus * popcount(kingAtt[k] & s.attackMap[them] & ~s.attacks_without_king(us));

    if (danger <= 0) return;
    if (!b.pieces(them, QUEEN)) danger -= percent_of(danger, c.king_danger_no_queen_reduction_pct);
    s.add(us, -percent_of(danger, c.king_danger_scale_mg_pct), -percent_of(danger, c.king_danger_scale_eg_pct));
}

}  // namespace

void apply_king_safety(EvalState& s) {
    const EngineConfig& c = g_config;
    for (Color us : {WHITE, BLACK}) {
        if (c.king_shelter_enabled) shelter_and_storm(s, us);
        if (c.chain_storm_enabled) chain_storm(s, us);
    }
    if (c.minority_attack_enabled)
        for (Color us : {WHITE, BLACK}) minority_attack(s, us);
    if (c.king_danger_enabled)
        for (Color us : {WHITE, BLACK}) king_danger(s, us);
}

}  // namespace morvane
