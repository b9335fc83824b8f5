// Our endgame-table files: how a position becomes an index, and how a file
// is laid out. Shared word for word by the generator (tools/tbgen) and the
// reader, so that both always agree. Header-only and free of engine
// dependencies because the generator is built before the engine.
//
// File layout (all integers little-endian):
//   0   u32  magic: 0x5D23E871 for win/draw/loss files (.rtbw),
//             0xA50C66D7 for distance-to-zeroing files (.rtbz)
//   4   4 B  signature "MRVN" (files made by any other program lack it)
//   8   u16  layout version (tbLayoutVersion)
//   10  u8   kind: 0 win/draw/loss, 2 distance to zeroing
//   11  u8   sides stored: bit 0 white to move, bit 1 black to move
//   12  u8   number of pieces n (3 or 4)
//   13  u8   log2 of the entries per block
//   14  2 B  zero
//   16  4 B  piece codes of the n slots (engine codes: white type, black type+8)
//   20  u32  entries per side (the index range)
//   24  u32  offset of the part for white to move (0 when not stored)
//   28  u32  offset of the part for black to move (0 when not stored)
//   32  ...  parts, then zero padding so that the file size modulo 64 is 16
// A part (the values of one side to move over the whole index range):
//   u32 number of blocks B
//   value code: u16 count c, then c triples (u16 symbol, u8 code length)
//   run code:   u16 count c, then c triples (u16 bucket, u8 code length)
//   (B + 1) x u32 bit offsets of the blocks in the stream that follows
//   the stream, then 8 zero bytes so that 64-bit reads never run off the end
// A block is a sequence of runs. A run starts with a symbol of the value
// code (canonical Huffman): symbol v < 256 is a single entry of value v;
// symbol 256 + v is a longer run of v, whose length follows as a bucket k of
// the run code (canonical Huffman) and k raw bits r, the length being
// 2^k + r. Runs never cross a block boundary.
// Win/draw/loss values: 0 loss, 1 blessed loss, 2 draw, 3 cursed win, 4 win,
// from the side to move. Distance values: plies to zeroing without sign (the
// sign follows from the win/draw/loss value); positions the reader resolves
// without the file (draws, a winning capture or pawn move) hold any value.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>

namespace morvane::tb {

constexpr std::uint32_t wdlMagic = 0x5D23E871u;
constexpr std::uint32_t dtzMagic = 0xA50C66D7u;
constexpr char layoutSignature[4] = {'M', 'R', 'V', 'N'};
constexpr std::uint16_t tbLayoutVersion = 1;
constexpr int headerSize = 32;
constexpr int maxCodeLength = 12;

// Material of one table in slot order. Tables with pawns list the pawns first
// (white, then black), so that the pawn placement is the most significant
// part of the index and every pawn configuration owns one contiguous range.
// Tables without pawns start with the white king.
struct Material {
    int n = 0;
    int code[4] = {0, 0, 0, 0};  // engine piece codes per slot
    bool pawns = false;
    std::uint32_t size = 0;  // entries per side
};

constexpr int letter_type(char c) {
    switch (c) {
        case 'P': return 1;
        case 'N': return 2;
        case 'B': return 3;
        case 'R': return 4;
        case 'Q': return 5;
        case 'K': return 6;
        default: return 0;
    }
}

// "KQvKR" -> slots. White is the side written first.
inline bool parse_material(const std::string& name, Material& m) {
    std::size_t v = name.find('v');
    if (v == std::string::npos || name.size() > 9) return false;
    int whiteP = 0, blackP = 0;
    int others[8];
    int no = 0;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (i == v) continue;
        int t = letter_type(name[i]);
        if (t == 0) return false;
        int colour = i < v ? 0 : 1;
        if (t == 6) continue;
        if (t == 1) colour == 0 ? ++whiteP : ++blackP;
        else others[no++] = t + 8 * colour;
    }
    // Our layout holds tables of at most four pieces.
    if (2 + whiteP + blackP + no > 4) return false;
    m = Material{};
    m.pawns = whiteP + blackP > 0;
    int n = 0;
    if (m.pawns) {
        for (int i = 0; i < whiteP; ++i) m.code[n++] = 1;
        for (int i = 0; i < blackP; ++i) m.code[n++] = 9;
    }
    m.code[n++] = 6;
    m.code[n++] = 14;
    for (int i = 0; i < no; ++i) m.code[n++] = others[i];
    m.n = n;
    std::uint32_t sz = m.pawns ? 24 : 10;
    for (int i = 1; i < n; ++i) sz *= 64;
    m.size = sz;
    return true;
}

