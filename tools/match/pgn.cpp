#include "match/pgn.h"

#include <sstream>

namespace match {

namespace {

// Backslashes and quotes must be escaped inside tag values.
std::string quoted(const std::string& value) {
    std::string out = "\"";
    for (char c : value) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + '"';
}

// Comments end at the first closing brace.
std::string comment(const std::string& text) {
    std::string out;
    for (char c : text) out += c == '}' ? ')' : c;
    return "{" + out + "}";
}

}  // namespace

std::string to_pgn(const GameRecord& game, const PgnHeader& header) {
    std::istringstream fields(game.startFen);
    std::string placement, side, castling, ep, halfmove;
    int fullmove = 1;
    fields >> placement >> side >> castling >> ep >> halfmove;
    if (!(fields >> fullmove) || fullmove < 1) fullmove = 1;

    const std::string result = result_text(game.verdict.outcome);
    std::ostringstream out;
    auto tag = [&](const char* name, const std::string& value) { out << '[' << name << ' ' << quoted(value) << "]\n"; };
    tag("Event", header.event);
    tag("Site", "?");
    tag("Date", header.date);
    tag("Round", std::to_string(header.round));
    tag("White", game.white);
    tag("Black", game.black);
    tag("Result", result);
    tag("FEN", game.startFen);
    tag("SetUp", "1");
    tag("TimeControl", header.timeControl);
    tag("PlyCount", std::to_string(game.sanMoves.size()));
    tag("Termination", ending_tag(game.verdict.ending));
    out << '\n';

    // Movetext, wrapped before 80 columns.
    std::string line;
    auto emit = [&](const std::string& token) {
        if (!line.empty() && line.size() + 1 + token.size() > 79) {
            out << line << '\n';
            line.clear();
        }
        line += (line.empty() ? "" : " ") + token;
    };
    bool whiteToMove = side != "b";
    for (std::size_t i = 0; i < game.sanMoves.size(); ++i) {
        if (whiteToMove) emit(std::to_string(fullmove) + ". " + game.sanMoves[i]);
        else if (i == 0) emit(std::to_string(fullmove) + "... " + game.sanMoves[i]);
        else emit(game.sanMoves[i]);
        if (!whiteToMove) ++fullmove;
        whiteToMove = !whiteToMove;
    }
    if (!game.verdict.reason.empty()) emit(comment(game.verdict.reason));
    emit(result);
    out << line << "\n\n";
    return out.str();
}

}  // namespace match
