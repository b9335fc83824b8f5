// Feeds an engine executable hostile UCI input through pipes, as a broken
// GUI would: junk bytes, protocol words in any order, mangled and
// impossible FENs, numbers far outside every range, games of a thousand
// plies, configuration files full of extreme values. After every round it
// stops any search and checks that the engine still answers "isready" and
// still finishes a small search; every third round it also waits for a
// search deeper than every default minimum depth under one of the
// configurations. Build the engine with the sanitizers: any report there
// ends the process, which counts as a crash. A seed gives the same input at
// every run (the engine's timing may still differ).
// Usage: uci_fuzz <engine> [rounds] [seed] [seconds]
//        (default 300 rounds, seed 1; with seconds, it also stops after the
//        round that ends past that time, for campaigns of a fixed length)
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "config/engine_config.h"
#include "core/attacks.h"
#include "core/notation.h"
#include "core/zobrist.h"
#include "movegen/movegen.h"

#define MORVANE_EXE ""
#include "../tests/support/engine_process.h"

using namespace morvane;

namespace {

constexpr int AnswerMs = 20000;  // sanitizer builds are slow; a hang is far longer

const char* const Words[] = {
    "uci",       "isready",  "position", "startpos",   "fen",      "moves",     "go",          "depth",
    "wtime",     "btime",    "winc",     "binc",       "movetime", "movestogo", "nodes",       "ponder",
    "ponderhit", "infinite", "stop",     "setoption",  "name",     "value",     "UseMobility", "UsePruning",
    "true",      "false",    "d",        "ucinewgame", "e2e4",     "e7e5",      "e1g1",        "a7a8q",
    "0000",      "w",        "b",        "-",          "KQkq",     "e3",        "8/8/8",       "k7/8/8/8/8/8/8/7K",
    "\t",        ""};
const char* const Numbers[] = {"0",
                               "1",
                               "-1",
                               "7",
                               "100",
                               "2147483647",
                               "2147483648",
                               "-2147483648",
                               "4294967297",
                               "9223372036854775807",
                               "-9223372036854775808",
                               "18446744073709551616",
                               "99999999999999999999999",
                               "1e9",
                               "0x10",
                               "+5",
                               "-0",
                               "12abc"};
const char* const Fens[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
    "4k3/8/8/8/8/8/8/4K3 w KQkq - 0 1",        // rights without rooks
    "4k3/8/8/8/8/8/8/4K3 w - e6 0 1",          // en passant without a pawn
    "8/8/8/8/8/8/8/4K3 w - - 0 1",             // one king
    "4k3/8/8/8/8/8/8/4KK2 w - - 0 1",          // two white kings
    "P3k3/8/8/8/8/8/8/4K3 w - - 0 1",          // pawn on the last rank
    "4k3/8/8/8/8/8/4Q3/4K3 w - - 0 1",         // side not to move in check
    "QQQQQQQQ/QQ2k3/8/8/8/8/8/4K3 b - - 0 1",  // impossible material
    "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1",          // stalemate
    "7k/6Q1/6K1/8/8/8/8/8 b - - 0 1",          // mate
    "8/8/3k4/8/2P5/8/4K3/8 w - - 65535 1",     // tables, absurd halfmove clock
};
const std::string FenAlphabet = "pnbrqkPNBRQKx12345678/ wb-KQkqabcdefgh0123456789";

template <typename T, std::size_t N>
const T& pick(const T (&items)[N], std::mt19937_64& rng) {
    return items[rng() % N];
}

// A random legal game of up to maxPlies, as a move list.
std::string random_game(std::mt19937_64& rng, int maxPlies) {
    auto board = std::make_unique<Board>();
    std::string moves;
    for (int i = 0; i < maxPlies; ++i) {
        ScoredMove list[MAX_MOVES];
        const int n = generate_legal(*board, list, false);
        if (n == 0) break;
        const Move m = list[rng() % n].move;
        moves += ' ' + move_to_uci(m);
        if (board->ply() >= MAX_ROOT_PLY) board->keep_recent_history(std::min<int>(board->state().halfmove, 100));
        board->do_move(m);
    }
    return moves;
}

// Knights shuffling back and forth: a long game with no irreversible move.
std::string shuffle_game(int cycles) {
    std::string moves;
    for (int i = 0; i < cycles; ++i) moves += " g1f3 g8f6 f3g1 f6g8";
    return moves;
}

std::string mangled_fen(std::mt19937_64& rng) {
    std::string fen = pick(Fens, rng);
    for (int k = static_cast<int>(rng() % 4); k > 0; --k) {
        const std::size_t at = rng() % (fen.size() + 1);
        switch (rng() % 3) {
            case 0: fen.insert(at, 1, FenAlphabet[rng() % FenAlphabet.size()]); break;
            case 1:
                if (at < fen.size()) fen.erase(at, 1);
                break;
            default:
                if (at < fen.size()) fen[at] = FenAlphabet[rng() % FenAlphabet.size()];
        }
    }
    return fen;
}

// A configuration file of random keys at extreme values: beyond every
// range, or at the very ends of the key's own range. Half of the files also
// let every pruning, reduction and extension start at the shallowest
// depths, so that short searches run them all with those values.
std::string write_config(std::mt19937_64& rng, const std::filesystem::path& dir, int index) {
    EngineConfig config;
    const std::vector<ConfigField> fields = all_fields(config);
    const std::string path = (dir / ("fuzz" + std::to_string(index) + ".cfg")).string();
    std::ofstream out(path);
    const int extremes[] = {INT_MIN, INT_MAX, 0, -1, 1};
    auto value = [&](const ConfigField& f) {
        switch (rng() % 4) {
            case 0: return pick(extremes, rng);
            case 1: return static_cast<int>(rng());
            case 2: return f.range.min;
            default: return f.range.max;
        }
    };
    if (rng() % 2 == 0) {
        for (const ConfigField& f : fields) {
            if (f.name.ends_with("_min_depth")) out << f.name << ' ' << 1 + static_cast<int>(rng() % 3) << '\n';
            if (f.name.ends_with("_max_depth")) out << f.name << ' ' << 6 + static_cast<int>(rng() % 20) << '\n';
        }
    }
    for (int k = static_cast<int>(rng() % 20) + 1; k > 0; --k) {
        const ConfigField& f = fields[rng() % fields.size()];
        out << f.name;
        for (int i = 0; i < f.count; ++i) out << ' ' << value(f);
        out << '\n';
    }
    if (rng() % 3 == 0) out << "auto_rescale_on_load 1 material_pawn " << pick(extremes, rng) << '\n';
    return path;
}

// A search the fuzzer waits for, deeper than every default minimum depth,
// under one of the configurations; the node limit keeps it short whatever
// the values switch off.
std::vector<std::string> deep_search(std::mt19937_64& rng, const std::vector<std::string>& configs) {
    return {"setoption name ConfigPath value " + configs[rng() % configs.size()],
            rng() % 2 ? "position fen " + std::string(pick(Fens, rng)) : "position startpos moves" + random_game(rng, 30),
            "go depth " + std::to_string(9 + rng() % 4) + " nodes " + std::to_string(20000 + rng() % 60000)};
}

std::string go_line(std::mt19937_64& rng) {
    static const char* const keywords[] = {"depth",     "wtime", "btime",  "winc",     "binc", "movetime",
                                           "movestogo", "nodes", "ponder", "infinite", "perft"};
    std::string line = "go";
    for (int k = static_cast<int>(rng() % 5); k > 0; --k) {
        const std::string keyword = pick(keywords, rng);
        // A deep perft runs on the command thread and no "stop" ends it.
        if (keyword == "perft") return "go perft " + std::to_string(rng() % 4);
        line += ' ' + keyword;
        if (keyword != "ponder" && keyword != "infinite") line += ' ' + std::string(pick(Numbers, rng));
    }
    return line;
}

std::string random_line(std::mt19937_64& rng, const std::vector<std::string>& configs) {
    switch (rng() % 10) {
        case 0: {
            std::string junk;
            for (int c = static_cast<int>(rng() % 200); c > 0; --c) junk += static_cast<char>(1 + rng() % 255);
            return junk;
        }
        case 1: {
            std::string soup;
            for (int t = static_cast<int>(rng() % 12); t > 0; --t)
                soup += std::string(rng() % 3 ? pick(Words, rng) : pick(Numbers, rng)) + ' ';
            return soup.find("perft") == std::string::npos ? soup : "go perft 1";
        }
        case 2: return "position fen " + mangled_fen(rng) + (rng() % 2 ? " moves e2e4 e7e5 e1g1" : "");
        case 3: return "position fen " + std::string(pick(Fens, rng)) + " moves" + random_game(rng, 40);
        case 4: return "position startpos moves" + random_game(rng, static_cast<int>(rng() % 1300));
        case 5: return "position startpos moves" + shuffle_game(static_cast<int>(rng() % 320));
        case 6: return "setoption name ConfigPath value " + configs[rng() % configs.size()];
        case 7: return "setoption name Hash value " + std::to_string(rng() % 32);
        default: return go_line(rng);
    }
}

}  // namespace

