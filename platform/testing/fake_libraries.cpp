#include "platform/testing/fake_libraries.h"

#include <utility>

#include "text/ascii.h"
#include "text/double_byte.h"

namespace platform::testing {

namespace {

class FakeLibrary : public Library {
  public:
    FakeLibrary(std::map<std::string, void*> symbols, std::set<Library*>& live)
        : m_symbols(std::move(symbols)), m_live(live) {
        m_live.insert(this);
    }
    FakeLibrary(const FakeLibrary&) = delete;
    FakeLibrary& operator=(const FakeLibrary&) = delete;
    ~FakeLibrary() override { m_live.erase(this); }
    void* Symbol(const char* name) override {
        const auto found = m_symbols.find(name);
        return found == m_symbols.end() ? nullptr : found->second;
    }

  private:
    std::map<std::string, void*> m_symbols;
    std::set<Library*>& m_live;
};

class FakeResources : public StringResources {
  public:
    FakeResources(FakeLibraries::Strings strings, unsigned codePage, std::shared_ptr<int> token)
        : m_strings(std::move(strings)), m_codePage(codePage), m_token(std::move(token)) {}
    std::string Text(unsigned id, std::size_t limit) override {
        const auto found = m_strings.find(id);
        if (found == m_strings.end()) return {};
        return found->second.substr(0,
                                    text::WholeCharacterPrefix(found->second, limit, m_codePage));
    }

  private:
    FakeLibraries::Strings m_strings;
    unsigned m_codePage;
    std::shared_ptr<int> m_token;
};

}  // namespace

FakeLibraries::~FakeLibraries() {
    for (Library* library : std::exchange(m_live, {})) delete library;
}

void FakeLibraries::AddLibrary(std::string_view path, std::map<std::string, void*> symbols) {
    m_libraries[text::Lowered(path)] = std::move(symbols);
}

void FakeLibraries::AddResources(std::string_view path, Strings strings) {
    m_resources[text::Lowered(path)] = std::move(strings);
}

Result<std::unique_ptr<Library>> FakeLibraries::Load(std::string_view path) {
    m_tries.emplace_back(path);
    const auto found = m_libraries.find(text::Lowered(path));
    if (found == m_libraries.end()) return Failure{ErrorCode::kNotFound, std::string(path)};
    return std::unique_ptr<Library>(std::make_unique<FakeLibrary>(found->second, m_live));
}

Result<std::unique_ptr<StringResources>> FakeLibraries::LoadResources(std::string_view path) {
    m_tries.emplace_back(path);
    const auto found = m_resources.find(text::Lowered(path));
    if (found == m_resources.end()) return Failure{ErrorCode::kNotFound, std::string(path)};
    return std::unique_ptr<StringResources>(
        std::make_unique<FakeResources>(found->second, codePage, m_resourceToken));
}

}  // namespace platform::testing
