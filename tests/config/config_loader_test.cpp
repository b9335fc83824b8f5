#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

#include "config/config_loader.h"
#include "support/capture.h"
#include "support/files.h"

using namespace morvane;

namespace {

class ConfigLoaderTest : public ::testing::Test {
protected:
    test::ScratchDir scratch;
    std::filesystem::path path = scratch / "test.cfg";
    EngineConfig config;
    test::CapturedStreams io;

    std::string load(const std::string& text) {
        std::ofstream(path, std::ios::binary) << text;
        io.clear();
        EXPECT_TRUE(load_config(path.string(), config));
        return io.err();
    }
    std::string p() const { return "info string " + path.string(); }
};

}  // namespace

TEST_F(ConfigLoaderTest, EntriesSpanLinesAndCommentsAreSkipped) {
    const std::string err = load("# tuned\nmaterial_pawn 90\nnull_move_reduction 3 rfp_enabled 0 # off\n");
    EXPECT_EQ(err, p() + " charge (3 entrees)\n");
    EXPECT_EQ(config.material_pawn, 90);
    EXPECT_EQ(config.null_move_reduction, 3);
    EXPECT_EQ(config.rfp_enabled, 0);

    EXPECT_EQ(load("# nothing\n\n"), p() + " charge (0 entrees)\n");
    EXPECT_FALSE(load_config("/nonexistent/dir/x.cfg", config));
}

TEST_F(ConfigLoaderTest, EachProblemHasItsMessage) {
    EXPECT_EQ(load("bogus 5 material_rook 600\n"), p() + " : cle inconnue ignoree \"bogus\"\n" + p() +
                                                       " : cle inconnue ignoree \"5\"\n" + p() +
                                                       " charge (1 entrees)\n");
    EXPECT_EQ(config.material_rook, 600);

    EXPECT_EQ(load("null_move_reduction x3\n"),
              p() + " : valeur non entiere pour \"null_move_reduction\" (\"x3\"), entree ignoree\n" + p() +
                  " charge (0 entrees, 1 erreurs ignorees)\n");
    EXPECT_EQ(config.null_move_reduction, 3 - 1);  // unchanged default 2
    load("null_move_reduction 3x\n");
    EXPECT_EQ(config.null_move_reduction, 3);
    load("rfp_margin_per_depth 99999999999\n");  // beyond 32 bits: not an integer
    EXPECT_EQ(config.rfp_margin_per_depth, 90);

    // Missing values stop the walk; what came before stays applied.
    EXPECT_EQ(load("material_queen 900 pst_pawn_mg 1 2 3"),
              p() + " : valeurs manquantes pour \"pst_pawn_mg\" (attendu 64), entree ignoree\n" + p() +
                  " charge (1 entrees, 1 erreurs ignorees)\n");
    EXPECT_EQ(config.material_queen, 900);
    EXPECT_EQ(config.pst_pawn_mg[8], -6);
}

TEST_F(ConfigLoaderTest, BoundsThenSafeRangesApplyAfterLoadingAndRescaling) {
    EXPECT_EQ(load("material_pawn 0\n"), p() + " charge (1 entrees)\n" + p() +
                                             " : \"material_pawn\" = 0 hors bornes, ramene a 1\n" + p() +
                                             " : 1 valeur(s) ramenee(s) a une borne minimale\n");
    EXPECT_EQ(config.material_pawn, 1);
    load("king_danger_no_queen_reduction_pct 150 opposite_bishop_scale_pct 150 aspiration_initial_delta -4");
    EXPECT_EQ(config.king_danger_no_queen_reduction_pct, 100);
    EXPECT_EQ(config.opposite_bishop_scale_pct, 150);
    EXPECT_EQ(config.aspiration_initial_delta, 1);

    // material_pawn 0 is raised to 1 by the bounds, so a rescale multiplies
    // every weight by 100: the products saturate, then the safe ranges apply.
    const std::string err = load(
        "auto_rescale_on_load 1 material_pawn 0 material_queen 2000000000 "
        "bishop_pair_bonus_mg -2000000000 time_movestogo_opening 0 pst_pawn_mg " +
        std::string(60, ' ') +
        "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 "
        "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 999999");
    EXPECT_EQ(config.material_pawn, 100);
    EXPECT_EQ(config.material_queen, 10000);
    EXPECT_EQ(config.bishop_pair_bonus_mg, -10000);
    EXPECT_EQ(config.material_knight, 10000);
    EXPECT_EQ(config.time_movestogo_opening, 1);  // a divisor of the clock
    EXPECT_EQ(config.pst_pawn_mg[63], 10000);
    EXPECT_NE(err.find(p() + " : \"material_queen\" = 2147483647 hors bornes, ramene a 10000\n"), std::string::npos);
    EXPECT_NE(err.find(p() + " : \"time_movestogo_opening\" = 0 hors bornes, ramene a 1\n"), std::string::npos);
    EXPECT_NE(err.find(p() + " : \"pst_pawn_mg[63]\" = 99999900 hors bornes, ramene a 10000\n"), std::string::npos);
}

