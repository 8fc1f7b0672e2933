#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "platform/os/clock.h"

namespace host::base {

// A line for a person who waits: nothing in the first second, then at most five a second.
class Progress {
  public:
    Progress(platform::Clock& clock, std::function<void(const std::string&)> show)
        : m_clock(clock), m_show(std::move(show)), m_next(clock.Now() + std::chrono::seconds(1)) {}

    // Shows "WHAT DONE of TOTAL"; a total of 0 is unknown and left out.
    void Step(const char* what, std::size_t done, std::size_t total = 0) {
        if (!m_show || m_clock.Now() < m_next) return;
        m_next = m_clock.Now() + std::chrono::milliseconds(200);
        const std::string of = total > 0 ? " of " + std::to_string(total) : "";
        m_show(std::string(what) + ' ' + std::to_string(done) + of);
    }

  private:
    platform::Clock& m_clock;
    std::function<void(const std::string&)> m_show;
    std::chrono::system_clock::time_point m_next;
};

}  // namespace host::base
