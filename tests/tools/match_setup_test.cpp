// What the match is set up from: the command line, the opening files, and
// the generated opening book.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "match/cli.h"
#include "match/openings.h"
#include "support/files.h"

using namespace match;

namespace {

CommandLine parse(std::initializer_list<const char*> words) {
    return parse_command_line(std::vector<std::string>(words.begin(), words.end()));
}

}  // namespace

TEST(MatchSetup, EngineSettingsOwnOverridesEach) {
    const CommandLine cl = parse({"--engine", "cmd=bin/new", "arg=--quiet", "option.Hash=64", "nodes=5000", "--engine",
                                  "cmd=/usr/bin/old", "dir=/tmp", "--each", "tc=10+0.1", "option.Hash=16",
                                  "option.UseLMR=false", "--sprt", "-1", "4"});
    const EngineSetup& first = cl.match.engines[0];
    const EngineSetup& second = cl.match.engines[1];
    // A relative program is found from here, not from the engine's directory.
    EXPECT_EQ(first.argv.front(), (std::filesystem::current_path() / "bin/new").string());
    EXPECT_EQ(first.argv.at(1), "--quiet");
    EXPECT_EQ(first.name, "new");
    EXPECT_EQ(first.effort.nodes, 5000);
    EXPECT_FALSE(first.effort.timed());
    // Options from --each go first, so the engine's own value is the one the
    // engine ends up with.
    ASSERT_EQ(first.options.size(), 3u);
    EXPECT_EQ(first.options.back(), (std::pair<std::string, std::string>("Hash", "64")));
    EXPECT_EQ(second.effort.baseMs, 10000);
    EXPECT_EQ(second.effort.incMs, 100);
    EXPECT_EQ(second.dir, "/tmp");
    ASSERT_TRUE(cl.match.sprt);
    EXPECT_EQ(cl.match.sprt->elo0, -1);
    EXPECT_EQ(cl.match.games, 1000000);  // an SPRT runs until it decides
}

TEST(MatchSetup, BadCommandLinesAreRefused) {
    EXPECT_THROW(parse({"--engine", "cmd=a", "tc=1"}), std::invalid_argument);               // one engine
    EXPECT_THROW(parse({"--engine", "cmd=a", "--engine", "cmd=b"}), std::invalid_argument);  // no effort
    EXPECT_THROW(parse({"--engine", "cmd=a", "tc=1", "--engine", "cmd=b", "tc=1", "nodes=5"}), std::invalid_argument);
    EXPECT_THROW(parse({"--engine", "cmd=a", "speed=3", "--engine", "cmd=b", "--each", "tc=1"}), std::invalid_argument);
    EXPECT_THROW(parse({"--engine", "cmd=a", "--engine", "cmd=b", "--each", "tc=1", "--sprt", "5", "0"}),
                 std::invalid_argument);
    EXPECT_THROW(parse({"--engine", "cmd=a", "--engine", "cmd=b", "--each", "tc=1", "--games", "-4"}),
                 std::invalid_argument);
    EXPECT_THROW(parse({"--make-openings", "10"}), std::invalid_argument);  // no --out
    // Two engines of the same name stay apart in the results.
    const CommandLine same = parse({"--engine", "cmd=morvane", "--engine", "cmd=morvane", "--each", "depth=3"});
    EXPECT_NE(same.match.engines[0].name, same.match.engines[1].name);
}

TEST(MatchSetup, OpeningFilesTakeEpdAndFenAndSkipBadLines) {
    const morvane::test::ScratchDir scratch;
    const std::string path = scratch / "openings.epd";
    std::ofstream(path) << "# a comment\n"
                           "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 bm e5; id \"x\";\n"
                           "\n"
                           "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3\n"
                           "8/8/8/8/8/8/8/8 w - - 0 1\n"
                           "rnbqkbnr/pppppppp\n";
    std::vector<std::string> fens;
    std::ostringstream log;
    ASSERT_TRUE(load_openings(path, fens, log));
    ASSERT_EQ(fens.size(), 2u);
    EXPECT_EQ(fens[0], "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 1");
    EXPECT_EQ(fens[1], "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3");
    EXPECT_NE(log.str().find(":5: unplayable"), std::string::npos) << log.str();
    EXPECT_NE(log.str().find(":6: incomplete"), std::string::npos) << log.str();
    EXPECT_FALSE(load_openings("/nonexistent/book.epd", fens, log));

    // The order depends on the seed only, and loses nothing.
    std::vector<std::string> many;
    for (int i = 0; i < 50; ++i) many.push_back(std::to_string(i));
    auto a = many, b = many, c = many;
    shuffle_openings(a, 7);
    shuffle_openings(b, 7);
    shuffle_openings(c, 8);
    EXPECT_EQ(a, b);
    EXPECT_NE(a, c);
    std::sort(a.begin(), a.end());
    std::sort(many.begin(), many.end());
    EXPECT_EQ(a, many);
}

TEST(MatchSetup, GeneratedOpeningsAreDistinctAndReproducible) {
    OpeningRecipe recipe;
    recipe.count = 12;
    recipe.depth = 2;
    std::ostringstream first, second, log;
    EXPECT_EQ(generate_openings(recipe, first, log), 12);
    generate_openings(recipe, second, log);
    EXPECT_EQ(first.str(), second.str());

    std::istringstream lines(first.str());
    std::vector<std::string> seen;
    for (std::string line; std::getline(lines, line);) {
        EXPECT_NE(line.find(" w "), std::string::npos) << line;  // eight plies from the start: White to move
        seen.push_back(line);
    }
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(std::unique(seen.begin(), seen.end()), seen.end());
}
