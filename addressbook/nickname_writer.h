#pragma once

#include <functional>
#include <string_view>

#include "addressbook/record_map.h"
#include "platform/os/result.h"

namespace addressbook {

// Takes the next bytes of the file.
using ByteSink = std::function<platform::Status(std::string_view)>;

// Writes a nickname file: the records in their order and normal form, then what is carried along,
// so that reading it gives the same map again and writing that gives the same bytes. Stops at the
// first failure of the sink, and gives it.
platform::Status WriteNicknames(const RecordMap& records, const ByteSink& sink);

}  // namespace addressbook
