# The libraries that kvsync is built on, under the same target names on every system:
# kv_sqlite (SQLiteCpp with SQLite), kv_cli11, kv_json, kv_toml (headers only); kv_gmime only on
# Linux: Windows builds do without.
# Debian's packages serve on Linux. For Windows there are none: the headers are the same, and
# SQLite is built from the source package that tools/windows_dependencies.sh fetched.
include_guard(GLOBAL)

set(KV_DEPENDENCIES_DIR ${PROJECT_SOURCE_DIR}/build/deps CACHE PATH
    "Where tools/windows_dependencies.sh put the sources of SQLiteCpp")

# kv_header_library(NAME FOLDER HEADER PACKAGE): FOLDER/HEADER lies in the system's include folder.
# A cross compiler must see nothing else of that folder, so it gets a folder with the one link.
function(kv_header_library name folder header package)
    find_path(KV_${name}_INCLUDE ${folder}/${header} PATHS /usr/include
              NO_CMAKE_FIND_ROOT_PATH NO_CACHE)
    if(NOT KV_${name}_INCLUDE)
        message(FATAL_ERROR "${folder}/${header} is missing: install the package ${package}")
    endif()
    add_library(${name} INTERFACE)
    if(CMAKE_CROSSCOMPILING)
        set(links ${PROJECT_BINARY_DIR}/deps/include)
        file(MAKE_DIRECTORY ${links})
        if(NOT EXISTS ${links}/${folder})
            file(CREATE_LINK ${KV_${name}_INCLUDE}/${folder} ${links}/${folder} SYMBOLIC)
        endif()
        target_include_directories(${name} SYSTEM INTERFACE ${links})
    endif()
endfunction()

kv_header_library(kv_cli11 CLI CLI.hpp libcli11-dev)
kv_header_library(kv_json nlohmann json.hpp nlohmann-json3-dev)
kv_header_library(kv_toml toml++ toml.h libtomlplusplus-dev)
target_compile_definitions(kv_toml INTERFACE TOML_HEADER_ONLY=1)

if(WIN32)
    set(sqlite ${KV_DEPENDENCIES_DIR}/sqlitecpp)
    if(NOT EXISTS ${sqlite}/sqlite3/sqlite3.c)
        message(FATAL_ERROR "SQLite's sources are missing: run tools/windows_dependencies.sh")
    endif()
    enable_language(C)
    add_library(kv_sqlite STATIC
        ${sqlite}/sqlite3/sqlite3.c ${sqlite}/src/Backup.cpp ${sqlite}/src/Column.cpp
        ${sqlite}/src/Database.cpp ${sqlite}/src/Exception.cpp ${sqlite}/src/Savepoint.cpp
        ${sqlite}/src/Statement.cpp ${sqlite}/src/Transaction.cpp)
    target_include_directories(kv_sqlite SYSTEM PUBLIC ${sqlite}/include ${sqlite}/sqlite3)
    target_compile_options(kv_sqlite PRIVATE -w)
else()
    find_path(KV_SQLITECPP_INCLUDE SQLiteCpp/SQLiteCpp.h)
    find_library(KV_SQLITECPP_LIBRARY NAMES SQLiteCpp sqlitecpp)
    find_library(KV_SQLITE_LIBRARY sqlite3)
    if(NOT KV_SQLITECPP_INCLUDE OR NOT KV_SQLITECPP_LIBRARY OR NOT KV_SQLITE_LIBRARY)
        message(FATAL_ERROR "SQLiteCpp is missing: install libsqlitecpp-dev and libsqlite3-dev")
    endif()
    add_library(kv_sqlite INTERFACE)
    target_link_libraries(kv_sqlite INTERFACE ${KV_SQLITECPP_LIBRARY} ${KV_SQLITE_LIBRARY})
endif()

if(NOT WIN32)
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(KV_GMIME IMPORTED_TARGET gmime-3.0)
    if(NOT KV_GMIME_FOUND)
        message(FATAL_ERROR "GMime is missing: install libgmime-3.0-dev")
    endif()
    add_library(kv_gmime INTERFACE)
    target_link_libraries(kv_gmime INTERFACE PkgConfig::KV_GMIME)
endif()
