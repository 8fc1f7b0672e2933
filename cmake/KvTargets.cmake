# What all targets share: the language, the warnings, where the results go.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# The libraries lie beside the programs, in the build folder and where they are installed.
# CMake fills the paths of its build tree up with empty ones, which mean the current folder.
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/../lib/kvsync")

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow
                    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)
include_directories(${PROJECT_SOURCE_DIR})
if(KV_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()
if(KV_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link,address,undefined
                        -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()
if(WIN32)
    set(CMAKE_SHARED_LIBRARY_PREFIX "")
    set(CMAKE_SHARED_MODULE_PREFIX "")
    add_compile_definitions(_WIN32_WINNT=0x0601 NOMINMAX WIN32_LEAN_AND_MEAN)
    add_link_options(-static)
endif()

# kv_library(NAME SOURCES ... [DEPENDS ...]): a static library of one folder.
function(kv_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_link_libraries(${name} PUBLIC ${ARG_DEPENDS})
endfunction()

# A compiler cache keeps what headers become, but not for a compiler that reads them precompiled.
if(CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
endif()

# A test spends its time in what it tests: its own code is compiled quickly, with line numbers only.
# g++ 12 sees texts leave their bounds when it has read their header precompiled.
set(KV_TEST_OPTIONS $<$<CONFIG:RelWithDebInfo>:-O1;-g1> $<$<CONFIG:Release>:-O1> -Wno-array-bounds)

# kv_test(NAME SOURCES ... [DEPENDS ...]): a GoogleTest program that ctest runs. The headers of
# GoogleTest are compiled once for all, in the target kv_test_headers.
function(kv_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} GTest::gmock GTest::gtest_main)
    target_compile_options(${name} PRIVATE ${KV_TEST_OPTIONS})
    target_precompile_headers(${name} REUSE_FROM kv_test_headers)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 600)
endfunction()
