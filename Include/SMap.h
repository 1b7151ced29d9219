#pragma once

/// \file
/// The library's hash map and the hash of its text keys. A map holds values as they are and never owns what a
/// pointer among them points to. No locks: each map belongs to one thread at a time.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "SString.h"

namespace vyn {

/// The hash of all maps with text keys: `h = h * 33 + c` in 32 bits over the bytes of \p key up to its first
/// NUL, each taken as a signed char; then a mask when \p tableSize is a power of two, else a modulo.
/// \param tableSize number of buckets, at least 1.
/// \return the bucket.
VYN_API unsigned StringHashKey(const SString& key, int tableSize);

namespace detail {

// A text key with what one walk over it tells: its length up to the first NUL, and the 32 bits of
// StringHashKey before they are reduced to a bucket.
struct TextKey {
    explicit TextKey(const char* key) : text(key) {
        const char* p = key;
        for (; *p; ++p) {
            hash = hash * 33 + static_cast<unsigned>(static_cast<signed char>(*p));
        }
        length = static_cast<size_t>(p - key);
    }
    const char* text;
    size_t length;
    unsigned hash = 0;
};

// Hash and equality of the keys: the numeric form serves integers and pointers.
template <class K>
struct MapKey {
    static size_t Hash(K key) { return static_cast<size_t>(ToNumber(key) >> 2); }
    static bool Equal(K a, K b) { return a == b; }
    static K Make(K key) { return key; }

private:
    static uintptr_t ToNumber(K key) {
        if constexpr (std::is_pointer_v<K>) {
            return reinterpret_cast<uintptr_t>(key);
        } else {
            return static_cast<uintptr_t>(key);
        }
    }
};

template <>
struct MapKey<SString> {
    static size_t Hash(const SString& key) { return TextKey(key.c_str()).hash; }
    static size_t Hash(const TextKey& key) { return key.hash; }
    static bool Equal(const SString& a, const SString& b) { return a == b; }
    static bool Equal(const SString& a, const TextKey& b) {
        return a.length() == b.length && memcmp(a.data(), b.text, b.length) == 0;
    }
    static const SString& Make(const SString& key) { return key; }
    static const char* Make(const TextKey& key) { return key.text; }
};

}  // namespace detail

/// \brief Hash map with 31 buckets, walked by an opaque position.
///
/// The table is made at the first insertion, so that an empty map costs no memory. Entries come out bucket by
/// bucket and within a bucket in the order of insertion: the order depends on the keys and on nothing else. A
/// map that grows large gets an index beside its chains, so that a look-up stays one hash and a short walk.
///
/// A position is ended by removing its entry. Maps aren't copied.
template <class K, class V>
class VYN_API MMap {
public:
    constexpr MMap() = default;
    MMap(const MMap&) = delete;
    MMap& operator=(const MMap&) = delete;
    virtual ~MMap() { RemoveAll(); }

    /// \param[out] value unchanged when \p key is absent.
    /// \return 1 when \p key is present, else 0.
    int Lookup(const K& key, V& value) const { return Get(FindNode(key), value); }
    /// The same for a map with SString keys, with no SString made. \p key isn't null.
    template <class Key = K>
    auto Lookup(const char* key, V& value) const -> decltype(detail::MapKey<Key>::Hash(detail::TextKey(key)), int()) {
        return m_ppTable ? Get(FindNode(detail::TextKey(key)), value) : 0;
    }
    /// \return the number of entries.
    int GetCount() const { return m_nCount; }
    /// \return the first position; null when the map is empty.
    void* GetStartPosition() const { return m_nCount == 0 ? nullptr : FirstNode(0); }
    /// Copies the entry at \p pos.
    /// \param[in,out] pos moves to the next entry or to null. Not null.
    void GetNextAssoc(void*& pos, K& key, V& value) const {
        MapNode* node = static_cast<MapNode*>(pos);
        key = node->key;
        value = node->value;
        pos = node->next ? node->next : FirstNode(node->bucket + 1);
    }

    /// \return the value of \p key, which is inserted with a value of zero when it is missing; valid until
    /// the entry is removed.
    V& operator[](const K& key) { return GetOrAdd(key); }
    /// The same for a map with SString keys, with no SString made for an entry that is there. \p key isn't
    /// null.
    template <class Key = K>
    auto operator[](const char* key) -> decltype(detail::MapKey<Key>::Hash(detail::TextKey(key)), std::declval<V&>()) {
        return GetOrAdd(detail::TextKey(key));
    }
    /// The value itself isn't destroyed.
    /// \return 1 when the entry was removed, 0 when \p key is absent.
    int RemoveKey(const K& key) {
        MapNode* node = FindNode(key);
        if (!node) {
            return 0;
        }
        Unlink(node);
        if (m_pIndex) {
            m_pIndex->Remove(node);
        }
        delete node;
        --m_nCount;
        return 1;
    }
    /// Frees all entries and the table. The values themselves aren't destroyed.
    void RemoveAll() {
        for (MapNode* node = m_ppTable ? FirstNode(0) : nullptr; node;) {
            MapNode* next = node->next ? node->next : FirstNode(node->bucket + 1);
            delete node;
            node = next;
        }
        delete m_pIndex;
        m_pIndex = nullptr;
        delete[] m_ppTable;
        m_ppTable = nullptr;
        m_nCount = 0;
    }

private:
    static constexpr int kBuckets = 31;
    static constexpr int kIndexedFrom = 8 * kBuckets;

