#include "ParseArena.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sanitizer/asan_interface.h>
#include <sys/mman.h>

namespace TarnGfm {
namespace {

// Each allocation is preceded by its size, which realloc needs; 16 bytes keep the data aligned
// as malloc's would be.
constexpr std::size_t kHeader = 16;
constexpr std::size_t kLargestBlock = 8 * 1024 * 1024;
constexpr std::size_t kHugePage = 2 * 1024 * 1024;

thread_local ParseArena *t_current = nullptr;

std::size_t roundUp(std::size_t size)
{
    return (size + 15) & ~std::size_t(15);
}

[[noreturn]] void outOfMemory()
{
    // What cmark-gfm's own allocator does: the parser has no way to report a failed allocation.
    std::fputs("[cmark] out of memory, aborting\n", stderr);
    std::abort();
}

void *arenaCalloc(std::size_t count, std::size_t size)
{
    if (size != 0 && count > (SIZE_MAX - kHeader) / size)
        outOfMemory();
    // Blocks come zeroed from calloc and no byte is handed out twice.
    return t_current->allocate(count * size);
}

void *arenaRealloc(void *data, std::size_t size)
{
    return t_current->reallocate(data, size);
}

void arenaFree(void *) {}

cmark_mem s_mem = {arenaCalloc, arenaRealloc, arenaFree};

// Under AddressSanitizer, everything not handed out (headers, the rest of a block) is poisoned,
// so the parser's overruns are still caught.
std::size_t sizeOf(void *data)
{
    char *header = static_cast<char *>(data) - kHeader;
    ASAN_UNPOISON_MEMORY_REGION(header, sizeof(std::size_t));
    const std::size_t size = *reinterpret_cast<std::size_t *>(header);
    ASAN_POISON_MEMORY_REGION(header, kHeader);
    return size;
}

void setSize(void *data, std::size_t size)
{
    char *header = static_cast<char *>(data) - kHeader;
    ASAN_UNPOISON_MEMORY_REGION(header, sizeof(std::size_t));
    *reinterpret_cast<std::size_t *>(header) = size;
    ASAN_POISON_MEMORY_REGION(header, kHeader);
    ASAN_UNPOISON_MEMORY_REGION(data, size);
}

} // namespace

ParseArena::ParseArena()
    : m_previous(t_current)
{
    t_current = this;
}

ParseArena::~ParseArena()
{
    for (const Block &block : m_blocks) {
        ASAN_UNPOISON_MEMORY_REGION(block.data, block.size);
        std::free(block.data);
    }
    t_current = m_previous;
}

cmark_mem *ParseArena::mem()
{
    return &s_mem;
}

ParseArena::Block &ParseArena::addBlock(std::size_t atLeast)
{
    const std::size_t size = (std::max(m_nextSize, atLeast) + kHugePage - 1) & ~(kHugePage - 1);
    // Huge pages: a large document's tree takes hundreds of megabytes, and faulting them in
    // 4 KB at a time cost as much as the frees the arena saves.
    char *data = static_cast<char *>(std::aligned_alloc(kHugePage, size));
    if (!data)
        outOfMemory();
    madvise(data, size, MADV_HUGEPAGE);
    std::memset(data, 0, size);
    ASAN_POISON_MEMORY_REGION(data, size);
    m_blocks.push_back({data, size});
    m_used = 0;
    m_nextSize = std::min(m_nextSize * 2, kLargestBlock);
    return m_blocks.back();
}

void *ParseArena::allocate(std::size_t size)
{
    if (size > SIZE_MAX / 2)
        outOfMemory();
    const std::size_t needed = kHeader + roundUp(size);
    if (m_blocks.empty() || m_blocks.back().size - m_used < needed)
        addBlock(needed);
    char *data = m_blocks.back().data + m_used + kHeader;
    m_used += needed;
    m_last = data;
    setSize(data, size);
    return data;
}

void *ParseArena::reallocate(void *data, std::size_t size)
{
    if (!data)
        return allocate(size);
    const std::size_t old = sizeOf(data);
    if (size <= old)
        return data;
    // A growing buffer that was the last thing allocated grows where it is: cmark-gfm's line
    // buffers are grown this way over and over.
    if (data == m_last) {
        Block &block = m_blocks.back();
        const std::size_t start = std::size_t(static_cast<char *>(data) - block.data);
        if (size <= SIZE_MAX / 2 && block.size - start >= roundUp(size)) {
            m_used = start + roundUp(size);
            setSize(data, size);
            return data;
        }
    }
    void *moved = allocate(size);
    std::memcpy(moved, data, old);
    return moved;
}

} // namespace TarnGfm
