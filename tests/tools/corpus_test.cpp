#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "common/corpus.h"
#include "common/training_line.h"
#include "datagen/corpus_jobs.h"
#include "support/capture.h"
#include "support/files.h"
#include "tablebase/syzygy.h"
#include "tune/training_data.h"

using namespace morvane;

namespace {

// Short, cheap games: a handful of positions per chunk.
ChunkPlan small_plan() {
    ChunkPlan plan;
    plan.settings.depth = 2;
    plan.settings.maxPlies = 40;
    plan.settings.keepEvery = 2;
    plan.positions = 12;
    plan.settingsText = "depth=2 test";
    return plan;
}

std::string chunk_bytes(const test::ScratchDir& dir, int index) {
    return test::read_file(chunk_path(dir.path().string(), index));
}

}  // namespace

TEST(CorpusFormat, LabelsAndResultsRoundTripThroughLinesAndChunks) {
    const std::string fen = "4k3/8/8/8/8/8/4P3/4K3 b - - 0 1";
    TrainingSample sample;
    for (const double result : {1.0, 0.5, 0.0})
        for (const std::optional<int> deep : {std::optional<int>{}, std::optional<int>{-417}, std::optional<int>{0}}) {
            const std::string line = format_training_line(fen, result, -35, deep);
            ASSERT_EQ(line.back(), '\n');
            ASSERT_TRUE(parse_training_line(line.substr(0, line.size() - 1), sample)) << line;
            EXPECT_EQ(sample.fen, fen);
            EXPECT_EQ(sample.result, static_cast<float>(result));
            EXPECT_EQ(sample.score, -35.0f);
            EXPECT_EQ(sample.deep, deep ? std::optional<float>(static_cast<float>(*deep)) : std::nullopt) << line;
        }
    for (const std::string& bad : {fen + " | 1.0", fen + " | 2 | 5", fen + " | 0.5 | x", std::string(" | 0.5 | 3"),
                                  std::string(), fen + " | 0.5 | 3 | deep", fen + " | 0.5 | 3 |"})
        EXPECT_FALSE(parse_training_line(bad, sample)) << bad;

    // Through a stored chunk and its manifest record.
    const test::ScratchDir dir;
    ChunkRecord record;
    record.index = 7;
    record.seed = chunk_seed(7);
    record.positions = 2;
    record.labels = "depth=9,weights=x.cfg@1f";
    record.settings = "nodes=6000 random-plies=8 keep-every=4";
    std::ostringstream log;
    ASSERT_TRUE(store_chunk(
        dir.path().string(), record,
        "# a comment\n" + format_training_line(fen, 1.0, 12, 80) + format_training_line(fen, 0.0, -3, std::nullopt),
        log));
    const std::map<int, ChunkRecord> records = read_manifest(dir.path().string(), log);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(manifest_line(records.at(7)), manifest_line(record));
    EXPECT_NE(record.checksum, 0u);
    test::CapturedStreams io;
    const std::vector<TrainingSample> read = read_corpus(dir.path().string());
    ASSERT_EQ(read.size(), 2u);
    EXPECT_EQ(read[0].result, 1.0f);
    EXPECT_EQ(read[0].deep, 80.0f);
    EXPECT_EQ(read[1].score, -3.0f);
    EXPECT_EQ(read[1].deep, std::nullopt);
    EXPECT_EQ(log.str(), "");
    EXPECT_EQ(io.err(), "");
    EXPECT_NE(chunk_seed(7), chunk_seed(8));
}

