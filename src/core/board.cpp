#include "core/board.h"

#include <algorithm>
#include <cassert>
#include <sstream>
#include <stdexcept>

#include "core/zobrist.h"

namespace morvane {

namespace {

// Castling rights that survive a move from or to each square: leaving or
// capturing on a rook's home corner loses the right that rook carried.
constexpr std::uint8_t rights_kept_by(Square s) {
    switch (s) {
        case 0: return static_cast<std::uint8_t>(~WHITE_OOO);
        case 7: return static_cast<std::uint8_t>(~WHITE_OO);
        case 56: return static_cast<std::uint8_t>(~BLACK_OOO);
        case 63: return static_cast<std::uint8_t>(~BLACK_OO);
        default: return 0xFF;
    }
}

constexpr std::uint8_t rights_kept_by_mover(int code) {
    if (code == make_piece(WHITE, KING)) return static_cast<std::uint8_t>(~(WHITE_OO | WHITE_OOO));
    if (code == make_piece(BLACK, KING)) return static_cast<std::uint8_t>(~(BLACK_OO | BLACK_OOO));
    return 0xFF;
}

// Rook squares of a castling move, by the king's destination.
struct RookHop {
    Square from, to;
};
constexpr RookHop castling_rook(Square kingTo) {
    switch (kingTo) {
        case 6: return {7, 5};
        case 2: return {0, 3};
        case 62: return {63, 61};
        default: return {56, 59};
    }
}

int piece_code_of(char ch) {
    switch (ch) {
        case 'P': return make_piece(WHITE, PAWN);
        case 'N': return make_piece(WHITE, KNIGHT);
        case 'B': return make_piece(WHITE, BISHOP);
        case 'R': return make_piece(WHITE, ROOK);
        case 'Q': return make_piece(WHITE, QUEEN);
        case 'K': return make_piece(WHITE, KING);
        case 'p': return make_piece(BLACK, PAWN);
        case 'n': return make_piece(BLACK, KNIGHT);
        case 'b': return make_piece(BLACK, BISHOP);
        case 'r': return make_piece(BLACK, ROOK);
        case 'q': return make_piece(BLACK, QUEEN);
        case 'k': return make_piece(BLACK, KING);
        default: return 0;
    }
}

}  // namespace

Board::Board() : placement_{}, ply_(0), states_{}, keys_{} {
    assert(zobristInit && attacksInit && "init_zobrist and init_attacks belong to start-up");
    set_fen(StartFen);
}

void Board::put_piece(int code, Square s) {
    Bitboard b = square_bb(s);
    Color c = piece_color(code);
    placement_.pieces[c][piece_type(code)] |= b;
    placement_.byColor[c] |= b;
    placement_.occupied |= b;
    placement_.squares[s] = code;
}

void Board::remove_piece(Square s) {
    int code = piece_on(s);
    Bitboard b = ~square_bb(s);
    Color c = piece_color(code);
    placement_.pieces[c][piece_type(code)] &= b;
    placement_.byColor[c] &= b;
    placement_.occupied &= b;
    placement_.squares[s] = 0;
}

void Board::move_piece(Square from, Square to) {
    if (piece_on(to)) remove_piece(to);
    int code = piece_on(from);
    Bitboard fromTo = square_bb(from) | square_bb(to);
    Color c = piece_color(code);
    placement_.pieces[c][piece_type(code)] ^= fromTo;
    placement_.byColor[c] ^= fromTo;
    placement_.occupied ^= fromTo;
    placement_.squares[from] = 0;
    placement_.squares[to] = code;
}

bool Board::ep_is_hashed(Square ep, Color mover) const {
    return ep != NO_SQUARE && (pawnAtt[mover ^ 1][ep] & pieces(mover, PAWN));
}

std::uint64_t Board::compute_key() const {
    std::uint64_t k = 0;
    for (Square s = 0; s < 64; ++s)
        if (piece_on(s)) k ^= zPieceSquare[piece_on(s)][s];
    if (side_to_move() == BLACK) k ^= zSideToMove;
    k ^= zCastling[states_[ply_].castling & 15];
    Square ep = states_[ply_].epSquare;
    if (ep_is_hashed(ep, side_to_move())) k ^= zEnPassantFile[file_of(ep)];
    return k;
}

std::uint64_t Board::compute_pawn_key() const {
    std::uint64_t k = 0;
    for (Color c : {WHITE, BLACK})
        for (Bitboard b = pieces(c, PAWN); b;) {
            Square s = pop_lsb(b);
            k ^= zPieceSquare[make_piece(c, PAWN)][s];
        }
    return k;
}

void Board::set_fen(const std::string& fenText) {
    placement_ = Placement{};  // an empty board, White to move
    ply_ = 0;
    droppedPlies_ = 0;
    keys_[0] = KeyEntry{};
    states_[0] = StateEntry{0, 0, NO_SQUARE, 0, NO_SQUARE, 0};

    std::istringstream in(fenText);
    std::string placement, sideField, castlingField, epField;
    in >> placement >> sideField >> castlingField >> epField;
    int halfmove = 0, fullmove = 1;
    if (!(in >> halfmove)) halfmove = 0;
    if (!(in >> fullmove)) fullmove = 1;

    int rank = 7, file = 0;
    for (char ch : placement) {
        if (ch == '/') {
            --rank;
            file = 0;
        } else if (ch >= '0' && ch <= '9') {
            file += ch - '0';
        } else {
            const int code = piece_code_of(ch);
            // An overlong rank or a ninth rank must never write off the board.
            const char* problem = !code                  ? "FEN invalide: piece inconnue"
                                  : file > 7 || rank < 0 ? "FEN invalide: case hors de l'echiquier"
                                                         : nullptr;
            if (problem) {
                // The pieces placed so far stay, with keys that match them,
                // so that the board is consistent for whatever reads it next.
                keys_[0].key = compute_key();
                keys_[0].pawnKey = compute_pawn_key();
                throw std::runtime_error(problem);
            }
            put_piece(code, make_square(file, rank));
            ++file;
        }
    }

    placement_.side = sideField == "b" ? BLACK : WHITE;

    int castling = 0;
    for (char ch : castlingField) {
        if (ch == 'K') castling |= WHITE_OO;
        else if (ch == 'Q') castling |= WHITE_OOO;
        else if (ch == 'k') castling |= BLACK_OO;
        else if (ch == 'q') castling |= BLACK_OOO;
    }
    states_[0].castling = static_cast<std::uint8_t>(castling);

    Square ep = NO_SQUARE;
    if (epField.size() == 2 && epField[0] >= 'a' && epField[0] <= 'h' && epField[1] >= '1' && epField[1] <= '8')
        ep = make_square(epField[0] - 'a', epField[1] - '1');
    states_[0].epSquare = ep;
    // Past a hundred plies the fifty-move rule has long applied; the cap
    // keeps the 16-bit counter from wrapping however long the game goes on.
    states_[0].halfmove = static_cast<std::uint16_t>(std::clamp(halfmove, 0, MAX_FEN_HALFMOVE));

    keys_[0].key = compute_key();
    keys_[0].pawnKey = compute_pawn_key();
    keys_[0].checkersValid = 0;
}

std::string Board::fen() const {
    std::string out;
    for (int rank = 7; rank >= 0; --rank) {
        int empty = 0;
        for (int file = 0; file < 8; ++file) {
            int code = piece_on(make_square(file, rank));
            if (!code) {
                ++empty;
                continue;
            }
            if (empty) out += static_cast<char>('0' + empty);
            empty = 0;
            out += PieceLetters[code];
        }
        if (empty) out += static_cast<char>('0' + empty);
        if (rank) out += '/';
    }
    out += side_to_move() == WHITE ? " w " : " b ";
    const StateEntry& st = states_[ply_];
    std::string rights;
    if (st.castling & WHITE_OO) rights += 'K';
    if (st.castling & WHITE_OOO) rights += 'Q';
    if (st.castling & BLACK_OO) rights += 'k';
    if (st.castling & BLACK_OOO) rights += 'q';
    out += rights.empty() ? "-" : rights;
    out += ' ' + square_to_string(st.epSquare) + ' ' + std::to_string(st.halfmove) + " 1";
    return out;
}

void Board::do_move(Move m) {
    if (ply_ >= MAX_GAME_PLY - 1) throw std::runtime_error("MAX_GAME_PLY dépassé");
    const Square from = move_from(m), to = move_to(m);
    const int flag = move_flag(m);
    const int moving = piece_on(from);
    const Color us = side_to_move();
    const StateEntry& old = states_[ply_];
    const KeyEntry& oldKeys = keys_[ply_];
    const Square captureSquare = flag == FLAG_EN_PASSANT ? make_square(file_of(to), rank_of(from)) : to;
    const int captured = piece_on(captureSquare);
    assert(moving && piece_color(moving) == us && "a move of the side to move's own piece");
    assert(piece_type(captured) != KING && "kings are never captured");
    const bool oldEpHashed = ep_is_hashed(old.epSquare, us);

    std::uint64_t key = oldKeys.key ^ zSideToMove;
    std::uint64_t pawnKey = oldKeys.pawnKey;

    if (captured) {
        remove_piece(captureSquare);
        key ^= zPieceSquare[captured][captureSquare];
        if (piece_type(captured) == PAWN) pawnKey ^= zPieceSquare[captured][captureSquare];
    }

    int placed = moving;
    move_piece(from, to);
    if (flag == FLAG_CASTLING) {
        RookHop rook = castling_rook(to);
        move_piece(rook.from, rook.to);
        int rookCode = make_piece(us, ROOK);
        key ^= zPieceSquare[rookCode][rook.from] ^ zPieceSquare[rookCode][rook.to];
    } else if (flag == FLAG_PROMOTION) {
        placed = make_piece(us, promotion_type(m));
        remove_piece(to);
        put_piece(placed, to);
    }
    key ^= zPieceSquare[moving][from] ^ zPieceSquare[placed][to];
    if (piece_type(moving) == PAWN) pawnKey ^= zPieceSquare[moving][from];
    if (piece_type(placed) == PAWN) pawnKey ^= zPieceSquare[placed][to];

    int halfmove = 0;
    Square ep = NO_SQUARE;
    if (piece_type(moving) == PAWN) {
        if (to - from == 16 || from - to == 16) ep = (from + to) / 2;
    } else if (!captured) {
        halfmove = old.halfmove + 1;
    }

    std::uint8_t castling = old.castling & rights_kept_by_mover(moving) & rights_kept_by(from) & rights_kept_by(to);
    key ^= zCastling[castling & 15] ^ zCastling[old.castling & 15];
    if (oldEpHashed) key ^= zEnPassantFile[file_of(old.epSquare)];

    ++ply_;
    states_[ply_] = StateEntry{m, captured, captureSquare, castling, ep, static_cast<std::uint16_t>(halfmove)};
    placement_.side = us ^ 1;
    if (ep_is_hashed(ep, side_to_move())) key ^= zEnPassantFile[file_of(ep)];
    keys_[ply_].key = key;
    keys_[ply_].pawnKey = pawnKey;
    keys_[ply_].checkersValid = 0;
    assert(key == compute_key() && pawnKey == compute_pawn_key() && "incremental keys drifted");
}

void Board::undo_move() {
    if (ply_ == 0) throw std::runtime_error("undo_move sur la position racine");
    const StateEntry& st = states_[ply_];
    const Move m = st.move;
    const Square from = move_from(m), to = move_to(m);
    const Color mover = side_to_move() ^ 1;
    switch (move_flag(m)) {
        case FLAG_CASTLING: {
            move_piece(to, from);
            RookHop rook = castling_rook(to);
            move_piece(rook.to, rook.from);
            break;
        }
        case FLAG_PROMOTION:
            remove_piece(to);
            put_piece(make_piece(mover, PAWN), from);
            break;
        default: move_piece(to, from);
    }
    if (st.captured) put_piece(st.captured, st.captureSquare);
    placement_.side = mover;
    --ply_;
    assert(piece_color(piece_on(from)) == mover && (pieces(mover, piece_type(piece_on(from))) & square_bb(from)) &&
           "the mover's piece is back on its square");
}

void Board::undo_to(int rootPly) {
    while (ply_ > rootPly) {
        if (states_[ply_].move == NULL_MOVE) undo_null_move();
        else undo_move();
    }
}

void Board::keep_recent_history(int keep) {
    keep = std::clamp(keep, 0, ply_);
    const int first = ply_ - keep;
    std::copy(states_ + first, states_ + ply_ + 1, states_);
    std::copy(keys_ + first, keys_ + ply_ + 1, keys_);
    droppedPlies_ += first;
    ply_ = keep;
}

void Board::do_null_move() {
    if (ply_ > MAX_GAME_PLY - 2) throw std::runtime_error("MAX_GAME_PLY dépassé (do_null_move)");
    const StateEntry& old = states_[ply_];
    states_[ply_ + 1] = StateEntry{0, 0, NO_SQUARE, old.castling, NO_SQUARE, old.halfmove};
    std::uint64_t key = keys_[ply_].key ^ zSideToMove;
    if (ep_is_hashed(old.epSquare, side_to_move())) key ^= zEnPassantFile[file_of(old.epSquare)];
    keys_[ply_ + 1] = KeyEntry{key, keys_[ply_].pawnKey, 0, 0};
    ++ply_;
    placement_.side ^= 1;
}

void Board::undo_null_move() {
    if (ply_ == 0) throw std::runtime_error("undo_null_move sur la position racine");
    placement_.side ^= 1;
    --ply_;
}

void Board::remove_castling_rights(int rights) {
    states_[ply_].castling = static_cast<std::uint8_t>(states_[ply_].castling & ~rights);
    keys_[ply_].key = compute_key();
}

void Board::remove_en_passant() {
    states_[ply_].epSquare = NO_SQUARE;
    keys_[ply_].key = compute_key();
}

PositionSnapshot Board::snapshot() const { return {placement_, states_[ply_], keys_[ply_]}; }

void Board::restore(const PositionSnapshot& s) {
    placement_ = s.placement;
    ply_ = 0;
    droppedPlies_ = 0;
    states_[0] = s.state;
    keys_[0] = s.keys;
}

Bitboard Board::pinned(Color c) const {
    Bitboard king = pieces(c, KING);
    if (!king) return 0;
    Square k = lsb(king);
    Color them = c ^ 1;
    Bitboard snipers = (rook_attacks_empty(k) & (pieces(them, ROOK) | pieces(them, QUEEN))) |
                       (bishop_attacks_empty(k) & (pieces(them, BISHOP) | pieces(them, QUEEN)));
    Bitboard result = 0;
    while (snipers) {
        Bitboard between = squares_between(k, pop_lsb(snipers)) & occupied();
        if (between && !more_than_one(between) && (between & pieces(c))) result |= between;
    }
    return result;
}

bool Board::is_insufficient_material() const {
    for (Color c : {WHITE, BLACK}) {
        if (pieces(c, PAWN) | pieces(c, ROOK) | pieces(c, QUEEN)) return false;
        int knights = popcount(pieces(c, KNIGHT));
        Bitboard bishops = pieces(c, BISHOP);
        int minors = knights + popcount(bishops);
        if (minors <= 1 || (knights == 2 && !bishops)) continue;
        if (!knights && (!(bishops & DarkSquares) || !(bishops & ~DarkSquares))) continue;
        return false;
    }
    return true;
}

}  // namespace morvane
