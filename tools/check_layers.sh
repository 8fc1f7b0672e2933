#!/bin/bash
# Fails if a source file includes what its folder must not know, asks which system it runs on, or
# prints past the place that makes foreign texts harmless.
#
#   tools/check_layers.sh [ROOT]
#
# Each line of the table below names a folder (the longest match of a file's path counts) and the
# folders whose headers its files may include; a folder always sees itself.
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"

read -r -d '' layers << 'END' || true
text                 -
platform/os          text
platform/mfc         platform/os text
platform/kvutil      platform/os platform/mfc text frame/interface/result_codes.h
platform/posix       platform/os text
platform/prefix      platform/os platform/posix text
platform/windows     platform/os text
platform/testing     platform/os text
mailbox              platform/os text
mapi                 platform/os platform/kvutil frame/interface/field_ids.h text
integration/locate   platform/os platform/mfc platform/kvutil text
frame/interface      platform/mfc
frame                platform/os platform/mfc platform/kvutil integration/locate mapi
integration/dialogs  platform/os platform/mfc frame text
addressbook          platform/os platform/mfc platform/kvutil frame integration/dialogs text
mailstore            platform/os platform/mfc platform/kvutil frame integration mailbox mapi text
eumapi               platform/os integration/locate mailbox mapi text
module               platform/os frame addressbook mailstore
host/base            platform/os text
host/eudora          platform/os host/base mailbox text
host/translator      platform/os platform/kvutil frame/interface host/base host/eudora mailbox text
host/vcard           platform/os host/base text
host/maildir         platform/os host/base text
host/state           platform/os host/base
host/backup          platform/os host/base host/maildir host/vcard text
host/mail            platform/os platform/kvutil frame/interface host/base host/eudora host/translator host/maildir mailbox text
host/contacts        platform/os frame/interface addressbook host/base host/translator host/vcard text
host/sync            platform/os host/base host/state host/backup text
host/contactsync     host/base host/translator host/state host/backup host/contacts host/sync text
host/mailsync        platform/os host/base host/maildir host/state host/backup host/mail host/sync mailbox text
host/dialogs         platform/os host/base text
host/shell           platform/os platform/kvutil frame/interface host/base host/translator text
host/doctor          platform/os host/base host/eudora host/translator host/maildir host/state host/backup host/contacts host/mailsync mailbox
host/cli             platform/os platform/kvutil host text
host                 platform/os host/base host/cli
docs                 platform/os platform/kvutil frame/interface
tests                *
fuzz                 *
benchmarks           *
END

# The headers of the C++ library; every other <header> belongs to a system or to a package.
standard=" algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv
chrono cinttypes climits clocale cmath codecvt compare complex concepts condition_variable coroutine
csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque
exception execution filesystem forward_list fstream functional future initializer_list iomanip ios
iosfwd iostream istream iterator latch limits list locale map memory memory_resource mutex new
numbers numeric optional ostream queue random ranges ratio regex scoped_allocator semaphore set
shared_mutex source_location span sstream stack stdexcept stop_token streambuf string string_view
strstream syncstream system_error thread tuple type_traits typeindex typeinfo unordered_map
unordered_set utility valarray variant vector version "

find . \( -path ./build -o -path './build-*' -o -path ./.git \) -prune -o \
    \( -name '*.cpp' -o -name '*.h' \) -printf '%P\n' | LC_ALL=C sort |
    LAYERS=$layers STANDARD=$standard awk '
function fail(why) {
    printf "%s:%d: %s\n", file, number, why
    failures++
}
function begins(path, folder) {
    return path == folder || index(path, folder "/") == 1
}
# What a file outside the C++ library may be included as <...>, by the place of the including file.
function packageAllowed(header) {
    if (native) return 1
    if (header ~ /^(gtest|gmock)\//) return file ~ /^(tests|fuzz)\//
    if (header ~ /^benchmark\//) return file ~ /^benchmarks\//
    if (header ~ /^(CLI\/|nlohmann\/|SQLiteCpp\/|toml\+\+\/|gmime\/|newt\.h$|editline\/|sqlite3\.h$)/)
        return file ~ /^(host|tests\/host|tests\/cases|tests\/end_to_end|fuzz)\//
    return 0
}
function check(    folder, best, count, i, allowed, header, ok) {
    best = ""
    for (folder in layer)
        if (begins(file, folder) && length(folder) > length(best)) best = folder
    if (best == "") {
        number = 1
        fail("the folder has no line in tools/check_layers.sh")
        return
    }
    # The tests of the Wine prefix are tests of the posix backend.
    native = file ~ /(^|\/)(posix|prefix|windows)(\/|[_.])/ || file ~ /_(posix|windows)[_.]/ ||
             file ~ /^tests\/platform\/prefix_/
    # Where a library says what it exports and how it is called, the compiler must be asked.
    exporting = file == "platform/kvutil/kvutil.h" || file == "platform/os/libraries.h" || file ~ /^module\/exports[_.]/
    count = split(layer[best], allowed, " ")
    number = 0
    while ((getline line < file) > 0) {
        number++
        if (line ~ /_WIN32|_WIN64|__MINGW|__linux__|__unix__|_MSC_VER|__(x86_64|i386|aarch64|arm)__|_M_(X64|IX86|ARM)/ && !native && !exporting)
            fail("asks for the system or processor; that belongs into platform/posix and platform/windows")
        if (line ~ /std::(cout|cerr|clog)|(^|[^a-z_])(v?f?printf|f?puts|f?putc|fwrite)\(/ &&
            file ~ /^host\// && file !~ /^host\/base\/output[.]/)
            fail("prints; that belongs into host/base/output.cpp")
        if (match(line, /^[ \t]*#[ \t]*include[ \t]*<[^>]*>/)) {
            header = substr(line, RSTART, RLENGTH)
            gsub(/^.*<|>$/, "", header)
            if (index(standard, " " header " ") == 0 && !packageAllowed(header))
                fail("<" header "> is a system or package header that this folder must not use")
        } else if (match(line, /^[ \t]*#[ \t]*include[ \t]*"[^"]*"/)) {
            header = substr(line, RSTART, RLENGTH)
            gsub(/^[^"]*"|"$/, "", header)
            ok = begins(header, best) || layer[best] == "*"
            for (i = 1; i <= count && !ok; i++) ok = begins(header, allowed[i])
            if (!ok) fail(best " must not include " header)
        }
    }
    close(file)
}
BEGIN {
    standard = ENVIRON["STANDARD"]
    gsub(/[ \n]+/, " ", standard)
    rows = split(ENVIRON["LAYERS"], row, "\n")
    for (r = 1; r <= rows; r++) {
        name = row[r]
        sub(/ .*/, "", name)
        sub(/^[^ ]+ +/, "", row[r])
        layer[name] = row[r]
    }
}
{
    file = $0
    files++
    check()
}
END {
    printf "%d files, %d faults\n", files, failures
    exit failures > 0 || files == 0
}'
