#pragma once

#include <memory>

#include "platform/mfc/collections.h"
#include "platform/os/libraries.h"

// The module's texts in one language, from a DLL of string resources (docs/formats/bundle.md).
// Texts and paths, which are Windows paths, are in the system code page.
class CRLanguageBundle {
  public:
    explicit CRLanguageBundle(platform::Libraries& libraries) : m_libraries(libraries) {}

    // Frees a loaded bundle, then tries the file base + code + ".dll" in the folder `path`, or
    // where the system looks if that is empty. The codes are `language`, `altLanguage` and, unless
    // `noFallback`, EN, DE, FR, ES, IT, PT, JP. False if none is found or an argument is null.
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
