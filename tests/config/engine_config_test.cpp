#include <gtest/gtest.h>

#include <set>

#include "config/config_loader.h"
#include "config/engine_config.h"
#include "support/capture.h"

using namespace morvane;

TEST(EngineConfig, RegistryListsEveryKeyOnceInOrder) {
    EngineConfig config;
    const auto fields = all_fields(config);
    ASSERT_EQ(fields.size(), 222u);
    EXPECT_EQ(fields.front().name, "material_pawn");
    EXPECT_EQ(fields.back().name, "auto_rescale_on_load");
    int covered = 0;
    std::set<std::string> names;
    for (const auto& f : fields) {
        covered += f.count;
        names.insert(f.name);
        EXPECT_GE(f.ptr, reinterpret_cast<int*>(&config));
        EXPECT_LE(f.ptr + f.count, reinterpret_cast<int*>(&config + 1));
        EXPECT_EQ(f.count, f.name.rfind("pst_", 0) == 0                 ? 64
                           : f.name.rfind("passed_pawn_bonus_", 0) == 0 ? 8
                                                                        : 1)
            << f.name;
        EXPECT_LE(f.range.min, f.range.max) << f.name;
    }
    EXPECT_EQ(names.size(), 222u);
    EXPECT_EQ(covered + 3, 995);  // the three pawn-count members are not registered
    EXPECT_FALSE(names.count("kaufman_pawn_baseline"));
}

// The documented defaults file must give every key its default: loaded over
// a record where every registered value is off by one, it must bring back a
// default-constructed record, key by key, without a single complaint.
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

// Tables are written from White's side, a1 first: a Black knight on g8
// reads the g1 entry, a White one the g8 entry.
TEST(EngineConfig, TablesAreIndexedFromWhitesSide) {
    const EngineConfig config;
    EXPECT_EQ(config.pst_knight_mg[62 ^ 56], -22);
    EXPECT_EQ(config.pst_knight_mg[62], -82);
}
