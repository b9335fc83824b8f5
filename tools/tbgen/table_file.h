// Our table files: values packed in blocks of runs under canonical Huffman
// codes, in the layout the engine's reader shares with the generator.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "table_set.h"

namespace tbgen {

// Log2 of the entries per block: larger packs better, smaller reads faster.
constexpr int blockShift = 10;

// The file of `t` for the sides in `sides` (bit 0 White, bit 1 Black to
// move), each entry i holding a value in [lo[side][i], hi[side][i]].
std::vector<unsigned char> make_file(const Table& t, bool dtzFile, const std::vector<std::uint8_t>* lo,
                                     const std::vector<std::uint8_t>* hi, int sides);
bool write_bytes(const std::string& path, const std::vector<unsigned char>& b);
// Spot-checks a written file by reading it back the way the reader does.
bool verify_file(const std::vector<unsigned char>& f, const std::vector<std::uint8_t>* lo,
                 const std::vector<std::uint8_t>* hi, int sides, std::uint32_t size);
// The assembler embedding of every file and the C++ table describing them.
void write_embedding(const std::string& dir, const std::vector<std::pair<std::string, std::size_t>>& files);

}  // namespace tbgen
