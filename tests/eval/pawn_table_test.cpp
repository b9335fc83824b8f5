// An entry serves only the pawn structure that wrote it.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "eval/eval_terms.h"
#include "eval/pawn_table.h"

using namespace morvane;

namespace {

bool same_entry(const PawnEntry& a, const PawnEntry& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

}  // namespace

TEST(PawnTable, AnotherStructureInTheSlotIsReplacedNotRead) {
    const auto board = std::make_unique<Board>();
    // Isolated, doubled and passed pawns on both sides: an entry of many
    // non-empty sets, unlike any other structure's.
    board->set_fen("4k3/p1p3pp/2p5/8/1P1P4/8/1P4PP/4K3 w - - 0 1");
    const PawnEntry mine = probe_pawn_entry(*board);
    const std::uint64_t myKey = board->pawn_key();
    board->set_fen("4k3/pppppppp/8/8/8/8/PPPPPPPP/4K3 w - - 0 1");
    const PawnEntry other = probe_pawn_entry(*board);
    ASSERT_FALSE(same_entry(mine, other));

    // The other structure now holds my slot, as after an index collision.
    PawnEntry& slot = g_pawnTable.slot(myKey);
    slot = other;
    board->set_fen("4k3/p1p3pp/2p5/8/1P1P4/8/1P4PP/4K3 w - - 0 1");
    EXPECT_TRUE(same_entry(probe_pawn_entry(*board), mine));
    EXPECT_EQ(slot.key, myKey);

    // A slot with my key that was never completed (a cleared table holds
    // key 0, which a pawnless board has) is not a hit either.
    slot = other;
    slot.key = myKey;
    slot.valid = 0;
    EXPECT_TRUE(same_entry(probe_pawn_entry(*board), mine));
    board->set_fen("4k3/8/8/8/8/8/8/R3K3 w - - 0 1");
    ASSERT_EQ(board->pawn_key(), 0u);
    PawnEntry& empty = g_pawnTable.slot(0);
    empty = other;
    empty.key = 0;
    empty.valid = 0;
    const PawnEntry& pawnless = probe_pawn_entry(*board);
    EXPECT_EQ(pawnless.passed[WHITE] | pawnless.passed[BLACK] | pawnless.pawnAttacks[WHITE], 0u);
}
