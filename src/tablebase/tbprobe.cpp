// Endgame-table reader. Tables are registered by tb_init (existence and
// size only), mapped lazily by the first probe that needs them and decoded
// with the shared layout of tb_layout.h. The stored values assume that no
// capture is better, so the probes resolve captures (and en passant) by a
// small search before trusting a stored value.
#include "tablebase/tbprobe.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "core/attacks.h"
#include "tablebase/tb_layout.h"

namespace morvane {

unsigned TB_LARGEST = 0;

namespace {

// ---------------------------------------------------------------- position

struct TbPos {
    std::uint64_t white, black, kings, queens, rooks, bishops, knights, pawns;
    std::uint8_t rule50, ep;
    bool turn;  // true: White to move
};

struct TbMove {
    std::uint8_t from, to, promo;  // promo: 0 none, 1 Q, 2 R, 3 B, 4 N
    bool ep;
};

constexpr int maxTbMoves = 256;

int tb_pop_count(std::uint64_t b) { return __builtin_popcountll(b); }
int tb_lsb(std::uint64_t b) { return __builtin_ctzll(b); }
int tb_pop_lsb(std::uint64_t& b) {
    int s = tb_lsb(b);
    b &= b - 1;
    return s;
}

std::uint64_t tb_king_attacks(int s) { return kingAtt[s]; }
std::uint64_t tb_knight_attacks(int s) { return knightAtt[s]; }
std::uint64_t tb_bishop_attacks(int s, std::uint64_t occ) { return bishop_attacks(s, occ); }
std::uint64_t tb_rook_attacks(int s, std::uint64_t occ) { return rook_attacks(s, occ); }
std::uint64_t tb_queen_attacks(int s, std::uint64_t occ) { return bishop_attacks(s, occ) | rook_attacks(s, occ); }
std::uint64_t tb_pawn_attacks(int s, bool white) { return pawnAtt[white ? WHITE : BLACK][s]; }

std::uint64_t side_bb(const TbPos& p, bool white) { return white ? p.white : p.black; }

// Is square s attacked by the side `byWhite`?
bool attacked(const TbPos& p, int s, bool byWhite) {
    std::uint64_t them = side_bb(p, byWhite);
    std::uint64_t occ = p.white | p.black;
    if (tb_king_attacks(s) & p.kings & them) return true;
    if (tb_knight_attacks(s) & p.knights & them) return true;
    if (tb_pawn_attacks(s, !byWhite) & p.pawns & them) return true;
    if (tb_bishop_attacks(s, occ) & (p.bishops | p.queens) & them) return true;
    return (tb_rook_attacks(s, occ) & (p.rooks | p.queens) & them) != 0;
}

// Side to move in check.
bool is_check(const TbPos& p) {
    std::uint64_t k = p.kings & side_bb(p, p.turn);
    return k && attacked(p, tb_lsb(k), !p.turn);
}

// After a move: the side that moved must not be left in check.
bool is_legal(const TbPos& p) {
    std::uint64_t k = p.kings & side_bb(p, !p.turn);
    return k && !attacked(p, tb_lsb(k), p.turn);
}

// The bitboard of one piece type, both colours; const or not as `p` is.
template <class Pos>
auto& type_bb(Pos& p, int type) {
    switch (type) {
        case 1: return p.pawns;
        case 2: return p.knights;
        case 3: return p.bishops;
        case 4: return p.rooks;
        case 5: return p.queens;
        default: return p.kings;
    }
}

int type_on(const TbPos& p, int s) {
    std::uint64_t b = std::uint64_t{1} << s;
    if (p.pawns & b) return 1;
    if (p.knights & b) return 2;
    if (p.bishops & b) return 3;
    if (p.rooks & b) return 4;
    if (p.queens & b) return 5;
    if (p.kings & b) return 6;
    return 0;
}

TbPos do_move(const TbPos& p, TbMove m) {
    TbPos q = p;
    std::uint64_t from = std::uint64_t{1} << m.from, to = std::uint64_t{1} << m.to;
    int moving = type_on(p, m.from);
    int captured = type_on(p, m.to);
    std::uint64_t& us = p.turn ? q.white : q.black;
    std::uint64_t& them = p.turn ? q.black : q.white;
    if (captured) {
        type_bb(q, captured) &= ~to;
        them &= ~to;
    }
    if (m.ep) {
        std::uint64_t victim = std::uint64_t{1} << (p.turn ? m.to - 8 : m.to + 8);
        q.pawns &= ~victim;
        them &= ~victim;
    }
    type_bb(q, moving) &= ~from;
    us = (us & ~from) | to;
    int placed = moving;
    if (m.promo) placed = 6 - m.promo;  // 1 Q -> 5 ... 4 N -> 2
    type_bb(q, placed) |= to;
    q.ep = 0;
    if (moving == 1 && (m.to ^ m.from) == 16) {
        int epSq = (m.to + m.from) / 2;
        // Only a square some pawn could actually take on counts as a right.
        if (tb_pawn_attacks(epSq, p.turn) & q.pawns & them) q.ep = static_cast<std::uint8_t>(epSq);
    }
    q.rule50 = (moving == 1 || captured || m.ep) ? 0 : static_cast<std::uint8_t>(p.rule50 + 1);
    q.turn = !p.turn;
    return q;
}

int add_pawn_moves(TbMove* out, int n, int from, int to, bool ep) {
    if (to < 8 || to >= 56) {
        for (std::uint8_t pr = 1; pr <= 4; ++pr)
            out[n++] = {static_cast<std::uint8_t>(from), static_cast<std::uint8_t>(to), pr, false};
    } else {
        out[n++] = {static_cast<std::uint8_t>(from), static_cast<std::uint8_t>(to), 0, ep};
    }
    return n;
}

// Pseudo-legal moves; captures only (promotions by capture included) when
// capturesOnly is set.
int gen_moves_impl(const TbPos& p, TbMove* out, bool capturesOnly) {
    int n = 0;
    std::uint64_t us = side_bb(p, p.turn), them = side_bb(p, !p.turn), occ = us | them;
    std::uint64_t targets = capturesOnly ? them : ~us;
    std::uint64_t b = us & ~p.pawns;
    while (b) {
        int s = tb_pop_lsb(b);
        std::uint64_t a;
        switch (type_on(p, s)) {
            case 2: a = tb_knight_attacks(s); break;
            case 3: a = tb_bishop_attacks(s, occ); break;
            case 4: a = tb_rook_attacks(s, occ); break;
            case 5: a = tb_queen_attacks(s, occ); break;
            default: a = tb_king_attacks(s); break;
        }
        a &= targets;
        while (a) out[n++] = {static_cast<std::uint8_t>(s), static_cast<std::uint8_t>(tb_pop_lsb(a)), 0, false};
    }
    b = us & p.pawns;
    int up = p.turn ? 8 : -8;
    while (b) {
        int s = tb_pop_lsb(b);
        std::uint64_t a = tb_pawn_attacks(s, p.turn) & them;
        while (a) n = add_pawn_moves(out, n, s, tb_pop_lsb(a), false);
        if (p.ep && (tb_pawn_attacks(s, p.turn) >> p.ep & 1)) n = add_pawn_moves(out, n, s, p.ep, true);
        if (capturesOnly) continue;
        int one = s + up;
        if (one < 0 || one > 63 || (occ >> one & 1)) continue;
        n = add_pawn_moves(out, n, s, one, false);
        int startRank = p.turn ? 1 : 6;
        if ((s >> 3) == startRank && !(occ >> (one + up) & 1)) n = add_pawn_moves(out, n, s, one + up, false);
    }
    return n;
}

int gen_captures(const TbPos& p, TbMove* out) { return gen_moves_impl(p, out, true); }
int gen_moves(const TbPos& p, TbMove* out) { return gen_moves_impl(p, out, false); }

bool is_capture(const TbPos& p, TbMove m) { return m.ep || ((side_bb(p, !p.turn) >> m.to) & 1); }
bool is_zeroing(const TbPos& p, TbMove m) { return is_capture(p, m) || (p.pawns >> m.from & 1); }

bool has_legal_move(const TbPos& p) {
    TbMove moves[maxTbMoves];
    int n = gen_moves(p, moves);
    for (int i = 0; i < n; ++i)
        if (is_legal(do_move(p, moves[i]))) return true;
    return false;
}

bool is_mate(const TbPos& p) { return is_check(p) && !has_legal_move(p); }

// ---------------------------------------------------------------- material

// Four bits of count per piece type and colour; mirror exchanges colours.
std::uint64_t calc_key(const TbPos& p, bool mirror) {
    std::uint64_t w = mirror ? p.black : p.white, b = mirror ? p.white : p.black;
    std::uint64_t key = 0;
    const std::uint64_t types[5] = {p.pawns, p.knights, p.bishops, p.rooks, p.queens};
    for (int t = 0; t < 5; ++t) {
        key += static_cast<std::uint64_t>(tb_pop_count(types[t] & w)) << (4 * t);
        key += static_cast<std::uint64_t>(tb_pop_count(types[t] & b)) << (4 * t + 20);
    }
    return key;
}

std::uint64_t key_of_material(const tb::Material& m, bool mirror) {
    std::uint64_t key = 0;
    for (int i = 0; i < m.n; ++i) {
        int type = m.code[i] & 7, colour = m.code[i] >> 3;
        if (type == 6) continue;
        if (mirror) colour ^= 1;
        key += std::uint64_t{1} << (4 * (type - 1) + 20 * colour);
    }
    return key;
}

// ---------------------------------------------------------------- tables

constexpr int WDL = 0, DTM = 1, DTZ = 2;
const char* const tbSuffix[3] = {".rtbw", ".rtbm", ".rtbz"};
const std::uint32_t tbMagic[3] = {0x5D23E871u, 0x88AC504Bu, 0xA50C66D7u};
const int WdlToDtz[5] = {-1, -101, 0, 101, 1};

struct TbFile {
    bool present = false;
    bool mapped = false;
    bool broken = false;
    void* base = nullptr;
    std::size_t size = 0;
    int sides = 0;
    tb::Part parts[2];
};

struct TbEntry {
    std::string name;
    std::uint64_t key = 0;
    int pieces = 0;
    bool hasPawns = false;
    tb::Material mat;
    TbFile files[3];
};

std::vector<TbEntry>* pieceEntries = nullptr;
std::vector<TbEntry>* pawnEntries = nullptr;
constexpr int tbHashBits = 11;
struct HashSlot {
    std::uint64_t key;
    TbEntry* entry;
};
HashSlot tbHash[1 << tbHashBits];

// A directory tables are read from. A directory the user named is opened
// by path, links followed, whoever owns its files. The private cache is
// reached only through the descriptor of the directory that passed its
// checks: renaming another directory in its place changes nothing, and a
// link or a file of another user inside it is not a table of ours.
struct TableDir {
    std::string path;
    int fd;  // -1: open by path
};
std::vector<TableDir> paths;
int numPaths = 0;
int numWdl = 0, numDtz = 0, numDtm = 0;
unsigned TB_MaxCardinality = 0, TB_MaxCardinalityDTM = 0;

void add_to_hash(TbEntry* e, std::uint64_t key) {
    std::size_t i = (key * 0x9E3779B97F4A7C15ull) >> (64 - tbHashBits);
    while (tbHash[i].entry) {
        if (tbHash[i].key == key) return;
        i = (i + 1) & ((1 << tbHashBits) - 1);
    }
    tbHash[i] = {key, e};
}

TbEntry* find_entry(std::uint64_t key) {
    std::size_t i = (key * 0x9E3779B97F4A7C15ull) >> (64 - tbHashBits);
    while (tbHash[i].entry) {
        if (tbHash[i].key == key) return tbHash[i].entry;
        i = (i + 1) & ((1 << tbHashBits) - 1);
    }
    return nullptr;
}

// Without O_NONBLOCK a FIFO planted under a table's name would hang.
int open_in_private_dir(int dirFd, const std::string& file) {
    int fd = ::openat(dirFd, file.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    struct stat st;
    if (fd >= 0 && (::fstat(fd, &st) != 0 || st.st_uid != ::geteuid())) {
        ::close(fd);
        return -1;
    }
    return fd;
}

int open_tb(const std::string& name, const char* suffix) {
    for (const TableDir& dir : paths) {
        const std::string file = name + suffix;
        const int fd = dir.fd >= 0 ? open_in_private_dir(dir.fd, file)
                                   : ::open((dir.path + "/" + file).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd >= 0) return fd;
    }
    return -1;
}

enum class FileCheck { Missing, Bad, Foreign, Ok };

// Existence, length rule (size mod 64 == 16) and, when the magic is that of
// the file kind, our signature: a table written by another program would
// otherwise be misread.
FileCheck check_file(const std::string& name, int kind) {
    int fd = open_tb(name, tbSuffix[kind]);
    if (fd < 0) return FileCheck::Missing;
    struct stat st;
    bool sizeOk = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size % 64 == 16;
    unsigned char head[8] = {0};
    bool foreign = false;
    if (sizeOk && ::pread(fd, head, 8, 0) == 8 && tb::read_u32(head) == tbMagic[kind])
        foreign = std::memcmp(head + 4, tb::layoutSignature, 4) != 0;
    ::close(fd);
    if (!sizeOk) {
        std::fprintf(stderr, "Incomplete tablebase file %s.%s\n", name.c_str(), tbSuffix[kind]);
        std::printf("info string Incomplete tablebase file %s.%s\n", name.c_str(), tbSuffix[kind]);
        std::fflush(stdout);
        return FileCheck::Bad;
    }
    if (foreign) {
        std::fprintf(stderr, "info string Table %s%s ignoree : format d'un autre programme\n", name.c_str(),
                     tbSuffix[kind]);
        return FileCheck::Foreign;
    }
    return FileCheck::Ok;
}

void init_tb(const std::string& name) {
    tb::Material mat;
    if (!tb::parse_material(name, mat)) return;  // our layout holds at most four pieces
    if (check_file(name, WDL) != FileCheck::Ok) return;
    std::vector<TbEntry>& list = mat.pawns ? *pawnEntries : *pieceEntries;
    list.emplace_back();
    TbEntry& e = list.back();
    e.name = name;
    e.mat = mat;
    e.pieces = mat.n;
    e.hasPawns = mat.pawns;
    e.key = key_of_material(mat, false);
    e.files[WDL].present = true;
    ++numWdl;
    TB_MaxCardinality = std::max<unsigned>(TB_MaxCardinality, static_cast<unsigned>(e.pieces));
    if (check_file(name, DTM) == FileCheck::Ok) {
        e.files[DTM].present = true;
        ++numDtm;
        TB_MaxCardinalityDTM = std::max<unsigned>(TB_MaxCardinalityDTM, static_cast<unsigned>(e.pieces));
    }
    if (check_file(name, DTZ) == FileCheck::Ok) {
        e.files[DTZ].present = true;
        ++numDtz;
    }
}

void unmap_all(std::vector<TbEntry>* list) {
    if (!list) return;
    for (TbEntry& e : *list)
        for (TbFile& f : e.files)
            if (f.mapped) {
                ::munmap(f.base, f.size);
                f.mapped = false;
            }
    list->clear();
}

// A file that fails a check is reported once by name and never used again:
// its answers cannot be trusted, and guessing would only hide the damage.
void drop_damaged(TbEntry& e, int kind, const char* why) {
    TbFile& f = e.files[kind];
    std::fprintf(stderr, "info string Table %s%s endommagee (%s), ignoree\n", e.name.c_str(), tbSuffix[kind], why);
    if (f.base) ::munmap(f.base, f.size);
    f.base = nullptr;
    f.mapped = false;
    f.broken = true;
}

// Header of a mapped file: its kind, our signature and version, the
// material of the entry, and every part inside the file.
bool header_is_sound(TbEntry& e, int kind) {
    TbFile& f = e.files[kind];
    const unsigned char* data = static_cast<const unsigned char*>(f.base);
    const unsigned char* end = data + f.size;
    bool ok = f.size >= tb::headerSize && tb::read_u32(data) == tbMagic[kind] &&
              std::memcmp(data + 4, tb::layoutSignature, 4) == 0 && tb::read_u16(data + 8) == tb::tbLayoutVersion &&
              data[10] == kind && data[12] == e.mat.n && tb::read_u32(data + 20) == e.mat.size;
    for (int i = 0; ok && i < e.mat.n; ++i) ok = data[16 + i] == e.mat.code[i];
    if (!ok) return false;
    f.sides = data[11];
    int shift = data[13];
    if (shift < 4 || shift > 16 || (f.sides & 3) == 0) return false;
    for (int s = 0; s < 2; ++s) {
        if (!(f.sides >> s & 1)) continue;
        std::uint32_t off = tb::read_u32(data + 24 + 4 * s);
        if (off < tb::headerSize || off >= f.size || !tb::setup_part(data + off, end, shift, f.parts[s]) ||
            (static_cast<std::uint64_t>(f.parts[s].blocks) << shift) < e.mat.size)
            return false;
    }
    return true;
}

// Maps a file on its first use; false when it cannot serve.
bool init_table(TbEntry& e, int kind) {
    TbFile& f = e.files[kind];
    if (f.mapped) return true;
    if (f.broken || !f.present) return false;
    int fd = open_tb(e.name, tbSuffix[kind]);
    if (fd < 0) {
        drop_damaged(e, kind, "fichier disparu");
        return false;
    }
    // The file may have changed since tb_init looked at it.
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || st.st_size < tb::headerSize) {
        ::close(fd);
        drop_damaged(e, kind, "taille invalide");
        return false;
    }
    f.size = static_cast<std::size_t>(st.st_size);
    f.base = ::mmap(nullptr, f.size, PROT_READ, MAP_SHARED, fd, 0);
    ::close(fd);
    if (f.base == MAP_FAILED) {
        f.base = nullptr;
        drop_damaged(e, kind, std::strerror(errno));
        return false;
    }
    ::madvise(f.base, f.size, MADV_RANDOM);
    if (!header_is_sound(e, kind)) {
        drop_damaged(e, kind, "en-tete invalide");
        return false;
    }
    f.mapped = true;
    return true;
}

// Stored value of the position: the win/draw/loss value (-2..2) or the
// distance without sign. success: 0 failure, -1 the file holds no value for
// this side to move.
int probe_table(const TbPos& p, int kind, int* success) {
    std::uint64_t key = calc_key(p, false);
    if (key == 0) return 0;  // bare kings: a draw, no file needed
    TbEntry* e = find_entry(key);
    if (!e || !e->files[kind].present) {
        *success = 0;
        return 0;
    }
    if (!init_table(*e, kind)) {
        *success = 0;
        return 0;
    }
    bool swap = key != e->key;
    int sq[4];
    std::uint64_t used = 0;
    for (int i = 0; i < e->mat.n; ++i) {
        int type = e->mat.code[i] & 7;
        bool whiteInTable = (e->mat.code[i] >> 3) == 0;
        bool white = swap ? !whiteInTable : whiteInTable;
        std::uint64_t b = type_bb(p, type) & side_bb(p, white) & ~used;
        if (!b) {
            *success = 0;
            return 0;
        }
        int s = tb_lsb(b);
        used |= std::uint64_t{1} << s;
        sq[i] = swap ? s ^ 56 : s;
    }
    std::uint32_t idx = tb::encode(e->mat, sq);
    bool whiteToMove = swap ? !p.turn : p.turn;
    int side = whiteToMove ? 0 : 1;
    const TbFile& f = e->files[kind];
    if (idx == tb::invalidIndex || idx >= e->mat.size) {
        *success = 0;
        return 0;
    }
    if (!(f.sides >> side & 1)) {
        *success = -1;
        return 0;
    }
    int v = tb::part_value(f.parts[side], idx);
    // Win/draw/loss values index the distance tables: nothing above 4.
    if (v < 0 || (kind == WDL && v > 4)) {
        drop_damaged(*e, kind, v < 0 ? "donnees compressees invalides" : "valeur hors bornes");
        *success = 0;
        return 0;
    }
    return kind == WDL ? v - 2 : v;
}

// Alpha-beta over captures, backed by the stored values.
int probe_ab(const TbPos& p, int alpha, int beta, int* success) {
    TbMove moves[maxTbMoves];
    int n = gen_captures(p, moves);
    for (int i = 0; i < n; ++i) {
        TbPos q = do_move(p, moves[i]);
        if (!is_legal(q)) continue;
        int v = -probe_ab(q, -beta, -alpha, success);
        if (*success == 0) return 0;
        if (v > alpha) {
            if (v >= beta) return v;
            alpha = v;
        }
    }
    int v = probe_table(p, WDL, success);
    if (*success == 0) return 0;
    return alpha >= v ? alpha : v;
}

// Win/draw/loss from the side to move (-2..2). success: 0 failure, 1 from
// the table, 2 decided by a capture or a forced zeroing move.
int probe_wdl(const TbPos& p, int* success) {
    *success = 1;
    TbMove moves[maxTbMoves];
    int n = gen_captures(p, moves);
    int bestCap = -3, bestEp = -3;
    for (int i = 0; i < n; ++i) {
        TbPos q = do_move(p, moves[i]);
        if (!is_legal(q)) continue;
        int v = -probe_ab(q, -2, -bestCap, success);
        if (*success == 0) return 0;
        if (v > bestCap) {
            if (v == 2) {
                *success = 2;
                return 2;
            }
            if (!moves[i].ep) bestCap = v;
            else if (v > bestEp) bestEp = v;
        }
    }
    int v = probe_table(p, WDL, success);
    if (*success == 0) return 0;
    if (bestEp > bestCap) {
        if (bestEp > v) {
            *success = 2;
            return bestEp;
        }
        bestCap = bestEp;
    }
    if (bestCap >= v) {
        *success = 1 + (bestCap > 0);
        return bestCap;
    }
    // A stored draw ignores en passant: if that capture is the only legal
    // move and there is no check, it is forced.
    if (bestEp > -3 && v == 0) {
        TbMove all[maxTbMoves];
        int m = gen_moves(p, all);
        bool other = false;
        for (int i = 0; i < m && !other; ++i)
            if (!all[i].ep && is_legal(do_move(p, all[i]))) other = true;
        if (!other && !is_check(p)) {
            *success = 2;
            return bestEp;
        }
    }
    return v;
}

int probe_dtz(const TbPos& p, int* success) {
    int wdl = probe_wdl(p, success);
    if (*success == 0) return 0;
    if (wdl == 0) return 0;
    if (*success == 2) return WdlToDtz[wdl + 2];
    TbMove moves[maxTbMoves];
    int n = 0;
    if (wdl > 0) {
        // A winning pawn move zeroes at once.
        n = gen_moves(p, moves);
        for (int i = 0; i < n; ++i) {
            if (!(p.pawns >> moves[i].from & 1) || is_capture(p, moves[i])) continue;
            TbPos q = do_move(p, moves[i]);
            if (!is_legal(q)) continue;
            int v = -probe_wdl(q, success);
            if (*success == 0) return 0;
            if (v == wdl) return WdlToDtz[wdl + 2];
        }
    }
    int d = probe_table(p, DTZ, success);
    if (*success > 0) return wdl > 0 ? d : -d;
    if (*success == 0) return 0;
    // The file keeps the other side to move only: look one move ahead.
    *success = 1;
    if (n == 0) n = gen_moves(p, moves);
    if (wdl > 0) {
        int best = 0xFFFF;
        for (int i = 0; i < n; ++i) {
            if (is_zeroing(p, moves[i])) continue;
            TbPos q = do_move(p, moves[i]);
            if (!is_legal(q)) continue;
            int v;
            if (is_mate(q)) {
                v = 1;
            } else {
                v = -probe_dtz(q, success);
                if (*success == 0) return 0;
                if (v <= 0) continue;
                ++v;
            }
            if (v < best) best = v;
        }
        return best == 0xFFFF ? 0 : best;
    }
    int best = -1;
    for (int i = 0; i < n; ++i) {
        TbPos q = do_move(p, moves[i]);
        if (!is_legal(q)) continue;
        int v;
        if (is_zeroing(p, moves[i])) {
            v = wdl == -2 ? -1 : -101;
        } else {
            v = -probe_dtz(q, success) - 1;
            if (*success == 0) return 0;
        }
        if (v < best) best = v;
    }
    return best;
}

// ---------------------------------------------------------------- entry

bool make_pos(TbPos& p, std::uint64_t white, std::uint64_t black, std::uint64_t kings, std::uint64_t queens,
              std::uint64_t rooks, std::uint64_t bishops, std::uint64_t knights, std::uint64_t pawns, unsigned ep,
              bool turn) {
    p = TbPos{white, black, kings, queens, rooks, bishops, knights, pawns, 0, 0, turn};
    std::uint64_t all = kings | queens | rooks | bishops | knights | pawns;
    if ((white & black) || all != (white | black)) return false;
    if (tb_pop_count(kings) + tb_pop_count(queens) + tb_pop_count(rooks) + tb_pop_count(bishops) +
            tb_pop_count(knights) + tb_pop_count(pawns) !=
        tb_pop_count(all))
        return false;
    if (tb_pop_count(kings & white) != 1 || tb_pop_count(kings & black) != 1) return false;
    if (pawns & 0xFF000000000000FFull) return false;
    if (ep > 0 && ep < 64 && (tb_pawn_attacks(static_cast<int>(ep), !turn) & pawns & side_bb(p, turn)))
        p.ep = static_cast<std::uint8_t>(ep);
    // The side that just moved may not be in check.
    std::uint64_t k = kings & side_bb(p, !turn);
    return !attacked(p, tb_lsb(k), turn);
}

unsigned dtz_to_wdl(unsigned rule50, int d) {
    if (d > 0) return static_cast<unsigned>(d) + rule50 <= 100 ? TB_WIN : TB_CURSED_WIN;
    if (d < 0) return static_cast<unsigned>(-d) + rule50 <= 100 ? TB_LOSS : TB_BLESSED_LOSS;
    return TB_DRAW;
}

unsigned pack(TbMove m, unsigned wdl, int v) {
    unsigned dtz = static_cast<unsigned>(v < 0 ? -v : v);
    return wdl | unsigned(m.to) << 4 | unsigned(m.from) << 10 | unsigned(m.promo) << 16 | unsigned(m.ep) << 19 |
           dtz << 20;
}

unsigned probe_root(const TbPos& p, unsigned* results) {
    TbMove moves[maxTbMoves];
    int n = gen_moves(p, moves);
    int legal = 0;
    for (int i = 0; i < n; ++i) legal += is_legal(do_move(p, moves[i]));
    if (results) results[0] = TB_RESULT_FAILED;
    if (legal == 0) return is_check(p) ? TB_RESULT_CHECKMATE : TB_RESULT_STALEMATE;

    int success;
    int dtz = probe_dtz(p, &success);
    if (!success) return TB_RESULT_FAILED;

    int scores[maxTbMoves];
    int numDraw = 0;
    int k = 0;
    for (int i = 0; i < n; ++i) {
        TbPos q = do_move(p, moves[i]);
        if (!is_legal(q)) {
            scores[i] = 32767;
            continue;
        }
        int v;
        if (dtz > 0 && is_mate(q)) {
            v = 1;
        } else if (q.rule50 != 0) {
            v = -probe_dtz(q, &success);
            if (v > 0) ++v;
            else if (v < 0) --v;
        } else {
            v = -probe_wdl(q, &success);
            v = WdlToDtz[v + 2];
        }
        if (!success) return TB_RESULT_FAILED;
        scores[i] = v;
        if (v == 0) ++numDraw;
        if (results) results[k++] = pack(moves[i], dtz_to_wdl(p.rule50, v), v);
    }
    if (results) results[k] = TB_RESULT_FAILED;

    int best = -1;
    if (dtz > 0) {
        int bestV = 32767;
        for (int i = 0; i < n; ++i)
            if (scores[i] > 0 && scores[i] < 32767 && scores[i] < bestV) {
                bestV = scores[i];
                best = i;
            }
        if (best < 0) return TB_RESULT_FAILED;
    } else if (dtz < 0) {
        int bestV = 0;
        for (int i = 0; i < n; ++i)
            if (scores[i] < bestV) {
                bestV = scores[i];
                best = i;
            }
        if (best < 0) return TB_RESULT_CHECKMATE;
    } else {
        if (numDraw == 0) return TB_RESULT_STALEMATE;
        // A fixed choice among the drawing moves that varies with material.
        std::uint64_t pick = calc_key(p, true) % static_cast<std::uint64_t>(numDraw);
        for (int i = 0; i < n; ++i)
            if (scores[i] == 0 && pick-- == 0) {
                best = i;
                break;
            }
    }
    return pack(moves[best], dtz_to_wdl(p.rule50, scores[best]), scores[best]);
}

}  // namespace

void tb_free() {
    unmap_all(pieceEntries);
    unmap_all(pawnEntries);
    std::memset(tbHash, 0, sizeof(tbHash));
    for (const TableDir& dir : paths)
        if (dir.fd >= 0) ::close(dir.fd);
    paths.clear();
    numPaths = 0;
    numWdl = numDtz = numDtm = 0;
    TB_MaxCardinality = TB_MaxCardinalityDTM = 0;
    TB_LARGEST = 0;
}

namespace {

// Registers every table found in `paths`.
void register_tables() {
    numPaths = static_cast<int>(paths.size());
    if (!pieceEntries) {
        pieceEntries = new (std::nothrow) std::vector<TbEntry>();
        pawnEntries = new (std::nothrow) std::vector<TbEntry>();
        if (!pieceEntries || !pawnEntries) {
            std::fprintf(stderr, "Out of memory.\n");
            std::exit(1);
        }
        // Entries are referenced from the hash: never let the vectors move.
        pieceEntries->reserve(512);
        pawnEntries->reserve(1024);
    }

    static const char* const patterns[] = {"K%cvK",         "K%cvK%c",       "K%c%cvK",      "K%c%cvK%c",
                                           "K%c%c%cvK",     "K%c%cvK%c%c",   "K%c%c%cvK%c",  "K%c%c%c%cvK",
                                           "K%c%c%c%c%cvK", "K%c%c%c%cvK%c", "K%c%c%cvK%c%c"};
    const char letters[] = "QRBNP";
    for (const char* pattern : patterns) {
        std::string pat = pattern;
        std::size_t v = pat.find('v');
        int slots = 0;
        for (char c : pat) slots += c == '%';
        int choice[6] = {0, 0, 0, 0, 0, 0};
        for (;;) {
            // Letters of one side never go up in Q, R, B, N, P order.
            bool ordered = true;
            std::string name;
            int k = 0;
            int prevSide = -1, prev = 0;
            for (std::size_t i = 0; i < pat.size(); ++i) {
                if (pat[i] == '%') {
                    int side = i < v ? 0 : 1;
                    if (side == prevSide && choice[k] < prev) ordered = false;
                    prevSide = side;
                    prev = choice[k];
                    name += letters[choice[k++]];
                    ++i;
                } else {
                    name += pat[i];
                }
            }
            if (ordered && (pieceEntries->size() < 512 && pawnEntries->size() < 1024)) init_tb(name);
            int d = slots - 1;
            while (d >= 0 && ++choice[d] == 5) choice[d--] = 0;
            if (d < 0) break;
        }
    }
    for (auto* list : {pieceEntries, pawnEntries})
        for (TbEntry& e : *list) {
            add_to_hash(&e, e.key);
            add_to_hash(&e, key_of_material(e.mat, true));
        }
    TB_LARGEST = std::max(TB_MaxCardinality, TB_MaxCardinalityDTM);
}

}  // namespace

bool tb_init(const char* path) {
    tb_free();
    if (!path || !*path || std::strcmp(path, "<empty>") == 0) return true;
    std::string all = path;
    std::size_t start = 0;
    while (start <= all.size()) {
        std::size_t colon = all.find(':', start);
        if (colon == std::string::npos) colon = all.size();
        if (colon > start) paths.push_back({all.substr(start, colon - start), -1});
        start = colon + 1;
    }
    register_tables();
    return true;
}

bool tb_init_private_dir(int dirFd, const char* path) {
    tb_free();
    if (dirFd < 0) return false;
    paths.push_back({path ? path : "", dirFd});
    register_tables();
    return true;
}

unsigned tb_probe_wdl_impl(std::uint64_t white, std::uint64_t black, std::uint64_t kings, std::uint64_t queens,
                           std::uint64_t rooks, std::uint64_t bishops, std::uint64_t knights, std::uint64_t pawns,
                           unsigned ep, bool turn) {
    TbPos p;
    if (!make_pos(p, white, black, kings, queens, rooks, bishops, knights, pawns, ep, turn)) return TB_RESULT_FAILED;
    int success;
    int v = probe_wdl(p, &success);
    if (!success) return TB_RESULT_FAILED;
    return static_cast<unsigned>(v + 2);
}

unsigned tb_probe_root_impl(std::uint64_t white, std::uint64_t black, std::uint64_t kings, std::uint64_t queens,
                            std::uint64_t rooks, std::uint64_t bishops, std::uint64_t knights, std::uint64_t pawns,
                            unsigned rule50, unsigned ep, bool turn, unsigned* results) {
    TbPos p;
    if (!make_pos(p, white, black, kings, queens, rooks, bishops, knights, pawns, ep, turn)) return TB_RESULT_FAILED;
    p.rule50 = static_cast<std::uint8_t>(rule50 > 255 ? 255 : rule50);
    return probe_root(p, results);
}

int tb_probe_dtz_impl(std::uint64_t white, std::uint64_t black, std::uint64_t kings, std::uint64_t queens,
                      std::uint64_t rooks, std::uint64_t bishops, std::uint64_t knights, std::uint64_t pawns,
                      unsigned ep, bool turn, int* success) {
    TbPos p;
    if (!make_pos(p, white, black, kings, queens, rooks, bishops, knights, pawns, ep, turn)) {
        *success = 0;
        return 0;
    }
    return probe_dtz(p, success);
}

}  // namespace morvane
