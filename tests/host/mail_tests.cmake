kv_test(host_mail_test
    SOURCES mail_compose_test.cpp
    DEPENDS host_mail platform_testing)
if(TARGET kv_gmime)
    target_sources(host_mail_test PRIVATE mail_parse_test.cpp
                   ${PROJECT_SOURCE_DIR}/fuzz/fuzz_incoming_mail.cpp)
endif()

# The readers again, compiled so that their branches are counted.
if(TARGET kv_gmime)
    set(growing host/mail/html_text.cpp host/mail/mail_reader.cpp host/mail/mail_text.cpp
                host/mail/parse.cpp host/maildir/maildir.cpp host/vcard/card.cpp
                host/vcard/card_fields.cpp host/vcard/content_line.cpp text/ascii.cpp
                text/mail_view.cpp)
    list(TRANSFORM growing PREPEND ${PROJECT_SOURCE_DIR}/)
    kv_test(growth_test SOURCES growth_test.cpp ${growing}
            DEPENDS host_mail host_vcard kv_gmime failing_allocation platform_testing)
    set_source_files_properties(${growing} PROPERTIES
        COMPILE_OPTIONS -fsanitize-coverage=trace-pc SKIP_PRECOMPILE_HEADERS ON)
endif()

if(NOT WIN32)
    find_program(KV_PYTHON python3 REQUIRED)
    add_test(NAME sample_inbox
             COMMAND ${KV_PYTHON} ${PROJECT_SOURCE_DIR}/tools/make_sample_inbox.py --check)
endif()
