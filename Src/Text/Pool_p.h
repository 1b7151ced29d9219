#pragma once

/// \file
/// Memory for the many small objects that a load makes. They lie together in large pieces, so that a load asks the
/// system for memory seldom and a tree takes little of it. Each thread has its own pool.

#include <cstddef>

#include "VynM.h"

namespace vyn::detail {

/// \brief While the object lives, what this thread allocates by AllocateSmall lies together.
///
/// The memory of a piece is given back with the last object in it, wherever and whenever that is freed.
class PoolScope {
public:
    /// \param expected bytes that the objects will take, more or less.
    explicit PoolScope(size_t expected);
    PoolScope(const PoolScope&) = delete;
    PoolScope& operator=(const PoolScope&) = delete;
    ~PoolScope();

private:
    friend void* AllocateSmall(size_t size);
    friend void FreeSmall(void* object) noexcept;

    struct Piece;

    void* Allocate(size_t size);
    void NewPiece(size_t size);
    void ClosePiece();

    static thread_local PoolScope* m_pCurrent;

    PoolScope* m_pOuter;
    Piece* m_pPiece = nullptr;
    char* m_pNext = nullptr;  // room for the next header
    char* m_pEnd = nullptr;
    long m_nObjects = 0;  // in the piece
    size_t m_nSize;       // of the next piece
};

/// Asks the system for the pages of a large fresh block at once, which costs a fraction of one fault for each.
void MapPages(void* start, size_t size);

}  // namespace vyn::detail
