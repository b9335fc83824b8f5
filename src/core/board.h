// The position: piece bitboards and a square array kept in step, a stack of
// per-ply irreversible state and hash keys (cheap unmake, and the key
// history that repetition detection needs), and the board's own pawn table.
#pragma once

#include <string>
#include <vector>

#include "core/attacks.h"
#include "core/pawn_entry.h"

namespace morvane {

constexpr int MAX_GAME_PLY = 1024;
// Plies kept free above the root for the search; a game history is trimmed
// so that its root never stands higher than MAX_ROOT_PLY.
constexpr int SEARCH_PLY_RESERVE = 256;
constexpr int MAX_ROOT_PLY = MAX_GAME_PLY - SEARCH_PLY_RESERVE;
constexpr int MAX_FEN_HALFMOVE = 10000;
constexpr const char* StartFen = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";

// Castling rights bits.
constexpr int WHITE_OO = 1, WHITE_OOO = 2, BLACK_OO = 4, BLACK_OOO = 8;

struct StateEntry {
    Move move;
    std::int32_t captured;
    std::int32_t captureSquare;
    std::uint8_t castling;
    std::int32_t epSquare;
    std::uint16_t halfmove;
};

struct KeyEntry {
    std::uint64_t key;
    std::uint64_t pawnKey;
    Bitboard checkers;
    std::uint8_t checkersValid;
};

// Diagnostic counters of the checkers cache; nothing reads them.
extern std::uint64_t g_checkersCalls;
extern std::uint64_t g_checkersComputed;

class Board {
public:
    Bitboard pieces[2][7];
    Bitboard byColor[2];
    Bitboard occupied;
    std::int32_t squares[64];
    Color side;
    int ply;
    StateEntry states[MAX_GAME_PLY];
    KeyEntry keys[MAX_GAME_PLY];
    mutable std::vector<PawnEntry> pawnTable;  // a cache: evaluation fills it through const boards
    std::uint64_t pawnMask;
    int droppedPlies = 0;  // plies of the game no longer held in states and keys

    Board();

    void set_fen(const std::string& fen);
    std::string fen() const;

    void do_move(Move m);
    void undo_move();
    void do_null_move();
    void undo_null_move();
    void move_piece(Square from, Square to);

    // Takes back moves and null moves until the board stands at rootPly:
    // after an exception deep in a search or a perft, the board is as it was.
    void undo_to(int rootPly);
    // Forgets all but the last `keep` plies of the history. Repetitions can
    // only reach back to the last irreversible move, so a long game keeps
    // what matters within fixed-size tables.
    void keep_recent_history(int keep);
    // Plies since the game's first position, forgotten ones included.
    int game_ply() const { return droppedPlies + ply; }

    Bitboard attackers_to(Square s, Bitboard occ) const {
        return (knightAtt[s] & (pieces[WHITE][KNIGHT] | pieces[BLACK][KNIGHT])) |
               (kingAtt[s] & (pieces[WHITE][KING] | pieces[BLACK][KING])) |
               (pawnAtt[WHITE][s] & pieces[BLACK][PAWN]) | (pawnAtt[BLACK][s] & pieces[WHITE][PAWN]) |
               (bishop_attacks(s, occ) & (pieces[WHITE][BISHOP] | pieces[BLACK][BISHOP] |
                                          pieces[WHITE][QUEEN] | pieces[BLACK][QUEEN])) |
               (rook_attacks(s, occ) & (pieces[WHITE][ROOK] | pieces[BLACK][ROOK] |
                                        pieces[WHITE][QUEEN] | pieces[BLACK][QUEEN]));
    }

    Bitboard checkers() {
        ++g_checkersCalls;
        KeyEntry& k = keys[ply];
        if (k.checkersValid) return k.checkers;
        ++g_checkersComputed;
        Bitboard king = pieces[side][KING];
        k.checkers = king ? attackers_to(lsb(king), occupied) & byColor[side ^ 1] : 0;
        k.checkersValid = 1;
        return k.checkers;
    }

    Bitboard pinned(Color c) const;
    bool is_insufficient_material() const;

    // Convenience accessors for the current ply.
    const StateEntry& state() const { return states[ply]; }
    std::uint64_t key() const { return keys[ply].key; }
    std::uint64_t pawn_key() const { return keys[ply].pawnKey; }
    Square king_square(Color c) const { return pieces[c][KING] ? lsb(pieces[c][KING]) : NO_SQUARE; }
    int piece_on(Square s) const { return squares[s]; }

    // Key recomputed from scratch from the placement and current state.
    std::uint64_t compute_key() const;
    std::uint64_t compute_pawn_key() const;

private:
    void put_piece(int code, Square s);
    void remove_piece(Square s);
    bool ep_is_hashed(Square ep, Color mover) const;
};

}  // namespace morvane
