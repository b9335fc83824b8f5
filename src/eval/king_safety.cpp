// King safety, in four middlegame-minded terms:
// - shelter and storm: own pawns close in front of a castled king shield it,
//   files without them open lines towards it, and enemy pawns marching down
//   those files threaten to open them;
// - chain storm: a pawn chain advancing at the enemy king's wing;
// - minority attack: fewer pawns advancing against a queenside majority;
// - king danger: every sign of an attack (pieces bearing on the king's
//   zone, safe checks, squares only the king can hold, a broken shelter)
//   summed into attack units and turned into a score that grows with the
//   square of the total, because attacks succeed when pieces combine: three
//   attackers together are far more than three times as dangerous as one.
#include <algorithm>

#include "eval/eval_terms.h"
#include "eval/pawn_masks.h"

namespace morvane {

namespace {

int percent_of(int value, int pct) { return value * pct / 100; }

// The attack total is squared and divided by this to become centipawns: a
// fixed change of units, so that the weights read as "units" of danger.
constexpr int DangerUnitsPerCentipawnSquared = 1000;
// Beyond this many units the king is lost anyway; capping keeps the square
// far inside 32 bits whatever the weights are.
constexpr int MaxDangerUnits = 1000;

// Rank of s counted from colour c's own back rank (0..7).
int relative_rank(Color c, Square s) { return c == WHITE ? rank_of(s) : 7 - rank_of(s); }

// The three files a shelter is judged on: the king's file and its
// neighbours, kept inside b..g so that a king in the corner is judged on
// the same three files as one a square closer to the centre.
int shelter_centre_file(Square k) { return std::clamp(file_of(k), 1, 6); }

// A king that has stepped beyond its second rank has left any shelter
// behind; charging it for pawns it no longer stands behind would punish
// king activity in endings and wherever the pawns have advanced.
bool king_at_home(Color us, Square k) { return relative_rank(us, k) <= 1; }

// Per file of the shelter: the own pawn closest to our back rank in front
// of the king shields it, the better the closer it stands (three shares on
// the second rank, two on the third, one on the fourth); a file without
// such a pawn is open towards the king. The most advanced enemy pawn on the
// file threatens to open it, more the further it has come towards our
// back rank; one that runs into our pawn is slower to open the file.
// Returns the middlegame score of the shelter for `us` (negative: weak).
int shelter_and_storm_score(const EvalState& s, Color us, Square k) {
    const EngineConfig& c = g_config;
    const Color them = us ^ 1;
    const Bitboard own = s.pieces(us, PAWN), enemy = s.pieces(them, PAWN);
    const Bitboard ahead = ranks_ahead(us, rank_of(k)) | rank_bb(rank_of(k));
    const int centre = shelter_centre_file(k);
    int score = 0;
    for (int f = centre - 1; f <= centre + 1; ++f) {
        const Bitboard file = file_bb(f);
        const Bitboard shield = own & file & ahead;
        const int shieldRank = shield ? relative_rank(us, us == WHITE ? lsb(shield) : msb(shield)) : 7;
        if (shieldRank <= 3) score += c.king_shelter_bonus_per_pawn * (4 - shieldRank);
        else score -= c.king_open_file_penalty;

        const Bitboard stormers = enemy & file;
        if (!stormers) continue;
        const Square stormer = us == WHITE ? lsb(stormers) : msb(stormers);
        const int advance = relative_rank(us, stormer);  // 1 = on our second rank
        if (advance > 4) continue;                       // still on its own half
        int penalty = c.king_storm_penalty_base + c.king_storm_penalty_per_rank_away * (5 - advance);
        const Square blocker = us == WHITE ? stormer - 8 : stormer + 8;
        if (own & square_bb(blocker)) penalty -= percent_of(penalty, c.king_safety_no_queen_blocked_reduction_pct);
        score -= penalty;
    }
    return score;
}

// A king that may still castle will shelter wherever it castles to: its
// central pawns advancing in the opening weaken nothing.
int best_shelter(const EvalState& s, Color us, Square k) {
    int best = shelter_and_storm_score(s, us, k);
    const int rights = s.board.state().castling;
    const Square backRank = us == WHITE ? 0 : 56;
    if (rights & (us == WHITE ? WHITE_OO : BLACK_OO))
        best = std::max(best, shelter_and_storm_score(s, us, backRank + 6));
    if (rights & (us == WHITE ? WHITE_OOO : BLACK_OOO))
        best = std::max(best, shelter_and_storm_score(s, us, backRank + 2));
    return best;
}

// The same, looked up in the search's cache when there is one.
int cached_best_shelter(const EvalState& s, Color us, Square k) {
    if (!s.cache) return best_shelter(s, us, k);
    const int rights = s.board.state().castling & (us == WHITE ? WHITE_OO | WHITE_OOO : BLACK_OO | BLACK_OOO);
    const std::uint64_t situation = static_cast<std::uint64_t>((us * 64 + k) * 16 + rights + 1);
    const std::uint64_t key = s.board.pawn_key() ^ (situation * 0x9E3779B97F4A7C15ULL);
    ShelterRecord& r = s.cache->shelter_slot(key);
    if (!s.cache->holds(r, key)) r = {key, s.cache->generation, best_shelter(s, us, k)};
    return r.score;
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
    const Bitboard wing = file_bb(file_of(k)) | adjacent_files(file_of(k));
    int bonus = 0;
    for (Bitboard chain = own & wing & s.pawns->pawnAttacks[us]; chain;) {
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
    for (Bitboard b = own; b;) ranks += relative_rank(us, pop_lsb(b)) - 1;
    s.add(us, c.minority_attack_bonus_per_rank_mg * ranks, c.minority_attack_bonus_per_rank_eg * ranks);
}

// The king's square, its neighbours, and the row in front of them: the
// squares an attack must control to mate or to break the shelter.
Bitboard king_zone(Color us, Square k) {
    const Bitboard near = kingAtt[k] | square_bb(k);
    return near | (us == WHITE ? near << 8 : near >> 8);
}

struct AttackTally {
    int units = 0;      // weight x zone squares hit, summed over the attackers
    int attackers = 0;  // pieces that hit the zone directly
};

// Each enemy piece of one type that bears on the zone adds its weight for
// every zone square it hits; a slider that hits the zone only through one
// piece of either side (a battery, a pinned defender) adds a divided share.
template <int Type>
void tally_attackers(const PieceAttacks& pa, Bitboard zone, Bitboard occupied, int weight, int xrayDivisor,
                     AttackTally& tally) {
    for (int i = 0; i < pa.count; ++i) {
        if (const int hits = popcount(pa.attacks[i] & zone)) {
            tally.units += weight * hits;
            ++tally.attackers;
        } else if (Type != KNIGHT && (empty_board_attacks(Type, pa.square[i]) & zone)) {
            const Bitboard xray = piece_attacks(Type, pa.square[i], occupied & ~pa.attacks[i]);
            tally.units += weight * popcount(xray & zone) / xrayDivisor;
        }
    }
}

// Danger to our king, in attack units: the enemy pieces bearing on its
// zone, one share per kind of safe check, every zone square that only our
// king or queen holds against an enemy attack, and the weakness of the
// shelter. A check square is safe when we do not defend it at all, or
// when only our king or queen does and a second enemy piece backs the
// checker up. Without the enemy queen the attack rarely carries through.
void king_danger(EvalState& s, Color us, int shelter) {
    const EngineConfig& c = g_config;
    const Board& b = s.board;
    const Square k = b.king_square(us);
    if (k == NO_SQUARE) return;
    const Color them = us ^ 1;
    // Pawns and a king alone do not mate; their pressure is left to the
    // shelter terms.
    if (!(b.pieces(them, KNIGHT) | b.pieces(them, BISHOP) | b.pieces(them, ROOK) | b.pieces(them, QUEEN))) return;
    const Bitboard zone = king_zone(us, k);
    const int xrayDivisor = std::max(c.king_danger_xray_divisor, 1);

    AttackTally tally;
    tally_attackers<KNIGHT>(s.pieceAttacks[them][KNIGHT], zone, b.occupied(), c.king_danger_weight_knight, xrayDivisor,
                            tally);
    tally_attackers<BISHOP>(s.pieceAttacks[them][BISHOP], zone, b.occupied(), c.king_danger_weight_bishop, xrayDivisor,
                            tally);
    tally_attackers<ROOK>(s.pieceAttacks[them][ROOK], zone, b.occupied(), c.king_danger_weight_rook, xrayDivisor,
                          tally);
    tally_attackers<QUEEN>(s.pieceAttacks[them][QUEEN], zone, b.occupied(), c.king_danger_weight_queen, xrayDivisor,
                           tally);
    // A lone piece does not mate, nor does a queenless side with one
    // attacker: checks and loose squares then say nothing about danger.
    const bool hasQueen = b.pieces(them, QUEEN) != 0;
    if (tally.attackers < (hasQueen ? 1 : 2)) return;
    int danger = tally.units;

    const Bitboard ourDefence = s.pawns->pawnAttacks[us] | s.attacksByType[us][KNIGHT] | s.attacksByType[us][BISHOP] |
                                s.attacksByType[us][ROOK];
    const Bitboard heldOnlyByKingOrQueen = s.attackMap[us] & ~ourDefence;
    const Bitboard safe = ~b.pieces(them) & (~s.attackMap[us] | (heldOnlyByKingOrQueen & s.attackedTwice[them]));

    const Bitboard diagonal = bishop_attacks(k, b.occupied()), straight = rook_attacks(k, b.occupied());
    const Bitboard checkFrom[7] = {0, 0, knightAtt[k], diagonal, straight, diagonal | straight, 0};
    const int safeCheck[7] = {0,
                              0,
                              c.king_danger_safe_check_knight,
                              c.king_danger_safe_check_bishop,
                              c.king_danger_safe_check_rook,
                              c.king_danger_safe_check_queen,
                              0};
    for (int type = KNIGHT; type <= QUEEN; ++type)
        if (checkFrom[type] & s.attacksByType[them][type] & safe) danger += safeCheck[type];

    const Bitboard weak = zone & s.attackMap[them] & ~ourDefence;
    danger += c.king_danger_deflection_bonus * popcount(weak);
    if (shelter < 0) danger -= shelter;

    if (danger <= 0) return;
    if (!hasQueen) danger -= percent_of(danger, c.king_danger_no_queen_reduction_pct);
    danger = std::min(danger, MaxDangerUnits);
    const int penalty = danger * danger / DangerUnitsPerCentipawnSquared;
    s.add(us, -percent_of(penalty, c.king_danger_scale_mg_pct), -percent_of(penalty, c.king_danger_scale_eg_pct));
}

}  // namespace

void apply_king_safety(EvalState& s) {
    const EngineConfig& c = g_config;
    int shelter[2] = {0, 0};
    for (Color us : {WHITE, BLACK}) {
        const Square k = s.board.king_square(us);
        if (c.king_shelter_enabled && k != NO_SQUARE && king_at_home(us, k)) {
            shelter[us] = cached_best_shelter(s, us, k);
            s.mg[us] += shelter[us];
        }
        if (c.chain_storm_enabled) chain_storm(s, us);
    }
    if (c.minority_attack_enabled)
        for (Color us : {WHITE, BLACK}) minority_attack(s, us);
    if (c.king_danger_enabled)
        for (Color us : {WHITE, BLACK}) king_danger(s, us, shelter[us]);
}

}  // namespace morvane
