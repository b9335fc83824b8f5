#include "sts/sts_runner.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "core/file_read.h"
#include "core/notation.h"
#include "core/position_check.h"
#include "search/search.h"
#include "search/tt.h"
#include "sts/epd.h"
#include "sts/report_lock.h"
#include "sts/report_rows.h"
#include "sts/san.h"

namespace morvane {

namespace {

struct StsOutcome {
    std::string id, expected, played_uci, played_san;
    int eval_cp = 0, score = 0, score_max = 10;
    std::uint64_t nodes = 0, time_ms = 0;
    int depth = 0;
    bool bm_unrecognised = false;
    int expected_rank = 0, expected_eval_cp = 0;
    bool expected_known = false;
    std::string unplayable;  // why no search could be run, empty when one was
};

struct Totals {
    int analysed = 0, resumed = 0, solved = 0, unrecognised = 0, score = 0, scoreMax = 0;
};

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

StsOutcome run_position(const StsPosition& pos, const std::string& key, SearchContext& ctx, int depth,
                        long movetimeMs) {
    StsOutcome out;
    out.id = key;
    out.expected = join(pos.best_moves, " / ");
    Board board;
    // A position no search can play is scored as not solved, and the suite
    // goes on: one bad line must not cost the results of the others.
    try {
        board.set_fen(pos.fen);
        if (const std::string dropped = drop_impossible_rights(board); !dropped.empty())
            std::cerr << "info string " << key << " : FEN corrigee: " << dropped << std::endl;
        out.unplayable = position_problem(board);
    } catch (const std::exception& e) {
        out.unplayable = e.what();
    }
    if (!out.unplayable.empty()) {
        out.played_uci = "0000";
        out.played_san = "(aucun coup)";
        int best = 0;
        for (const auto& alternative : pos.alternatives) best = std::max(best, alternative.second);
        out.score_max = best > 0 ? best : 10;  // the maximum the position would have been worth
        return out;
    }
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

// A CSV report holds a line per position: far below this.
constexpr std::size_t maxReportBytes = std::size_t{64} << 20;
constexpr std::size_t maxShownRejections = 20;

// The finished positions of a previous CSV report, read under its lock.
// Bad rows are reported and left out; a row cut short by a killed run is
// removed from the file so that the next row does not continue it. False
// when that removal fails.
bool read_resume_table(const std::string& csvPath, LockedReport& csv, ResumeTable& table) {
    std::string content, problem;
    if (read_regular_file(csvPath, maxReportBytes, content, problem) != FileRead::Ok) return true;
    const PreviousReport previous = read_previous_report(content);
    for (std::size_t i = 0; i < previous.rejected.size() && i < maxShownRejections; ++i)
        std::cerr << csvPath << " " << previous.rejected[i] << ", ignoree" << std::endl;
    if (!previous.rejected.empty())
        std::cerr << previous.rejected.size() << " ligne(s) ignoree(s) dans " << csvPath << std::endl;
    table = previous.finished;
    if (table.empty() || !previous.tornLastRow) return true;
    std::cerr << "Derniere ligne de " << csvPath << " incomplete (lancement interrompu), retiree avant reprise"
              << std::endl;
    return csv.truncate(previous.soundLength);
}

std::string percentage_text(int total, int totalMax) {
    std::ostringstream s;
    s << (totalMax > 0 ? total * 100.0 / totalMax : 0.0);
    return s.str();
}

}  // namespace

bool run_sts_suite(const std::string& epd_path, int depth, long movetime_ms, const std::string& output_base,
                   bool resume) {
    const std::vector<StsPosition> suite = parse_epd_file(epd_path);
    if (suite.empty()) {
        std::cerr << "Aucune position valide chargee depuis " << epd_path << " -- arret." << std::endl;
        return false;
    }
    std::cerr << suite.size() << " positions chargees depuis " << epd_path << std::endl;

    // Both reports are opened and locked before either is cut: a run that
    // cannot write, or that another run holds, leaves them as they were.
    const std::string txtPath = output_base + ".txt", csvPath = output_base + ".csv";
    auto cannot_write = [&](const std::string& why) {
        std::cerr << "Impossible d'ecrire les rapports (" << txtPath << " / " << csvPath << ") : " << why
                  << " -- arret." << std::endl;
        return false;
    };
    LockedReport txtLock, csvLock;
    if (const std::string why = txtLock.open(txtPath); !why.empty()) return cannot_write(txtPath + " " + why);
    if (const std::string why = csvLock.open(csvPath); !why.empty()) return cannot_write(csvPath + " " + why);

    ResumeTable resumed;
    if (resume) {
        if (!read_resume_table(csvPath, csvLock, resumed)) return cannot_write(csvPath + " non tronquable");
        if (!resumed.empty())
            std::cerr << resumed.size() << " position(s) deja testee(s) trouvee(s) dans " << csvPath
                      << " -- reprise en cours." << std::endl;
        else
            std::cerr << "--continue demande mais aucun rapport precedent exploitable trouve -- "
                      << "nouveau lancement complet." << std::endl;
    }
    if (resumed.empty() && !(txtLock.truncate(0) && csvLock.truncate(0))) return cannot_write("troncature impossible");
    std::ofstream txt(txtPath, std::ios::app), csv(csvPath, std::ios::app);
    if (!txt || !csv) return cannot_write("ouverture impossible");
    if (!resumed.empty()) {
        txt << "\n--- Reprise (--continue), " << resumed.size() << " position(s) precedente(s) reintegrees ---\n";
    } else {
        txt << "=== Rapport de suite de tests (style STS) ===\n"
            << "Fichier source : " << epd_path << '\n';
        if (depth > 0) txt << "Profondeur fixe : " << depth << '\n';
        if (movetime_ms > 0) txt << "Temps fixe par position : " << movetime_ms << " ms\n";
        txt << "(eval en centipawns, point de vue du camp au trait dans CHAQUE position -- pas toujours Blancs)\n"
            << "--- Detail par position (ecrit au fur et a mesure, voir historique) ---\n";
        csv << stsCsvHeader << '\n';
    }
    txt.flush();
    csv.flush();

    Totals t;
    const auto ctx = std::make_unique<SearchContext>();
    for (const StsPosition& pos : suite) {
        ++t.analysed;
        const std::string key = pos.id.empty() ? "ligne " + std::to_string(pos.line) : pos.id;
        if (const auto it = resumed.find(key); it != resumed.end()) {
            t.score += it->second.first;
            t.scoreMax += it->second.second;
            ++t.resumed;
            if (it->second.first == it->second.second) ++t.solved;
            continue;
        }
        const StsOutcome o = run_position(pos, key, *ctx, depth, movetime_ms);
        t.score += o.score;
        t.scoreMax += o.score_max;
        if (o.score == o.score_max) ++t.solved;
        if (o.bm_unrecognised) ++t.unrecognised;

        txt << key << " : attendu=[" << o.expected << "] joue=" << o.played_san << " (" << o.played_uci << ")"
            << " eval=" << o.eval_cp << "cp"
            << " score=" << o.score << "/" << o.score_max << " profondeur=" << o.depth << " nodes=" << o.nodes
            << " temps=" << o.time_ms << "ms";
        if (o.expected_known) {
            txt << "  [coup attendu : rang=";
            if (o.expected_rank) txt << o.expected_rank;
            else txt << "introuvable";
            txt << ", eval=" << o.expected_eval_cp << "cp]";
        }
        if (o.bm_unrecognised) txt << "  [ATTENTION: bm non reconnu]";
        if (!o.unplayable.empty()) {
            txt << "  [position injouable : " << o.unplayable << "]";
            std::cerr << "info string " << key << " : position injouable, comptee non resolue: " << o.unplayable
                      << std::endl;
        }
        txt << "  resolues=" << t.solved << "/" << t.analysed << '\n';
        txt.flush();

        csv << '"' << key << "\",\"" << o.expected << "\",\"" << o.played_san << "\"," << o.played_uci << ','
            << o.eval_cp << ',' << o.score << ',' << o.score_max << ',' << o.depth << ',' << o.nodes << ',' << o.time_ms
            << ',';
        if (o.expected_known) csv << o.expected_rank << ',' << o.expected_eval_cp;
        else csv << ',';
        csv << ',' << (o.bm_unrecognised ? "oui" : "non") << ',' << t.solved << ',' << t.analysed << '\n';
        csv.flush();

        std::cerr << "[" << t.analysed << "/" << suite.size() << "] " << key << " : attendu=" << o.expected
                  << " joue=" << o.played_uci << " score=" << o.score << "/" << o.score_max << "  resolues=" << t.solved
                  << "/" << t.analysed << std::endl;
    }

    if (t.resumed)
        std::cerr << t.resumed << " position(s) deja testee(s) (reprise), reintegrees au total sans reteste."
                  << std::endl;
    const std::string pct = percentage_text(t.score, t.scoreMax);
    txt << "\n=== Resultat ===\n"
        << "Positions au total : " << t.analysed;
    if (t.resumed) txt << " (dont " << t.resumed << " reprises d'un lancement precedent)";
    txt << '\n' << "Score total : " << t.score << " / " << t.scoreMax << " (" << pct << "%)\n";
    if (t.unrecognised)
        txt << "ATTENTION : " << t.unrecognised << " position(s) (ce lancement) avec un\n"
            << "coup attendu (bm) non reconnu -- voir les lignes marquees ci-dessus.\n";
    txt.flush();
    std::cerr << "\nRapport texte ecrit dans " << txtPath << "\nRapport CSV ecrit dans " << csvPath << "\n\n"
              << "=== Score final : " << t.score << " / " << t.scoreMax << " (" << pct << "%) ===" << std::endl;
    return true;
}

}  // namespace morvane
