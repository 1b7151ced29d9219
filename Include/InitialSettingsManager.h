#pragma once

/// \file
/// The predefined option files: the small manager that reads their list, and lists of option addresses with
/// which a tool asks whether they fit a manager. For the start-up of the main thread; nothing here locks.
/// COptionManager::LoadPredefinedOptionFiles stands in VynOption.h.

#include "SPathName.h"
#include "SString.h"
#include "VynM.h"
#include "VynOption.h"

namespace vyn {

/// Sets \p path to `init.zop` in the all-users shared data directory, which is created. Unchanged when that
/// directory isn't known, since "ZROOT" is unset.
VYN_API void GetInitialOptionsPath(SPathName& path);

/// \brief The short-lived manager that reads `init.zop`.
///
/// It declares the one option that names the predefined files, and the empty category `Settings`.
class VYN_API CInitialSettingsManager : public COptionManager {
public:
    CInitialSettingsManager();
    ~CInitialSettingsManager() override;

    /// \return the list of predefined files, separated by `;`: what the loaded `init.zop` says, else
    /// "user.zop;company.zop". Valid until the manager or its files change.
    const char* GetPredefinedOptionFiles();
};

/// \brief The address of one option.
class VYN_API COptionDescription {
public:
    /// Copies the texts.
    /// \param key path of the category.
    /// \param name name of the option.
    COptionDescription(const char* key, const char* name) : m_strName(name), m_strKey(key) {}
    virtual ~COptionDescription() = default;

    /// \return the name of the option; lives as long as this object.
    const char* GetName() const { return m_strName.c_str(); }
    /// \return the path of its category; lives as long as this object.
    const char* GetKey() const { return m_strKey.c_str(); }

private:
    SString m_strName;
    SString m_strKey;
};

/// \brief A list of option addresses, filled by a tool.
///
/// As with every list the elements aren't owned; Empty destroys them.
class VYN_API COptionDescriptionList : public MList<COptionDescription*> {
public:
    /// \param manager not null.
    /// \return 1 when the list is empty or \p manager declares at least one of its options, else 0.
    int IsCompatibleWith(COptionManager* manager);
    /// \return 1 when key, `/` and name of an element are exactly \p path, else 0.
    int FindOption(const char* path);
    /// Destroys every element, then empties the list.
    void Empty();
};

}  // namespace vyn