    struct MapNode {
        MapNode* next;
        MapNode* previous;  // of the first node of a chain the last one
        unsigned bucket;
        unsigned hash;  // what 32 bits hold of it, to tell most keys apart without a look at them
        K key;
        V value;
        MapNode* indexNext;
    };

    // A second table over the same nodes, which grows with the map.
    struct Index {
        explicit Index(size_t size) : buckets(new MapNode* [size] {}), mask(size - 1) {}
        Index(const Index&) = delete;
        Index& operator=(const Index&) = delete;
        ~Index() { delete[] buckets; }

        MapNode*& Head(unsigned hash) const { return buckets[(hash ^ (hash >> 15)) & mask]; }
        void Add(MapNode* node) {
            MapNode*& head = Head(node->hash);
            node->indexNext = head;
            head = node;
        }
        void Remove(MapNode* node) {
            MapNode** link = &Head(node->hash);
            while (*link != node) {
                link = &(*link)->indexNext;
            }
            *link = node->indexNext;
        }

        MapNode** buckets;
        size_t mask;
    };

    static int Get(const MapNode* node, V& value) {
        if (!node) {
            return 0;
        }
        value = node->value;
        return 1;
    }

    template <class Q>
    MapNode* FindNode(const Q& key) const {
        return m_ppTable ? FindNode(key, detail::MapKey<K>::Hash(key)) : nullptr;
    }
    template <class Q>
    MapNode* FindNode(const Q& key, size_t hash) const {
        const unsigned hash32 = static_cast<unsigned>(hash);
        if (m_pIndex) {
            for (MapNode* node = m_pIndex->Head(hash32); node; node = node->indexNext) {
                if (node->hash == hash32 && detail::MapKey<K>::Equal(node->key, key)) {
                    return node;
                }
            }
            return nullptr;
        }
        for (MapNode* node = m_ppTable ? m_ppTable[hash % kBuckets] : nullptr; node; node = node->next) {
            if (node->hash == hash32 && detail::MapKey<K>::Equal(node->key, key)) {
                return node;
            }
        }
        return nullptr;
    }

    MapNode* FirstNode(unsigned bucket) const {
        for (; bucket < static_cast<unsigned>(m_nBuckets); ++bucket) {
            if (m_ppTable[bucket]) {
                return m_ppTable[bucket];
            }
        }
        return nullptr;
    }

    template <class Q>
    V& GetOrAdd(const Q& key) {
        const size_t hash = detail::MapKey<K>::Hash(key);
        MapNode* node = FindNode(key, hash);
        return (node ? node : AddNode(key, hash))->value;
    }

    template <class Q>
    MapNode* AddNode(const Q& key, size_t hash) {
        if (!m_ppTable) {
            m_ppTable = new MapNode* [kBuckets] {};
        }
        const unsigned bucket = static_cast<unsigned>(hash % kBuckets);
        MapNode* node = new MapNode{nullptr, nullptr, bucket, static_cast<unsigned>(hash), detail::MapKey<K>::Make(key),
                                    V(),     nullptr};
        Link(node);
        ++m_nCount;
        if (m_pIndex && m_nCount <= static_cast<int>(m_pIndex->mask)) {
            m_pIndex->Add(node);
        } else if (m_pIndex || m_nCount >= kIndexedFrom) {
            MakeIndex();
        }
        return node;
    }

    // Appends `node` to its chain.
    void Link(MapNode* node) {
        MapNode*& head = m_ppTable[node->bucket];
        if (!head) {
            head = node;
        } else {
            node->previous = head->previous;
            head->previous->next = node;
        }
        head->previous = node;
    }
    void Unlink(MapNode* node) {
        MapNode*& head = m_ppTable[node->bucket];
        (node == head ? head : node->previous->next) = node->next;
        if (MapNode* follower = node->next ? node->next : head) {
            follower->previous = node->previous;
        }
    }

    // Indexes all entries anew, with room for twice as many.
    void MakeIndex() {
        size_t size = m_pIndex ? (m_pIndex->mask + 1) * 2 : 1024;
        delete m_pIndex;
        m_pIndex = nullptr;
        Index* index = new Index(size);
        for (MapNode* node = FirstNode(0); node;) {
            index->Add(node);
            node = node->next ? node->next : FirstNode(node->bucket + 1);
        }
        m_pIndex = index;
    }

    MapNode** m_ppTable = nullptr;
    int m_nBuckets = kBuckets;
    int m_nCount = 0;
    Index* m_pIndex = nullptr;  // null while the map is small
};

}  // namespace vyn
