#pragma once

#include <string>

#include "frame/interface/translators.h"

// A host that answers each question with the question's number and notes the order of them.
class NumberedHost final : public CRHostContext {
  public:
    explicit NumberedHost(CEudoraTransUtil* util) : m_util(util) {}
    void GetContextValue1(RWORD* value) override { Give(value, 1); }
    void GetContextValue2(RWORD* value) override { Give(value, 2); }
    void GetContextValue3(RWORD* value) override { Give(value, 3); }
    void GetContextValue4(RWORD* value) override { Give(value, 4); }
    void GetUtil(RWORD* value) override {
        calls += 'U';
        *value = reinterpret_cast<RWORD>(m_util);
    }
    void GetContextValue5(RWORD* value) override { Give(value, 5); }
    void GetContextValue6(RWORD* value) override { Give(value, 6); }
    void GetContextValue7(RWORD* value) override { Give(value, 7); }

    std::string calls;

  private:
    void Give(RWORD* value, RWORD number) {
        calls += std::to_string(number);
        *value = number;
    }
    CEudoraTransUtil* m_util;
};
