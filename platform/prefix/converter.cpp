#include "platform/prefix/converter.h"

#include <iconv.h>

#include <cerrno>

namespace platform::prefix {

Converter::Converter(const std::string& to, const std::string& from)
    : m_handle(iconv_open(to.c_str(), from.c_str())) {}

Converter::~Converter() {
    if (IsOpen()) iconv_close(m_handle);
}

bool Converter::IsOpen() const {
    return m_handle != reinterpret_cast<iconv_t>(-1);
}

// As far as the buffer holds.
int Converter::Step(char** in, std::size_t* left, std::string& out) const {
    char buffer[4096];
    char* to = buffer;
    std::size_t room = sizeof buffer;
    const bool isDone = iconv(m_handle, in, left, &to, &room) != static_cast<std::size_t>(-1);
    const int error = isDone ? 0 : errno;
    out.append(buffer, to);
    return error;
}

int Converter::Convert(std::string_view& in, std::string& out) const {
    char* from = const_cast<char*>(in.data());
    std::size_t left = in.size();
    int error = E2BIG;
    while (error == E2BIG) error = Step(&from, &left, out);
    in.remove_prefix(in.size() - left);
    return error;
}

void Converter::Finish(std::string& out) const {
    Step(nullptr, nullptr, out);
}

}  // namespace platform::prefix
