#include <ostream>

#include "uci/commands.h"

namespace morvane {

void print_board(const Board& board, std::ostream& out) {
    for (int rank = 7; rank >= 0; --rank) {
        out << rank + 1 << ' ';
        for (int file = 0; file < 8; ++file) out << PieceLetters[board.piece_on(make_square(file, rank))] << ' ';
        out << '\n';
    }
    out << "  a b c d e f g h\n";
    out << "trait: " << (board.side_to_move() == WHITE ? "blancs" : "noirs") << '\n';
    out << "FEN: " << board.fen() << '\n' << std::flush;
}

}  // namespace morvane
