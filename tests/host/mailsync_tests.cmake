kv_test(maildir_test SOURCES maildir_test.cpp DEPENDS host_maildir platform_native platform_testing)
# Composing takes GMime.
if(TARGET kv_gmime)
    kv_test(mailsync_test SOURCES mailsync_test.cpp
            DEPENDS host_mailsync platform_testing)
endif()
