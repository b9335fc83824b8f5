// The position: piece bitboards and a square array kept in step, and a stack
// of per-ply irreversible state and hash keys (cheap unmake, and the key
// history that repetition detection needs).
#pragma once

#include <algorithm>
#include <string>

#include "core/attacks.h"

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
    // The checkers set is a fact about the position, so the const query may
    // fill this per-ply cache.
    mutable Bitboard checkers;
    mutable std::uint8_t checkersValid;
};

// Where the pieces stand, as bitboards and as a square array kept in step,
// and whose move it is.
struct Placement {
    Bitboard pieces[2][7];
    Bitboard byColor[2];
    Bitboard occupied;
    std::int32_t squares[64];
    Color side;
};

// The current position without its history: what evaluation and move
// generation read. Restoring one is far cheaper than parsing a FEN.
struct PositionSnapshot {
    Placement placement;
    StateEntry state;
    KeyEntry keys;
};

// The attack tables (init_attacks) and the Zobrist keys (init_zobrist) must
// be filled before the first Board is built: every program does it once at
// start-up, before any second thread exists.
class Board {
public:
    Board();

    void set_fen(const std::string& fen);
    std::string fen() const;

    void do_move(Move m);
    void undo_move();
    void do_null_move();
    void undo_null_move();

    // Takes back moves and null moves until the board stands at rootPly:
    // after an exception deep in a search or a perft, the board is as it was.
    void undo_to(int rootPly);
    // Forgets all but the last `keep` plies of the history. Repetitions can
    // only reach back to the last irreversible move, so a long game keeps
    // what matters within fixed-size tables.
    void keep_recent_history(int keep);

    Bitboard pieces(Color c, int type) const { return placement_.pieces[c][type]; }
    Bitboard pieces(Color c) const { return placement_.byColor[c]; }
    Bitboard occupied() const { return placement_.occupied; }
    int piece_on(Square s) const { return placement_.squares[s]; }
    Color side_to_move() const { return placement_.side; }
    Square king_square(Color c) const { return pieces(c, KING) ? lsb(pieces(c, KING)) : NO_SQUARE; }

    // Index of the current entry in the history stacks; 0 is the position
    // set by set_fen (or the oldest one kept).
    int ply() const { return ply_; }
    // Plies since the game's first position, forgotten ones included.
    int game_ply() const { return droppedPlies_ + ply_; }
    const StateEntry& state() const { return states_[ply_]; }
    std::uint64_t key() const { return keys_[ply_].key; }
    std::uint64_t pawn_key() const { return keys_[ply_].pawnKey; }

    Bitboard attackers_to(Square s, Bitboard occ) const {
        const Bitboard queens = pieces(WHITE, QUEEN) | pieces(BLACK, QUEEN);
        return (knightAtt[s] & (pieces(WHITE, KNIGHT) | pieces(BLACK, KNIGHT))) |
               (kingAtt[s] & (pieces(WHITE, KING) | pieces(BLACK, KING))) | (pawnAtt[WHITE][s] & pieces(BLACK, PAWN)) |
               (pawnAtt[BLACK][s] & pieces(WHITE, PAWN)) |
               (bishop_attacks(s, occ) & (pieces(WHITE, BISHOP) | pieces(BLACK, BISHOP) | queens)) |
               (rook_attacks(s, occ) & (pieces(WHITE, ROOK) | pieces(BLACK, ROOK) | queens));
    }

    Bitboard checkers() const {
        const KeyEntry& k = keys_[ply_];
        if (k.checkersValid) return k.checkers;
        const Square king = king_square(side_to_move());
        k.checkers = king != NO_SQUARE ? attackers_to(king, occupied()) & pieces(side_to_move() ^ 1) : 0;
        k.checkersValid = 1;
        return k.checkers;
    }

    Bitboard pinned(Color c) const;
    bool is_insufficient_material() const;

    // How often the current position stood on the board before, counting at
    // most `enough` occurrences. Only positions with the same side to move
    // count, and none before the last capture or pawn move, which no later
    // position can repeat.
    int earlier_occurrences(int enough) const {
        const std::uint64_t current = keys_[ply_].key;
        const int oldest = std::max(0, ply_ - static_cast<int>(states_[ply_].halfmove));
        int count = 0;
        for (int p = ply_ - 2; p >= oldest && count < enough; p -= 2) count += keys_[p].key == current;
        return count;
    }
    // Inside the search one earlier occurrence suffices: playing into it can
    // only draw.
    bool is_repetition() const { return earlier_occurrences(1) > 0; }

    // Key recomputed from scratch from the placement and current state.
    std::uint64_t compute_key() const;
    std::uint64_t compute_pawn_key() const;

    // Corrections of a position set from the outside world (castling rights
    // without their king or rook, an en-passant square no double step
    // explains); the key follows.
    void remove_castling_rights(int rights);
    void remove_en_passant();

    PositionSnapshot snapshot() const;
    // Stands the board on a snapshot with no history, as set_fen would.
    void restore(const PositionSnapshot& s);

private:
    void put_piece(int code, Square s);
    void remove_piece(Square s);
    void move_piece(Square from, Square to);
    bool ep_is_hashed(Square ep, Color mover) const;

    Placement placement_;
    int ply_;
    StateEntry states_[MAX_GAME_PLY];
    KeyEntry keys_[MAX_GAME_PLY];
    int droppedPlies_ = 0;  // plies of the game no longer held in states_ and keys_
};

}  // namespace morvane
