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
    std::string ranks[8];
    int r = 0;
    for (char ch : placement) {
        if (ch == '/') ++r;
        else
            ranks[r] += std::isalpha(static_cast<unsigned char>(ch))
                            ? (std::isupper(static_cast<unsigned char>(ch)) ? std::tolower(ch) : std::toupper(ch))
                            : ch;
    }
    std::string mirrored;
    for (int i = 7; i >= 0; --i) mirrored += ranks[i] + (i ? "/" : "");
    std::string rights;
    for (char ch : std::string("KQkq"))
        if (castling.find(static_cast<char>(std::isupper(static_cast<unsigned char>(ch)) ? std::tolower(ch)
                                                                                         : std::toupper(ch))) !=
            std::string::npos)
            rights += ch;
    if (ep.size() == 2) ep[1] = static_cast<char>('1' + ('8' - ep[1]));
    return mirrored + (side == "w" ? " b " : " w ") + (rights.empty() ? "-" : rights) + " " + ep + " " +
           (halfmove.empty() ? "0" : halfmove) + " 1";
}

}  // namespace morvane::test
