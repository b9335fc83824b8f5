#include "table_file.h"

#include <algorithm>
#include <cstdio>
#include <fstream>

namespace tbgen {

using namespace morvane::tb;

namespace {

struct BitWriter {
    std::vector<unsigned char> bytes;
    std::uint64_t bits = 0;
    void put(std::uint32_t value, int n) {
        for (int i = n - 1; i >= 0; --i) {
            if ((bits & 7) == 0) bytes.push_back(0);
            if (value >> i & 1) bytes.back() |= static_cast<unsigned char>(0x80 >> (bits & 7));
            ++bits;
        }
    }
};

// Code lengths for the given frequencies, none longer than maxCodeLength
// (frequencies are flattened until the tree is shallow enough).
std::vector<int> code_lengths(std::vector<std::uint64_t> freq) {
    std::size_t n = freq.size();
    std::vector<int> len(n, 0);
    for (;;) {
        std::vector<std::pair<std::uint64_t, int>> nodes;  // weight, node id
        std::vector<int> parent;
        for (std::size_t i = 0; i < n; ++i)
            if (freq[i]) {
                nodes.push_back({freq[i], static_cast<int>(parent.size())});
                parent.push_back(-1);
            }
        if (nodes.empty()) return len;
        if (nodes.size() == 1) {
            for (std::size_t i = 0; i < n; ++i)
                if (freq[i]) len[i] = 1;
            return len;
        }
        std::vector<int> leafOf;
        for (std::size_t i = 0; i < n; ++i)
            if (freq[i]) leafOf.push_back(static_cast<int>(i));
        auto cmp = [](auto& a, auto& b) { return a.first > b.first; };
        std::make_heap(nodes.begin(), nodes.end(), cmp);
        while (nodes.size() > 1) {
            std::pop_heap(nodes.begin(), nodes.end(), cmp);
            auto a = nodes.back();
            nodes.pop_back();
            std::pop_heap(nodes.begin(), nodes.end(), cmp);
            auto b = nodes.back();
            nodes.pop_back();
            int id = static_cast<int>(parent.size());
            parent.push_back(-1);
            parent[a.second] = id;
            parent[b.second] = id;
            nodes.push_back({a.first + b.first, id});
            std::push_heap(nodes.begin(), nodes.end(), cmp);
        }
        int maxLen = 0;
        for (std::size_t k = 0; k < leafOf.size(); ++k) {
            int l = 0;
            for (int x = static_cast<int>(k); parent[x] >= 0; x = parent[x]) ++l;
            len[leafOf[k]] = l;
            maxLen = std::max(maxLen, l);
        }
        if (maxLen <= maxCodeLength) return len;
        for (auto& f : freq)
            if (f) f = f / 2 + 1;
    }
}

struct Canon {
    std::vector<std::uint32_t> code;  // per symbol
    std::vector<int> len;
};

Canon canonical(const std::vector<int>& len) {
    Canon c;
    c.len = len;
    c.code.assign(len.size(), 0);
    std::vector<int> order;
    for (std::size_t i = 0; i < len.size(); ++i)
        if (len[i]) order.push_back(static_cast<int>(i));
    std::sort(order.begin(), order.end(), [&](int a, int b) { return len[a] != len[b] ? len[a] < len[b] : a < b; });
    std::uint32_t next = 0;
    int l = order.empty() ? 0 : len[order[0]];
    for (int s : order) {
        next <<= (len[s] - l);
        l = len[s];
        c.code[s] = next++;
    }
    return c;
}

void put_u32(std::vector<unsigned char>& b, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) b.push_back(static_cast<unsigned char>(v >> (8 * i)));
}
void put_u16(std::vector<unsigned char>& b, std::uint32_t v) {
    b.push_back(static_cast<unsigned char>(v));
    b.push_back(static_cast<unsigned char>(v >> 8));
}

// Allowed values per entry: [lo, hi]; a free entry takes the value of the
// run it falls into, which makes runs long.
std::vector<unsigned char> encode_part(const std::vector<std::uint8_t>& lo, const std::vector<std::uint8_t>& hi) {
    std::size_t n = lo.size();
    std::uint32_t block = 1u << blockShift;
    std::uint32_t blocks = static_cast<std::uint32_t>((n + block - 1) / block);
    struct Run {
        int value;
        std::uint32_t len;
    };
    std::vector<std::vector<Run>> runs(blocks);
    std::vector<std::uint64_t> vf(512, 0), rf(32, 0);
    for (std::uint32_t b = 0; b < blocks; ++b) {
        std::size_t s = std::size_t(b) * block, e = std::min(n, s + block);
        std::size_t i = s;
        while (i < e) {
            // Extend the run as far as one value fits every entry.
            int l = 0, h = 255;
            std::size_t j = i;
            while (j < e && std::max<int>(l, lo[j]) <= std::min<int>(h, hi[j])) {
                l = std::max<int>(l, lo[j]);
                h = std::min<int>(h, hi[j]);
                ++j;
            }
            int v = l;
            if (l == 0 && h == 255) v = runs[b].empty() ? 0 : runs[b].back().value;
            std::uint32_t len = static_cast<std::uint32_t>(j - i);
            runs[b].push_back({v, len});
            if (len == 1) {
                ++vf[v];
            } else {
                ++vf[256 + v];
                ++rf[31 - __builtin_clz(len)];
            }
            i = j;
        }
    }
    Canon vc = canonical(code_lengths(vf)), rc = canonical(code_lengths(rf));
    BitWriter w;
    std::vector<std::uint32_t> offsets;
    for (std::uint32_t b = 0; b < blocks; ++b) {
        offsets.push_back(static_cast<std::uint32_t>(w.bits));
        for (const Run& r : runs[b]) {
            if (r.len == 1) {
                w.put(vc.code[r.value], vc.len[r.value]);
                continue;
            }
            int k = 31 - __builtin_clz(r.len);
            w.put(vc.code[256 + r.value], vc.len[256 + r.value]);
            w.put(rc.code[k], rc.len[k]);
            if (k) w.put(r.len - (1u << k), k);
        }
    }
    offsets.push_back(static_cast<std::uint32_t>(w.bits));
    std::vector<unsigned char> out;
    put_u32(out, blocks);
    int nv = 0, nr = 0;
    for (int l : vc.len) nv += l > 0;
    for (int l : rc.len) nr += l > 0;
    put_u16(out, static_cast<std::uint32_t>(nv));
    for (int s = 0; s < 512; ++s)
        if (vc.len[s]) {
            put_u16(out, static_cast<std::uint32_t>(s));
            out.push_back(static_cast<unsigned char>(vc.len[s]));
        }
    put_u16(out, static_cast<std::uint32_t>(nr));
    for (int s = 0; s < 32; ++s)
        if (rc.len[s]) {
            put_u16(out, static_cast<std::uint32_t>(s));
            out.push_back(static_cast<unsigned char>(rc.len[s]));
        }
    for (std::uint32_t o : offsets) put_u32(out, o);
    out.insert(out.end(), w.bytes.begin(), w.bytes.end());
    out.insert(out.end(), 8, 0);
    return out;
}

}  // namespace

