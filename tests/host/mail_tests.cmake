kv_test(host_mail_test
    SOURCES html_text_test.cpp mail_text_test.cpp
    DEPENDS host_mail platform_testing)
if(TARGET kv_gmime)
    target_sources(host_mail_test PRIVATE
        mail_compose_test.cpp mail_parse_property_test.cpp mail_parse_test.cpp)
endif()

if(NOT WIN32)
    find_program(KV_PYTHON python3 REQUIRED)
    add_test(NAME sample_inbox
             COMMAND ${KV_PYTHON} ${PROJECT_SOURCE_DIR}/tools/make_sample_inbox.py --check)
endif()

kv_test(host_mail_table_test
    SOURCES mail_table_test.cpp ${PROJECT_SOURCE_DIR}/host/cli/mail_table.cpp
    DEPENDS host_mail host_output kv_json)

# On the real disk, through the built library beside the test.
if(NOT WIN32 AND TARGET kvtEUD)
    kv_test(mail_writer_test SOURCES mail_writer_test.cpp DEPENDS host_mail)
    add_dependencies(mail_writer_test kvtEUD EUMAPI32 bundles)
endif()
