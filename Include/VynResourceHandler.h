#pragma once

/// \file
/// One number space for the strings of many modules. A module reserves a range of numbers under a short
/// prefix, and a handler answers for a span of numbers inside it, so that who holds only a number gets the
/// text with the prefix and the number that users see. Nothing is locked: ranges and handlers are registered
/// while a module starts, and loading a string changes the current resource handle for its duration.

#include "SString.h"

namespace vyn {

/// \brief Answers for a span of string numbers.
class VYN_API IVynResourceHandler {
public:
    /// What became of a request.
    enum SStatus {
        eHandlerFailed = 0,  ///< refused or not found
        eHandlerOk = 1,      ///< done
    };

    /// \param[out] text the plain string \p id; unchanged on failure.
    virtual SStatus GetString(unsigned id, SString& text) const = 0;
    /// \param[out] text string \p id behind the prefix of its module and its number inside the module's
    /// range; unchanged on failure.
    virtual SStatus GetPrefixedString(unsigned id, SString& text) const = 0;
    /// Hands back the span of numbers, both ends included.
    virtual void GetHandledRange(unsigned& first, unsigned& last) const = 0;
    /// \return whether \p id lies in the span.
    virtual bool IsHandled(unsigned id) const = 0;
    virtual ~IVynResourceHandler() = default;
};

/// \brief The usual handler: takes its strings from the resources of one module.
///
/// \code
/// static VynResourceHandler handler(1001, 1500);
/// handler.SetInstance(module);
/// VynModuleManager::RegisterRange("ABC", 1000, 2000);
/// VynModuleManager::RegisterResourceHandler(handler);
/// SString text;
/// NbxGetPrefixedString(1005, text);  // "ABC0005: Disk full"
/// \endcode
class VYN_API VynResourceHandler : public IVynResourceHandler {
public:
    /// Handles the numbers from \p first to \p last, which lie in one registered range. It has no strings
    /// before SetInstance.
    VynResourceHandler(const unsigned first, const unsigned last) : m_nFirst(first), m_nLast(last) {}

    /// \param instance the module whose strings are used; null for none.
    void SetInstance(HINSTANCE instance) { m_hInstance = instance; }

    SStatus GetString(unsigned id, SString& text) const override;
    /// The text is made up of the prefix, the number counted from the start of the range in four digits or
    /// more, ": " and the string. Fails when no registered range holds the whole span.
    SStatus GetPrefixedString(unsigned id, SString& text) const override;
    void GetHandledRange(unsigned& first, unsigned& last) const override;
    bool IsHandled(unsigned id) const override;

private:
    unsigned m_nFirst;
    unsigned m_nLast;
    HINSTANCE m_hInstance = nullptr;
};

/// \brief Keeps the ranges and the handlers of the process.
class VYN_API VynModuleManager {
public:
    /// Reserves the numbers behind \p first up to \p last for a module, for the life of the process. \p first
    /// is the base from which the numbers that users see are counted and may be the last number of another
    /// range. A module that moves changes \p first and \p last but nothing that users see.
    /// \param prefix of the module. Null is refused.
    /// \return eHandlerFailed when \p first is above \p last, when the range collides with another one, and
    /// when the prefix has a range that shares neither end with this one; else eHandlerOk. A prefix that has
    /// a range keeps that in every case.
    static IVynResourceHandler::SStatus RegisterRange(const char* prefix, unsigned first, unsigned last);

    /// Registers a handler for the span that it tells. Registering it again changes nothing and is
    /// eHandlerOk.
    /// \param handler the caller's; outlives its registration.
    /// \return eHandlerFailed when the span shares a number with that of another handler, or when there is
    /// another handler and the span begins behind its end; else eHandlerOk.
    static IVynResourceHandler::SStatus RegisterResourceHandler(const IVynResourceHandler& handler);

    /// Takes this very object out; one that isn't registered is ignored.
    static void UnregisterResourceHandler(const IVynResourceHandler& handler);

    /// \return the handler for the number \p id, the one registered first if several answer for it; null when
    /// there is none. Valid as long as its owner keeps it.
    static const IVynResourceHandler* GetResourceHandler(unsigned id);
};

/// Asks the handler of string \p id for the text with its prefix.
/// \param[out] text unchanged when there is no handler or it fails.
VYN_API void NbxGetPrefixedString(unsigned id, SString& text);

/// \return whether \p id lies in the range, both ends included.
VYN_API bool IsIDInRange(unsigned id, unsigned first, unsigned last);
/// \return whether the first range lies in the outer one, equal ends allowed.
VYN_API bool IsRangeContained(unsigned first, unsigned last, unsigned outerFirst, unsigned outerLast);
/// \return whether an end of either range lies in the other one, both ends included.
VYN_API bool DoRangesOverlap(unsigned first1, unsigned last1, unsigned first2, unsigned last2);

}  // namespace vyn
