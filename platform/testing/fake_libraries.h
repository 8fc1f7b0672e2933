#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/os/libraries.h"
#include "platform/os/not_copied.h"
#include "text/ascii.h"
#include "text/double_byte.h"

namespace platform::testing {

// Libraries with the symbols and strings that a test gives them, found by their paths in any case.
// The destructor unloads those that are still loaded, as the end of a process does.
class FakeLibraries : public Libraries, NotCopied {
  public:
    using Symbols = std::map<std::string, void*>;
    using Strings = std::map<unsigned, std::string>;

    ~FakeLibraries() override {
        for (Library* library : std::exchange(m_live, {})) delete library;
    }

    void AddLibrary(std::string_view path, Symbols symbols) {
        m_libraries[text::Lowered(path)] = std::move(symbols);
    }
    void AddResources(std::string_view path, Strings strings) {
        m_resources[text::Lowered(path)] = std::move(strings);
    }
    // The number of loaded libraries, and the paths of all attempts in their order.
    long LoadedCount() const {
        return static_cast<long>(m_live.size()) + m_resourceToken.use_count() - 1;
    }
    const std::vector<std::string>& Tries() const { return m_tries; }

    Result<std::unique_ptr<Library>> Load(std::string_view path) override {
        return Make<FakeLibrary, Library>(m_libraries, path);
    }
    Result<std::unique_ptr<StringResources>> LoadResources(std::string_view path) override {
        return Make<FakeResources, StringResources>(m_resources, path);
    }

    unsigned codePage = 1252;  // decides where a text may be cut

  private:
    struct FakeLibrary : Library, private NotCopied {
        FakeLibrary(FakeLibraries& all, Symbols known)
            : symbols(std::move(known)), live(all.m_live) {
            live.insert(this);
        }
        ~FakeLibrary() override { live.erase(this); }
        void* Symbol(const char* name) override {
            const auto found = symbols.find(name);
            return found == symbols.end() ? nullptr : found->second;
        }
        Symbols symbols;
        std::set<Library*>& live;
    };

    struct FakeResources : StringResources {
        FakeResources(FakeLibraries& all, Strings known)
            : strings(std::move(known)), codePage(all.codePage), token(all.m_resourceToken) {}
        std::string Text(unsigned id, std::size_t limit) override {
            const auto found = strings.find(id);
            if (found == strings.end()) return {};
            return found->second.substr(0,
                                        text::WholeCharacterPrefix(found->second, limit, codePage));
        }
        Strings strings;
        unsigned codePage;
        std::shared_ptr<int> token;
    };

    template <class Fake, class Base, class Content>
    Result<std::unique_ptr<Base>> Make(const std::map<std::string, Content>& known,
                                       std::string_view path) {
        m_tries.emplace_back(path);
        const auto found = known.find(text::Lowered(path));
        if (found == known.end()) return Failure{ErrorCode::kNotFound, std::string(path)};
        return std::unique_ptr<Base>(std::make_unique<Fake>(*this, found->second));
    }

    std::map<std::string, Symbols> m_libraries;
    std::map<std::string, Strings> m_resources;
    std::vector<std::string> m_tries;
    const std::shared_ptr<int> m_resourceToken = std::make_shared<int>();  // each open one has it
    std::set<Library*> m_live;
};

}  // namespace platform::testing
