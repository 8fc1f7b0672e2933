#include "frame/language_bundle.h"

#include <string>

namespace {

constexpr const char* kKnownLanguages[] = {"EN", "DE", "FR", "ES", "IT", "PT", "JP"};
constexpr std::size_t kTextLimit = 1023;  // bytes of a string that come through

}  // namespace

bool CRLanguageBundle::Load(const char* base, const char* path, const char* language,
                            const char* altLanguage, bool noFallback) {
    m_hBundle.reset();
    if (base == nullptr || path == nullptr || language == nullptr || altLanguage == nullptr) {
        return false;
    }
    m_csBase = base;
    m_csPath = path;
    m_csRequested = language;
    m_csCurrent = language;
    if (TryLoad()) return true;
    m_csCurrent = altLanguage;
    if (TryLoad()) return true;
    if (!noFallback) {
        for (const char* known : kKnownLanguages) {
            m_csCurrent = known;
            if (TryLoad()) return true;
        }
    }
    m_csCurrent.Empty();
    return false;
}

bool CRLanguageBundle::LoadString(unsigned id, CString& out) const {
    out = m_hBundle ? CString(m_hBundle->Text(id, kTextLimit)) : CString();
    return !out.IsEmpty();
}

bool CRLanguageBundle::TryLoad() {
    if (m_csCurrent.IsEmpty()) return false;
    std::string file = m_csBase.Str() + m_csCurrent.Str() + ".dll";
    if (!m_csPath.IsEmpty()) file = m_csPath.Str() + '\\' + file;
    auto bundle = m_libraries.LoadResources(file);
    if (bundle) m_hBundle = std::move(*bundle);
    return bundle.HasValue();
}
