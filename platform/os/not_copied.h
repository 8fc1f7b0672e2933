#pragma once

namespace platform {

// The base of a class whose objects are neither copied nor moved, as what they own is tied to their
// place.
class NotCopied {
  public:
    NotCopied(const NotCopied&) = delete;
    NotCopied& operator=(const NotCopied&) = delete;

  protected:
    NotCopied() = default;
    ~NotCopied() = default;
};

}  // namespace platform
