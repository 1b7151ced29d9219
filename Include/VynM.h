#pragma once

/// \file
/// The library's list, its vector with one-based positions, and the stack of sets of visited pointers. Lists
/// and vectors never own what their elements point to. No locks: each object belongs to one thread at a time.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <unordered_set>
#include <vector>

#include "VynExport.h"

namespace vyn {

namespace detail {

/// Allocates a small object; those of one load lie together. \return never null.
VYN_API void* AllocateSmall(size_t size);
/// Frees it; null is fine.
VYN_API void FreeSmall(void* object) noexcept;

}  // namespace detail

/// \brief Doubly linked list, appended at the tail only and walked by an opaque position.
///
/// The elements are pointers whose owner deletes them before it empties the list:
/// \code
/// for (void* pos = list.GetHeadPosition(); pos;) {
///     delete list.GetNext(pos);
/// }
/// list.RemoveAll();
/// \endcode
/// A position is ended by removing its node. Lists aren't copied: AddTail appends another list's elements.
template <class T>
class VYN_API MList {
public:
    constexpr MList() = default;
    MList(const MList&) = delete;
    MList& operator=(const MList&) = delete;
    virtual ~MList() { RemoveAll(); }

    /// \return the first position; null when the list is empty.
    void* GetHeadPosition() const { return m_pHead; }
    /// \return the last position; null when the list is empty.
    void* GetTailPosition() const { return m_pTail; }
    /// \param[in,out] pos moves to the next node or to null. Not null.
    /// \return the element at \p pos.
    T GetNext(void*& pos) const {
        NodeList* node = static_cast<NodeList*>(pos);
        pos = node->next;
        return node->data;
    }
    /// \return the position of the first node that holds \p element; null when there is none.
    void* Find(T element) const {
        for (NodeList* node = m_pHead; node; node = node->next) {
            if (node->data == element) {
                return node;
            }
        }
        return nullptr;
    }
    /// \return the number of elements.
    int GetCount() const { return m_nCount; }
    /// \return how often the list was changed; whoever remembers what a walk found compares it to see whether
    /// that still holds. It wraps around.
    unsigned GetChangeCount() const { return m_nChanges; }

    /// Appends \p element.
    void AddTail(T element) {
        NodeList* node = new NodeList{nullptr, m_pTail, element};
        (m_pTail ? m_pTail->next : m_pHead) = node;
        m_pTail = node;
        ++m_nCount;
        ++m_nChanges;
    }
    /// Appends a copy of each element of \p other, which isn't null and stays as it is.
    void AddTail(MList<T>* other) {
        // Up to the tail of now, so that a list can be appended to itself.
        const NodeList* last = other->m_pTail;
        for (const NodeList* node = other->m_pHead; node; node = node == last ? nullptr : node->next) {
            AddTail(node->data);
        }
    }
    /// Unlinks and frees the node at \p pos. The element isn't touched.
    /// \pre \p pos is a position of this list, not null.
    void RemoveAt(void* pos) {
        NodeList* node = static_cast<NodeList*>(pos);
        (node->prev ? node->prev->next : m_pHead) = node->next;
        (node->next ? node->next->prev : m_pTail) = node->prev;
        delete node;
        --m_nCount;
        ++m_nChanges;
    }
    /// Frees every node. The elements aren't touched.
    void RemoveAll() {
        for (NodeList* node = m_pHead; node;) {
            NodeList* next = node->next;
            delete node;
            node = next;
        }
        m_pHead = nullptr;
        m_pTail = nullptr;
        m_nCount = 0;
        ++m_nChanges;
    }

private:
    struct NodeList {
        static void* operator new(size_t size) { return detail::AllocateSmall(size); }
        static void operator delete(void* node) { detail::FreeSmall(node); }

        NodeList* next;
        NodeList* prev;
        T data;
    };

    NodeList* m_pHead = nullptr;
    NodeList* m_pTail = nullptr;
    int m_nCount = 0;
    unsigned m_nChanges = 0;
};

/// \brief The standard vector with one-based `void*` positions: 0 is no position, 1 the first element.
///
/// Iteration starts at position 1 when the vector isn't empty:
/// \code
/// for (void* pos = v.empty() ? nullptr : reinterpret_cast<void*>(1); pos;) {
///     const SString& item = v.GetNext(pos);
/// }
/// \endcode
template <class T>
class VYN_API SVector : public std::vector<T> {
public:
    using std::vector<T>::vector;

    /// \return the position of the first element equal to \p element; 0 when it is absent.
    void* Find(const T& element) const {
        auto found = std::find(this->begin(), this->end(), element);
        return found == this->end() ? nullptr : ToPosition(static_cast<size_t>(found - this->begin()) + 1);
    }
    /// \param[in,out] pos moves to the following position, or to 0 behind the last element. Not 0.
    /// \return the element at \p pos; valid until the vector changes.
    const T& GetNext(void*& pos) const {
        const size_t index = reinterpret_cast<uintptr_t>(pos);
        pos = index < this->size() ? ToPosition(index + 1) : nullptr;
        return (*this)[index - 1];
    }

private:
    static void* ToPosition(size_t index) { return reinterpret_cast<void*>(static_cast<uintptr_t>(index)); }
};

/// \brief Opens a fresh set of visited pointers for the life of the object.
///
/// Put one around a recursive walk, and let Mark tell whether the walk has been at a pointer before. An inner
/// walk with an object of its own starts from an empty set and hands the outer set back at its end. The stack
/// of sets is shared by the process and belongs to one thread at a time.
class VYN_API SMapMarker {
public:
    /// Makes a new empty set the current one.
    SMapMarker();
    SMapMarker(const SMapMarker&) = delete;
    SMapMarker& operator=(const SMapMarker&) = delete;
    /// Destroys the current set; the one before is current again.
    virtual ~SMapMarker();

    /// \pre an SMapMarker exists.
    /// \return 1 when \p p is in the current set already; otherwise 0, and \p p is now in it.
    static int Mark(const void* p);
    /// Removes \p p from the current set when it is there.
    /// \pre an SMapMarker exists.
    /// \return 0.
    static int Unmark(const void* p);

private:
    static std::vector<std::unordered_set<const void*>> m_listMarkers;  // the current set last
};

}  // namespace vyn
