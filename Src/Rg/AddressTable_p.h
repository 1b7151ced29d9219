#pragma once

/// \file
/// Remembers where the value at an address, a key path and a name, was found, so that the next look-up costs one
/// hash in place of a walk. A table belongs to one thread at a time.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vyn {

class CRgValue;
struct COption;

namespace detail {

/// A key path and a name, hashed once. The texts belong to the caller.
struct Address {
    Address(const char* key, const char* name);

    const char* m_szKey;
    const char* m_szName;
    size_t m_nKeyLength;
    size_t m_nNameLength;
    uint64_t m_nHash;
};

/// \brief Hash table from addresses to what a look-up found there.
///
/// What it found holds until the structure of any tree changes, which the stamp of the entry tells. A change
/// throws nothing away: a stale entry is renewed by the next look-up of its address, or dropped when the table
/// needs room, so that the table doesn't outgrow what is looked up between two changes.
class AddressTable {
public:
    /// What was found: the values in stack order, or the declared option.
    struct Entry {
        CRgValue* const* Values() const { return reinterpret_cast<CRgValue* const*>(this + 1); }
        const char* Text() const { return reinterpret_cast<const char*>(Values() + m_nCapacity); }
        bool IsAt(const Address& address) const;

        uint64_t m_nStamp;
        const COption* m_pDeclared;
        unsigned m_nValues;
        unsigned m_nCapacity;  // of the values, which follow the entry; behind them key and name
        unsigned m_nKeyLength;
        unsigned m_nNameLength;
    };

    AddressTable() = default;
    AddressTable(const AddressTable&) = delete;
    AddressTable& operator=(const AddressTable&) = delete;
    ~AddressTable() { Clear(); }

    /// Forgets everything when \p origin isn't that of the call before: it stands for what all look-ups start
    /// from and no stamp tells.
    void SetOrigin(uintptr_t origin);
    /// \return what is known of \p address; null when that is nothing or may have changed. Lasts until Remember
    /// or SetOrigin is called.
    const Entry* Find(const Address& address) const;
    /// Remembers what a walk found. An address whose elements may be longer than a key has room for isn't
    /// remembered, since each look-up of it reports the error anew.
    /// \param stamp taken before the walk.
    /// \param declared may be null.
    void Remember(const Address& address, uint64_t stamp, const COption* declared, CRgValue* const* values,
                  size_t count);

private:
    struct Slot {
        Entry* m_pEntry;  // null in a free slot
        uint64_t m_nHash;
    };

    static Entry* MakeEntry(const Address& address, size_t capacity);
    size_t FindSlot(const Address& address) const;
    void MakeRoom();
    void Clear();

    std::vector<Slot> m_slots;  // none, or a power of two with free ones among them
    size_t m_nUsed = 0;
    uintptr_t m_nOrigin = 0;
};

}  // namespace detail
}  // namespace vyn
