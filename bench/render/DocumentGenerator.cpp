// Deterministic Markdown documents for the renderer benchmarks.
#include "DocumentGenerator.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace BenchDocuments {
namespace {

constexpr std::array kEnglish = {"The reader keeps its place", "while the page",
                                 "renders *quickly*",          "and **clearly**,",
                                 "with `inline_code` spans",   "and [links](docs/guide.md)",
                                 "that point elsewhere.",      "Nothing here is ~~wrong~~",
                                 "but _some_ words",           "carry weight."};
constexpr std::array kChinese = {"阅读时保持位置，", "页面渲染**迅速**",  "而且*清晰*，",
                                 "包含`代码`片段",   "和[链接](笔记.md)", "指向其他文件。",
                                 "这里的内容",       "用于测试性能。"};

std::string sentence(std::mt19937 &random, bool chinese, int words)
{
    std::string out;
    for (int i = 0; i < words; ++i) {
        if (!out.empty() && !chinese)
            out += ' ';
        out +=
            chinese ? kChinese[random() % kChinese.size()] : kEnglish[random() % kEnglish.size()];
    }
    return out;
}

} // namespace

std::string realistic(std::size_t bytes)
{
    std::mt19937 random(42);
    std::string out;
    out.reserve(bytes + 4096);
    int section = 0;
    while (out.size() < bytes) {
        ++section;
        out += "## Section " + std::to_string(section) + " " +
               sentence(random, section % 3 == 0, 2) + "\n\n";
        for (int p = 0; p < 3; ++p)
            out += sentence(random, p == 1, 14) + "\n" + sentence(random, p == 1, 10) + "\n\n";
        for (int i = 0; i < 4; ++i)
            out += "- " + sentence(random, i % 2 == 1, 5) + "\n";
        out += "\n- [ ] " + sentence(random, false, 3) + "\n- [x] " + sentence(random, true, 3) +
               "\n\n";
        out += "1. First step\n2. " + sentence(random, false, 4) + "\n\n";
        out += "> " + sentence(random, true, 6) + "\n> " + sentence(random, false, 6) + "\n\n";
        if (section % 2 == 0) {
            out += "| Name | Value | Note |\n|---|:---:|---|\n";
            for (int r = 0; r < 5; ++r)
                out += "| item " + std::to_string(r) + " | `" + std::to_string(r * 7) + "` | " +
                       sentence(random, r % 2 == 0, 2) + " |\n";
            out += "\n";
        }
        if (section % 3 == 0)
            out += "```cpp\nint main() {\n    return value < 2 && other > 3;\n}\n```\n\n";
    }
    return out;
}

std::string dollarParagraph(std::size_t bytes)
{
    static const std::string alphabet = "$$$\\ a1\n";
    std::mt19937 random(11);
    std::string out;
    out.reserve(bytes);
    while (out.size() < bytes)
        out += alphabet[random() % alphabet.size()];
    return out;
}

std::string mixedDelimiterLine(std::size_t bytes)
{
    static const std::string alphabet = "*_~\\`[]()|ab ";
    std::mt19937 random(7);
    std::string out;
    out.reserve(bytes);
    while (out.size() < bytes)
        out += alphabet[random() % alphabet.size()];
    return out;
}

std::string listItems(std::size_t count)
{
    std::string out;
    for (std::size_t i = 0; i < count; ++i)
        out += "- item " + std::to_string(i) + " with *some* text\n";
    return out;
}

std::string identicalHeadings(std::size_t count)
{
    std::string out;
    for (std::size_t i = 0; i < count; ++i)
        out += "## Same heading\n";
    return out;
}

std::string tableRows(std::size_t count)
{
    std::string out = "| a | b | c |\n|---|---|---|\n";
    for (std::size_t i = 0; i < count; ++i)
        out += "| " + std::to_string(i) + " | **x** | y |\n";
    return out;
}

std::string codeSpansParagraph(std::size_t count)
{
    std::string out;
    for (std::size_t i = 0; i < count; ++i)
        out += "`c" + std::to_string(i) + "` ";
    return out + "\n";
}

std::string barLines(std::size_t bytes)
{
    std::string out;
    while (out.size() < bytes)
        out += "|\n";
    return out;
}

std::string realMarkdown(std::size_t bytes, const std::vector<std::string> &folders)
{
    namespace fs = std::filesystem;
    std::vector<fs::path> files;
    for (const std::string &folder : folders) {
        std::error_code error;
        const auto options = fs::directory_options::skip_permission_denied;
        for (fs::recursive_directory_iterator it(folder, options, error), end; !error && it != end;
             it.increment(error)) {
            if (it->path().extension() == ".md" && it->is_regular_file(error))
                files.push_back(it->path());
        }
    }
    std::sort(files.begin(), files.end());
    std::string all;
    for (const fs::path &file : files) {
        std::ifstream in(file, std::ios::binary);
        all.append(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        all += "\n\n";
    }
    if (all.empty())
        return all;
    std::string out;
    out.reserve(bytes + all.size());
    while (out.size() < bytes)
        out += all;
    out.resize(out.rfind('\n', bytes) + 1); // whole lines only
    return out;
}

std::vector<std::string> realMarkdownFolders()
{
    return {TARN_SOURCE_DIR "/node_modules", "/usr/share/doc"};
}

} // namespace BenchDocuments
