// What a GUI shows of the engine, through the real executable.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "config/config_loader.h"
#include "search/bench.h"
#include "tablebase/tbprobe.h"
#include "support/engine_process.h"
#include "support/files.h"
#include "support/test_positions.h"

using namespace morvane;
namespace fs = std::filesystem;

namespace {

constexpr const char* Found = "info string parametres charges depuis ";
constexpr const char* Defaults = "info string aucun fichier Morvane047.cfg trouve";

bool starts_with(const std::string& line, const std::string& prefix) { return line.rfind(prefix, 0) == 0; }

// The "info string" lines about the parameter file: the one after
// "uciok", and the one before the first search of a game.
std::vector<std::string> announcements(const char* exe, const fs::path& workdir) {
    test::EngineUnderTest engine(exe, workdir.c_str());
    std::vector<std::string> seen;
    engine.send("uci");
    engine.send("isready");
    engine.send("ucinewgame");
    engine.send("position startpos");
    engine.send("go depth 1");
    EXPECT_TRUE(engine.wait_for("bestmove", test::StartupMs, &seen));
    engine.send("go depth 1");  // the same game: not announced again
    EXPECT_TRUE(engine.wait_for("bestmove", 5000, &seen));
    std::vector<std::string> found;
    bool afterUciok = false, beforeSearch = false;
    for (std::size_t i = 0; i < seen.size(); ++i) {
        if (!starts_with(seen[i], Found) && !starts_with(seen[i], Defaults)) continue;
        found.push_back(seen[i]);
        afterUciok |= i > 0 && seen[i - 1] == "uciok";
        beforeSearch |= i + 1 < seen.size() && starts_with(seen[i + 1], "info depth 1 ");
    }
    EXPECT_TRUE(afterUciok && beforeSearch);
    return found;
}

void copy_executable(const fs::path& to) {
    fs::create_directories(to.parent_path());
    fs::copy_file(MORVANE_EXE, to);
    fs::permissions(to, fs::perms::owner_all);
}

void write_file(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
}

// One "info depth" line's fields.
struct InfoLine {
    int depth = 0, multipv = 0, score = 0;
    std::vector<std::string> pv;
};

InfoLine parse_info(const std::string& line) {
    InfoLine info;
    std::istringstream in(line);
    std::string word;
    while (in >> word) {
        if (word == "depth") in >> info.depth;
        else if (word == "multipv") in >> info.multipv;
        else if (word == "cp") in >> info.score;
        else if (word == "pv")
            while (in >> word) info.pv.push_back(word);
    }
    return info;
}

// A search's output without its timings, which alone may differ between runs.
std::string without_timings(const std::vector<std::string>& lines) {
    std::string kept;
    for (const std::string& line : lines) {
        std::istringstream in(line);
        std::string word, skip;
        while (in >> word) {
            if (word == "nps" || word == "time") in >> skip;
            else kept += word + ' ';
        }
        kept += '\n';
    }
    return kept;
}

std::vector<std::string> search_output(test::EngineUnderTest& engine, const std::string& go) {
    std::vector<std::string> lines;
    engine.send(go);
    EXPECT_TRUE(engine.wait_for("bestmove", 30000, &lines));
    return lines;
}

}  // namespace

TEST(GuiProtocol, TunedFileIsFoundWhereverTheEngineStartsAndNamedOnStdout) {
    test::ScratchDir scratch;
    const fs::path root = fs::canonical(scratch.path());  // as the engine sees it
    const fs::path elsewhere = root / "gui-folder";
    fs::create_directories(elsewhere);

    // Started in a folder of its own, the engine finds the file the build
    // put beside it.
    EngineConfig shipped;
    int entries = 0;
    ASSERT_TRUE(load_config(MORVANE_SOURCE_DIR "/Morvane047.cfg", shipped, &entries));
    const fs::path besideExe = fs::canonical(fs::path(MORVANE_EXE).parent_path()) / "Morvane047.cfg";
    const std::string expected = Found + besideExe.string() + " (" + std::to_string(entries) + " entrees)";
    EXPECT_EQ(announcements(MORVANE_EXE, elsewhere), std::vector<std::string>(2, expected));

    // Installed: P/bin/morvane finds P/share/morvane/Morvane047.cfg.
    const fs::path prefix = root / "prefix";
    copy_executable(prefix / "bin" / "morvane");
    write_file(prefix / "share" / "morvane" / "Morvane047.cfg", "null_move_reduction 3\nrfp_enabled 1\n");
    const std::string installed = (prefix / "bin" / "morvane").string();
    EXPECT_EQ(announcements(installed.c_str(), elsewhere),
              std::vector<std::string>(2, Found + (prefix / "share/morvane/Morvane047.cfg").string() + " (2 entrees)"));

    // The working directory's own file still comes first.
    write_file(elsewhere / "Morvane047.cfg", "lmr_enabled 1\n");
    EXPECT_EQ(announcements(installed.c_str(), elsewhere),
              std::vector<std::string>(2, Found + (elsewhere / "Morvane047.cfg").string() + " (1 entrees)"));

    // Nowhere at all: the built-in defaults play, and the engine says so.
    fs::remove(elsewhere / "Morvane047.cfg");
    const fs::path bare = root / "bare" / "morvane";
    copy_executable(bare);
    const auto none = announcements(bare.c_str(), elsewhere);
    ASSERT_EQ(none.size(), 2u);
    EXPECT_TRUE(starts_with(none[0], Defaults) && none[0] == none[1]) << none[0];
}

