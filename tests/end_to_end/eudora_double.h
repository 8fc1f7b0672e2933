#pragma once

namespace test {

// Files in Eudora's folder by which the double and its test talk: it is up and has the in-box open;
// it has to end.
inline constexpr const char* kDoubleIsUp = "double-is-up";
inline constexpr const char* kEndDouble = "end-double";

}  // namespace test
