#include "host/dialogs/newt_screen.h"

#include <newt.h>

#include <clocale>

namespace host::dialogs {

namespace {

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

}  // namespace host::dialogs
