#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

// Splitting what a tool printed into lines and fields. The views point into
// the text given, which must outlive them.
namespace ToolOutput {

// The lines without their line feeds (and without a carriage return before
// one); no empty last line for a text ending in a line feed.
std::vector<std::string_view> lines(std::string_view text);

// The pieces between `separator`s, empty pieces kept: "a\t\tb" has three.
std::vector<std::string_view> fields(std::string_view line, char separator);

// The runs of characters between blanks and tabs, as a column-aligned table
// prints them.
std::vector<std::string_view> words(std::string_view line);

}  // namespace ToolOutput
}  // namespace kelvane
