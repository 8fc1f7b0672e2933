#pragma once

#include <memory>

#include "platform/mfc/collections.h"
#include "platform/os/libraries.h"

// The DLL of string resources that holds the module's texts in one language, in the system code
// page.
class CRLanguageBundle {
  public:
    explicit CRLanguageBundle(platform::Libraries& libraries) : m_libraries(libraries) {}

    // Frees a loaded bundle, then tries path\base + code + .dll (base + code + .dll where the
    // system looks, if the path is empty) for `language`, `altLanguage` and, unless `noFallback`,
    // the known codes EN, DE, FR, ES, IT, PT, JP. False if none is found or an argument is null.
    bool Load(const char* base, const char* path, const char* language, const char* altLanguage,
              bool noFallback);
    // At most 1023 bytes. False, and an empty text, if there is no such string or no bundle.
    bool LoadString(unsigned id, CString& out) const;

    const CString& Current() const { return m_csCurrent; }  // code in use, empty if none

  private:
    platform::Libraries& m_libraries;
    std::unique_ptr<platform::StringResources> m_hBundle;
    CString m_csCurrent;
};
