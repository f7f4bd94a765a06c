// Memory for one cmark-gfm parse. A large document becomes millions of small nodes and buffers;
// taking them from a few large blocks, in the order the parser makes them, keeps the tree walks
// on neighbouring memory, and dropping the blocks at once replaces millions of frees.
#pragma once

#include <cmark-gfm.h>

#include <cstddef>
#include <vector>

namespace TarnGfm {

class ParseArena
{
public:
    // Until it is destroyed, allocations through mem() on this thread come from this arena.
    ParseArena();
    ~ParseArena();
    ParseArena(const ParseArena &) = delete;
    ParseArena &operator=(const ParseArena &) = delete;

    // The allocator to hand to cmark_parser_new_with_mem(). The tree and the parser made with it
    // need no freeing: the arena takes their memory back.
    cmark_mem *mem();

    void *allocate(std::size_t size);
    void *reallocate(void *data, std::size_t size);

private:
    struct Block
    {
        char *data;
        std::size_t size;
    };
    std::vector<Block> m_blocks;
    std::size_t m_used = 0; // bytes taken from the last block
    char *m_last = nullptr; // the last allocation, which can grow in place
    std::size_t m_nextSize = 64 * 1024;
    ParseArena *m_previous;

    Block &addBlock(std::size_t atLeast);
};

} // namespace TarnGfm
