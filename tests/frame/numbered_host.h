#pragma once

#include <string>

#include "frame/interface/translators.h"

// A host that answers each question with the question's number and notes the order of them.
class NumberedHost final : public CRHostContext {
  public:
    explicit NumberedHost(CEudoraTransUtil* util) : m_util(reinterpret_cast<RWORD>(util)) {}
    void GetContextValue1(RWORD* value) override { *value = Give('1'); }
    void GetContextValue2(RWORD* value) override { *value = Give('2'); }
    void GetContextValue3(RWORD* value) override { *value = Give('3'); }
    void GetContextValue4(RWORD* value) override { *value = Give('4'); }
    void GetUtil(RWORD* value) override {
        calls += 'U';
        *value = m_util;
    }
    void GetContextValue5(RWORD* value) override { *value = Give('5'); }
    void GetContextValue6(RWORD* value) override { *value = Give('6'); }
    void GetContextValue7(RWORD* value) override { *value = Give('7'); }

    std::string calls;

  private:
    RWORD Give(char number) {
        calls += number;
        return static_cast<RWORD>(number - '0');
    }
    RWORD m_util;
};
