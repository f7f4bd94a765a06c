// Writes a benchmark document of about BYTES bytes to PATH, for benchmarks that time whole
// programs (bench/cli_vs_cmark.sh): the generated realistic mix, or with "real" the Markdown
// files found on this machine.
#include "DocumentGenerator.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

int main(int argc, char **argv)
{
    if (argc < 3 || argc > 4 || (argc == 4 && std::strcmp(argv[3], "real") != 0)) {
        std::fprintf(stderr, "usage: write_document PATH BYTES [real]\n");
        return 2;
    }
    const std::size_t bytes = std::strtoull(argv[2], nullptr, 10);
    const std::string document =
        argc == 4 ? BenchDocuments::realMarkdown(bytes, BenchDocuments::realMarkdownFolders())
                  : BenchDocuments::realistic(bytes);
    if (document.empty()) {
        std::fprintf(stderr, "write_document: no Markdown files found\n");
        return 1;
    }
    std::ofstream out(argv[1], std::ios::binary);
    out << document;
    return out ? 0 : 1;
}
