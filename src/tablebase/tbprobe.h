// The endgame-table reader: finds table files in a list of directories,
// maps them on first use, and answers win/draw/loss, distance-to-zeroing and
// best-root-move questions. Kept in plain C style with its own tiny position
// type so that it depends on nothing but the attack tables.
#pragma once

#include <cstdint>

namespace morvane {

// Largest piece count (kings included) of any table found by tb_init.
extern unsigned TB_LARGEST;

// (Re)initialises the reader with directories separated by ':'; "" and
// "<empty>" load nothing and succeed.
bool tb_init(const char* path);
// (Re)initialises the reader on one directory already checked and opened by
// the caller, `path` naming it for messages only: the reader takes the
// descriptor (closed by tb_free) and opens each table relative to it, never
// through a link, and only when the file belongs to this user.
bool tb_init_private_dir(int dirFd, const char* path);
void tb_free();

constexpr unsigned TB_LOSS = 0;
constexpr unsigned TB_BLESSED_LOSS = 1;
constexpr unsigned TB_DRAW = 2;
constexpr unsigned TB_CURSED_WIN = 3;
constexpr unsigned TB_WIN = 4;
constexpr unsigned TB_RESULT_FAILED = 0xFFFFFFFFu;
constexpr unsigned TB_RESULT_CHECKMATE = 4;
constexpr unsigned TB_RESULT_STALEMATE = 2;

// Packed root result.
constexpr unsigned tb_result_wdl(unsigned r) { return r & 0xF; }
constexpr unsigned tb_result_to(unsigned r) { return (r >> 4) & 0x3F; }
constexpr unsigned tb_result_from(unsigned r) { return (r >> 10) & 0x3F; }
constexpr unsigned tb_result_promotes(unsigned r) { return (r >> 16) & 0x7; }  // 1 Q, 2 R, 3 B, 4 N
constexpr unsigned tb_result_ep(unsigned r) { return (r >> 19) & 0x1; }
constexpr unsigned tb_result_dtz(unsigned r) { return r >> 20; }

// Bitboards per colour and per piece type (both colours), the en-passant
// target square (0 for none) and the side to move (true: White).
unsigned tb_probe_wdl_impl(std::uint64_t white, std::uint64_t black, std::uint64_t kings, std::uint64_t queens,
                           std::uint64_t rooks, std::uint64_t bishops, std::uint64_t knights, std::uint64_t pawns,
                           unsigned ep, bool turn);

// Best move by distance to zeroing, packed as above, or TB_RESULT_FAILED,
// TB_RESULT_CHECKMATE, TB_RESULT_STALEMATE. results (one slot per legal move,
// 256 are enough) receives every move's packed result, ended by
// TB_RESULT_FAILED.
unsigned tb_probe_root_impl(std::uint64_t white, std::uint64_t black, std::uint64_t kings, std::uint64_t queens,
                            std::uint64_t rooks, std::uint64_t bishops, std::uint64_t knights, std::uint64_t pawns,
                            unsigned rule50, unsigned ep, bool turn, unsigned* results);

// Signed distance to zeroing from the side to move (positive: wins); success
// is set to 0 when the position is not in the tables.
int tb_probe_dtz_impl(std::uint64_t white, std::uint64_t black, std::uint64_t kings, std::uint64_t queens,
                      std::uint64_t rooks, std::uint64_t bishops, std::uint64_t knights, std::uint64_t pawns,
                      unsigned ep, bool turn, int* success);

}  // namespace morvane
