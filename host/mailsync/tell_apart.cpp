#include "host/mailsync/tell_apart.h"

#include <algorithm>
#include <functional>

#include "text/ascii.h"

namespace host::mailsync {

namespace {

// The letters and digits, or if there are none all that is no ASCII.
std::string Essence(std::string_view text) {
    std::string essence, rest;
    for (const char letter : text) {
        if (text::IsLetter(letter) || text::IsDigit(letter)) essence += letter;
        if (static_cast<unsigned char>(letter) >= 0x80) rest += letter;
    }
    return essence.empty() ? rest : text::Lowered(essence);
}

using AreAlike = std::function<bool(const Traits&, const Traits&)>;

constexpr auto kAlikeByName = [](const Traits& a, const Traits& b) {
    return !a.name.empty() && a.name == b.name;
};
constexpr auto kAlikeButForTexts = [](const Traits& a, const Traits& b) {
    return kAlikeByName(a, b) && a.people == b.people;
};
constexpr auto kAlikeInAll = [](const Traits& a, const Traits& b) {
    return kAlikeButForTexts(a, b) && !a.text.empty() && a.text == b.text;
};

class Teller {
  public:
    Teller(const std::vector<Traits>& left, const std::vector<Traits>& right)
        : m_left(left), m_right(right), m_isTaken(right.size(), false) {
        m_telling.rightOf.resize(left.size());
    }

    Telling Tell() {
        if (m_left.size() == 1 && m_right.size() == 1) {
            if (!AreDifferent(m_left[0], m_right[0])) Pair(0, 0);
        } else {
            PairTwins();
            PairUnique(kAlikeButForTexts);
            PairUnique(kAlikeByName);
        }
        for (std::size_t l = 0; l < m_left.size(); ++l) {
            m_telling.isUnclearLeft.push_back(!m_telling.rightOf[l] && HasLeftOver(l));
        }
        for (std::size_t r = 0; r < m_right.size(); ++r) {
            const auto isIt = [&](std::size_t l) {
                return m_telling.isUnclearLeft[l] && MayBe(m_left[l], m_right[r]);
            };
            bool isUnclear = false;
            for (std::size_t l = 0; l < m_left.size() && !m_isTaken[r]; ++l) {
                isUnclear = isUnclear || isIt(l);
            }
            m_telling.isUnclearRight.push_back(isUnclear);
        }
        return std::move(m_telling);
    }

  private:
    static bool MayBe(const Traits& a, const Traits& b) {
        return a.name == b.name || a.name.empty() || b.name.empty();
    }

    static bool AreDifferent(const Traits& a, const Traits& b) {
        return !MayBe(a, b) && (a.text.empty() || a.text != b.text);
    }

    void Pair(std::size_t left, std::size_t right) {
        m_telling.rightOf[left] = right;
        m_isTaken[right] = true;
    }

    bool HasLeftOver(std::size_t left) const {
        for (std::size_t r = 0; r < m_right.size(); ++r) {
            if (!m_isTaken[r] && MayBe(m_left[left], m_right[r])) return true;
        }
        return false;
    }

    // Of those that are alike in all any may be taken for any; those with most ties in common are.
    void PairTwins() {
        std::size_t ties = 0;
        for (const Traits& one : m_left) ties = std::max(ties, one.ties.size());
        for (std::size_t tie = 0; tie <= ties; ++tie) {
            PairEach([&](const Traits& a, const Traits& b) {
                const bool isTied = tie == ties || (tie < a.ties.size() && tie < b.ties.size() &&
                                                    a.ties[tie] == b.ties[tie]);
                return isTied && kAlikeInAll(a, b);
            });
        }
    }
    void PairEach(const AreAlike& areAlike) {
        for (std::size_t l = 0; l < m_left.size(); ++l) {
            for (std::size_t r = 0; r < m_right.size() && !m_telling.rightOf[l]; ++r) {
                if (!m_isTaken[r] && areAlike(m_left[l], m_right[r])) Pair(l, r);
            }
        }
    }

    // Pairs those that are alike and have nobody else like them on either side.
    void PairUnique(const AreAlike& areAlike) {
        for (std::size_t l = 0; l < m_left.size(); ++l) {
            const auto like = [&](const Traits& one) { return areAlike(m_left[l], one); };
            const auto right = std::ranges::find_if(m_right, like);
            if (m_telling.rightOf[l] || std::ranges::count_if(m_left, like) != 1 ||
                std::ranges::count_if(m_right, like) != 1) {
                continue;
            }
            const auto r = static_cast<std::size_t>(right - m_right.begin());
            if (!m_isTaken[r]) Pair(l, r);
        }
    }

    const std::vector<Traits>& m_left;
    const std::vector<Traits>& m_right;
    std::vector<bool> m_isTaken;
    Telling m_telling;
};

}  // namespace

std::string NameTrait(const std::string& name) {
    constexpr std::string_view kFrom = " from ";
    if (name.empty()) return {};
    const auto from = name.rfind(kFrom);
    if (from == name.npos) return Essence(name) + '\n';
    return Essence(name.substr(0, from)) + '\n' + PeopleTrait(name.substr(from + kFrom.size()));
}

std::string PeopleTrait(const std::string& recipients) {
    std::string people;
    for (std::string_view rest = recipients; !rest.empty();) {
        const auto length = std::min(rest.find_first_of(" ,;<>()\"\t\r\n"), rest.size());
        const std::string_view word = rest.substr(0, length);
        if (word.find('@') != word.npos) people += text::Lowered(std::string(word)) + '\n';
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
    return people;
}

std::string TextTrait(const std::string& text) {
    return mail::Fingerprint(Essence(text));
}

Telling TellApart(const std::vector<Traits>& left, const std::vector<Traits>& right) {
    return Teller(left, right).Tell();
}

}  // namespace host::mailsync
