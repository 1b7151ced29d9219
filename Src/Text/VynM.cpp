#include "VynM.h"

#include "Text/InitOrder_p.h"

namespace vyn {

VYN_INIT(VYN_INIT_MARKERS) std::vector<std::unordered_set<const void*>> SMapMarker::m_listMarkers;

SMapMarker::SMapMarker() {
    m_listMarkers.emplace_back();
}

SMapMarker::~SMapMarker() {
    m_listMarkers.pop_back();
}

int SMapMarker::Mark(const void* p) {
    return m_listMarkers.back().insert(p).second ? 0 : 1;
}

int SMapMarker::Unmark(const void* p) {
    m_listMarkers.back().erase(p);
    return 0;
}

}  // namespace vyn
