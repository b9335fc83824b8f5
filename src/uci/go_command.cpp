#include <charconv>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "core/notation.h"
#include "core/position_check.h"
#include "movegen/movegen.h"
#include "search/pv_extension.h"
#include "search/search.h"
#include "search/search_flags.h"
#include "search/time_manager.h"
#include "uci/commands.h"
#include "uci/uci_loop.h"
#include "uci/uci_settings.h"

namespace morvane {

namespace {

// A keyword whose value is not a number is reported and skipped; the rest
// of the command still applies, so a GUI always gets its bestmove. The
// whole token must be the number: "1e30" or "12abc" are not 1 and 12.
template <typename T>
bool read_number(std::istringstream& in, const std::string& keyword, T& value) {
    std::string token;
    if (!(in >> token)) return false;
    T parsed{};
    const char* last = token.data() + token.size();
    const auto [end, ec] = std::from_chars(token.data(), last, parsed);
    if (ec != std::errc{} || end != last) {
        std::cerr << "info string valeur invalide pour " << keyword << ": " << token << std::endl;
        return false;
    }
    value = parsed;
    return true;
}

void print_bestmove(Move best, Move ponder = NULL_MOVE) {
    std::cout << "bestmove " << (best ? move_to_uci(best) : std::string("0000"))
              << (ponder ? " ponder " + move_to_uci(ponder) : std::string()) << std::endl;
}

// The reply the engine expects to its best move: the variation's second
// move, or the table's move after the best one.
Move expected_reply(Board& board, const SearchResult& r) {
    if (!r.best_move) return NULL_MOVE;
    std::vector<Move> line = !r.pv.empty() && r.pv[0] == r.best_move ? r.pv : std::vector<Move>{r.best_move};
    extend_pv_from_tt(board, line, 2);
    return line.size() >= 2 ? line[1] : NULL_MOVE;
}

// Between iterations the board stands at the root, so the variation can be
// completed from the table before it is shown.
void print_whole_line(Board& board, const SearchResult& r) {
    if (static_cast<int>(r.pv.size()) >= r.depth) return print_info_line(r);
    SearchResult shown = r;
    extend_pv_from_tt(board, shown.pv, r.depth);
    print_info_line(shown);
}

// The search thread's context: large, so made once, at the first "go".
std::unique_ptr<SearchContext> g_searchContext;

// Milliseconds a pondering search gets once "ponderhit" arrives, computed
// from its "go" line before the search thread takes the board.
std::int64_t g_ponderAllowanceMs = -1;

// The search thread's whole life: search, answer, and mark itself done.
// The flag drops just before the answer goes out: a GUI sends its next
// "position" and "go" as soon as it reads "bestmove", and they must not be
// refused as if the search were still running.
void search_thread_body(Board& board, SearchContext& ctx, SearchLimits limits, bool namePonderMove) {
    const int rootPly = board.ply();
    Move best = NULL_MOVE, ponder = NULL_MOVE;
    try {
        const SearchResult result = iterative_deepening(
            board, ctx, limits, [&board](const SearchResult& r) { print_whole_line(board, r); });
        best = result.best_move;
        if (namePonderMove) ponder = expected_reply(board, result);
    } catch (const std::exception& e) {
        std::cerr << "info string EXCEPTION pendant la recherche: " << e.what() << " -- repli sur le premier coup legal"
                  << std::endl;
        best = fallback_move(board, rootPly);
    } catch (...) {
        std::cerr << "info string EXCEPTION inconnue pendant la recherche -- repli sur le premier coup legal"
                  << std::endl;
        best = fallback_move(board, rootPly);
    }
    // While the GUI believes the engine is pondering, the answer waits for
    // "ponderhit" or "stop", even when the search itself has ended.
    while (g_pondering.load(std::memory_order_relaxed) && !g_stopRequested.load(std::memory_order_relaxed))
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    // Release: the board goes back to the UCI thread with every write of
    // the search visible to it.
    g_searching.store(false, std::memory_order_release);
    print_bestmove(best, ponder);
}

}  // namespace

Move fallback_move(Board& board, int rootPly) noexcept {
    try {
        board.undo_to(rootPly);
        ScoredMove moves[MAX_MOVES] = {};
        return generate_legal(board, moves, false) > 0 ? moves[0].move : NULL_MOVE;
    } catch (...) {
        return NULL_MOVE;
    }
}

void print_info_line(const SearchResult& r) {
    const std::uint64_t nps = r.time_ms ? r.nodes * 1000 / r.time_ms : r.nodes;
    std::string line = "info depth " + std::to_string(r.depth) +
                       (r.multipv ? " multipv " + std::to_string(r.multipv) : std::string()) + " score cp " +
                       std::to_string(r.score) + " nodes " + std::to_string(r.nodes) + " nps " + std::to_string(nps) +
                       " time " + std::to_string(r.time_ms) + " pv";
    for (Move m : r.pv) line += ' ' + move_to_uci(m);
    std::cout << line << std::endl;
}

void start_search_async(Board& board, const SearchLimits& limits, bool namePonderMove) {
    if (g_searchThread.joinable()) g_searchThread.join();
    g_stopRequested.store(false, std::memory_order_relaxed);
    // No deadline until the search sets one, or "ponderhit" does; a stale
    // deadline read before the new one must lie in the future.
    g_hasDeadline.store(false, std::memory_order_relaxed);
    g_deadline.store(std::chrono::steady_clock::time_point::max(), std::memory_order_relaxed);
    g_pondering.store(limits.ponder, std::memory_order_relaxed);
    g_searching.store(true, std::memory_order_relaxed);
    if (!g_searchContext) g_searchContext = std::make_unique<SearchContext>();
    g_searchThread = std::thread(search_thread_body, std::ref(board), std::ref(*g_searchContext), limits,
                                 namePonderMove);
}

void cmd_go(Board& board, std::istringstream& rest) {
    if (g_searching.load(std::memory_order_acquire)) {
        std::cerr << "info string recherche deja en cours, commande go ignoree" << std::endl;
        return;
    }
    SearchLimits limits;
    int perftDepth = -1;
    bool perft = false;
    bool wtimeGiven = false, btimeGiven = false;
    std::string token;
    while (rest >> token) {
        if (token == "perft") perft = read_number(rest, token, perftDepth) || perft;
        else if (token == "depth") read_number(rest, token, limits.depth);
        else if (token == "wtime") wtimeGiven = read_number(rest, token, limits.wtime) || wtimeGiven;
        else if (token == "btime") btimeGiven = read_number(rest, token, limits.btime) || btimeGiven;
        else if (token == "winc") read_number(rest, token, limits.winc);
        else if (token == "binc") read_number(rest, token, limits.binc);
        else if (token == "movetime") read_number(rest, token, limits.movetime);
        else if (token == "movestogo") read_number(rest, token, limits.movestogo);
        else if (token == "nodes") read_number(rest, token, limits.nodes);
        else if (token == "ponder") limits.ponder = true;
    }
    // A clock below zero has flagged (some GUIs send one when lag ate the
    // last milliseconds): answer at once, with the one-ply search that
    // still sees a hanging piece or a mate in one, rather than search
    // without any limit. Only a clock sent on the line counts; one left out
    // keeps its meaning of "not given".
    const bool whiteToMove = board.side_to_move() == WHITE;
    if ((whiteToMove ? wtimeGiven : btimeGiven) && (whiteToMove ? limits.wtime : limits.btime) < 0) limits.depth = 1;
    // Kings missing or doubled, pawns on a back rank, the side not to move
    // in check: no search can play such a position, and any move would be
    // nonsense to the GUI.
    if (const std::string problem = position_problem(board); !problem.empty()) {
        std::cerr << "info string position injouable, pas de recherche: " << problem << std::endl;
        if (!perft) print_bestmove(NULL_MOVE);
        return;
    }
    if (perft) {
        const int rootPly = board.ply();
        try {
            cmd_go_perft(board, perftDepth);
        } catch (...) {
            board.undo_to(rootPly);
            throw;
        }
        return;
    }
    if (limits.ponder) g_ponderAllowanceMs = allocate_time_ms(board, limits);
    if (g_uciSettings.announcePending) {
        announce_config(std::cout, g_uciSettings.config);
        g_uciSettings.announcePending = false;
    }
    limits.multi_pv = g_uciSettings.multiPv;
    start_search_async(board, limits, g_uciSettings.ponder);
}

void cmd_ponderhit() {
    if (!g_searching.load(std::memory_order_acquire) || !g_pondering.load(std::memory_order_relaxed)) return;
    // The move the engine pondered on was played: from now on the search
    // runs under the clock of its "go" line, counted from this moment.
    if (g_ponderAllowanceMs >= 0) {
        g_deadline.store(std::chrono::steady_clock::now() + std::chrono::milliseconds(g_ponderAllowanceMs),
                         std::memory_order_relaxed);
        g_hasDeadline.store(true, std::memory_order_relaxed);
    }
    g_pondering.store(false, std::memory_order_relaxed);
}

// Joins the search thread even when its search has already ended: the
// thread drops its searching flag before it writes "bestmove", and nothing
// may touch the output (or the board) until that answer is out.
void stop_and_join_search() {
    if (g_searching.load(std::memory_order_acquire)) g_stopRequested.store(true, std::memory_order_relaxed);
    if (g_searchThread.joinable()) g_searchThread.join();
}

}  // namespace morvane
