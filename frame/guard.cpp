#include "frame/guard.h"

#include <string>

#include "frame/trans_util.h"

namespace frame {

void ReportException(const char* operation, const char* what) noexcept {
    try {
        KV_LOG(1, "ERROR: %s, %s\n", operation, what);
        TransUtil().AddErrorText((std::string(operation) + ": " + what).c_str());
    } catch (...) {
        // Out of memory: the result code has to do.
    }
}

}  // namespace frame