int main(int argc, char** argv) {
    init_zobrist();
    init_attacks();
    if (argc < 2) {
        std::cerr << "Usage: uci_fuzz <engine> [rounds] [seed] [seconds]\n";
        return 1;
    }
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 300;
    std::mt19937_64 rng(argc > 3 ? std::strtoull(argv[3], nullptr, 10) : 1);
    const long seconds = argc > 4 ? std::atol(argv[4]) : 0;
    const auto start = std::chrono::steady_clock::now();
    // One directory per process: runs of two builds may overlap.
    const auto dir = std::filesystem::temp_directory_path() / ("morvane_uci_fuzz_" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    std::vector<std::string> configs;
    for (int i = 0; i < 8; ++i) configs.push_back(write_config(rng, dir, i));

    long lines = 0, crashes = 0, hangs = 0;
    auto engine = std::make_unique<test::EngineProcess>(argv[1]);
    int round = 0;
    for (; round < rounds; ++round) {
        if (seconds > 0 && std::chrono::steady_clock::now() - start > std::chrono::seconds(seconds)) break;
        for (int k = static_cast<int>(rng() % 12) + 1; k > 0; --k, ++lines) {
            const std::string line = random_line(rng, configs);
            engine->send(line);
            if (line.rfind("go", 0) != 0) continue;
            // Mostly let the search run a little, then end it, so that the
            // next positions are not all refused as arriving mid-search.
            if (rng() % 4 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(rng() % 30));
            if (const auto r = rng() % 8; r < 6) engine->send(r == 0 ? "ponderhit" : "stop");
        }
        // Whatever was started ends on "stop"; the engine must then answer,
        // and still complete a search of its own.
        engine->send("stop");
        engine->send("isready");
        bool alive = engine->wait_for("readyok", AnswerMs).has_value();
        if (alive && round % 3 == 0) {
            for (const std::string& line : deep_search(rng, configs)) {
                engine->send(line);
                ++lines;
            }
            alive = engine->wait_for("bestmove ", AnswerMs).has_value();
        }
        if (alive) {
            engine->send("position startpos moves e2e4");
            engine->send("go depth 2");
            alive = engine->wait_for("bestmove ", AnswerMs).has_value();
        }
        if (!alive) {
            const auto status = engine->wait_exit(2000);
            ++(status ? crashes : hangs);
            std::cerr << "round " << round << ": " << (status ? "crash, status " + std::to_string(*status) : "hang")
                      << '\n';
            engine = std::make_unique<test::EngineProcess>(argv[1]);
        }
    }
    engine->send("quit");
    const auto status = engine->wait_exit(AnswerMs);
    if (!status || *status != 0) ++(status ? crashes : hangs);
    std::filesystem::remove_all(dir);
    std::cout << "uci_fuzz: " << round << " rounds, " << lines << " lines, " << crashes << " crashes, " << hangs
              << " hangs\n";
    return crashes || hangs ? 1 : 0;
}
