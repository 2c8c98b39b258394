#pragma once

#include <string>
#include <vector>

namespace kelvane {

// One external program to run: its absolute path and its arguments, one by
// one, as Shell::run takes them (never a shell command line).
struct ToolCommand {
    std::string executable;
    std::vector<std::string> arguments;

    friend bool operator==(const ToolCommand&, const ToolCommand&) = default;
};

}  // namespace kelvane
