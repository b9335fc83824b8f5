#include <gtest/gtest.h>

#include "common/tool_arguments.h"

using namespace morvane;

namespace {

ToolArguments parse(std::vector<std::string> words) {
    words.insert(words.begin(), "tool");
    std::vector<char*> argv;
    for (std::string& w : words) argv.push_back(w.data());
    return ToolArguments(static_cast<int>(argv.size()), argv.data(), {"data", "depth", "lambda"});
}

}  // namespace

TEST(ToolArguments, OptionsRepeatAndEveryMistakeIsNamed) {
    ToolArguments args = parse({"--data", "a.txt", "--depth", "7", "--data", "b.txt", "--lambda", "0.25"});
    EXPECT_EQ(args.all("data"), (std::vector<std::string>{"a.txt", "b.txt"}));
    EXPECT_EQ(args.text("data"), "b.txt");
    EXPECT_EQ(args.integer("depth", 1), 7);
    EXPECT_EQ(args.real("lambda", 0), 0.25);
    EXPECT_EQ(args.integer("missing", -1), -1);
    EXPECT_EQ(args.error(), "");

    EXPECT_EQ(parse({"--dept", "7"}).error(), "unknown option --dept");
    EXPECT_EQ(parse({"depth", "7"}).error(), "unknown option depth");
    EXPECT_EQ(parse({"--data"}).error(), "missing value after --data");
    ToolArguments bad = parse({"--depth", "7x", "--lambda", "half"});
    EXPECT_EQ(bad.integer("depth", 5), 5);
    EXPECT_EQ(bad.real("lambda", 0.5), 0.5);
    EXPECT_EQ(bad.error(), "--depth needs an integer, not \"7x\"");
}
