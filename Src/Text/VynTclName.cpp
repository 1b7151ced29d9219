#include "VynTclName.h"

namespace vyn {

void VynGetLegalTclName(const SString& name, SString& legal) {
    legal = name;
    for (size_t pos = 0; (pos = legal.find_first_of("{}\\/[]\"'$;: ", pos)) != SString::npos;) {
        legal[pos] = '_';
    }
}

}  // namespace vyn