TEST_F(ConfigLoaderTest, RescalingToAHundredUnitPawn) {
    const std::string err = load("auto_rescale_on_load 1 material_pawn 80\n");
    EXPECT_NE(err.find(p() + " : auto_rescale_on_load actif, material_pawn=80 != 100\n"), std::string::npos);
    // Of the 222 keys, 115 hold centipawns: the rest are search, time,
    // ordering, ratio or switch keys, plus the pawn itself and the request.
    EXPECT_NE(err.find("info string remise a l'echelle automatique appliquee (facteur=1.25, 115 champs)\n"),
              std::string::npos);
    EXPECT_EQ(config.material_pawn, 100);
    EXPECT_EQ(config.material_knight, 420);
    EXPECT_EQ(config.pst_pawn_mg[8], -8);         // -7.5 rounds away from zero
    EXPECT_EQ(config.lazy_eval_margin_min, 150);  // search-side prefix
    EXPECT_EQ(config.null_move_reduction, 2);
    EXPECT_EQ(config.threat_see_penalty_pct, 5);  // a ratio, not centipawns
    EXPECT_EQ(config.mobility_enabled, 1);        // switches never scale
    EXPECT_EQ(config.countermove_bonus_score, 850000);
    EXPECT_EQ(config.kaufman_knight_per_pawn, 6);  // not reachable from files
}

TEST_F(ConfigLoaderTest, GarbageNeverCrashesNorTouchesUnnamedFields) {
    std::mt19937_64 rng(3);
    const EngineConfig defaults;
    std::string bytes;
    for (int i = 0; i < 200000; ++i) bytes += static_cast<char>(rng() % 256);
    load(bytes);
    EXPECT_EQ(std::memcmp(&config, &defaults, sizeof config), 0);

    std::string many;
    for (int i = 0; i < 10000; ++i) many += "material_rook " + std::to_string(500 + i % 7) + "\n";
    EXPECT_NE(load(many).find("charge (10000 entrees)"), std::string::npos);
    EXPECT_EQ(config.material_rook, 500 + 9999 % 7);
    config.material_rook = defaults.material_rook;
    EXPECT_EQ(std::memcmp(&config, &defaults, sizeof config), 0);
}

// Only regular files are read: anything else is refused at once, even a
// FIFO that no one writes to (reading it would block for good).
TEST_F(ConfigLoaderTest, OnlyRegularFilesOfSaneSizeAreLoaded) {
    const std::filesystem::path fifo = scratch / "fifo", dir = scratch / "dir";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::filesystem::create_directory(dir);
    for (const auto& [file, why] : {std::pair<std::string, std::string>{fifo, "un tube FIFO"},
                                    {dir, "un dossier"},
                                    {"/dev/null", "un peripherique"}}) {
        io.clear();
        EXPECT_FALSE(load_config(file, config));
        EXPECT_EQ(io.err(), "info string " + file + " : fichier refuse (" + why + "), configuration non chargee\n");
    }

    std::ofstream(path) << "material_rook 600\n" << std::string(1 << 20, '#');
    io.clear();
    EXPECT_FALSE(load_config(path.string(), config));
    EXPECT_NE(io.err().find(" : fichier refuse (trop volumineux : 1048594 octets pour 1048576 au plus)"),
              std::string::npos);
    EXPECT_EQ(config.material_rook, EngineConfig{}.material_rook);
}