TEST(CorpusJobs, ResumedRunsMakeTheSameChunksAndDamagedOnesAreSkipped) {
    syzygy_init("");
    const ChunkPlan plan = small_plan();
    const test::ScratchDir whole, resumed;
    std::ostringstream log;
    ASSERT_TRUE(generate_chunks(whole.path().string(), {0, 1, 2}, plan, 1, log));

    // The first run made chunk 1 only, then died while writing chunk 2
    // and after chunk 0 was renamed into place but before it was recorded.
    const std::string dir = resumed.path().string();
    ASSERT_TRUE(generate_chunks(dir, {1}, plan, 1, log));
    std::ofstream(chunk_path(dir, 2) + ".part") << "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1 | 0.5";
    std::ofstream(chunk_path(dir, 0)) << "# chunk 0, unrecorded\n";
    log.str("");
    ASSERT_TRUE(generate_chunks(dir, {0, 1, 2}, plan, 2, log));
    EXPECT_NE(log.str().find("1 chunk(s) already done, 2 to make"), std::string::npos) << log.str();
    const std::map<int, ChunkRecord> expected = read_manifest(whole.path().string(), log),
                                     actual = read_manifest(dir, log);
    ASSERT_EQ(actual.size(), 3u);
    for (int index = 0; index < 3; ++index) {
        EXPECT_EQ(chunk_bytes(resumed, index), chunk_bytes(whole, index)) << index;
        EXPECT_EQ(manifest_line(actual.at(index)), manifest_line(expected.at(index)));
        EXPECT_GE(actual.at(index).positions, plan.positions);
    }
    EXPECT_NE(chunk_bytes(whole, 0), chunk_bytes(whole, 1));  // each chunk its own games

    // Nothing left to do; a chunk made under other settings is left alone.
    log.str("");
    ChunkPlan other = plan;
    other.settingsText = "depth=3 test";
    ASSERT_TRUE(generate_chunks(dir, {0, 1, 2}, plan, 1, log));
    ASSERT_TRUE(generate_chunks(dir, {1}, other, 1, log));
    EXPECT_NE(log.str().find("3 chunk(s) already done, 0 to make"), std::string::npos) << log.str();
    EXPECT_NE(log.str().find("chunk 1 was made with other settings (depth=2 test); left as it is"), std::string::npos);

    // One changed character in chunk 1.
    const std::size_t all = read_corpus(dir).size();
    std::string damaged = chunk_bytes(resumed, 1);
    damaged[damaged.size() / 2] ^= 1;
    std::ofstream(chunk_path(dir, 1), std::ios::binary) << damaged;
    {
        test::CapturedStreams io;
        EXPECT_EQ(read_corpus(dir).size(), all - static_cast<std::size_t>(actual.at(1).positions));
        EXPECT_NE(io.err().find("chunk-1.txt: checksum"), std::string::npos) << io.err();
        EXPECT_NE(io.err().find("chunk 1 skipped"), std::string::npos) << io.err();
    }
    log.str("");
    ASSERT_TRUE(generate_chunks(dir, {0, 1, 2}, plan, 1, log));
    EXPECT_NE(log.str().find("2 chunk(s) already done, 1 to make"), std::string::npos) << log.str();
    EXPECT_EQ(chunk_bytes(resumed, 1), chunk_bytes(whole, 1));
}

// Labels added by a later pass are the ones generation would have written,
// and a pass over chunks already labelled the same way does nothing.
TEST(CorpusJobs, LabellingPassMatchesLabelsMadeDuringGeneration) {
    syzygy_init("");
    SearchLimits deeper;
    deeper.depth = 4;
    ChunkPlan plan = small_plan(), labelledPlan = small_plan();
    labelledPlan.label = deeper;
    labelledPlan.labelText = "depth=4";
    const test::ScratchDir later, during;
    std::ostringstream log;
    ASSERT_TRUE(generate_chunks(later.path().string(), {3, 4}, plan, 1, log));
    ASSERT_TRUE(generate_chunks(during.path().string(), {3, 4}, labelledPlan, 1, log));
    ASSERT_TRUE(label_chunks(later.path().string(), {3, 4, 5}, deeper, "depth=4", 2, log));
    EXPECT_NE(log.str().find("chunk 5 is not recorded; nothing to label"), std::string::npos) << log.str();
    for (int index : {3, 4}) EXPECT_EQ(chunk_bytes(later, index), chunk_bytes(during, index)) << index;

    const std::vector<TrainingSample> samples = read_corpus(later.path().string());
    ASSERT_FALSE(samples.empty());
    int differ = 0;
    for (const TrainingSample& s : samples) {
        ASSERT_TRUE(s.deep.has_value()) << s.fen;
        differ += *s.deep != s.score;
    }
    EXPECT_GT(differ, 0);  // a deeper search, not a copy of the game's score
    EXPECT_EQ(read_manifest(later.path().string(), log).at(3).labels, "depth=4");
    log.str("");
    ASSERT_TRUE(label_chunks(later.path().string(), {3, 4}, deeper, "depth=4", 1, log));
    EXPECT_NE(log.str().find("0 chunk(s) to label"), std::string::npos) << log.str();
}
