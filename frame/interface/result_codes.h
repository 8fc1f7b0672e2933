#pragma once

#include <cstdint>

// The result of every operation of the translator interface.
enum RRETURNCODE : std::int32_t {
    RRC_OK = 0,
    RRC_NONE = 1,           // nothing more, or not available; no error
    RRC_FAILED = 2,         // the reason, if any, waits in the error queue
    RRC_WARNING = 3,        // may be stored after all, but a warning is queued
    RRC_CANCELLED = 4,      // the user dismissed a dialog that the operation needed
    RRC_EOF = 5,            // no further record
    RRC_NOT_SUPPORTED = 7,  // this translator does not offer the operation
};
