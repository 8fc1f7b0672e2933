kv_test(vcard_test SOURCES vcard_test.cpp DEPENDS host_vcard failing_allocation)
kv_test(contactsync_test SOURCES contactsync_test.cpp DEPENDS host_contactsync platform_testing)
kv_test(sync_store_test
    SOURCES state_test.cpp sync_backup_test.cpp
    DEPENDS host_contactsync host_state platform_native platform_testing)
# Both stores on the real disk, Eudora's through the built library beside the test.
if(NOT WIN32 AND TARGET kvtEUD)
    kv_test(store_contract_test SOURCES store_contract_test.cpp
            DEPENDS host_contacts platform_testing)
    add_dependencies(store_contract_test kvtEUD bundles)
endif()
