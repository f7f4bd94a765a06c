// A YAML block at the very top of a document, shown as a small table of its keys and values.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace TarnGfm {

struct FrontMatter
{
    struct Entry
    {
        std::string key;
        std::string value;
        bool nested = false; // the value is the raw text of the lines below the key
    };
    std::vector<Entry> entries; // the top-level keys, in order
    std::size_t lineCount = 0;  // lines taken from the top, fences included
    std::size_t byteCount = 0;  // bytes taken from the top
};

// The block opened by "---" on the first line and closed by "---" or "...", if there is one
// and its first line that is not blank or a comment is a "key: value" line.
std::optional<FrontMatter> readFrontMatter(std::string_view utf8);
// A two-column table of the entries, text escaped.
void appendFrontMatterTable(std::string &out, const FrontMatter &frontMatter);

} // namespace TarnGfm
