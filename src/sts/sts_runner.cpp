#include "sts/sts_runner.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>

#include "core/file_read.h"
#include "search/search.h"
#include "sts/epd.h"
#include "sts/position_run.h"
#include "sts/report_lock.h"
#include "sts/report_rows.h"
#include "sts/worker_pool.h"

namespace morvane {

namespace {

struct Totals {
    long long analysed = 0, resumed = 0, solved = 0, unrecognised = 0, score = 0, scoreMax = 0;
};

// A CSV report holds a line per position: far below this.
constexpr std::size_t maxReportBytes = std::size_t{64} << 20;
constexpr std::size_t maxShownRejections = 20;

// The rows of a CSV report that the run must take back; "" when it can,
// else why not. A report that exists but cannot be read, is not one of
// ours, or holds no usable row would otherwise be overwritten as if there
// were nothing to lose.
std::string take_back(const std::string& path, PreviousReport& report) {
    std::string content, problem;
    switch (read_regular_file(path, maxReportBytes, content, problem)) {
    case FileRead::Missing: return std::string("illisible : ") + std::strerror(errno);
    case FileRead::Refused: return problem;
    case FileRead::Ok: break;
    }
    report = read_previous_report(content);
    if (report.foreignHeader) return "en-tete inattendu, ce n'est pas un rapport CSV de ce programme";
    for (std::size_t i = 0; i < report.rejected.size() && i < maxShownRejections; ++i)
        std::cerr << path << " " << report.rejected[i] << ", ignoree" << std::endl;
    if (!report.rejected.empty())
        std::cerr << report.rejected.size() << " ligne(s) ignoree(s) dans " << path << std::endl;
    if (report.finished.empty() && !report.rejected.empty()) return "aucune ligne exploitable";
    return "";
}

std::string percentage_text(long long total, long long totalMax) {
    std::ostringstream s;
    s << (totalMax > 0 ? static_cast<double>(total) * 100.0 / static_cast<double>(totalMax) : 0.0);
    return s.str();
}

std::string text_row(const StsOutcome& o, const Totals& t) {
    std::ostringstream line;
    line << o.id << " : attendu=[" << o.expected << "] joue=" << o.played_san << " (" << o.played_uci << ")"
         << " eval=" << o.eval_cp << "cp"
         << " score=" << o.score << "/" << o.score_max << " profondeur=" << o.depth << " nodes=" << o.nodes
         << " temps=" << o.time_ms << "ms";
    if (o.expected_known) {
        line << "  [coup attendu : rang=";
        if (o.expected_rank) line << o.expected_rank;
        else line << "introuvable";
        line << ", eval=" << o.expected_eval_cp << "cp]";
    }
    if (o.bm_unrecognised) line << "  [ATTENTION: bm non reconnu]";
    if (!o.unplayable.empty())
        line << (o.search_failed ? "  [recherche en echec : " : "  [position injouable : ") << o.unplayable << "]";
    line << "  resolues=" << t.solved << "/" << t.analysed << '\n';
    return line.str();
}

// How each chosen position gets its outcome.
enum class Source { Resumed, Merged, Searched };

struct PlanEntry {
    const StsPosition* pos;
    Source source;
    StsOutcome merged;  // the row taken from another report, for Source::Merged
};

// Writes the reports of one run, position after position in suite order.
class ReportWriter {
public:
    ReportWriter(std::ofstream& txt, std::ofstream& csv, std::size_t positions)
        : txt_(txt), csv_(csv), positions_(positions) {}

    void resumed(const StsOutcome& row) {
        ++t.analysed;
        ++t.resumed;
        t.score += row.score;
        t.scoreMax += row.score_max;
        if (row.score == row.score_max) ++t.solved;
    }

    void write(const StsOutcome& o) {
        ++t.analysed;
        t.score += o.score;
        t.scoreMax += o.score_max;
        if (o.score == o.score_max) ++t.solved;
        if (o.bm_unrecognised) ++t.unrecognised;
        txt_ << text_row(o, t) << std::flush;
        csv_ << csv_row(o, t.solved, t.analysed) << std::flush;
        std::cerr << o.notes;
        if (!o.unplayable.empty())
            std::cerr << "info string " << o.id
                      << (o.search_failed ? " : recherche en echec, comptee non resolue: "
                                          : " : position injouable, comptee non resolue: ")
                      << o.unplayable << std::endl;
        std::cerr << "[" << t.analysed << "/" << positions_ << "] " << o.id << " : attendu=" << o.expected
                  << " joue=" << o.played_uci << " score=" << o.score << "/" << o.score_max << "  resolues=" << t.solved
                  << "/" << t.analysed << std::endl;
    }

