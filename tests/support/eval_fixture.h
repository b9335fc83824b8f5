// Evaluation tests change the global parameters; this fixture puts them
// back and measures what one switch is worth in a position.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "config/engine_config.h"
#include "eval/evaluate.h"

namespace morvane::test {

inline constexpr int EvalInf = 30001;

class EvalFixture : public ::testing::Test {
protected:
    EngineConfig saved = g_config;
    Board board;
    void TearDown() override { g_config = saved; }

    // The full evaluation, from the side to move's view.
    int eval(const std::string& fen) {
        board.set_fen(fen);
        return evaluate(board, -EvalInf, EvalInf);
    }
    int white_eval(const std::string& fen) {
        const int score = eval(fen);
        return board.side_to_move() == WHITE ? score : -score;
    }
    // What turning the switch off takes from the side to move.
    int contribution(const std::string& fen, int EngineConfig::*field) {
        const int on = eval(fen);
        const int old = g_config.*field;
        g_config.*field = 0;
        const int off = eval(fen);
        g_config.*field = old;
        return on - off;
    }
};

}  // namespace morvane::test
