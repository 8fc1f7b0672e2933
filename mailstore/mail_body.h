#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// What stands between the note text of a message and the body that the host receives.
namespace mailstore {

// The text without "<x-flowed>" and "</x-flowed>".
std::string StripFlowedMarks(std::string_view note);

// The length of `text` without its last `count` attachment trailers: lines that begin with
// `marker` behind an empty line. What follows a trailer goes with it, and so does the empty line.
// Without a marker there are no trailers.
std::size_t LengthWithoutTrailers(std::string_view text, std::size_t count,
                                  std::string_view marker);

}  // namespace mailstore
