# A resource library for 32-bit machines, read by programs of either kind.
set(strings ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/kv_test_strings.dll)
set(object ${CMAKE_CURRENT_BINARY_DIR}/kv_test_strings.o)
add_custom_command(
    OUTPUT ${strings}
    COMMAND ${KV_WINDRES} --codepage=65001 ${PROJECT_SOURCE_DIR}/tests/data/windows/strings.rc
            ${object}
    COMMAND ${KV_BUNDLE_LINKER} -shared --entry=0 --no-insert-timestamp -o ${strings} ${object}
    DEPENDS ${PROJECT_SOURCE_DIR}/tests/data/windows/strings.rc
    BYPRODUCTS ${object}
    VERBATIM)
add_custom_target(kv_test_strings DEPENDS ${strings})

kv_test(windows_test
    SOURCES platform/windows_files_test.cpp platform/windows_libraries_test.cpp
            platform/windows_registry_test.cpp platform/windows_system_test.cpp
    DEPENDS platform_native platform_testing)
add_dependencies(windows_test kv_test_strings)
