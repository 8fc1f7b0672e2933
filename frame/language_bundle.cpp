#include "frame/language_bundle.h"

#include <string>
#include <vector>

namespace {

constexpr const char* kKnownLanguages[] = {"EN", "DE", "FR", "ES", "IT", "PT", "JP"};
constexpr std::size_t kTextLimit = 1023;  // bytes of a string that come through

}  // namespace

bool CRLanguageBundle::Load(const char* base, const char* path, const char* language,
                            const char* altLanguage, bool noFallback) {
    m_hBundle.reset();
    m_csCurrent.Empty();
    if (base == nullptr || path == nullptr || language == nullptr || altLanguage == nullptr) {
        return false;
    }
    const std::string front = *path != '\0' ? std::string(path) + '\\' + base : base;
    std::vector<std::string> codes{language, altLanguage};
    if (!noFallback)
        codes.insert(codes.end(), std::begin(kKnownLanguages), std::end(kKnownLanguages));
    for (const std::string& code : codes) {
        if (code.empty()) continue;
        auto bundle = m_libraries.LoadResources(front + code + ".dll");
        if (!bundle) continue;
        m_hBundle = std::move(*bundle);
        m_csCurrent = code;
        return true;
    }
    return false;
}

bool CRLanguageBundle::LoadString(unsigned id, CString& out) const {
    out = m_hBundle ? CString(m_hBundle->Text(id, kTextLimit)) : CString();
    return !out.IsEmpty();
}
