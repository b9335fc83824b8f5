// Scratch temporary directories for the table tests: the cache lives under
// temp_directory_path(), which follows TMPDIR.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "core/board.h"
#include "core/position_check.h"
#include "support/files.h"
#include "tablebase/cache.h"
#include "tablebase/embedded.h"
#include "tablebase/syzygy.h"
#include "tablebase/tbprobe.h"

namespace morvane::test {

// A scratch directory that stands as TMPDIR while it lives.
class ScratchTmpdir : public ScratchDir {
public:
    ScratchTmpdir() {
        const char* old = std::getenv("TMPDIR");
        hadOld_ = old != nullptr;
        if (old) old_ = old;
        setenv("TMPDIR", path().c_str(), 1);
    }
    ~ScratchTmpdir() {
        if (hadOld_) setenv("TMPDIR", old_.c_str(), 1);
        else unsetenv("TMPDIR");
        std::error_code ec;
        std::filesystem::permissions(cache(), std::filesystem::perms::owner_all, ec);
    }
    std::filesystem::path cache() const { return path() / ("morvane-" + std::to_string(geteuid())); }

private:
    std::string old_;
    bool hadOld_ = false;
};

// One extraction shared by the probing tests of this process.
inline const std::string& shared_table_dir() {
    static ScratchTmpdir scratch;
    static std::string dir = extract_embedded_to_cache();
    return dir;
}

inline void load_embedded_tables() { tb_init(shared_table_dir().c_str()); }

// A random legal placement of the table's pieces, White being the side
// written first; side to move random.
inline bool random_position(const std::string& table, std::mt19937_64& rng, Board& board) {
    char squares[64];
    std::fill(std::begin(squares), std::end(squares), '.');
    const std::size_t v = table.find('v');
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (i == v) continue;
        int sq;
        do sq = static_cast<int>(rng() % 64);
        while (squares[sq] != '.');
        squares[sq] = i < v ? table[i] : static_cast<char>(table[i] - 'A' + 'a');
    }
    std::string fen;  // one digit per empty square: set_fen adds them up
    for (int rank = 7; rank >= 0; --rank) {
        for (int file = 0; file < 8; ++file) fen += squares[rank * 8 + file] == '.' ? '1' : squares[rank * 8 + file];
        if (rank) fen += '/';
    }
    fen += rng() & 1 ? " w - - 0 1" : " b - - 0 1";
    board.set_fen(fen);
    return position_problem(board).empty();
}

// Every embedded table file, the 3-piece tables first.
template <class Visit>
void for_each_embedded(Visit&& visit) {
    for (const auto& f : syzygy_embedded::files_3) visit(f);
    for (const auto& f : syzygy_embedded::files_4) visit(f);
}

inline unsigned probe_wdl(const Board& b) {
    TbPosition a = tb_position(b);
    return tb_probe_wdl_impl(a.white, a.black, a.kings, a.queens, a.rooks, a.bishops, a.knights, a.pawns, a.ep, a.turn);
}

inline int probe_dtz(const Board& b, int* success) {
    TbPosition a = tb_position(b);
    return tb_probe_dtz_impl(a.white, a.black, a.kings, a.queens, a.rooks, a.bishops, a.knights, a.pawns, a.ep, a.turn,
                             success);
}

inline unsigned probe_wdl_fen(const std::string& fen) {
    Board b;
    b.set_fen(fen);
    return probe_wdl(b);
}

inline int probe_dtz_fen(const std::string& fen, int* success) {
    Board b;
    b.set_fen(fen);
    return probe_dtz(b, success);
}

inline unsigned probe_root_fen(const std::string& fen, unsigned* results = nullptr) {
    Board b;
    b.set_fen(fen);
    TbPosition a = tb_position(b);
    unsigned buffer[257];
    return tb_probe_root_impl(a.white, a.black, a.kings, a.queens, a.rooks, a.bishops, a.knights, a.pawns,
                              b.state().halfmove, a.ep, a.turn, results ? results : buffer);
}

}  // namespace morvane::test
