#include "Rg/AddressTable_p.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "Rg/RgFile_p.h"
#include "Rg/StructureStamp_p.h"

namespace vyn::detail {

namespace {

uint64_t Mix(uint64_t hash, uint64_t word) {
    hash = (hash ^ word) * 0x9E3779B97F4A7C15u;
    return hash ^ (hash >> 32);
}

template <class Word>
Word Load(const char* text) {
    Word word;
    memcpy(&word, text, sizeof word);
    return word;
}

// Takes eight bytes at a time; the last words may overlap, so that no byte behind the text is read.
uint64_t HashText(uint64_t hash, const char* text, size_t length) {
    hash = Mix(hash, length);
    if (length >= 8) {
        for (size_t i = 0; i + 8 < length; i += 8) {
            hash = Mix(hash, Load<uint64_t>(text + i));
        }
        return Mix(hash, Load<uint64_t>(text + length - 8));
    }
    if (length >= 4) {
        const uint64_t first = Load<uint32_t>(text);
        return Mix(hash, first << 32 | Load<uint32_t>(text + length - 4));
    }
    if (length == 0) {
        return hash;
    }
    const unsigned char first = static_cast<unsigned char>(text[0]);
    const unsigned char middle = static_cast<unsigned char>(text[length / 2]);
    const unsigned char last = static_cast<unsigned char>(text[length - 1]);
    return Mix(hash, static_cast<uint64_t>(first) << 16 | static_cast<uint64_t>(middle) << 8 | last);
}

}  // namespace

Address::Address(const char* key, const char* name)
    : m_szKey(key),
      m_szName(name),
      m_nKeyLength(strlen(key)),
      m_nNameLength(strlen(name)),
      m_nHash(HashText(HashText(0, key, m_nKeyLength), name, m_nNameLength)) {}

bool AddressTable::Entry::IsAt(const Address& address) const {
    return m_nKeyLength == address.m_nKeyLength && m_nNameLength == address.m_nNameLength &&
           memcmp(Text(), address.m_szKey, m_nKeyLength) == 0 &&
           memcmp(Text() + m_nKeyLength, address.m_szName, m_nNameLength) == 0;
}

void AddressTable::SetOrigin(uintptr_t origin) {
    if (m_nOrigin != origin) {
        Clear();
        m_nOrigin = origin;
    }
}

const AddressTable::Entry* AddressTable::Find(const Address& address) const {
    const Entry* entry = m_slots.empty() ? nullptr : m_slots[FindSlot(address)].m_pEntry;
    return entry && StructureStamp::IsCurrent(entry->m_nStamp) ? entry : nullptr;
}

void AddressTable::Remember(const Address& address, uint64_t stamp, const COption* declared, CRgValue* const* values,
                            size_t count) {
    if (address.m_nKeyLength >= kKeyElementSize || address.m_nNameLength >= kKeyElementSize) {
        return;
    }
    MakeRoom();
    Slot& slot = m_slots[FindSlot(address)];
    if (!slot.m_pEntry || slot.m_pEntry->m_nCapacity < count) {
        m_nUsed += slot.m_pEntry ? 0 : 1;
        ::operator delete(slot.m_pEntry);
        slot = {MakeEntry(address, count), address.m_nHash};
    }
    slot.m_pEntry->m_nStamp = stamp;
    slot.m_pEntry->m_pDeclared = declared;
    slot.m_pEntry->m_nValues = static_cast<unsigned>(count);
    std::copy_n(values, count, reinterpret_cast<CRgValue**>(slot.m_pEntry + 1));
}

AddressTable::Entry* AddressTable::MakeEntry(const Address& address, size_t capacity) {
    // NOLINTNEXTLINE(bugprone-sizeof-expression): the entry is followed by pointers.
    const size_t head = sizeof(Entry) + capacity * sizeof(CRgValue*);
    char* memory = static_cast<char*>(::operator new(head + address.m_nKeyLength + address.m_nNameLength));
    memcpy(memory + head, address.m_szKey, address.m_nKeyLength);
    memcpy(memory + head + address.m_nKeyLength, address.m_szName, address.m_nNameLength);
    return new (memory) Entry{0,
                              nullptr,
                              0,
                              static_cast<unsigned>(capacity),
                              static_cast<unsigned>(address.m_nKeyLength),
                              static_cast<unsigned>(address.m_nNameLength)};
}

// The slot of the address, or the free one where it belongs.
size_t AddressTable::FindSlot(const Address& address) const {
    const size_t mask = m_slots.size() - 1;
    size_t i = address.m_nHash & mask;
    while (m_slots[i].m_pEntry && !(m_slots[i].m_nHash == address.m_nHash && m_slots[i].m_pEntry->IsAt(address))) {
        i = (i + 1) & mask;
    }
    return i;
}

// Leaves a quarter of the slots free. What is stale is dropped first: a table is as large as what is looked up
// between two changes.
void AddressTable::MakeRoom() {
    if ((m_nUsed + 1) * 4 <= m_slots.size() * 3) {
        return;
    }
    std::vector<Slot> kept;
    for (const Slot& slot : m_slots) {
        if (slot.m_pEntry && StructureStamp::IsCurrent(slot.m_pEntry->m_nStamp)) {
            kept.push_back(slot);
        } else {
            ::operator delete(slot.m_pEntry);
        }
    }
    size_t size = 16;
    while (size < kept.size() * 2) {
        size *= 2;
    }
    m_slots.assign(size, Slot{nullptr, 0});
    m_nUsed = kept.size();
    for (const Slot& slot : kept) {
        size_t i = slot.m_nHash & (size - 1);
        while (m_slots[i].m_pEntry) {
            i = (i + 1) & (size - 1);
        }
        m_slots[i] = slot;
    }
}

void AddressTable::Clear() {
    for (const Slot& slot : m_slots) {
        ::operator delete(slot.m_pEntry);
    }
    m_slots.clear();
    m_nUsed = 0;
}

}  // namespace vyn::detail
