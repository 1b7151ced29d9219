#pragma once

/// \file
/// The interfaces of the object runtime `k4` as far as this library calls them, the pointer that holds one of
/// them, and the way in which API errors are thrown. Distinct objects are independent; ThrowAPIError keeps
/// its message in one place for the whole process.

#include <list>
#include <string>
#include <utility>

#include "VynGuid.h"

namespace k4 {

/// \brief What every object of the runtime is reached through.
///
/// Objects count their references and end with the last one; nobody deletes them through an interface.
class VYN_API IUnknown {
public:
    /// Asks the object for another of its interfaces. IUnknown::guid_ gives the canonical pointer, the same
    /// one through all interfaces of an object.
    /// \param[out] out a pointer to the interface, which holds one reference for the caller, or null when the
    /// object doesn't have it. Not null itself.
    virtual void QueryInterface(const GUID& guid, void** out) = 0;
    /// Adds a reference. \return how many there are now; for diagnostics only.
    virtual unsigned long AddRef() = 0;
    /// Gives a reference up. \return how many are left; for diagnostics only.
    virtual unsigned long Release() = 0;

    /// 2F51008E-98A4-4939-A5BF-6529ED638D89
    static const GUID guid_;

protected:
    ~IUnknown() = default;
};

/// \brief What an object tells about itself.
class VYN_API IObjectInfo : public IUnknown {
public:
    /// Fills \p names with the names of the object's interfaces, the one that stands for it first.
    virtual void GetInterfaceNames(std::list<std::string>& names) = 0;

    /// 961926D5-6FC1-4542-9056-BA3D2D280388
    static const GUID guid_;

protected:
    ~IObjectInfo() = default;
};

/// \brief Holds one reference to an object and gives it up at the end of its life.
/// \code
/// std::list<std::string> names;
/// k4::Ptr<k4::IObjectInfo> info;
/// object->QueryInterface(k4::IObjectInfo::guid_, info.Address());
/// if (info) {
///     info->GetInterfaceNames(names);
/// }
/// \endcode
///
/// It is moved and not copied: who wants a second reference asks for one by AddRef.
template <class T>
class Ptr {
public:
    Ptr() = default;
    /// Takes over one reference of the caller. Null is allowed.
    explicit Ptr(T* object) : m_pObject(object) {}
    /// Takes over the reference of \p other, which is then null.
    Ptr(Ptr&& other) noexcept : m_pObject(std::exchange(other.m_pObject, nullptr)) {}
    /// Gives up what is held and takes over the reference of \p other, which is then null.
    Ptr& operator=(Ptr&& other) noexcept {
        Ptr(std::move(other)).Swap(*this);
        return *this;
    }
    ~Ptr() {
        if (m_pObject) {
            get()->Release();
        }
    }

    /// \return the object or null. It stays alive as long as this holds it.
    T* get() const { return static_cast<T*>(m_pObject); }
    /// \pre it isn't null.
    T* operator->() const { return get(); }
    /// \return false when it is null.
    explicit operator bool() const { return m_pObject != nullptr; }

    /// Gives up what is held.
    /// \return where QueryInterface stores a pointer with a reference, which is then held; valid as long as
    /// this object.
    void** Address() {
        Ptr().Swap(*this);
        return &m_pObject;
    }

private:
    void Swap(Ptr& other) { std::swap(m_pObject, other.m_pObject); }

    void* m_pObject = nullptr;  // a T*, in the type that QueryInterface stores
};

/// Throws \p message as a `const char*`. The text is kept until the next call, by whichever thread, so that
/// it outlives the unwinding of the stack.
[[noreturn]] VYN_API void ThrowAPIError(const std::string& message);

/// \return the text of an error that was caught as a `const char*`; valid until the next ThrowAPIError.
VYN_API const char* GetAPIErrorMessage(const char*& error);

/// \brief Takes over the messages of a stream; see vyn::CMsgOut::SetOutput.
///
/// A tool derives from it to show messages in its own window. The handler stays the tool's and outlives its
/// use.
class VYN_API IMessageOutputHandler {
public:
    /// Receives the whole text that a flush delivers, which may be empty.
    /// \return true when the handler has taken care of the text; false sends it to the console as well.
    virtual bool OnMessage(const std::string& text) = 0;
    /// Called at the end of each flush, also of a stream that is quiet and never calls OnMessage.
    virtual void OnFlush() = 0;
    virtual ~IMessageOutputHandler() = default;
};

}  // namespace k4