// The eight board symmetries: bit 0 mirrors files, bit 1 mirrors ranks,
// bit 2 then swaps files and ranks.
constexpr int transform_square(int t, int s) {
    int f = s & 7, r = s >> 3;
    if (t & 1) f = 7 - f;
    if (t & 2) r = 7 - r;
    if (t & 4) std::swap(f, r);
    return r * 8 + f;
}

// a1-d1-d4 triangle: the white king's home in tables without pawns.
constexpr int triangle_index(int s) {
    int f = s & 7, r = s >> 3;
    if (f > 3 || r > f) return -1;
    // rows of the triangle: rank 0 has 4 squares, rank 1 three, ...
    constexpr int base[4] = {0, 4, 7, 9};
    return base[r] + (f - r);
}
constexpr int triangle_square(int i) {
    constexpr int sq[10] = {0, 1, 2, 3, 9, 10, 11, 18, 19, 27};
    return sq[i];
}

constexpr std::uint32_t invalidIndex = 0xFFFFFFFFu;

// Squares after the first slot are numbered dark squares first, then light
// ones: bishops and the many values that follow square colour then form
// long runs instead of alternating with every step along a rank.
struct SquareOrder {
    int digit[64];
    int square[64];
    constexpr SquareOrder() : digit(), square() {
        int n = 0;
        for (int colour = 0; colour < 2; ++colour)
            for (int s = 0; s < 64; ++s)
                if (((s & 7) + (s >> 3) + colour) % 2 == 0) {
                    digit[s] = n;
                    square[n++] = s;
                }
    }
};
constexpr SquareOrder squareOrder;

// transform_square for every symmetry, as a table.
struct Transforms {
    int sq[8][64];
    constexpr Transforms() : sq() {
        for (int t = 0; t < 8; ++t)
            for (int s = 0; s < 64; ++s) sq[t][s] = transform_square(t, s);
    }
};
constexpr Transforms transforms;

// Index of a placement given in the table's own colour frame, one square per
// slot. Symmetric images of one position all get the same index: the
// smallest over the symmetries allowed (left-right mirror with pawns, the
// eight symmetries keeping the white king in the triangle without), with
// identical pieces sorted by square.
inline std::uint32_t encode(const Material& m, const int* sq) {
    std::uint32_t best = invalidIndex;
    for (int t = 0; t < (m.pawns ? 2 : 8); ++t) {
        const int* map = transforms.sq[t];
        if (!m.pawns && triangle_index(map[sq[0]]) < 0) continue;
        int s[4] = {0, 0, 0, 0};
        for (int i = 0; i < m.n; ++i) s[i] = map[sq[i]];
        for (int i = m.pawns ? 1 : 2; i < m.n; ++i)
            for (int j = i; j > 0 && m.code[j] == m.code[j - 1] && s[j] < s[j - 1]; --j) std::swap(s[j], s[j - 1]);
        std::uint32_t idx;
        if (m.pawns) {
            int f = s[0] & 7, r = s[0] >> 3;
            if (f > 3 || r < 1 || r > 6) continue;
            idx = static_cast<std::uint32_t>((r - 1) * 4 + f);
        } else {
            idx = static_cast<std::uint32_t>(triangle_index(s[0]));
        }
        for (int i = 1; i < m.n; ++i) idx = idx * 64 + static_cast<std::uint32_t>(squareOrder.digit[s[i]]);
        best = std::min(best, idx);
    }
    return best;
}

// Slot squares of an index (not necessarily a legal or canonical one).
inline void decode(const Material& m, std::uint32_t idx, int* sq) {
    for (int i = m.n - 1; i >= 1; --i) {
        sq[i] = squareOrder.square[idx & 63];
        idx >>= 6;
    }
    if (m.pawns) sq[0] = static_cast<int>((idx / 4 + 1) * 8 + idx % 4);
    else sq[0] = triangle_square(static_cast<int>(idx));
}

inline std::uint32_t read_u32(const unsigned char* p) {
    return std::uint32_t(p[0]) | std::uint32_t(p[1]) << 8 | std::uint32_t(p[2]) << 16 | std::uint32_t(p[3]) << 24;
}
inline std::uint16_t read_u16(const unsigned char* p) { return static_cast<std::uint16_t>(p[0] | p[1] << 8); }

// Canonical Huffman decoder with a single lookup of maxCodeLength bits.
struct Code {
    std::uint16_t entry[1 << maxCodeLength];  // symbol << 4 | length
};

