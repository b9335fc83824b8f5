#include "eval/evaluate.h"

#include <algorithm>
#include <optional>

#include "eval/eval_terms.h"

namespace morvane {

namespace {

constexpr int PhaseWeight[7] = {0, 0, 1, 1, 2, 4, 0};

using PieceSquareTable = const int (EngineConfig::*)[64];

// The tables by piece type, read through member pointers: an index instead
// of a switch on the type for every piece of every evaluation.
constexpr PieceSquareTable PstMg[7] = {nullptr,
                                       &EngineConfig::pst_pawn_mg,
                                       &EngineConfig::pst_knight_mg,
                                       &EngineConfig::pst_bishop_mg,
                                       &EngineConfig::pst_rook_mg,
                                       &EngineConfig::pst_queen_mg,
                                       &EngineConfig::pst_king_mg};
constexpr PieceSquareTable PstEg[7] = {nullptr,
                                       &EngineConfig::pst_pawn_eg,
                                       &EngineConfig::pst_knight_eg,
                                       &EngineConfig::pst_bishop_eg,
                                       &EngineConfig::pst_rook_eg,
                                       &EngineConfig::pst_queen_eg,
                                       &EngineConfig::pst_king_eg};

// Fewer pawns make knights weaker and bishops stronger.
void set_piece_values(EvalState& s, int pawnCount) {
    const EngineConfig& c = g_config;
    s.value[PAWN] = c.material_pawn;
    s.value[KNIGHT] = c.material_knight;
    s.value[BISHOP] = c.material_bishop;
    s.value[ROOK] = c.material_rook;
    s.value[QUEEN] = c.material_queen;
    if (c.kaufman_enabled) {
        const int missing = c.kaufman_pawn_baseline - pawnCount;
        s.value[KNIGHT] -= c.kaufman_knight_per_pawn * missing;
        s.value[BISHOP] += c.kaufman_bishop_per_pawn * missing;
    }
}

void add_material_and_tables(EvalState& s) {
    int phaseSum = 0;
    for (Color c : {WHITE, BLACK}) {
        // Summed locally: adding into s piece by piece would make the
        // compiler store and reload the sums around every table read.
        int mg = 0, eg = 0;
        const int flip = c == WHITE ? 0 : 56;
        for (int type = PAWN; type <= KING; ++type) {
            const int* mgTable = g_config.*PstMg[type];
            const int* egTable = g_config.*PstEg[type];
            const Bitboard set = s.pieces(c, type);
            const int count = popcount(set);
            mg += s.value[type] * count;
            eg += s.value[type] * count;
            for (Bitboard b = set; b;) {
                const int i = pop_lsb(b) ^ flip;
                mg += mgTable[i];
                eg += egTable[i];
            }
            phaseSum += PhaseWeight[type] * count;
        }
        s.add(c, mg, eg);
    }
    s.phase = std::min(phaseSum, 24);
}

int blend(int mgDiff, int egDiff, int phase, Color side) {
    const int score = (mgDiff * phase + egDiff * (24 - phase)) / 24;
    return side == WHITE ? score : -score;
}

int blend_now(const EvalState& s) {
    return blend(s.mg[WHITE] - s.mg[BLACK], s.eg[WHITE] - s.eg[BLACK], s.phase, s.board.side_to_move());
}

bool outside_window(int score, int alpha, int beta, int margin) {
    return alpha - margin >= score || beta + margin <= score;
}

// Endgame pushed away from zero when pawns stand on both wings: the side
// ahead has targets to work on everywhere.
int apply_initiative(const Board& board, int egDiff) {
    constexpr Bitboard QueenSide = 0x0F0F0F0F0F0F0F0FULL;
    const Bitboard pawns = board.pieces(WHITE, PAWN) | board.pieces(BLACK, PAWN);
    if (!g_config.initiative_enabled || !(pawns & QueenSide) || !(pawns & ~QueenSide)) return egDiff;
    if (egDiff > 0) return egDiff + g_config.initiative_both_flanks_bonus;
    if (egDiff < 0) return egDiff - g_config.initiative_both_flanks_bonus;
    return egDiff;
}

// Bishops of opposite colours alone are notoriously drawish.
int apply_opposite_bishops(const Board& board, int egDiff) {
    if (!g_config.scale_factor_enabled) return egDiff;
    auto lone_bishop = [&](Color c) {
        return popcount(board.pieces(c, BISHOP)) == 1 &&
               !(board.pieces(c, KNIGHT) | board.pieces(c, ROOK) | board.pieces(c, QUEEN));
    };
    if (!lone_bishop(WHITE) || !lone_bishop(BLACK)) return egDiff;
    const Square w = lsb(board.pieces(WHITE, BISHOP)), b = lsb(board.pieces(BLACK, BISHOP));
    if (((file_of(w) + rank_of(w)) & 1) == ((file_of(b) + rank_of(b)) & 1)) return egDiff;
    return egDiff * g_config.opposite_bishop_scale_pct / 100;
}

// The lazy exits: a partial score so far outside the window that the terms
// still to come cannot bring it back is returned as it is.
bool lazy_allowed(int phase) { return g_config.lazy_eval_enabled && phase >= g_config.lazy_eval_min_phase; }

bool first_exit(int partial, int phase, int pawnCount, int alpha, int beta) {
    const EngineConfig& c = g_config;
    const int margin = c.lazy_eval_tier1_margin_min + (24 - phase) * c.lazy_eval_tier1_margin_per_missing_phase +
                       (16 - pawnCount) * c.lazy_eval_tier1_margin_per_missing_pawn;
    return lazy_allowed(phase) && c.lazy_eval_tier1_enabled && outside_window(partial, alpha, beta, margin);
}

bool second_exit(int partial, int phase, int alpha, int beta) {
    const EngineConfig& c = g_config;
    const int margin = c.lazy_eval_margin_min + (24 - phase) * c.lazy_eval_margin_per_missing_phase;
    return lazy_allowed(phase) && c.lazy_eval_tier2_enabled && outside_window(partial, alpha, beta, margin);
}

// Evaluates from scratch, writing each stage's score into `r` as it is
// reached; `cache`, when given, serves the king shelters.
int evaluate_recorded(const Board& board, int alpha, int beta, EvalRecord& r, EvalCache* cache) {
    // The pawn entry is rarely in the nearest cache; its load overlaps the
    // material count.
    __builtin_prefetch(&g_pawnTable.slot(board.pawn_key()));
    const int pawnCount = popcount(board.pieces(WHITE, PAWN) | board.pieces(BLACK, PAWN));

    EvalState s(board, cache);
    set_piece_values(s, pawnCount);
    add_material_and_tables(s);
    r.material = blend_now(s);
    r.phase = static_cast<std::uint8_t>(s.phase);
    r.pawnCount = static_cast<std::uint8_t>(pawnCount);
    r.stages = 1;
    if (first_exit(r.material, s.phase, pawnCount, alpha, beta)) return r.material;

    s.pawns = &probe_pawn_entry(board);
    if (g_config.pawn_structure_enabled) apply_pawn_structure(s);
    r.structure = blend_now(s);
    r.stages = 2;
    if (second_exit(r.structure, s.phase, alpha, beta)) return r.structure;

    apply_mobility(s);
    apply_king_safety(s);
    apply_piece_pairs(s);
    apply_imbalances(s);
    apply_threats(s);
    apply_pins(s);
    apply_extended_threats(s);
    apply_outposts_and_files(s);
    apply_space(s);

    const int mgDiff = s.mg[WHITE] - s.mg[BLACK];
    int egDiff = s.eg[WHITE] - s.eg[BLACK];
    egDiff = apply_initiative(board, egDiff);
    egDiff = apply_opposite_bishops(board, egDiff);
    r.full = blend(mgDiff, egDiff, s.phase, board.side_to_move());
    r.stages = 3;
    return r.full;
}

// The answer a new evaluation would give for this window, when the record
// reached the stage that decides it.
std::optional<int> replay(const EvalRecord& r, int alpha, int beta) {
    if (first_exit(r.material, r.phase, r.pawnCount, alpha, beta)) return r.material;
    if (r.stages < 2) return std::nullopt;
    if (second_exit(r.structure, r.phase, alpha, beta)) return r.structure;
    if (r.stages < 3) return std::nullopt;
    return r.full;
}

}  // namespace

int evaluate(const Board& board, int alpha, int beta) {
    EvalRecord unused;
    return evaluate_recorded(board, alpha, beta, unused, nullptr);
}

int evaluate(const Board& board, int alpha, int beta, EvalCache& cache) {
    EvalRecord& r = cache.slot(board.key());
    if (cache.holds(r, board.key()))
        if (const std::optional<int> score = replay(r, alpha, beta)) return *score;
    r.key = board.key();
    r.generation = cache.generation;
    return evaluate_recorded(board, alpha, beta, r, &cache);
}

}  // namespace morvane
