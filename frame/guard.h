#pragma once

#include <exception>

#include "frame/interface/result_codes.h"
#include "platform/kvutil/kvutil.h"

namespace frame {

// Queues `what` as an error message for the host.
void ReportException(const char* operation, const char* what) noexcept;

// The border of the module: runs an operation and turns an exception into RRC_FAILED and a queued
// message, so that nothing is thrown at the host.
template <class Operation>
RRETURNCODE Guarded(const char* name, Operation&& operation) noexcept {
    try {
        return operation();
    } catch (const std::exception& exception) {
        ReportException(name, exception.what());
    } catch (...) {
        ReportException(name, "unknown exception");
    }
    return RRC_FAILED;
}

// The same, with a first line in the log: where the operation belongs, and its name.
template <class Operation>
RRETURNCODE Entered(const char* where, const char* name, Operation&& operation) noexcept {
    return Guarded(name, [&]() -> RRETURNCODE {
        KV_LOG(5, "%s%s\n", where, name);
        return operation();
    });
}

}  // namespace frame