// Builds a canonical code from (u16 symbol, u8 length) triples; codes are
// assigned in order of length, then symbol. False for an inconsistent
// description.
inline bool build_code(const unsigned char* triples, int count, Code& code) {
    int order[512];
    // Lookups that no code covers find length 0, which the decoder refuses.
    std::fill(std::begin(code.entry), std::end(code.entry), std::uint16_t{0});
    if (count < 1 || count > 512) return false;
    auto sym = [&](int i) { return triples[3 * i] | triples[3 * i + 1] << 8; };
    auto len = [&](int i) { return static_cast<int>(triples[3 * i + 2]); };
    for (int i = 0; i < count; ++i) {
        order[i] = i;
        if (len(i) < 1 || len(i) > maxCodeLength || sym(i) >= 4096) return false;
    }
    std::sort(order, order + count, [&](int a, int b) { return len(a) != len(b) ? len(a) < len(b) : sym(a) < sym(b); });
    std::uint32_t next = 0;
    int prev = len(order[0]);
    for (int k = 0; k < count; ++k) {
        int l = len(order[k]);
        next <<= (l - prev);
        prev = l;
        std::uint32_t first = next << (maxCodeLength - l);
        std::uint32_t span = 1u << (maxCodeLength - l);
        if (first + span > (1u << maxCodeLength)) return false;
        for (std::uint32_t e = 0; e < span; ++e)
            code.entry[first + e] = static_cast<std::uint16_t>(sym(order[k]) << 4 | l);
        ++next;
    }
    return true;
}

// Reads bits most significant first from a stream padded with 8 bytes.
inline std::uint64_t peek_bits(const unsigned char* stream, std::uint64_t bitPos) {
    const unsigned char* p = stream + (bitPos >> 3);
    std::uint64_t v = 0;
    for (int i = 0; i < 8; ++i) v = v << 8 | p[i];
    return v << (bitPos & 7);
}

// One decoded part, ready for random access.
struct Part {
    std::uint32_t blocks = 0;
    int blockShift = 0;
    Code values;
    Code runs;
    const unsigned char* offsets = nullptr;  // (blocks + 1) u32
    const unsigned char* stream = nullptr;
    std::uint64_t streamBits = 0;
};

// Parses a part at p (bounded by end); false when it does not fit.
inline bool setup_part(const unsigned char* p, const unsigned char* end, int blockShift, Part& part) {
    if (end - p < 8) return false;
    part.blockShift = blockShift;
    part.blocks = read_u32(p);
    p += 4;
    int nv = read_u16(p);
    p += 2;
    if (end - p < 3 * nv + 2 || !build_code(p, nv, part.values)) return false;
    p += 3 * nv;
    int nr = read_u16(p);
    p += 2;
    if (end - p < 3 * nr) return false;
    if (nr == 0) std::fill(std::begin(part.runs.entry), std::end(part.runs.entry), std::uint16_t{0});
    else if (!build_code(p, nr, part.runs)) return false;
    p += 3 * nr;
    // 64-bit count: a block count of 2^32 - 1 must not wrap to zero offsets.
    const std::uint64_t offsetBytes = 4 * (std::uint64_t{part.blocks} + 1);
    if (static_cast<std::uint64_t>(end - p) < offsetBytes + 8) return false;
    part.offsets = p;
    part.stream = p + offsetBytes;
    part.streamBits = read_u32(part.offsets + 4ull * part.blocks);
    return static_cast<std::uint64_t>(end - part.stream) >= part.streamBits / 8 + 8;
}

// Value stored at one index of a part (0..255), or -1 when the stream is
// damaged: a code word no code defines, a symbol or run length outside the
// layout, or a position outside the stream.
inline int part_value(const Part& part, std::uint32_t idx) {
    std::uint32_t block = idx >> part.blockShift;
    if (block >= part.blocks) return -1;
    std::uint32_t left = idx & ((1u << part.blockShift) - 1);
    std::uint64_t pos = read_u32(part.offsets + 4ull * block);
    for (;;) {
        if (pos >= part.streamBits) return -1;
        std::uint64_t bits = peek_bits(part.stream, pos);
        int ve = part.values.entry[bits >> (64 - maxCodeLength)];
        int vl = ve & 15;
        int symbol = ve >> 4;
        if (vl == 0 || symbol >= 512) return -1;
        if (symbol < 256) {
            if (left == 0) return symbol;
            --left;
            pos += static_cast<std::uint64_t>(vl);
            continue;
        }
        bits <<= vl;
        int re = part.runs.entry[bits >> (64 - maxCodeLength)];
        int rl = re & 15;
        int k = re >> 4;
        if (rl == 0 || k > 30) return -1;
        bits <<= rl;
        std::uint32_t len = (1u << k) + (k ? static_cast<std::uint32_t>(bits >> (64 - k)) : 0u);
        if (left < len) return symbol - 256;
        left -= len;
        pos += static_cast<std::uint64_t>(vl + rl + k);
    }
}

}  // namespace morvane::tb