// Past twenty messages bad entries are only counted, and each message quotes
// only the start of a token, even under a long path.
TEST_F(ConfigLoaderTest, BadEntriesAreCountedPastTwentyAndQuotedShort) {
    std::string words;
    for (int i = 0; i < 5000; ++i) words += "word" + std::to_string(i) + " ";
    std::string err = load(words + "material_rook 600 null_move_reduction x");
    EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 22);
    EXPECT_NE(err.find(p() + " : cle inconnue ignoree \"word19\"\n" + p() +
                       " : trop d'erreurs, les suivantes sont seulement comptees\n"),
              std::string::npos);
    EXPECT_NE(err.find(p() + " charge (1 entrees, 1 erreurs ignorees, 4981 messages non affiches)\n"),
              std::string::npos);
    EXPECT_EQ(config.material_rook, 600);

    const std::string huge(400000, 'k');
    err = load(huge + " material_rook 600 null_move_reduction " + huge);
    EXPECT_NE(err.find(p() + " : cle inconnue ignoree \"" + huge.substr(0, 80) + "...\"\n"), std::string::npos);
    EXPECT_NE(err.find(p() + " : valeur non entiere pour \"null_move_reduction\" (\"" + huge.substr(0, 80) +
                       "...\"), entree ignoree\n"),
              std::string::npos);
    EXPECT_LT(err.size(), 1000u);
    EXPECT_EQ(config.material_rook, 600);

    const std::filesystem::path deep = scratch / std::string(200, 'd');
    std::filesystem::create_directory(deep);
    path = deep / (std::string(200, 'f') + ".cfg");
    std::string entries;
    for (int i = 0; i < 30; ++i) entries += "material_rook " + std::string(300, 'x') + ' ';
    err = load(entries);
    EXPECT_LT(err.size(), 6000u) << err.substr(0, 2000);
    EXPECT_NE(err.find(" : trop d'erreurs, les suivantes sont seulement comptees\n"), std::string::npos);
    EXPECT_NE(err.find(" messages non affiches)\n"), std::string::npos);
}

// Loaded over a record where every value is off by one, the documented
// defaults file brings back the defaults, without a single complaint.
TEST(EngineConfig, DocumentedDefaultsFileHoldsEveryDefault) {
    EngineConfig defaults, config;
    for (const ConfigField& f : all_fields(config))
        for (int i = 0; i < f.count; ++i) ++f.ptr[i];

    test::CapturedStreams io;
    ASSERT_TRUE(load_config(MORVANE_PARAMETERS_CFG, config));
    EXPECT_EQ(io.err(), "info string " MORVANE_PARAMETERS_CFG " charge (222 entrees)\n");

    const auto loaded = all_fields(config), expected = all_fields(defaults);
    for (std::size_t k = 0; k < loaded.size(); ++k)
        for (int i = 0; i < loaded[k].count; ++i)
            EXPECT_EQ(loaded[k].ptr[i], expected[k].ptr[i]) << loaded[k].name << '[' << i << ']';
}

// Any complaint would mean the engine plays other weights than those tested.
TEST(ShippedConfig, LoadsWithoutAnyComplaint) {
    const std::string path = MORVANE_SOURCE_DIR "/Morvane047.cfg";
    test::CapturedStreams io;
    EngineConfig shipped;
    ASSERT_TRUE(load_config(path, shipped));
    const std::string err = io.err();
    EXPECT_EQ(err.rfind("info string " + path + " charge (", 0), 0u) << err;
    EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
    EXPECT_EQ(err.find("erreurs"), std::string::npos) << err;
}
