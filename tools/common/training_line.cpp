#include "common/training_line.h"

#include <cstdlib>

namespace morvane {

namespace {

bool parse_real(const std::string& text, float& value) {
    char* end = nullptr;
    value = std::strtof(text.c_str(), &end);
    while (*end == ' ' || *end == '\t' || *end == '\r') ++end;
    return end != text.c_str() && *end == '\0';
}

}  // namespace

bool parse_training_line(const std::string& line, TrainingSample& sample) {
    const std::size_t first = line.find('|');
    const std::size_t second = first == std::string::npos ? first : line.find('|', first + 1);
    if (second == std::string::npos) return false;
    const std::size_t third = line.find('|', second + 1);
    TrainingSample parsed;
    const std::size_t fenEnd = line.find_last_not_of(" \t", first - 1);
    if (fenEnd == std::string::npos) return false;
    parsed.fen = line.substr(0, fenEnd + 1);
    if (!parse_real(line.substr(first + 1, second - first - 1), parsed.result) ||
        !parse_real(line.substr(second + 1, third == std::string::npos ? third : third - second - 1), parsed.score) ||
        !(parsed.result >= 0 && parsed.result <= 1))
        return false;
    if (third != std::string::npos) {
        float deep = 0;
        if (!parse_real(line.substr(third + 1), deep)) return false;
        parsed.deep = deep;
    }
    sample = std::move(parsed);
    return true;
}

std::string format_training_line(const std::string& fen, double result, int score, std::optional<int> deep) {
    const char* text = result > 0.75 ? "1.0" : result < 0.25 ? "0.0" : "0.5";
    std::string line = fen + " | " + text + " | " + std::to_string(score);
    if (deep) line += " | " + std::to_string(*deep);
    return line + '\n';
}

}  // namespace morvane
