// Colour-flipped mirror of a position: ranks mirrored, colours and side to
// move swapped. Every symmetric evaluation scores both the same.
#pragma once

#include <cctype>
#include <sstream>
#include <string>

namespace morvane::test {

inline std::string mirror_fen(const std::string& fen) {
    std::istringstream in(fen);
    std::string placement, side, castling, ep, halfmove;
    in >> placement >> side >> castling >> ep >> halfmove;
    const auto swap_case = [](char ch) {
        return static_cast<char>(std::isupper(static_cast<unsigned char>(ch)) ? std::tolower(ch) : std::toupper(ch));
    };
    std::string mirrored, rank;
    for (char ch : placement + "/") {
        if (ch != '/') {
            rank += swap_case(ch);
            continue;
        }
        mirrored = rank + (mirrored.empty() ? "" : "/") + mirrored;
        rank.clear();
    }
    std::string rights;
    for (char ch : std::string("KQkq"))
        if (castling.find(swap_case(ch)) != std::string::npos) rights += ch;
    if (ep.size() == 2) ep[1] = static_cast<char>('1' + ('8' - ep[1]));
    return mirrored + (side == "w" ? " b " : " w ") + (rights.empty() ? "-" : rights) + " " + ep + " " +
           (halfmove.empty() ? "0" : halfmove) + " 1";
}

}  // namespace morvane::test
