# The view settings, the fields of a record and the filter.
logdesk_test(store_settings_test
    SOURCES
        ${CMAKE_SOURCE_DIR}/tests/store/LogFieldTest.cpp
        ${CMAKE_SOURCE_DIR}/tests/store/MessageFilterTest.cpp
        ${CMAKE_SOURCE_DIR}/tests/store/ViewSettingsTest.cpp
    LINK zustore logdesk_core_test_main)
