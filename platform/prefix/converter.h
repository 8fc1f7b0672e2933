#pragma once

#include <string>
#include <string_view>

namespace platform::prefix {

// The C library's conversion between two charsets.
class Converter {
  public:
    Converter(const std::string& to, const std::string& from);
    ~Converter();
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool IsOpen() const;  // whether it knows both
    // Takes what can be converted off the beginning of `in`, and appends it; gives 0, or as errno
    // why the rest cannot be.
    int Convert(std::string_view& in, std::string& out) const;
    // Appends what closes the text, and starts anew.
    void Finish(std::string& out) const;

  private:
    int Step(char** in, std::size_t* left, std::string& out) const;

    void* m_handle;
};

}  // namespace platform::prefix
