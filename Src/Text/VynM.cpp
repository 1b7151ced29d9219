#include "VynM.h"

#include "Text/InitOrder_p.h"

namespace vyn {

namespace {

SVector<void*>& ToSet(void* element) {
    return *static_cast<SVector<void*>*>(element);
}

}  // namespace

VYN_INIT(VYN_INIT_MARKERS) SVector<void*> SMapMarker::m_listMarkers;

SMapMarker::SMapMarker() {
    m_listMarkers.insert(m_listMarkers.begin(), new SVector<void*>);
}

SMapMarker::~SMapMarker() {
    delete &ToSet(m_listMarkers.front());
    m_listMarkers.erase(m_listMarkers.begin());
}

int SMapMarker::Mark(const void* p) {
    SVector<void*>& current = ToSet(m_listMarkers.front());
    void* element = const_cast<void*>(p);
    if (current.Find(element)) {
        return 1;
    }
    current.push_back(element);
    return 0;
}

int SMapMarker::Unmark(const void* p) {
    SVector<void*>& current = ToSet(m_listMarkers.front());
    auto found = std::find(current.begin(), current.end(), p);
    if (found != current.end()) {
        current.erase(found);
    }
    return 0;
}

}  // namespace vyn
