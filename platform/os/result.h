#pragma once

#include <concepts>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace platform {

// The kinds of failures that callers tell apart.
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
};

// Why an operation failed: the kind, the thing (a path or a key, under the name that a person
// knows), and the system's number (errno or GetLastError; 0 if there is none).
struct Failure {
    ErrorCode code = ErrorCode::kIo;
    std::string context;
    int systemError = 0;

    // One line for a person, without a line end: "C:\x\y.txt: access denied (error 13)".
    std::string Message() const;
};

// Failures of a lower layer, which a layer above converts into its own kind F.
template <class E, class F>
concept FailureBelow = std::convertible_to<E, F> && !std::same_as<E, F>;

// A value or a failure: the part of std::expected that this project uses.
template <class T, class F = Failure>
class [[nodiscard]] Result {
  public:
    Result(T value) : m_state(std::in_place_index<0>, std::move(value)) {}
    Result(F failure) : m_state(std::in_place_index<1>, std::move(failure)) {}
    template <FailureBelow<F> E>
    Result(const E& failure) : Result(F(failure)) {}
    template <FailureBelow<F> E>
    Result(Result<T, E> below)
        : m_state(below ? State(std::in_place_index<0>, *std::move(below))
                        : State(std::in_place_index<1>, below.Error())) {}

    bool HasValue() const { return m_state.index() == 0; }
    explicit operator bool() const { return HasValue(); }
    T& operator*() & { return *std::get_if<0>(&m_state); }
    const T& operator*() const& { return *std::get_if<0>(&m_state); }
    T&& operator*() && { return std::move(*std::get_if<0>(&m_state)); }
    T* operator->() { return std::get_if<0>(&m_state); }
    const T* operator->() const { return std::get_if<0>(&m_state); }
    T ValueOr(T other) && { return HasValue() ? std::move(**this) : std::move(other); }
    const F& Error() const { return *std::get_if<1>(&m_state); }

  private:
    using State = std::variant<T, F>;
    State m_state;
};

template <class F>
class [[nodiscard]] Result<void, F> {
  public:
    Result() = default;
    Result(F failure) : m_failure(std::move(failure)) {}
    template <FailureBelow<F> E>
    Result(const E& failure) : m_failure(failure) {}
    template <FailureBelow<F> E>
    Result(const Result<void, E>& below) {
        if (!below) m_failure = below.Error();
    }

    bool HasValue() const { return !m_failure; }
    explicit operator bool() const { return HasValue(); }
    const F& Error() const { return *m_failure; }

  private:
    std::optional<F> m_failure;
};

using Status = Result<void>;

}  // namespace platform
