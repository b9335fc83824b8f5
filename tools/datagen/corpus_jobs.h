// The jobs that build a chunked corpus (see common/corpus.h): making a
// chunk from its index, and labelling a recorded chunk's positions with a
// deeper search. Both skip what the manifest shows done, so a stopped run
// is resumed by running the same command again.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "datagen/self_play.h"
#include "search/search.h"

namespace morvane {

struct ChunkPlan {
    SelfPlaySettings settings;
    std::vector<std::string> openings;  // empty: the starting position
    long long positions = 20000;        // per chunk, rounded up to whole games
    std::string settingsText;           // all of the above (and the weights), as the manifest records it
    std::optional<SearchLimits> label;  // a deeper search of every kept position, during generation
    std::string labelText = "none";     // the label search and its weights, one word
};

// The file content of chunk `index`: a comment naming it, then the lines
// of whole games played from the chunk's own seed. It depends on nothing
// but the index and the plan.
std::string chunk_content(int index, const ChunkPlan& plan, long long& positions);

// Makes every chunk of `indices` that the manifest does not show complete
// with the same settings, spread over `workers` processes. A recorded chunk
// whose file no longer matches its record is made again; one recorded with
// other settings is reported and left alone.
bool generate_chunks(const std::string& dir, const std::vector<int>& indices, const ChunkPlan& plan, int workers,
                     std::ostream& log);

// Gives every position of the recorded chunks of `indices` the deeper score
// of a search under `limits`, unless the chunk already carries labels
// described by `labelText`; each chunk is rewritten and recorded again.
bool label_chunks(const std::string& dir, const std::vector<int>& indices, const SearchLimits& limits,
                  const std::string& labelText, int workers, std::ostream& log);

}  // namespace morvane
