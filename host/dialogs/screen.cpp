#include "host/dialogs/screen.h"

#include <newt.h>

#include <algorithm>
#include <array>
#include <climits>
#include <clocale>
#include <cwchar>

#include "host/base/output.h"
#include "text/utf.h"

namespace host::dialogs {

namespace {

// How many screens there are.
int g_depth = 0;

}  // namespace

NewtScreen::NewtScreen() {
    if (g_depth++ > 0) return;
    std::setlocale(LC_CTYPE, "");
    newtInit();
    newtCls();
    newtPushHelpLine("Tab moves, Enter chooses, F12 or Esc leaves");
}

NewtScreen::~NewtScreen() {
    if (--g_depth > 0) return;
    newtPopHelpLine();
    newtFinished();
}

std::string ForScreen(std::string_view utf8) {
    const std::string shown = base::OneLine(utf8);
    std::string text;
    for (std::string_view rest = shown; !rest.empty();) {
        std::array<char, MB_LEN_MAX> bytes{};
        std::mbstate_t state{};
        const auto letter = static_cast<wchar_t>(text::TakeUtf8(rest));
        const std::size_t length = std::wcrtomb(bytes.data(), letter, &state);
        text += length <= bytes.size() ? std::string(bytes.data(), length) : "?";
    }
    return text;
}

int CellsOf(std::string_view text) {
    int cells = 0;
    while (!text.empty()) {
        wchar_t letter = 0;
        std::mbstate_t state{};
        const std::size_t length = std::mbrtowc(&letter, text.data(), text.size(), &state);
        const bool isLetter = length > 0 && length <= text.size();
        cells += isLetter ? std::max(wcwidth(letter), 0) : 1;
        text.remove_prefix(isLetter ? length : 1);
    }
    return cells;
}

}  // namespace host::dialogs
