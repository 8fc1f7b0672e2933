#!/bin/bash
# Shows check_layers.sh small trees, each with one line that it must refuse or must let pass.
set -euo pipefail
checker=$(realpath "$(dirname "$0")/check_layers.sh")
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
failures=0

# expect pass|fail FILE LINE
expect() {
    rm -rf "${tree:?}"/*
    mkdir -p "$tree/$(dirname "$2")"
    printf '%s\n' "$3" > "$tree/$2"
    local verdict=pass
    "$checker" "$tree" > /dev/null || verdict=fail
    if [[ $verdict != "$1" ]]; then
        echo "$2 with '$3': $verdict, expected $1"
        failures=$((failures + 1))
    fi
}

expect fail addressbook/store.cpp '#include <unistd.h>'
expect fail addressbook/store.cpp '#include <sys/stat.h>'
expect fail host/sync/engine.cpp '  #  include <windows.h>'
expect fail addressbook/store.cpp '#include "host/cli/options.h"'
expect fail addressbook/store.cpp '#include "platform/posix/fd.h"'
expect fail frame/queue.cpp '#include "addressbook/store.h"'
expect fail frame/interface/exports.h '#include "frame/trans_util.h"'
expect fail host/module.cpp '#include "frame/trans_util.h"'
expect fail platform/os/path.cpp '#include "platform/mfc/archive.h"'
expect fail text/path.cpp '#include "platform/os/result.h"'
expect fail host/eudora/setup.cpp '#include "host/translator/translator_host.h"'
expect fail frame/queue.cpp '#ifdef __x86_64__'
expect fail frame/queue.cpp '#ifdef _WIN32'
expect fail frame/queue.cpp '#include <nlohmann/json.hpp>'
expect fail host/cli/say.cpp '    std::cout << name;'
expect fail host/sync/say.cpp '    std::fprintf(stderr, "%s", name);'
expect fail newfolder/thing.cpp 'int x;'
expect pass addressbook/store.cpp '#include <string_view>'
expect pass addressbook/store.cpp '#include "frame/trans_base.h"'
expect pass module/exports.cpp '#include "addressbook/eudora4.h"'
expect pass host/report.cpp '#include <nlohmann/json.hpp>'
expect pass host/base/output.cpp '    std::cerr << name;'
expect pass host/cli/name.cpp 'std::snprintf(text, 9, "%d", i); std::getline(std::cin, line);'
expect pass platform/posix/files.cpp '#include <unistd.h>'
expect pass platform/kvutil/kvutil.h '#if defined(_WIN32)'
exit $((failures > 0))
