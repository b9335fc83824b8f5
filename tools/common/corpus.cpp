#include "common/corpus.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iomanip>
#include <sstream>

#include "common/replace_file.h"
#include "core/fd_write.h"

namespace morvane {

namespace {

std::string hex(std::uint64_t value) {
    std::ostringstream text;
    text << std::hex << std::setw(16) << std::setfill('0') << value;
    return text.str();
}

std::optional<std::string> read_whole(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

}  // namespace

std::uint64_t chunk_seed(int index) {
    // splitmix64's finaliser over the index.
    std::uint64_t z = static_cast<std::uint64_t>(index) * 0x9E3779B97F4A7C15ULL + 0x6D6F7276616E65ULL;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

std::uint64_t checksum_of(std::string_view bytes) {
    std::uint64_t hash = 0xCBF29CE484222325ULL;
    for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3ULL;
    return hash;
}

std::string chunk_path(const std::string& dir, int index) { return dir + "/chunk-" + std::to_string(index) + ".txt"; }
std::string manifest_path(const std::string& dir) { return dir + "/manifest.txt"; }

std::string manifest_line(const ChunkRecord& r) {
    return "chunk " + std::to_string(r.index) + " seed " + hex(r.seed) + " positions " + std::to_string(r.positions) +
           " checksum " + hex(r.checksum) + " labels " + r.labels + " settings " + r.settings + '\n';
}

std::optional<ChunkRecord> parse_manifest_line(const std::string& line) {
    std::istringstream in(line);
    std::string chunk, seed, positions, checksum, labels, settings, seedHex, checksumHex;
    ChunkRecord r;
    in >> chunk >> r.index >> seed >> seedHex >> positions >> r.positions >> checksum >> checksumHex >> labels >>
        r.labels >> settings;
    if (!in || chunk != "chunk" || seed != "seed" || positions != "positions" || checksum != "checksum" ||
        labels != "labels" || settings != "settings" || r.index < 0 || r.positions < 0 || seedHex.size() != 16 ||
        checksumHex.size() != 16)
        return std::nullopt;
    char* end = nullptr;
    r.seed = std::strtoull(seedHex.c_str(), &end, 16);
    if (*end) return std::nullopt;
    r.checksum = std::strtoull(checksumHex.c_str(), &end, 16);
    if (*end) return std::nullopt;
    std::getline(in >> std::ws, r.settings);
    return r;
}

std::map<int, ChunkRecord> read_manifest(const std::string& dir, std::ostream& log) {
    std::map<int, ChunkRecord> records;
    std::ifstream in(manifest_path(dir));
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (line.empty() || line[0] == '#') continue;
        if (const auto record = parse_manifest_line(line)) records[record->index] = *record;
        else log << manifest_path(dir) << ":" << number << ": unreadable record ignored\n";
    }
    return records;
}

bool store_chunk(const std::string& dir, ChunkRecord& record, const std::string& content, std::ostream& log) {
    record.checksum = checksum_of(content);
    const std::string path = chunk_path(dir, record.index);
    if (std::string error; !replace_file(path, content, error, ".part")) {
        log << error << '\n';
        return false;
    }
    const int manifest = ::open(manifest_path(dir).c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    const bool recorded = manifest >= 0 && write_all(manifest, manifest_line(record)) && ::fsync(manifest) == 0;
    if (manifest >= 0) ::close(manifest);
    if (!recorded) log << "cannot record chunk " << record.index << " in " << manifest_path(dir) << '\n';
    return recorded;
}

std::optional<std::string> read_verified_chunk(const std::string& dir, const ChunkRecord& record, std::ostream& log) {
    const std::string path = chunk_path(dir, record.index);
    std::optional<std::string> content = read_whole(path);
    if (!content) log << path << ": missing, chunk " << record.index << " skipped\n";
    else if (checksum_of(*content) != record.checksum)
        log << path << ": checksum " << hex(checksum_of(*content)) << " differs from the manifest's "
            << hex(record.checksum) << ", chunk " << record.index << " skipped\n";
    else return content;
    return std::nullopt;
}

}  // namespace morvane
