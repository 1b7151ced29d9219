#include "SMap.h"

namespace vyn {

unsigned StringHashKey(const SString& key, int tableSize) {
    const unsigned h = detail::TextKey(key.c_str()).hash;
    const unsigned size = static_cast<unsigned>(tableSize);
    const bool powerOfTwo = size != 0 && (size & (size - 1)) == 0;
    return powerOfTwo ? h & (size - 1) : h % size;
}

}  // namespace vyn
