# The client side of the service link.
logdesk_test(link_tests
    SOURCES
        SocketAddressTextTest.cpp
        PacketTest.cpp
        ConnectionInfoTest.cpp
        LogClientTest.cpp
    LINK zulogging logdesk_core_test_main)
