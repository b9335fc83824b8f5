#include "statistics.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace tbgen {

using namespace morvane::tb;

namespace {

// The published figures tell identical pieces apart: a position with two
// like pieces counts twice, unless a board symmetry maps it onto itself with
// the two pieces exchanged (then both labellings are one position).
int labelled_weight(const Material& m, std::uint32_t idx) {
    int pair = -1;
    for (int i = 1; i < m.n; ++i)
        if (m.code[i] == m.code[i - 1]) pair = i - 1;
    if (pair < 0) return 1;
    int sq[4];
    decode(m, idx, sq);
    for (int t = 1; t < (m.pawns ? 2 : 8); ++t) {
        bool swaps = transform_square(t, sq[pair]) == sq[pair + 1] && transform_square(t, sq[pair + 1]) == sq[pair];
        for (int i = 0; i < m.n && swaps; ++i)
            if (i != pair && i != pair + 1 && transform_square(t, sq[i]) != sq[i]) swaps = false;
        if (swaps) return 1;
    }
    return 2;
}

}  // namespace

TableStats table_stats(const Table& t) {
    TableStats st;
    for (int s = 0; s < 2; ++s) {
        SideStats& ss = st.side[s];
        for (std::uint32_t i = 0; i < t.mat.size; ++i) {
            int v = t.val[s][i];
            int d = t.dtz[s][i];
            if (v == INVALID) continue;
            int w = labelled_weight(t.mat, i);
            if (v == DRAW) {
                ss.draws += w;
            } else if (v == WIN) {
                ss.win[d] += w;
                (d > 100 ? ss.cursed : ss.wins) += w;
                st.longest[s] = std::max(st.longest[s], d);
            } else {
                ss.lose[d] += w;
                (d > 100 ? ss.blessed : ss.losses) += w;
                st.longest[s ^ 1] = std::max(st.longest[s ^ 1], d);
            }
        }
    }
    return st;
}

void print_stats(std::FILE* out, const std::string& name, const TableStats& st) {
    std::fprintf(out, "########## %s ##########\n\n", name.c_str());
    for (int s = 0; s < 2; ++s) {
        const SideStats& ss = st.side[s];
        std::fprintf(out, "%s to move:\n\n", s == 0 ? "White" : "Black");
        for (auto& [d, n] : ss.win) std::fprintf(out, "%ld positions win in %d ply.\n", n, d);
        std::fprintf(out, "\n%ld positions are wins.\n", ss.wins);
        if (ss.cursed) std::fprintf(out, "%ld positions are cursed wins.\n", ss.cursed);
        std::fprintf(out, "%ld positions are draws.\n", ss.draws);
        if (ss.blessed) std::fprintf(out, "%ld positions are blessed losses.\n", ss.blessed);
        std::fprintf(out, "%ld positions are losses.\n\n", ss.losses);
        for (auto& [d, n] : ss.lose) std::fprintf(out, "%ld positions lose in %d ply.\n", n, d);
        std::fprintf(out, "\n");
    }
    if (st.longest[0]) std::fprintf(out, "Longest win for white: %d ply\n", st.longest[0]);
    if (st.longest[1]) std::fprintf(out, "Longest win for black: %d ply\n", st.longest[1]);
    std::fprintf(out, "\n");
}

std::map<std::string, Published> read_published(const std::string& path) {
    std::map<std::string, Published> all;
    std::ifstream in(path);
    std::string line, table;
    int side = 0;
    while (std::getline(in, line)) {
        long n;
        int d;
        char word[32];
        if (line.rfind("##########", 0) == 0) {
            std::istringstream ls(line);
            std::string hashes;
            ls >> hashes >> table;
            all[table];
        } else if (line == "White to move:") {
            side = 0;
        } else if (line == "Black to move:") {
            side = 1;
        } else if (std::sscanf(line.c_str(), "%ld positions win in %d ply.", &n, &d) == 2) {
            all[table].st.side[side].win[d] = n;
        } else if (std::sscanf(line.c_str(), "%ld positions lose in %d ply.", &n, &d) == 2) {
            all[table].st.side[side].lose[d] = n;
        } else if (std::sscanf(line.c_str(), "%ld positions are %31[a-z ]", &n, word) == 2) {
            SideStats& ss = all[table].st.side[side];
            std::string w = word;
            if (w == "wins") ss.wins = n;
            else if (w == "draws") ss.draws = n;
            else if (w == "losses") ss.losses = n;
            else if (w == "cursed wins") ss.cursed = n;
            else if (w == "blessed losses") ss.blessed = n;
        } else if (std::sscanf(line.c_str(), "Longest win for %31[a-z]: %d ply;", word, &d) == 2) {
            int c = std::string(word) == "white" ? 0 : 1;
            all[table].st.longest[c] = d;
            all[table].fen[c] = line.substr(line.find(';') + 2);
        }
    }
    return all;
}

bool fen_dtz(const TableSet& set, const std::string& fen, int& dtz) {
    Pos p;
    int r = 7, f = 0;
    std::size_t i = 0;
    for (; i < fen.size() && fen[i] != ' '; ++i) {
        char c = fen[i];
        if (c == '/') {
            --r;
            f = 0;
        } else if (c >= '1' && c <= '8') {
            f += c - '0';
        } else {
            int type = letter_type(static_cast<char>(c & ~32));
            if (!type || p.n == 4) return false;
            p.code[p.n] = type + ((c & 32) ? 8 : 0);
            p.sq[p.n++] = r * 8 + f++;
        }
    }
    int stm = (i + 1 < fen.size() && fen[i + 1] == 'b') ? 1 : 0;
    Value v = lookup(set, p, stm);
    dtz = v.wdl == WIN ? v.dtz : v.wdl == LOSS ? -v.dtz : 0;
    return true;
}

}  // namespace tbgen
