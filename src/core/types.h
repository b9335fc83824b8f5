// Value types shared by every part of the engine: squares, colours, piece
// codes, the packed 16-bit move and the scored move of move lists.
#pragma once

#include <cstdint>

namespace morvane {

using Bitboard = std::uint64_t;
using Square = int;  // a1 = 0, h1 = 7, a8 = 56, h8 = 63
using Color = int;   // white = 0, black = 1
using Move = std::uint16_t;

constexpr Color WHITE = 0;
constexpr Color BLACK = 1;
constexpr Square NO_SQUARE = 64;

enum PieceType : int { NO_PIECE_TYPE = 0, PAWN = 1, KNIGHT, BISHOP, ROOK, QUEEN, KING };

// Board piece codes: white pieces are their type, black pieces type + 8.
constexpr int make_piece(Color c, int type) { return type + 8 * c; }
constexpr int piece_type(int code) { return code & 7; }
constexpr Color piece_color(int code) { return code > 8 ? BLACK : WHITE; }
constexpr char PieceLetters[] = ".PNBRQK..pnbrqk";

constexpr int file_of(Square s) { return s & 7; }
constexpr int rank_of(Square s) { return s >> 3; }
constexpr Square make_square(int file, int rank) { return rank * 8 + file; }

// Move layout: from (bits 0-5), to (6-11), flag (12-13), promotion (14-15).
enum MoveFlag : int { FLAG_NORMAL = 0, FLAG_CASTLING = 1, FLAG_EN_PASSANT = 2, FLAG_PROMOTION = 3 };
constexpr Move NULL_MOVE = 0;

constexpr Move make_move(Square from, Square to, int flag = FLAG_NORMAL, int promo = 0) {
    return static_cast<Move>(from | (to << 6) | (flag << 12) | (promo << 14));
}
constexpr Square move_from(Move m) { return m & 63; }
constexpr Square move_to(Move m) { return (m >> 6) & 63; }
constexpr int move_flag(Move m) { return (m >> 12) & 3; }
// Piece type a promotion produces: knight (0) .. queen (3) map to 2 .. 5.
constexpr int promotion_type(Move m) { return ((m >> 14) & 3) + KNIGHT; }

struct ScoredMove {
    Move move;
    std::int32_t score;
    std::int32_t see;
};

// No position reachable with legal material has more moves than this.
constexpr int MAX_MOVES = 256;

}  // namespace morvane
