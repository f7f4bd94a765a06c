// Deterministic Markdown documents for the renderer benchmarks.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace BenchDocuments {

// A realistic mix: headings, English and Chinese prose with emphasis, code spans and links,
// lists, task lists, quotes, tables and fenced code; about `bytes` long.
std::string realistic(std::size_t bytes);

// Markdown people wrote: every `.md` file under the given folders (searched recursively, read
// in path order), joined by blank lines and repeated until about `bytes` long. Empty when
// none is found.
std::string realMarkdown(std::size_t bytes, const std::vector<std::string> &folders);

// The folders realMarkdown() searches by default: the project's npm packages and the system's
// package documentation.
std::vector<std::string> realMarkdownFolders();

// Inputs that would go quadratic in a careless implementation.
std::string mixedDelimiterLine(std::size_t bytes);
std::string listItems(std::size_t count);
std::string identicalHeadings(std::size_t count);
std::string tableRows(std::size_t count);
std::string codeSpansParagraph(std::size_t count);
std::string barLines(std::size_t bytes);
// Dollar signs, backslashes, spaces and digits in one paragraph: math openers without closers.
std::string dollarParagraph(std::size_t bytes);

} // namespace BenchDocuments
