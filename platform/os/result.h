#pragma once

#include <cassert>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace platform {

enum class ErrorCode {
    kNotFound,
    kAccessDenied,
    kSharingViolation,  // somebody else holds the thing in a way that excludes this use
    kAlreadyExists,
    kNotRegular,  // a folder, a device, a pipe or the like where a file was asked for
    kNoSpace,
    kNoMemory,
    kTooLarge,
    kInvalidArgument,
    kNotSupported,
    kCorrupt,
    kIo,
    // The context is a whole line for a person: nothing was touched (kRefused),
    // or the operation began and did not succeed (kFailed).
    kRefused,
    kFailed,
};

// Why an operation failed: what kind of failure, of which thing (a path, a key: the name that a
// person knows it by), the system's own number (errno or GetLastError; 0 if none), and what a
// person can do about it, where that is known.
struct Failure {
    ErrorCode code = ErrorCode::kIo;
    std::string context;
    int systemError = 0;
    std::string advice = {};

    // One line for a person, without a line end: "C:\x\y.txt: access denied (error 13)", and behind
    // a colon the advice.
    std::string Message() const;
    // The same without the advice.
    std::string Cause() const;
};

// A value or a Failure: the part of std::expected that this project uses.
template <class T>
class [[nodiscard]] Result {
  public:
    Result(T value) : m_state(std::in_place_index<0>, std::move(value)) {}
    Result(Failure failure) : m_state(std::in_place_index<1>, std::move(failure)) {}

    bool HasValue() const { return m_state.index() == 0; }
    explicit operator bool() const { return HasValue(); }
    T& operator*() & { return *std::get_if<0>(&m_state); }
    const T& operator*() const& { return *std::get_if<0>(&m_state); }
    T&& operator*() && { return std::move(*std::get_if<0>(&m_state)); }
    T* operator->() { return std::get_if<0>(&m_state); }
    const T* operator->() const { return std::get_if<0>(&m_state); }
    T ValueOr(T other) && { return HasValue() ? std::move(**this) : std::move(other); }
    const Failure& Error() const { return *std::get_if<1>(&m_state); }

  private:
    std::variant<T, Failure> m_state;
};

template <>
class [[nodiscard]] Result<void> {
  public:
    Result() = default;
    Result(Failure failure) : m_failure(std::move(failure)) {}

    bool HasValue() const { return !m_failure; }
    explicit operator bool() const { return HasValue(); }
    const Failure& Error() const { return *m_failure; }

  private:
    std::optional<Failure> m_failure;
};

using Status = Result<void>;

}  // namespace platform
