#include "uci/command_line.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

#include "config/config_loader.h"
#include "search/bench.h"
#include "sts/sts_runner.h"
#include "uci/uci_loop.h"

namespace morvane {

namespace {

struct BatchRequest {
    std::string epdFile, unknown;
    StsRunOptions run;
    int depth = 0;
    int movetime = 0;
    int hangLimit = 0;
    bool batch = false;
    bool outOfRange = false;  // a number beyond its range: the run would not be what was asked
};

// Decimal with the leniency of strtol (leading blanks, trailing text
// ignored, no digits reads as 0), but a value outside the int range is
// refused rather than wrapped or saturated.
bool read_int_argument(const char* text, int& value) {
    errno = 0;
    const long long parsed = std::strtoll(text, nullptr, 10);
    if (errno == ERANGE || parsed < INT_MIN || parsed > INT_MAX) return false;
    value = static_cast<int>(parsed);
    return true;
}

// "K/M" with 1 <= K <= M.
bool read_slice(const std::string& text, int& index, int& count) {
    const auto slash = text.find('/');
    if (slash == std::string::npos) return false;
    return read_int_argument(text.substr(0, slash).c_str(), index) &&
           read_int_argument(text.substr(slash + 1).c_str(), count) && index >= 1 && index <= count;
}

BatchRequest parse_arguments(int argc, char** argv) {
    BatchRequest req;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--sts" && hasValue) {
            req.epdFile = argv[++i];
            req.batch = true;
        } else if (arg == "--depth" && hasValue) {
            req.outOfRange |= !read_int_argument(argv[++i], req.depth);
        } else if (arg == "--movetime" && hasValue) {
            req.outOfRange |= !read_int_argument(argv[++i], req.movetime);
        } else if (arg == "--output" && hasValue) {
            req.run.outputBase = argv[++i];
        } else if (arg == "--continue") {
            req.run.resume = true;
        } else if (arg == "--jobs" && hasValue) {
            req.outOfRange |= !read_int_argument(argv[++i], req.run.jobs) || req.run.jobs < 1 || req.run.jobs > 256;
        } else if (arg == "--slice" && hasValue) {
            req.outOfRange |= !read_slice(argv[++i], req.run.sliceIndex, req.run.sliceCount);
        } else if (arg == "--merge" && hasValue) {
            req.run.mergeFrom.push_back(argv[++i]);
        } else if (arg == "--timeout" && hasValue) {
            req.outOfRange |= !read_int_argument(argv[++i], req.hangLimit) || req.hangLimit < 0;
        } else if (arg.rfind("--", 0) == 0 && req.unknown.empty()) {
            req.unknown = arg;
        }
    }
    return req;
}

void print_usage(const char* program) {
    std::cerr << "Usage: " << program
              << " --sts <fichier.epd> (--depth <N> | --movetime <ms>) --output <base_rapport> [--continue]\n"
              << "        [--jobs <N>] [--slice <K>/<M>] [--merge <rapport.csv>]... [--timeout <s>]\n"
              << "  --depth et --movetime peuvent etre combines : la recherche de chaque\n"
              << "  position s'arrete a la premiere limite atteinte (pas de priorite de l'un\n"
              << "  sur l'autre). Au moins un des deux est requis.\n"
              << "  Produit <base_rapport>.txt et <base_rapport>.csv, ecrits au fur et a mesure.\n"
              << "  --continue : reprend un test interrompu (meme fichier EPD requis) au lieu de\n"
              << "               redemarrer depuis zero (comportement par defaut sans cette option).\n"
              << "  --jobs N : N recherches a la fois, chacune dans son processus (1 a 256).\n"
              << "  --slice K/M : seulement les positions K, K+M, K+2M... de la suite.\n"
              << "  --merge R.csv : reprend les lignes de R.csv au lieu de chercher (repetable).\n"
              << "  --timeout S : une recherche qui depasse S secondes est comptee en echec." << std::endl;
}

// "morvane bench [depth]": the bench tool's positions and node total, in
// the form engine-testing frameworks read. Like the tool, it plays with the
// built-in parameters and no endgame tables, so the totals agree.
int run_bench_command(int argc, char** argv) {
    int depth = 10;
    if (argc > 2 && (!read_int_argument(argv[2], depth) || depth < 1)) {
        std::cerr << "Usage: " << argv[0] << " bench [profondeur >= 1]" << std::endl;
        return 1;
    }
    const BenchTotals totals = run_bench(depth, std::cout);
    const auto ms = static_cast<std::uint64_t>(totals.seconds * 1000);
    std::cout << "Nodes searched: " << totals.nodes
              << "\nNodes/second: " << static_cast<std::uint64_t>(static_cast<double>(totals.nodes) / totals.seconds)
              << "\nTime: " << ms << " ms" << std::endl;
    return 0;
}

}  // namespace

int run_command_line(int argc, char** argv) {
    if (argc <= 1) {
        uci_loop();
        return 0;
    }
    if (std::string(argv[1]) == "bench") return run_bench_command(argc, argv);
    const BatchRequest req = parse_arguments(argc, argv);
    if (!req.unknown.empty())
        std::cerr << "info string argument non reconnu : " << req.unknown
                  << " (bascule en mode UCI normal si aucun --sts valide "
                  << "n'est fourni par ailleurs -- verifier l'orthographe)" << std::endl;
    if (!req.batch) {
        uci_loop();
        return 0;
    }
    if (!req.outOfRange && !req.epdFile.empty() && !req.run.outputBase.empty() && (req.depth > 0 || req.movetime > 0)) {
        load_config("Morvane047.cfg", g_config);
        StsRunOptions run = req.run;
        run.depth = req.depth;
        run.movetimeMs = req.movetime;
        run.hangLimitSeconds = req.hangLimit;
        try {
            if (!run_sts_suite(req.epdFile, run)) return 1;
        } catch (const std::exception& e) {
            // A failure outside any one position; every report line
            // written before it is on disk.
            std::cerr << "info string EXCEPTION pendant la suite de tests: " << e.what() << std::endl;
            return 1;
        }
        return 0;
    }
    print_usage(argv[0]);
    return 1;
}

}  // namespace morvane
