#include "Text/Pool_p.h"

#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace vyn::detail {

namespace {

constexpr size_t kAlignment = 16;
constexpr size_t kSmallestPiece = 1024;
constexpr size_t kLargestPiece = size_t{256} * 1024;
constexpr size_t kPage = 4096;

// While a piece is being filled nobody knows how many objects it will have.
constexpr long kOpen = 1L << 40;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kPooled = false;  // so that the sanitizer sees each object
#else
constexpr bool kPooled = true;
#endif

}  // namespace

struct PoolScope::Piece {
    std::atomic<long> live{kOpen};
};

namespace {

// In front of each object stands the piece that it lies in; null for one that was allocated by itself.
void** HeaderOf(void* object) {
    return static_cast<void**>(object) - 1;
}

}  // namespace

thread_local PoolScope* PoolScope::m_pCurrent = nullptr;

PoolScope::PoolScope(size_t expected)
    : m_pOuter(m_pCurrent), m_nSize(std::clamp(expected, kSmallestPiece, kLargestPiece)) {
    if (kPooled) {
        m_pCurrent = this;
    }
}

PoolScope::~PoolScope() {
    ClosePiece();
    m_pCurrent = m_pOuter;
}

void PoolScope::ClosePiece() {
    const long open = kOpen - m_nObjects;
    if (m_pPiece && m_pPiece->live.fetch_sub(open, std::memory_order_acq_rel) == open) {
        free(m_pPiece);
    }
    m_pPiece = nullptr;
    m_nObjects = 0;
}

void PoolScope::NewPiece(size_t size) {
    ClosePiece();
    size = std::max(size + 2 * kAlignment, m_nSize);
    m_nSize = std::min(2 * m_nSize, kLargestPiece);
    void* memory = malloc(size);
    if (!memory) {
        throw std::bad_alloc();
    }
    MapPages(memory, size);
    m_pPiece = new (memory) Piece;
    m_pNext = static_cast<char*>(memory) + kAlignment - sizeof(void*);
    m_pEnd = static_cast<char*>(memory) + size;
}

void* PoolScope::Allocate(size_t size) {
    size = (size + sizeof(void*) + kAlignment - 1) & ~(kAlignment - 1);
    if (static_cast<size_t>(m_pEnd - m_pNext) < size) {
        NewPiece(size);
    }
    void* object = m_pNext + sizeof(void*);
    *HeaderOf(object) = m_pPiece;
    m_pNext += size;
    ++m_nObjects;
    return object;
}

void* AllocateSmall(size_t size) {
    if (PoolScope* pool = PoolScope::m_pCurrent) {
        return pool->Allocate(size);
    }
    char* memory = static_cast<char*>(malloc(size + kAlignment));
    if (!memory) {
        throw std::bad_alloc();
    }
    void* object = memory + kAlignment;
    *HeaderOf(object) = nullptr;
    return object;
}

void FreeSmall(void* object) noexcept {
    if (!object) {
        return;
    }
    auto* piece = static_cast<PoolScope::Piece*>(*HeaderOf(object));
    if (!piece) {
        free(static_cast<char*>(object) - kAlignment);
    } else if (piece->live.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        free(piece);
    }
}

void MapPages(void* start, size_t size) {
#ifdef MADV_POPULATE_WRITE
    const uintptr_t first = (reinterpret_cast<uintptr_t>(start) + kPage - 1) & ~(kPage - 1);
    const uintptr_t last = (reinterpret_cast<uintptr_t>(start) + size) & ~(kPage - 1);
    if (last > first + 8 * kPage) {
        const int error = errno;
        madvise(reinterpret_cast<void*>(first), last - first, MADV_POPULATE_WRITE);
        errno = error;
    }
#else
    static_cast<void>(start);
    static_cast<void>(size);
#endif
}

}  // namespace vyn::detail
