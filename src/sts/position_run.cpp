#include "sts/position_run.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

#include "core/notation.h"
#include "core/position_check.h"
#include "search/search.h"
#include "search/tt.h"
#include "sts/san.h"

namespace morvane {

namespace {

std::string join(const std::vector<std::string>& parts, const char* separator) {
    std::string out;
    for (const auto& p : parts) out += (out.empty() ? "" : separator) + p;
    return out;
}

// Rank of the first expected move among all root moves re-searched at the
// completed depth, and that move's own score.
void rank_expected_move(Board& board, SearchContext& ctx, const SearchResult& result, Move expected,
                        StsOutcome& out) {
    RootScores scores;
    search_root(board, ctx, result.depth, -INFINITE_SCORE, INFINITE_SCORE, &scores);
    std::stable_sort(scores.begin(), scores.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
    out.expected_rank = 0;
    for (std::size_t i = 0; i < scores.size(); ++i)
        if (scores[i].first == expected) {
            out.expected_rank = static_cast<int>(i) + 1;
            break;
        }
    out.expected_eval_cp = 0;
    if (result.depth > 0) {
        ctx.reset();
        out.expected_eval_cp = search_root_move(board, ctx, expected, result.depth, -INFINITE_SCORE, INFINITE_SCORE,
                                                RootCheckExtension::EveryCheckUncounted);
    }
    out.expected_known = true;
}

void score_answer(Board& board, const StsPosition& pos, Move played, const std::vector<Move>& expected,
                  StsOutcome& out) {
    if (!pos.alternatives.empty()) {
        int best = 0;
        out.score = 0;
        for (const auto& [san, points] : pos.alternatives) {
            best = std::max(best, points);
            if (san_to_move(board, san) == played) {
                out.score = points;
                break;
            }
        }
        out.score_max = best > 0 ? best : 10;
        return;
    }
    out.score_max = 10;
    out.score = std::find(expected.begin(), expected.end(), played) != expected.end() ? 10 : 0;
}

// Sets up the board; why it cannot be searched, "" when it can.
std::string set_up(Board& board, const StsPosition& pos, std::string& notes) {
    try {
        board.set_fen(pos.fen);
        if (const std::string dropped = drop_impossible_rights(board); !dropped.empty())
            notes += "info string " + position_key(pos) + " : FEN corrigee: " + dropped + "\n";
        return position_problem(board);
    } catch (const std::exception& e) {
        return e.what();
    }
}

// Length-prefixed fields, so that no byte of an id or a move can be taken
// for a separator.
void put(std::string& out, const std::string& text) { out += std::to_string(text.size()) + ':' + text; }
void put(std::string& out, long long number) { put(out, std::to_string(number)); }

bool take(const std::string& in, std::size_t& at, std::string& text) {
    const std::size_t colon = in.find(':', at);
    if (colon == std::string::npos || colon == at || colon - at > 12) return false;
    std::size_t length = 0;
    for (std::size_t i = at; i < colon; ++i) {
        if (in[i] < '0' || in[i] > '9') return false;
        length = length * 10 + static_cast<std::size_t>(in[i] - '0');
    }
    if (length > in.size() - colon - 1) return false;
    text = in.substr(colon + 1, length);
    at = colon + 1 + length;
    return true;
}

template <typename Number>
bool take(const std::string& in, std::size_t& at, Number& number) {
    std::string text;
    if (!take(in, at, text)) return false;
    try {
        number = static_cast<Number>(std::stoll(text));
    } catch (const std::exception&) {
        return false;
    }
    return true;
}

}  // namespace

std::string position_key(const StsPosition& pos) {
    return pos.id.empty() ? "ligne " + std::to_string(pos.line) : pos.id;
}

std::string unplayable_reason(const StsPosition& pos, std::string& notes) {
    Board board;
    return set_up(board, pos, notes);
}

StsOutcome failed_outcome(const StsPosition& pos, const std::string& why) {
    StsOutcome out;
    out.id = position_key(pos);
    out.expected = join(pos.best_moves, " / ");
    out.unplayable = why;
    out.played_uci = "0000";
    out.played_san = "(aucun coup)";
    int best = 0;
    for (const auto& alternative : pos.alternatives) best = std::max(best, alternative.second);
    out.score_max = best > 0 ? best : 10;  // the maximum the position would have been worth
    return out;
}

StsOutcome run_position(const StsPosition& pos, SearchContext& ctx, int depth, long movetimeMs) {
    Board board;
    std::string notes;
    // A position no search can play is scored as not solved, and the suite
    // goes on: one bad line must not cost the results of the others.
    if (const std::string why = set_up(board, pos, notes); !why.empty()) {
        StsOutcome failed = failed_outcome(pos, why);
        failed.notes = notes;
        return failed;
    }
    StsOutcome out;
    out.id = position_key(pos);
    out.expected = join(pos.best_moves, " / ");
    out.notes = notes;
    tt_clear();
    std::vector<Move> expected;
    for (const auto& san : pos.best_moves)
        if (const Move m = san_to_move(board, san)) expected.push_back(m);
    out.bm_unrecognised = expected.empty();

    SearchLimits limits;
    limits.depth = depth > 0 ? depth : 0;
    limits.movetime = movetimeMs > 0 ? movetimeMs : -1;
    const auto start = std::chrono::steady_clock::now();
    const SearchResult result = iterative_deepening(board, ctx, limits, nullptr);
    out.time_ms = static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - start).count() /
        1000000);
    const Move played = result.best_move;
    out.played_uci = played ? move_to_uci(played) : "0000";
    out.played_san = move_to_san(board, played);
    out.eval_cp = result.score;
    out.nodes = result.nodes;
    out.depth = result.depth;
    if (!expected.empty() && played != expected.front()) rank_expected_move(board, ctx, result, expected.front(), out);
    score_answer(board, pos, played, expected, out);
    return out;
}

std::string encode_outcome(const StsOutcome& o) {
    std::string out;
    for (const std::string* text : {&o.id, &o.expected, &o.played_uci, &o.played_san, &o.unplayable, &o.notes})
        put(out, *text);
    for (long long number : {static_cast<long long>(o.eval_cp), static_cast<long long>(o.score),
                             static_cast<long long>(o.score_max), static_cast<long long>(o.nodes),
                             static_cast<long long>(o.time_ms), static_cast<long long>(o.depth),
                             static_cast<long long>(o.bm_unrecognised), static_cast<long long>(o.expected_rank),
                             static_cast<long long>(o.expected_eval_cp), static_cast<long long>(o.expected_known)})
        put(out, number);
    return out;
}

bool decode_outcome(const std::string& bytes, StsOutcome& o) {
    std::size_t at = 0;
    for (std::string* text : {&o.id, &o.expected, &o.played_uci, &o.played_san, &o.unplayable, &o.notes})
        if (!take(bytes, at, *text)) return false;
    return take(bytes, at, o.eval_cp) && take(bytes, at, o.score) && take(bytes, at, o.score_max) &&
           take(bytes, at, o.nodes) && take(bytes, at, o.time_ms) && take(bytes, at, o.depth) &&
           take(bytes, at, o.bm_unrecognised) && take(bytes, at, o.expected_rank) &&
           take(bytes, at, o.expected_eval_cp) && take(bytes, at, o.expected_known) && at == bytes.size();
}

}  // namespace morvane
