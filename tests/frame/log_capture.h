#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/kvutil/kvutil.h"

// Switches the log on and collects its lines as "<level> <text>" while it lives.
class LogCapture {
  public:
    LogCapture() : m_oldSink(g_pfnLog), m_oldEnable(g_bEnableLog) {
        Lines().clear();
        g_pfnLog = &Collect;
        g_bEnableLog = 1;
    }
    ~LogCapture() {
        g_pfnLog = m_oldSink;
        g_bEnableLog = m_oldEnable;
    }

    static std::vector<std::string>& Lines() {
        static std::vector<std::string> lines;
        return lines;
    }
    static bool Has(const std::string& line) {
        return std::find(Lines().begin(), Lines().end(), line) != Lines().end();
    }

  private:
    static void Collect(int level, const char* format, ...) {
        char text[2048];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(text, sizeof text, format, arguments);
        va_end(arguments);
        Lines().push_back(std::to_string(level) + ' ' + text);
    }

    void (*m_oldSink)(int, const char*, ...);
    int m_oldEnable;
};
