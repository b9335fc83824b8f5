#include "search/time_manager.h"

#include <algorithm>

#include "config/engine_config.h"
#include "search/search_flags.h"
#include "tablebase/syzygy.h"

namespace morvane {

namespace {

using Clock = std::chrono::steady_clock;

// Expected number of moves left to the time control, by game phase.
int base_moves_to_go(const Board& b) {
    const EngineConfig& c = g_config;
    if (popcount(b.occupied()) <= static_cast<int>(TB_LARGEST) + c.time_syzygy_zone_margin)
        return c.time_movestogo_syzygy_zone;
    int phase = 0;
    for (Color side : {WHITE, BLACK})
        phase += popcount(b.pieces(side, KNIGHT)) + popcount(b.pieces(side, BISHOP)) +
                 2 * popcount(b.pieces(side, ROOK)) + 4 * popcount(b.pieces(side, QUEEN));
    phase = std::min(phase, 24);
    const int moveNumber = b.game_ply() / 2;
    const int pawns = popcount(b.pieces(WHITE, PAWN) | b.pieces(BLACK, PAWN));
    if (phase >= c.time_phase_opening_min && moveNumber <= c.time_phase_opening_max_moves &&
        pawns >= c.time_phase_opening_pawn_threshold)
        return c.time_movestogo_opening;
    return c.time_movestogo_middlegame;
}

}  // namespace

std::int64_t allocate_time_ms(const Board& board, const SearchLimits& limits) {
    const EngineConfig& c = g_config;
    // A year is more than any clock; beyond it the arithmetic below and the
    // deadline's nanoseconds could overflow.
    static constexpr std::int64_t YearMs = 365LL * 24 * 60 * 60 * 1000;
    auto sane = [](std::int64_t ms) { return std::clamp(ms, -YearMs, YearMs); };
    if (limits.movetime >= 0) return sane(limits.movetime);
    if (limits.wtime < 0 && limits.btime < 0) return -1;
    const std::int64_t t = std::max<std::int64_t>(sane(board.side_to_move() == WHITE ? limits.wtime : limits.btime), 0);
    const std::int64_t inc = sane(board.side_to_move() == WHITE ? limits.winc : limits.binc);
    const int base = base_moves_to_go(board);
    const int moveNumber = board.game_ply() / 2;
    std::int64_t movesToGo = base;
    if (limits.movestogo >= 1) movesToGo = limits.movestogo;
    else if (moveNumber > c.time_long_game_threshold_moves) movesToGo = moveNumber - 60 + base;
    movesToGo = std::max<std::int64_t>(movesToGo, 1);  // a tuned threshold below 60 must not divide by zero
    std::int64_t alloc = inc + t / movesToGo - 50;
    if (t < c.time_critical_increment_multiplier * inc)
        alloc = std::max(alloc, std::max<std::int64_t>(inc - c.time_increment_safety_margin_ms, 10));
    return std::min(std::max<std::int64_t>(t - 50, 10), std::max<std::int64_t>(alloc, 10));
}

void set_search_deadline(const Board& board, const SearchLimits& limits, Clock::time_point start) {
    // A pondering search has no clock yet; "ponderhit" may already have
    // set its deadline, which must not be cleared here.
    if (limits.ponder) return;
    g_hasDeadline.store(false, std::memory_order_relaxed);
    const std::int64_t allowed = allocate_time_ms(board, limits);
    if (allowed >= 0) {
        g_deadline.store(start + std::chrono::milliseconds(allowed), std::memory_order_relaxed);
        g_hasDeadline.store(true, std::memory_order_relaxed);
    }
}

bool iteration_fits(int depth, std::uint64_t previousIterationMs) {
    if (!g_hasDeadline.load(std::memory_order_relaxed)) return true;
    const auto now = Clock::now();
    const auto deadline = g_deadline.load(std::memory_order_relaxed);
    if (now >= deadline) return false;
    const auto leftMs = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now).count();
    // An iteration costs a few times the previous one: do not start one
    // that cannot finish.
    const auto growth = static_cast<std::uint64_t>(g_config.time_predictive_growth_factor);
    if (depth >= 2 && previousIterationMs >= 1 && static_cast<std::int64_t>(growth * previousIterationMs) > leftMs) {
        g_hasDeadline.store(false, std::memory_order_relaxed);
        return false;
    }
    return true;
}

bool time_to_stop(std::uint64_t nodes) {
    if ((nodes & static_cast<std::uint64_t>(g_config.time_check_node_mask)) != 0) return false;
    if (g_stopRequested.load(std::memory_order_relaxed) || nodes >= g_nodeBudget.load(std::memory_order_relaxed) ||
        (g_hasDeadline.load(std::memory_order_relaxed) &&
         std::chrono::steady_clock::now() >= g_deadline.load(std::memory_order_relaxed))) {
        g_abort.store(true, std::memory_order_relaxed);
        return true;
    }
    return false;
}

}  // namespace morvane
