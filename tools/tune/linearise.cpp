#include "tune/linearise.h"

#include <cstdio>
#include <memory>
#include <stdexcept>

#include "common/worker_processes.h"
#include "eval/evaluate.h"

namespace morvane {

namespace {

constexpr int FullWindow = 30001;

int white_evaluation(const Board& board) {
    const int score = evaluate(board, -FullWindow, FullWindow);
    return board.side_to_move() == WHITE ? score : -score;
}

// A piece-square entry moves the score only when its piece stands on its
// square (White reads entry s for square s, Black entry s ^ 56): skipping
// the empty ones saves most of the work, as the tables hold most of the
// parameters.
bool entry_in_use(const Board& board, const TunedParam& p) {
    return board.piece_on(p.element) == make_piece(WHITE, p.pieceType) ||
           board.piece_on(p.element ^ 56) == make_piece(BLACK, p.pieceType);
}

struct Slope {
    std::uint16_t param;
    float slope;
};

// One position's row: its score, then its count of slopes and the slopes.
bool write_rows(const std::vector<TrainingSample>& samples, std::size_t begin, std::size_t end,
                const std::vector<TunedParam>& params, const std::vector<int>& which, int step, std::FILE* out) {
    const std::vector<int*> value = param_pointers(g_config, params);
    const auto board = std::make_unique<Board>();
    std::vector<Slope> row;
    for (std::size_t i = begin; i < end; ++i) {
        board->set_fen(samples[i].fen);
        const float base = static_cast<float>(white_evaluation(*board));
        row.clear();
        for (int k : which) {
            if (params[k].pieceType && !entry_in_use(*board, params[k])) continue;
            int& v = *value[k];
            const int kept = v;
            // A weight the score follows in a straight line needs one
            // evaluation beside the base; a step twice as wide keeps the
            // rounding error that of a central difference. The others are
            // measured on both sides.
            const bool linear = !params[k].nonlinear;
            v = kept + (linear ? 2 * step : step);
            const int up = white_evaluation(*board);
            v = kept - step;
            const int down = linear ? static_cast<int>(base) : white_evaluation(*board);
            v = kept;
            if (up != down) row.push_back({static_cast<std::uint16_t>(k), static_cast<float>(up - down) / (2 * step)});
        }
        const std::uint32_t count = static_cast<std::uint32_t>(row.size());
        if (std::fwrite(&base, sizeof base, 1, out) != 1 || std::fwrite(&count, sizeof count, 1, out) != 1 ||
            (count && std::fwrite(row.data(), sizeof(Slope), count, out) != count))
            return false;
    }
    return std::fflush(out) == 0;
}

void read_rows(std::FILE* in, std::size_t rows, Linearisation& out) {
    std::rewind(in);
    std::vector<Slope> row;
    for (std::size_t i = 0; i < rows; ++i) {
        float base = 0;
        std::uint32_t count = 0;
        if (std::fread(&base, sizeof base, 1, in) != 1 || std::fread(&count, sizeof count, 1, in) != 1)
            throw std::runtime_error("linearise: a worker's output is short");
        row.resize(count);
        if (count && std::fread(row.data(), sizeof(Slope), count, in) != count)
            throw std::runtime_error("linearise: a worker's output is short");
        out.base.push_back(base);
        for (const Slope& s : row) {
            out.param.push_back(s.param);
            out.slope.push_back(s.slope);
        }
        out.rowStart.push_back(static_cast<std::uint32_t>(out.param.size()));
    }
}

}  // namespace

Linearisation linearise(const std::vector<TrainingSample>& samples, const EngineConfig& config,
                        const std::vector<TunedParam>& params, const std::vector<int>& which, int step, int workers) {
    workers = std::max(1, std::min<int>(workers, static_cast<int>(samples.size())));
    std::vector<std::unique_ptr<std::FILE, int (*)(std::FILE*)>> parts;
    for (int w = 0; w < workers; ++w) {
        parts.emplace_back(std::tmpfile(), &std::fclose);
        if (!parts.back()) throw std::runtime_error("linearise: no temporary file");
    }
    auto slice = [&](int w) {
        return samples.size() * static_cast<std::size_t>(w) / static_cast<std::size_t>(workers);
    };
    const bool ok = run_worker_processes(workers, [&](int w) {
        // Workers are forked children but for a single one, which runs here
        // and must give the global configuration back.
        const EngineConfig saved = g_config;
        g_config = config;
        g_config.lazy_eval_enabled = 0;
        const bool written = write_rows(samples, slice(w), slice(w + 1), params, which, step, parts[w].get());
        g_config = saved;
        return written;
    });
    if (!ok) throw std::runtime_error("linearise: a worker failed");

    Linearisation result;
    result.rowStart.push_back(0);
    for (int w = 0; w < workers; ++w) read_rows(parts[w].get(), slice(w + 1) - slice(w), result);
    return result;
}

}  // namespace morvane