// One game in one process, as a GUI plays it: cut-offs from the table no
// longer show as one-move variations.
TEST(GuiProtocol, VariationsDuringAGameAreAsLongAsTheTableAllows) {
    test::EngineUnderTest engine;
    ASSERT_TRUE(engine.ready());
    engine.send("ucinewgame");
    std::string moves;
    int deepLines = 0, oneMoveLines = 0;
    for (int ply = 0; ply < 24; ++ply) {
        Board board;
        board.set_fen(StartFen);
        std::istringstream played(moves);
        for (std::string uci; played >> uci;) board.do_move(test::find_move(board, uci));
        const std::string fen = board.fen();
        engine.send("position startpos" + (moves.empty() ? std::string() : " moves" + moves));
        const auto lines = search_output(engine, "go depth 8");
        ASSERT_FALSE(lines.empty());
        for (const std::string& line : lines) {
            if (!starts_with(line, "info depth ")) continue;
            const InfoLine info = parse_info(line);
            EXPECT_TRUE(test::plays_legally(fen, info.pv)) << line;
            if (info.depth < 5) continue;
            ++deepLines;
            oneMoveLines += info.pv.size() == 1;
        }
        const std::string best = lines.back().substr(9, lines.back().find(' ', 9) - 9);
        ASSERT_TRUE(test::plays_legally(fen, {best})) << lines.back();
        moves += ' ' + best;
    }
    ASSERT_GT(deepLines, 0);
    EXPECT_LT(10 * oneMoveLines, deepLines) << oneMoveLines << " one-move lines of " << deepLines;
}

TEST(GuiProtocol, PonderMoveOnlyWithTheOptionOn) {
    test::EngineUnderTest engine;
    std::vector<std::string> handshake;
    engine.send("uci");
    ASSERT_TRUE(engine.wait_for("uciok", test::StartupMs, &handshake));
    EXPECT_EQ(std::count(handshake.begin(), handshake.end(), "option name Ponder type check default false"), 1);
    EXPECT_EQ(std::count(handshake.begin(), handshake.end(), "option name MultiPV type spin default 1 min 1 max 64"),
              1);
    const std::string fen = "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3";
    engine.send("position fen " + fen);
    auto answer = [&] { return search_output(engine, "go depth 6").back(); };

    EXPECT_EQ(answer().find(" ponder"), std::string::npos);
    engine.send("setoption name Ponder value true");
    std::istringstream words(answer());
    std::string bestmove, best, ponder, reply;
    words >> bestmove >> best >> ponder >> reply;
    EXPECT_EQ(ponder, "ponder");
    EXPECT_TRUE(test::plays_legally(fen, {best, reply})) << best << ' ' << reply;
    engine.send("setoption name Ponder value false");
    EXPECT_EQ(answer().find(" ponder"), std::string::npos);
}

TEST(GuiProtocol, MultiPvGivesDistinctMovesByScoreAndOneLineIsUnchanged) {
    const std::string fen = "r2q1rk1/pp1nbppp/2p1pn2/3p4/2PP1B2/2N1PN2/PPQ2PPP/R3KB1R w KQ - 3 9";
    test::EngineUnderTest engine;
    ASSERT_TRUE(engine.ready());
    engine.send("setoption name MultiPV value 3");
    engine.send("position fen " + fen);
    const auto lines = search_output(engine, "go depth 7");
    std::vector<InfoLine> infos;
    for (const std::string& line : lines)
        if (starts_with(line, "info depth ")) infos.push_back(parse_info(line));
    ASSERT_EQ(infos.size(), 21u);
    for (std::size_t i = 0; i < infos.size(); i += 3) {
        std::set<std::string> firstMoves;
        for (std::size_t k = 0; k < 3; ++k) {
            const InfoLine& info = infos[i + k];
            EXPECT_EQ(info.depth, static_cast<int>(i / 3 + 1));
            EXPECT_EQ(info.multipv, static_cast<int>(k + 1));
            ASSERT_FALSE(info.pv.empty());
            EXPECT_TRUE(test::plays_legally(fen, info.pv));
            firstMoves.insert(info.pv[0]);
            if (k > 0) {
                EXPECT_GE(infos[i + k - 1].score, info.score);
            }
        }
        EXPECT_EQ(firstMoves.size(), 3u);
    }
    EXPECT_EQ(lines.back().substr(0, 9 + infos[18].pv[0].size()), "bestmove " + infos[18].pv[0]);

    // Back to one line: byte for byte, timings aside, a fresh engine's output.
    engine.send("setoption name MultiPV value 1");
    engine.send("ucinewgame");
    engine.send("position fen " + fen);
    const std::string afterwards = without_timings(search_output(engine, "go depth 9"));
    test::EngineUnderTest fresh;
    ASSERT_TRUE(fresh.ready());
    fresh.send("ucinewgame");
    fresh.send("position fen " + fen);
    EXPECT_EQ(without_timings(search_output(fresh, "go depth 9")), afterwards);
    EXPECT_EQ(afterwards.find("multipv"), std::string::npos);
}

TEST(GuiProtocol, BenchCommandPrintsTheBenchToolsTotal) {
    std::FILE* pipe = popen(MORVANE_EXE " bench 5 2>/dev/null", "r");
    ASSERT_NE(pipe, nullptr);
    std::string output;
    char chunk[4096];
    for (std::size_t n; (n = std::fread(chunk, 1, sizeof chunk, pipe)) > 0;) output.append(chunk, n);
    EXPECT_EQ(pclose(pipe), 0);
    std::ostringstream discard;
    tb_init("");  // as in the bench command, whatever tables earlier tests loaded
    const BenchTotals totals = run_bench(5, discard);
    EXPECT_NE(output.find("\nNodes searched: " + std::to_string(totals.nodes) + "\n"), std::string::npos) << output;
    EXPECT_NE(output.find("\nNodes/second: "), std::string::npos);
    EXPECT_NE(output.find("\nTime: "), std::string::npos);
}
