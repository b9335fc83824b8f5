// Registration of the tables: every material name of up to four pieces is
// tried in each directory; a file counts only if its size follows the
// layout's rule and, when it carries our magic, our signature.
#include "tablebase/tb_files.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "tablebase/tbprobe.h"

namespace morvane {

unsigned TB_LARGEST = 0;

namespace tb {
namespace {

const char* const tbSuffix[3] = {".rtbw", ".rtbm", ".rtbz"};
const std::uint32_t tbMagic[3] = {0x5D23E871u, 0x88AC504Bu, 0xA50C66D7u};

std::uint64_t key_of_material(const Material& m, bool mirror) {
    std::uint64_t key = 0;
    for (int i = 0; i < m.n; ++i) {
        int type = m.code[i] & 7, colour = m.code[i] >> 3;
        if (type == 6) continue;
        if (mirror) colour ^= 1;
        key += std::uint64_t{1} << (4 * (type - 1) + 20 * colour);
    }
    return key;
}

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

// The slot holding `key`, or the empty slot where it would go.
HashSlot& slot_for(std::uint64_t key) {
    std::size_t i = (key * 0x9E3779B97F4A7C15ull) >> (64 - tbHashBits);
    while (tbHash[i].entry && tbHash[i].key != key) i = (i + 1) & ((1 << tbHashBits) - 1);
    return tbHash[i];
}

void add_to_hash(TbEntry* e, std::uint64_t key) {
    HashSlot& slot = slot_for(key);
    if (!slot.entry) slot = {key, e};
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
    if (sizeOk && ::pread(fd, head, 8, 0) == 8 && read_u32(head) == tbMagic[kind])
        foreign = std::memcmp(head + 4, layoutSignature, 4) != 0;
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
    Material mat;
    if (!parse_material(name, mat)) return;  // our layout holds at most four pieces
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
    // Every entry has its win/draw/loss file, so the largest of them bounds
    // every kind of table.
    TB_LARGEST = std::max<unsigned>(TB_LARGEST, static_cast<unsigned>(e.pieces));
    e.files[DTM].present = check_file(name, DTM) == FileCheck::Ok;
    e.files[DTZ].present = check_file(name, DTZ) == FileCheck::Ok;
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

// Header of a mapped file: its kind, our signature and version, the
// material of the entry, and every part inside the file.
bool header_is_sound(TbEntry& e, int kind) {
    TbFile& f = e.files[kind];
    const unsigned char* data = static_cast<const unsigned char*>(f.base);
    const unsigned char* end = data + f.size;
    bool ok = f.size >= headerSize && read_u32(data) == tbMagic[kind] &&
              std::memcmp(data + 4, layoutSignature, 4) == 0 && read_u16(data + 8) == tbLayoutVersion &&
              data[10] == kind && data[12] == e.mat.n && read_u32(data + 20) == e.mat.size;
    for (int i = 0; ok && i < e.mat.n; ++i) ok = data[16 + i] == e.mat.code[i];
    if (!ok) return false;
    f.sides = data[11];
    int shift = data[13];
    if (shift < 4 || shift > 16 || (f.sides & 3) == 0) return false;
    for (int s = 0; s < 2; ++s) {
        if (!(f.sides >> s & 1)) continue;
        std::uint32_t off = read_u32(data + 24 + 4 * s);
        if (off < headerSize || off >= f.size || !setup_part(data + off, end, shift, f.parts[s]) ||
            (static_cast<std::uint64_t>(f.parts[s].blocks) << shift) < e.mat.size)
            return false;
    }
    return true;
}

// Registers every table found in `paths`.
void register_tables() {
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
}

}  // namespace

TbEntry* find_entry(std::uint64_t key) { return slot_for(key).entry; }

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
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || st.st_size < headerSize) {
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

}  // namespace tb

using namespace tb;

void tb_free() {
    unmap_all(pieceEntries);
    unmap_all(pawnEntries);
    std::memset(tbHash, 0, sizeof(tbHash));
    for (const TableDir& dir : paths)
        if (dir.fd >= 0) ::close(dir.fd);
    paths.clear();
    TB_LARGEST = 0;
}

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

}  // namespace morvane
