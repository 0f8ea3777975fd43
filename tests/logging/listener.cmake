logdesk_test(LogProtoServerTest SOURCES LogProtoServerTest.cpp
    LINK zulogging logdesk_core_test_main TIMEOUT 300)
logdesk_test(LogMessageListenerTest SOURCES LogMessageListenerTest.cpp
    LINK zulogging logdesk_core_test_main TIMEOUT 300)
logdesk_test(LogMessageSecondaryListenerTest SOURCES LogMessageSecondaryListenerTest.cpp
    LINK zulogging logdesk_core_test_main)
logdesk_test(SinkFactoryTest SOURCES SinkFactoryTest.cpp LINK zulogging logdesk_core_test_main)
logdesk_test(LogMessageSinkForwarderTest SOURCES LogMessageSinkForwarderTest.cpp
    LINK zulogging logdesk_core_test_main)
logdesk_test(LogMessageSinkFormatterTest SOURCES LogMessageSinkFormatterTest.cpp
    LINK zulogging logdesk_core_test_main)
if(UNIX)
    logdesk_test(LogProtoServerBrokenSocketTest SOURCES LogProtoServerBrokenSocketTest.cpp
        LINK zulogging logdesk_core_test_main)
endif()
