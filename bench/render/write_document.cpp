// Writes the benchmarks' realistic Markdown document of about BYTES bytes to PATH, for
// benchmarks that time whole programs (bench/cli_vs_cmark.sh).
#include "DocumentGenerator.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: write_document PATH BYTES\n");
        return 2;
    }
    std::ofstream out(argv[1], std::ios::binary);
    out << BenchDocuments::realistic(std::strtoull(argv[2], nullptr, 10));
    return out ? 0 : 1;
}
