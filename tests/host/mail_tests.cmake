kv_test(host_mail_test
    SOURCES mail_date_test.cpp mail_text_test.cpp
    DEPENDS host_mail platform_testing)
if(TARGET kv_gmime)
    target_sources(host_mail_test PRIVATE
        mail_compose_test.cpp mail_message.cpp mail_property_test.cpp)
endif()
