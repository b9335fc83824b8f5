#include "match/referee.h"

#include <algorithm>
#include <cctype>
#include <mutex>
#include <sstream>

#include "core/attacks.h"
#include "core/notation.h"
#include "core/position_check.h"
#include "core/zobrist.h"
#include "movegen/movegen.h"
#include "sts/san.h"
#include "tablebase/syzygy.h"
#include "tablebase/tbprobe.h"

using namespace morvane;

namespace match {

namespace {

bool g_tablesLoaded = false;
// The table reader maps files on first use and keeps no per-thread state;
// game threads take turns.
std::mutex g_tableMutex;

Verdict tablebase_verdict(const Board& b) {
    // Only right after a zeroing move is the stored win/draw/loss exact
    // under the fifty-move rule; every smaller ending is first reached that
    // way, so nothing is missed.
    if (!g_tablesLoaded || b.state().halfmove != 0 || b.state().castling != 0 ||
        static_cast<unsigned>(popcount(b.occupied())) > TB_LARGEST)
        return {};
    auto both = [&](int type) { return b.pieces(WHITE, type) | b.pieces(BLACK, type); };
    const int ep = b.state().epSquare;
    unsigned wdl;
    {
        std::lock_guard lock(g_tableMutex);
        wdl = tb_probe_wdl_impl(b.pieces(WHITE), b.pieces(BLACK), both(KING), both(QUEEN), both(ROOK), both(BISHOP),
                                both(KNIGHT), both(PAWN), ep == NO_SQUARE ? 0u : static_cast<unsigned>(ep),
                                b.side_to_move() == WHITE);
    }
    if (wdl == TB_RESULT_FAILED) return {};
    const bool whiteToMove = b.side_to_move() == WHITE;
    if (wdl == TB_WIN)
        return {whiteToMove ? Outcome::WhiteWins : Outcome::BlackWins, Ending::Adjudication, "endgame tables: win"};
    if (wdl == TB_LOSS)
        return {whiteToMove ? Outcome::BlackWins : Outcome::WhiteWins, Ending::Adjudication, "endgame tables: win"};
    return {Outcome::Draw, Ending::Adjudication, "endgame tables: draw"};
}

// Half-moves before the position from its FEN's move number; 0 when the
// FEN carries none.
int plies_before(const std::string& fen, Color toMove) {
    std::istringstream in(fen);
    std::string field[6];
    for (auto& f : field) in >> f;
    int moveNumber = 1;
    if (!field[5].empty() && std::all_of(field[5].begin(), field[5].end(), ::isdigit) && field[5].size() < 6)
        moveNumber = std::max(std::stoi(field[5]), 1);
    return 2 * (moveNumber - 1) + (toMove == BLACK ? 1 : 0);
}

bool legal_en_passant_exists(Board& b) {
    if (b.state().epSquare == NO_SQUARE) return false;
    ScoredMove list[MAX_MOVES];
    const int n = generate_legal(b, list, false);
    for (int i = 0; i < n; ++i)
        if (move_flag(list[i].move) == FLAG_EN_PASSANT) return true;
    return false;
}

}  // namespace

bool can_mate(const Board& b, Color side) {
    const Color them = side ^ 1;
    if (b.pieces(side, PAWN) | b.pieces(side, ROOK) | b.pieces(side, QUEEN)) return true;
    const Bitboard knights = b.pieces(side, KNIGHT), bishops = b.pieces(side, BISHOP);
    const bool bishopsOnOneColour = !(bishops & DarkSquares) || !(bishops & ~DarkSquares);
    if (!knights && !bishops) return false;
    if (!knights && bishopsOnOneColour) {
        // Such bishops reach only one colour; the mated king's flight
        // squares of the other colour must be filled by its own men that
        // cannot step into the line of check: a pawn, a knight, or a bishop
        // of the other colour.
        const Bitboard blockers = b.pieces(them, PAWN) | b.pieces(them, KNIGHT) |
                                  (b.pieces(them, BISHOP) & (bishops & DarkSquares ? ~DarkSquares : DarkSquares));
        return blockers != 0;
    }
    // A lone knight mates only a king hemmed in by its own men.
    if (!bishops && !more_than_one(knights)) return (b.pieces(them) & ~b.pieces(them, KING)) != 0;
    return true;
}

bool is_dead_position(const Board& b) { return !can_mate(b, WHITE) && !can_mate(b, BLACK); }

bool Referee::can_mate(Color side) const { return match::can_mate(*board_, side); }

std::uint64_t Referee::repetition_key() {
    Board& b = *board_;
    std::uint64_t key = b.key();
    // The engine hashes an en-passant right whenever a pawn stands beside
    // the double-stepped pawn; the laws count it only when the capture is
    // legal (the capturing pawn not pinned, the king not left in check).
    const int ep = b.state().epSquare;
    if (ep != NO_SQUARE && (pawnAtt[b.side_to_move() ^ 1][ep] & b.pieces(b.side_to_move(), PAWN)) &&
        !legal_en_passant_exists(b))
        key ^= zEnPassantFile[file_of(ep)];
    return key;
}

bool init_adjudication_tables() {
    std::lock_guard lock(g_tableMutex);
    g_tablesLoaded = syzygy_init("") && TB_LARGEST > 0;
    return g_tablesLoaded;
}

bool Referee::set_position(const std::string& fen, std::string& problem) {
    board_->set_fen(fen);
    problem = position_problem(*board_);
    if (!problem.empty()) return false;
    startFen_ = fen;
    bookPlies_ = plies_before(fen, board_->side_to_move());
    keys_.assign(1, repetition_key());
    uciMoves_.clear();
    sanMoves_.clear();
    return true;
}

Move Referee::find_move(const std::string& text) {
    ScoredMove list[MAX_MOVES];
    const int n = generate_legal(*board_, list, false);
    for (int i = 0; i < n; ++i)
        if (move_to_uci(list[i].move) == text) return list[i].move;
    return NULL_MOVE;
}

void Referee::play(Move move) {
    sanMoves_.push_back(move_to_san(*board_, move));
    board_->do_move(move);
    uciMoves_.push_back(move_to_uci(move));
    keys_.push_back(repetition_key());
}

Verdict Referee::verdict(bool useTables) {
    Board& b = *board_;
    const bool whiteToMove = b.side_to_move() == WHITE;
    ScoredMove list[MAX_MOVES];
    // Mate first: a mate delivered on the hundredth half-move still counts.
    if (generate_legal(b, list, false) == 0) {
        if (b.checkers())
            return {whiteToMove ? Outcome::BlackWins : Outcome::WhiteWins, Ending::Normal,
                    whiteToMove ? "Black mates" : "White mates"};
        return {Outcome::Draw, Ending::Normal, "stalemate"};
    }
    // Before the tables: only a truly dead position is drawn here, so that
    // knight against knight and the like reach the tables' verdict.
    if (is_dead_position(b)) return {Outcome::Draw, Ending::Normal, "insufficient material"};
    // Positions before the last capture or pawn move can never come back.
    const int reach = std::min<int>(b.state().halfmove, static_cast<int>(keys_.size()) - 1);
    int seen = 0;
    for (int back = 0; back <= reach; back += 2)
        if (keys_[keys_.size() - 1 - back] == keys_.back()) ++seen;
    if (seen >= 3) return {Outcome::Draw, Ending::Normal, "threefold repetition"};
    if (b.state().halfmove >= 100) return {Outcome::Draw, Ending::Normal, "fifty-move rule"};
    if (useTables)
        if (Verdict v = tablebase_verdict(b); v.outcome != Outcome::Ongoing) return v;
    if (plies() >= MaxGamePlies) return {Outcome::Draw, Ending::Adjudication, "move limit"};
    return {};
}

std::string Referee::position_command() const {
    std::string cmd = "position fen " + startFen_;
    if (!uciMoves_.empty()) cmd += " moves";
    for (const auto& m : uciMoves_) cmd += ' ' + m;
    return cmd;
}

const char* ending_tag(Ending ending) {
    switch (ending) {
        case Ending::Normal: return "normal";
        case Ending::Adjudication: return "adjudication";
        case Ending::TimeForfeit: return "time forfeit";
        case Ending::RulesInfraction: return "rules infraction";
        case Ending::Abandoned: return "abandoned";
        case Ending::Unterminated: return "unterminated";
    }
    return "unterminated";
}

const char* result_text(Outcome outcome) {
    switch (outcome) {
        case Outcome::WhiteWins: return "1-0";
        case Outcome::BlackWins: return "0-1";
        case Outcome::Draw: return "1/2-1/2";
        case Outcome::Ongoing: return "*";
    }
    return "*";
}

}  // namespace match
