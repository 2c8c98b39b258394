#pragma once

#include <string>
#include <vector>

namespace kelvane::test {

// What a program printed and how it ended.
struct ToolRun {
    int status = -1;  // exit status; -1 when it could not be started or was killed
    std::string out;
    std::string err;
};

// Runs `argv` (argv[0] an absolute path) with `input` on standard input and collects both
// outputs through files, so a talkative program cannot block on a full pipe.
ToolRun runTool(const std::vector<std::string>& argv, const std::string& input = {});

}  // namespace kelvane::test
