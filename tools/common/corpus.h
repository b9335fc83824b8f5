// A corpus of training positions kept as numbered chunk files in one
// directory, with a manifest that records each finished chunk. A chunk is
// an independent job named by its index (its seed comes from the index), so
// chunks can be made in any order, by several runs or several machines,
// and a run that stops loses at most the chunks it was making.
//
//   DIR/chunk-K.txt      the positions, one training line each
//   DIR/manifest.txt     one line per chunk written or relabelled; for a
//                        chunk recorded twice, the last line holds
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace morvane {

struct ChunkRecord {
    int index = 0;
    std::uint64_t seed = 0;
    long long positions = 0;
    std::uint64_t checksum = 0;   // of the chunk file's bytes
    std::string labels = "none";  // how the deeper scores were made, one word
    std::string settings;         // how the games were played, the rest of the line
};

// The seed of chunk `index`: well mixed, so neighbouring chunks play
// unrelated games.
std::uint64_t chunk_seed(int index);

// 64-bit FNV-1a: enough to tell a damaged or truncated file from the one
// that was recorded.
std::uint64_t checksum_of(std::string_view bytes);

std::string chunk_path(const std::string& dir, int index);
std::string manifest_path(const std::string& dir);

std::string manifest_line(const ChunkRecord& record);
std::optional<ChunkRecord> parse_manifest_line(const std::string& line);

// The latest record of every chunk; unreadable lines are reported to `log`
// and ignored. Empty when there is no manifest yet.
std::map<int, ChunkRecord> read_manifest(const std::string& dir, std::ostream& log);

// Writes the chunk under a temporary name, renames it into place once it
// is complete on disk, and only then records it (the record's checksum is
// filled in here). A run stopped at any point leaves either no chunk or a
// complete, recorded one, or a complete unrecorded one that the next run
// makes again. Appends to the manifest are single writes, so jobs running
// side by side in one directory do not mix their lines.
bool store_chunk(const std::string& dir, ChunkRecord& record, const std::string& content, std::ostream& log);

// The chunk's contents when they match their record; otherwise a message
// naming the chunk goes to `log` and nothing is returned.
std::optional<std::string> read_verified_chunk(const std::string& dir, const ChunkRecord& record, std::ostream& log);

}  // namespace morvane
