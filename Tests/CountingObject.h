#pragma once

/// \file
/// An object of the runtime that tests count the references of. It has two interfaces with an IUnknown each,
/// so that the pointers to it differ.

#include <atomic>
#include <list>
#include <string>

#include "ZemAPICommon.h"

namespace vyn {

class IModelElement : public k4::IUnknown {
public:
    virtual const char* GetName() = 0;

    static constexpr k4::GUID guid_ = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};

protected:
    ~IModelElement() = default;
};

/// Starts with one reference, of whoever made it, and isn't destroyed by the last Release. Threads may share it.
class CountingObject final : public k4::IObjectInfo, public IModelElement {
public:
    void QueryInterface(const k4::GUID& guid, void** out) override {
        *out = nullptr;
        if (guid == k4::IUnknown::guid_) {
            *out = Canonical();
        } else if (guid == k4::IObjectInfo::guid_ && m_bHasInfo) {
            *out = static_cast<k4::IObjectInfo*>(this);
        } else if (guid == IModelElement::guid_) {
            *out = static_cast<IModelElement*>(this);
        }
        if (m_bRefusesAll) {
            *out = nullptr;
        } else if (*out) {
            AddRef();
        }
    }
    unsigned long AddRef() override { return static_cast<unsigned long>(++m_nReferences); }
    unsigned long Release() override { return static_cast<unsigned long>(--m_nReferences); }
    void GetInterfaceNames(std::list<std::string>& names) override {
        names.insert(names.end(), m_listNames.begin(), m_listNames.end());
    }
    const char* GetName() override { return "counted"; }

    k4::IUnknown* Canonical() { return static_cast<k4::IObjectInfo*>(this); }
    k4::IUnknown* ThroughOtherInterface() { return static_cast<IModelElement*>(this); }

    std::atomic<int> m_nReferences{1};
    std::list<std::string> m_listNames = {"IModelElement", "IOther"};
    bool m_bHasInfo = true;
    bool m_bRefusesAll = false;
};

}  // namespace vyn