std::vector<unsigned char> make_file(const Table& t, bool dtzFile, const std::vector<std::uint8_t>* lo,
                                     const std::vector<std::uint8_t>* hi, int sides) {
    std::vector<unsigned char> f;
    put_u32(f, dtzFile ? dtzMagic : wdlMagic);
    f.insert(f.end(), layoutSignature, layoutSignature + 4);
    put_u16(f, tbLayoutVersion);
    f.push_back(dtzFile ? 2 : 0);
    f.push_back(static_cast<unsigned char>(sides));
    f.push_back(static_cast<unsigned char>(t.mat.n));
    f.push_back(blockShift);
    f.push_back(0);
    f.push_back(0);
    for (int i = 0; i < 4; ++i) f.push_back(static_cast<unsigned char>(i < t.mat.n ? t.mat.code[i] : 0));
    put_u32(f, t.mat.size);
    std::size_t offsetPos = f.size();
    put_u32(f, 0);
    put_u32(f, 0);
    for (int s = 0; s < 2; ++s) {
        if (!(sides >> s & 1)) continue;
        std::uint32_t off = static_cast<std::uint32_t>(f.size());
        for (int i = 0; i < 4; ++i) f[offsetPos + 4 * s + i] = static_cast<unsigned char>(off >> (8 * i));
        std::vector<unsigned char> part = encode_part(lo[s], hi[s]);
        f.insert(f.end(), part.begin(), part.end());
    }
    while (f.size() % 64 != 16) f.push_back(0);
    return f;
}

bool write_bytes(const std::string& path, const std::vector<unsigned char>& b) {
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    bool ok = std::fwrite(b.data(), 1, b.size(), f) == b.size();
    return std::fclose(f) == 0 && ok;
}

bool verify_file(const std::vector<unsigned char>& f, const std::vector<std::uint8_t>* lo,
                 const std::vector<std::uint8_t>* hi, int sides, std::uint32_t size) {
    for (int s = 0; s < 2; ++s) {
        if (!(sides >> s & 1)) continue;
        Part part;
        std::uint32_t off = read_u32(f.data() + 24 + 4 * s);
        if (!setup_part(f.data() + off, f.data() + f.size(), blockShift, part)) return false;
        for (std::uint32_t i = 0; i < size; i += 61) {
            int v = part_value(part, i);
            if (v < lo[s][i] || v > hi[s][i]) return false;
        }
    }
    return true;
}

void write_embedding(const std::string& dir, const std::vector<std::pair<std::string, std::size_t>>& files) {
    std::string as, cpp;
    as += "    .section .rodata\n";
    cpp += "// Generated by tbgen: the embedded endgame-table files.\n#include \"tablebase/embedded.h\"\n\n";
    cpp += "namespace morvane::syzygy_embedded {\n\n";
    for (auto& [name, size] : files) {
        std::string sym = name;
        std::replace(sym.begin(), sym.end(), '.', '_');
        std::string mangled = "_ZN7morvane15syzygy_embedded" + std::to_string(sym.size()) + sym + "E";
        as += "    .globl " + mangled + "\n    .balign 64\n" + mangled + ":\n    .incbin \"" + dir + "/" + name +
              "\"\n";
        cpp += "extern const unsigned char " + sym + "[];\n";
    }
    as += "    .section .note.GNU-stack,\"\",@progbits\n";
    cpp += "\n";
    for (int group = 3; group <= 4; ++group) {
        std::size_t count = 0;
        std::string rows;
        for (auto& [name, size] : files) {
            int pieces = static_cast<int>(name.find('.')) - 1;
            if (pieces != group) continue;
            std::string sym = name;
            std::replace(sym.begin(), sym.end(), '.', '_');
            rows += "    {\"" + name + "\", " + sym + ", " + std::to_string(size) + "u},\n";
            ++count;
        }
        cpp += "const EmbeddedFile files_" + std::to_string(group) + "[" + std::to_string(count) + "] = {\n" + rows +
               "};\n\n";
    }
    cpp += "}  // namespace morvane::syzygy_embedded\n";
    std::ofstream(dir + "/embedded_tables.S") << as;
    std::ofstream(dir + "/embedded_tables.cpp") << cpp;
}

}  // namespace tbgen
