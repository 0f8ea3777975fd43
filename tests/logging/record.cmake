# The record, the container format and the code pages that its texts may come in.
logdesk_test(logging_record_test
    SOURCES
        ${CMAKE_SOURCE_DIR}/tests/logging/DecodedMessageTest.cpp
        ${CMAKE_SOURCE_DIR}/tests/logging/LogLevelTest.cpp
        ${CMAKE_SOURCE_DIR}/tests/logging/LogMessageContainerBuilderTest.cpp
        ${CMAKE_SOURCE_DIR}/tests/logging/LogMessageContainerTest.cpp
        ${CMAKE_SOURCE_DIR}/tests/logging/LogMessageTest.cpp
        ${CMAKE_SOURCE_DIR}/tests/logging/TimestampTextTest.cpp
        ${CMAKE_SOURCE_DIR}/tests/platform/CodePageTest.cpp
    LINK zulogging Boost::date_time logdesk_core_test_main)
