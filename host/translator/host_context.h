#pragma once

#include "frame/interface/host_records.h"

namespace host::translator {

// What the module asks its host for. Only the module's own object has a meaning here; the other
// values are the host's affair, and this host has none.
class HostContext final : public CRHostContext {
  public:
    explicit HostContext(CEudoraTransUtil* util) : m_util(util) {}

    void GetContextValue1(RWORD* value) override { *value = 0; }
    void GetContextValue2(RWORD* value) override { *value = 0; }
    void GetContextValue3(RWORD* value) override { *value = 0; }
    void GetContextValue4(RWORD* value) override { *value = 0; }
    void GetUtil(RWORD* value) override { *value = reinterpret_cast<RWORD>(m_util); }
    void GetContextValue5(RWORD* value) override { *value = 0; }
    void GetContextValue6(RWORD* value) override { *value = 0; }
    void GetContextValue7(RWORD* value) override { *value = 0; }

  private:
    CEudoraTransUtil* m_util;
};

}  // namespace host::translator
