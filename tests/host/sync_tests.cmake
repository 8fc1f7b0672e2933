kv_test(vcard_test SOURCES vcard_test.cpp ${PROJECT_SOURCE_DIR}/fuzz/fuzz_vcard.cpp DEPENDS host_vcard)
target_compile_definitions(vcard_test PRIVATE KV_CARDS="${PROJECT_SOURCE_DIR}/fuzz/corpus/vcard")
kv_test(sync_store_test
    SOURCES state_test.cpp sync_backup_test.cpp
    DEPENDS host_contactsync host_state platform_native platform_testing)
# Eudora's side is its file on the disk, through the built library beside the test.
if(NOT WIN32 AND TARGET kvtEUD)
    kv_test(contactsync_test SOURCES contactsync_test.cpp
            DEPENDS host_contactsync failing_allocation platform_testing)
    add_dependencies(contactsync_test kvtEUD bundles)
    # Thousands of its saves, each flushed.
    if(EXISTS /dev/shm)
        set_tests_properties(contactsync_test PROPERTIES ENVIRONMENT TMPDIR=/dev/shm)
    endif()
endif()
