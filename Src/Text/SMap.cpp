#include "SMap.h"

namespace vyn {

unsigned StringHashKey(const SString& key, int tableSize) {
    const unsigned h = detail::TextKey(key.c_str()).hash;
    const unsigned size = static_cast<unsigned>(tableSize);
    const bool powerOfTwo = (size & (size - 1)) == 0;
    return size == 0 || powerOfTwo ? h & (size - 1) : h % size;
}

}  // namespace vyn
