// Captures what the engine writes to standard output and error.
#pragma once

#include <iostream>
#include <sstream>
#include <string>

namespace morvane::test {

class CapturedStreams {
public:
    CapturedStreams() : oldOut_(std::cout.rdbuf(out_.rdbuf())), oldErr_(std::cerr.rdbuf(err_.rdbuf())) {}
    ~CapturedStreams() {
        std::cout.rdbuf(oldOut_);
        std::cerr.rdbuf(oldErr_);
    }
    std::string out() const { return out_.str(); }
    std::string err() const { return err_.str(); }
    void clear() {
        out_.str("");
        err_.str("");
    }

private:
    std::ostringstream out_, err_;
    std::streambuf* oldOut_;
    std::streambuf* oldErr_;
};

}  // namespace morvane::test
