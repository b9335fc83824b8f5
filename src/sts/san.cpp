#include "sts/san.h"

#include "movegen/movegen.h"

namespace morvane {

namespace {

constexpr char PieceLetter[7] = {' ', 'P', 'N', 'B', 'R', 'Q', 'K'};

std::string square_name(Square s) { return {static_cast<char>('a' + file_of(s)), static_cast<char>('1' + rank_of(s))}; }

int piece_type_from_letter(char ch) {
    switch (ch) {
        case 'N': return KNIGHT;
        case 'B': return BISHOP;
        case 'R': return ROOK;
        case 'Q': return QUEEN;
        case 'K': return KING;
        default: return NO_PIECE_TYPE;
    }
}

}  // namespace

std::string move_to_san(Board& board, Move move) {
    if (!move) return "(aucun coup)";
    std::string san;
    const Square from = move_from(move), to = move_to(move);
    if (move_flag(move) == FLAG_CASTLING) {
        san = file_of(to) == 6 ? "O-O" : "O-O-O";
    } else {
        const int type = piece_type(board.piece_on(from));
        const bool capture = board.piece_on(to) || move_flag(move) == FLAG_EN_PASSANT;
        if (type == PAWN) {
            if (capture) san += std::string(1, static_cast<char>('a' + file_of(from))) + 'x';
            san += square_name(to);
            if (move_flag(move) == FLAG_PROMOTION) san += std::string("=") + "NBRQ"[(move >> 14) & 3];
        } else {
            san += PieceLetter[type];
            ScoredMove moves[MAX_MOVES];
            const int n = generate_legal(board, moves, false);
            bool rivals = false, sameFile = false, sameRank = false;
            for (int i = 0; i < n; ++i) {
                const Move other = moves[i].move;
                const Square otherFrom = move_from(other);
                if (otherFrom == from || move_to(other) != to || piece_type(board.piece_on(otherFrom)) != type)
                    continue;
                rivals = true;
                sameFile = sameFile || file_of(otherFrom) == file_of(from);
                sameRank = sameRank || rank_of(otherFrom) == rank_of(from);
            }
            if (rivals) {
                const std::string origin = square_name(from);
                if (!sameFile) san += origin[0];
                else if (!sameRank) san += origin[1];
                else san += origin;
            }
            if (capture) san += 'x';
            san += square_name(to);
        }
    }
    board.do_move(move);
    if (board.checkers()) {
        ScoredMove replies[MAX_MOVES];
        san += generate_legal(board, replies, false) > 0 ? '+' : '#';
    }
    board.undo_move();
    return san;
}

Move san_to_move(Board& board, const std::string& sanText) {
    std::string text = sanText;
    while (!text.empty() && (text.back() == '+' || text.back() == '#' || text.back() == '!' || text.back() == '?'))
        text.pop_back();
    if (text.empty()) return NULL_MOVE;

    ScoredMove moves[MAX_MOVES];
    const int n = generate_legal(board, moves, false);

    if (text == "O-O" || text == "0-0" || text == "O-O-O" || text == "0-0-0") {
        const int targetFile = text.size() == 3 ? 6 : 2;
        for (int i = 0; i < n; ++i)
            if (move_flag(moves[i].move) == FLAG_CASTLING && file_of(move_to(moves[i].move)) == targetFile)
                return moves[i].move;
        return NULL_MOVE;
    }

    int type = PAWN;
    std::string body = text;
    if (text[0] >= 'A' && text[0] <= 'Z' && text[0] != 'O') {
        type = piece_type_from_letter(text[0]);
        if (type == NO_PIECE_TYPE) return NULL_MOVE;
        body = text.substr(1);
    }

    // Promotion piece: Q, R and B by name; anything else means a knight.
    int promotion = -1;
    if (const auto eq = body.find('='); eq != std::string::npos && eq + 1 < body.size()) {
        const char p = body[eq + 1];
        promotion = p == 'Q' ? 3 : p == 'R' ? 2 : p == 'B' ? 1 : 0;
        body = body.substr(0, eq);
    }

    std::string squares;
    for (char ch : body)
        if (ch != 'x' && ch != 'X') squares += ch;
    if (squares.size() < 2) return NULL_MOVE;
    const char fileCh = squares[squares.size() - 2], rankCh = squares.back();
    if (fileCh < 'a' || fileCh > 'h' || rankCh < '1' || rankCh > '8') return NULL_MOVE;
    const Square to = make_square(fileCh - 'a', rankCh - '1');
    int fromFile = -1, fromRank = -1;
    for (std::size_t i = 0; i + 2 < squares.size(); ++i) {
        if (squares[i] >= 'a' && squares[i] <= 'h') fromFile = squares[i] - 'a';
        else if (squares[i] >= '1' && squares[i] <= '8') fromRank = squares[i] - '1';
    }

    for (int i = 0; i < n; ++i) {
        const Move m = moves[i].move;
        const Square from = move_from(m);
        if (move_to(m) != to || piece_type(board.piece_on(from)) != type) continue;
        if ((fromFile >= 0 && file_of(from) != fromFile) || (fromRank >= 0 && rank_of(from) != fromRank)) continue;
        const bool isPromotion = move_flag(m) == FLAG_PROMOTION;
        if (promotion < 0 ? isPromotion : !isPromotion || ((m >> 14) & 3) != promotion) continue;
        return m;
    }
    return NULL_MOVE;
}

}  // namespace morvane
