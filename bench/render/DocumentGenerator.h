// Deterministic Markdown documents for the renderer benchmarks.
#pragma once

#include <cstddef>
#include <string>

namespace BenchDocuments {

// A realistic mix: headings, English and Chinese prose with emphasis, code spans and links,
// lists, task lists, quotes, tables and fenced code; about `bytes` long.
std::string realistic(std::size_t bytes);

// Inputs that would go quadratic in a careless implementation.
std::string mixedDelimiterLine(std::size_t bytes);
std::string listItems(std::size_t count);
std::string identicalHeadings(std::size_t count);
std::string tableRows(std::size_t count);
std::string codeSpansParagraph(std::size_t count);
std::string barLines(std::size_t bytes);

} // namespace BenchDocuments
