// The tests start like every program: attack and key tables filled once,
// before any test builds a board or starts a search thread.
#include <gtest/gtest.h>

#include "core/attacks.h"
#include "core/zobrist.h"

namespace {

class StartupTables : public ::testing::Environment {
public:
    void SetUp() override {
        morvane::init_zobrist();
        morvane::init_attacks();
    }
};

[[maybe_unused]] ::testing::Environment* const startupTables = ::testing::AddGlobalTestEnvironment(new StartupTables);

}  // namespace