    Totals t;

private:
    std::ofstream& txt_;
    std::ofstream& csv_;
    std::size_t positions_;
};

// The outcome a position gets from a merged report's row, or false when it
// must be searched: a row for a search that failed is no result.
bool outcome_from_row(const StsPosition& pos, const StsOutcome& row, StsOutcome& out) {
    std::string notes;
    const std::string why = unplayable_reason(pos, notes);
    if (why.empty() && row.played_uci == "0000") return false;
    out = row;
    out.unplayable = why;
    out.notes = notes;
    return true;
}

std::chrono::milliseconds hang_limit(const StsRunOptions& o) {
    // Generous: the expected move's ranking searches again after the
    // search itself, and a loaded machine slows everything down.
    const long seconds = o.hangLimitSeconds > 0 ? o.hangLimitSeconds
                         : o.movetimeMs > 0     ? 10 * (o.movetimeMs / 1000 + 1) + 60
                                                : 1800;
    return std::chrono::seconds(seconds);
}

}  // namespace

bool run_sts_suite(const std::string& epd_path, const StsRunOptions& options) {
    const std::vector<StsPosition> suite = parse_epd_file(epd_path);
    if (suite.empty()) {
        std::cerr << "Aucune position valide chargee depuis " << epd_path << " -- arret." << std::endl;
        return false;
    }
    std::cerr << suite.size() << " positions chargees depuis " << epd_path << std::endl;

    // Rows from other reports are read before anything of this run is
    // opened, so that an unusable one stops it with every report intact.
    ResumeTable merged;
    for (const std::string& part : options.mergeFrom) {
        PreviousReport report;
        if (const std::string why = take_back(part, report); !why.empty()) {
            std::cerr << "Rapport a fusionner " << part << " inexploitable (" << why << ") -- arret." << std::endl;
            return false;
        }
        for (auto& [key, row] : report.finished) merged[key] = row;
    }

    // Both reports are opened and locked before either is cut: a run that
    // cannot write, or that another run holds, leaves them as they were.
    const std::string txtPath = options.outputBase + ".txt", csvPath = options.outputBase + ".csv";
    auto cannot_write = [&](const std::string& why) {
        std::cerr << "Impossible d'ecrire les rapports (" << txtPath << " / " << csvPath << ") : " << why
                  << " -- arret." << std::endl;
        return false;
    };
    LockedReport txtLock, csvLock;
    if (const std::string why = txtLock.open(txtPath); !why.empty()) return cannot_write(txtPath + " " + why);
    if (const std::string why = csvLock.open(csvPath); !why.empty()) return cannot_write(csvPath + " " + why);

    ResumeTable resumed;
    if (options.resume) {
        PreviousReport previous;
        if (const std::string why = take_back(csvPath, previous); !why.empty()) {
            std::cerr << "Rapport precedent " << csvPath << " inexploitable (" << why
                      << ") : --continue ne l'ecrase pas -- arret." << std::endl;
            return false;
        }
        resumed = previous.finished;
        if (!resumed.empty() && previous.tornLastRow) {
            std::cerr << "Derniere ligne de " << csvPath << " incomplete (lancement interrompu), retiree avant reprise"
                      << std::endl;
            if (!csvLock.truncate(previous.soundLength)) return cannot_write(csvPath + " non tronquable");
        }
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
        if (options.depth > 0) txt << "Profondeur fixe : " << options.depth << '\n';
        if (options.movetimeMs > 0) txt << "Temps fixe par position : " << options.movetimeMs << " ms\n";
        if (options.sliceCount > 1)
            txt << "Tranche : " << options.sliceIndex << "/" << options.sliceCount << " (une position sur "
                << options.sliceCount << ")\n";
        txt << "(eval en centipawns, point de vue du camp au trait dans CHAQUE position -- pas toujours Blancs)\n"
            << "--- Detail par position (ecrit au fur et a mesure, voir historique) ---\n";
        csv << stsCsvHeader << '\n';
    }
    txt.flush();
    csv.flush();

    // The positions of this slice, in suite order, and where each one's
    // outcome comes from.
    std::vector<PlanEntry> plan;
    std::vector<std::size_t> searched;  // indices into plan
    for (std::size_t i = static_cast<std::size_t>(options.sliceIndex - 1); i < suite.size();
         i += static_cast<std::size_t>(options.sliceCount)) {
        const StsPosition& pos = suite[i];
        const std::string key = position_key(pos);
        PlanEntry entry{&pos, Source::Searched, {}};
        if (resumed.count(key)) entry.source = Source::Resumed;
        else if (const auto it = merged.find(key); it != merged.end() && outcome_from_row(pos, it->second, entry.merged))
            entry.source = Source::Merged;
        if (entry.source == Source::Searched) searched.push_back(plan.size());
        plan.push_back(std::move(entry));
    }

    ReportWriter writer(txt, csv, plan.size());
    std::size_t written = 0;
    // Everything before plan entry `end` that needs no search.
    auto write_up_to = [&](std::size_t end) {
        for (; written < end; ++written) {
            const PlanEntry& e = plan[written];
            if (e.source == Source::Resumed) writer.resumed(resumed.at(position_key(*e.pos)));
            else if (e.source == Source::Merged) writer.write(e.merged);
        }
    };
    // One per process: each worker gets its own copy when it starts.
    const auto ctx = std::make_unique<SearchContext>();
    const TaskWork work = [&](std::size_t task) {
        return encode_outcome(run_position(*plan[searched[task]].pos, *ctx, options.depth, options.movetimeMs));
    };
    const TaskDone done = [&](std::size_t task, const TaskResult& result) {
        const std::size_t index = searched[task];
        write_up_to(index);
        StsOutcome o;
        if (!result.done || !decode_outcome(result.text, o)) {
            o = failed_outcome(*plan[index].pos, result.done ? "reponse illisible du processus de recherche"
                                                             : result.text);
            o.search_failed = true;
        }
        writer.write(o);
        written = index + 1;
    };
    const auto start = std::chrono::steady_clock::now();
    run_in_workers(searched.size(), options.jobs, hang_limit(options), work, done);
    write_up_to(plan.size());
    const double minutes =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / 60.0;

    const Totals& t = writer.t;
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
    std::cerr << "Cadence : " << std::fixed << std::setprecision(1)
              << (minutes > 0 ? static_cast<double>(searched.size()) / minutes : 0.0) << std::defaultfloat
              << " positions cherchees par minute, --jobs " << options.jobs << std::endl;
    return true;
}

}  // namespace morvane
