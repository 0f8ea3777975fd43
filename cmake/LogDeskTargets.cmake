# What every target of the project shares: warnings, sanitizers, include root.

add_library(logdesk_options INTERFACE)
target_include_directories(logdesk_options INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(logdesk_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    $<$<BOOL:${LOGDESK_WARNINGS_AS_ERRORS}>:-Werror>)
target_compile_definitions(logdesk_options INTERFACE
    QT_NO_KEYWORDS QT_NO_CAST_TO_ASCII BOOST_BIND_GLOBAL_PLACEHOLDERS)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
    target_link_options(logdesk_options INTERFACE -Wl,--as-needed)
endif()
if(LOGDESK_SANITIZE)
    target_compile_options(logdesk_options INTERFACE
        -fsanitize=${LOGDESK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(logdesk_options INTERFACE -fsanitize=${LOGDESK_SANITIZE})
    # The compilers do not agree on a way to say so.
    if(LOGDESK_SANITIZE MATCHES "address")
        add_compile_definitions(LOGDESK_ADDRESS_SANITIZER)
    endif()
    if(LOGDESK_SANITIZE MATCHES "thread")
        add_compile_definitions(LOGDESK_THREAD_SANITIZER)
    endif()
endif()

# The programs and their libraries are hardened: stack protector, checked string functions, no fixed
# addresses, no writable jump tables. The checks of the sanitizers take the place of the second.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
add_library(logdesk_hardening INTERFACE)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
    target_compile_options(logdesk_hardening INTERFACE -fstack-protector-strong)
    target_link_options(logdesk_hardening INTERFACE -Wl,-z,relro -Wl,-z,now)
    if(NOT LOGDESK_SANITIZE)
        # Without optimization there is no such check, and the system's headers complain.
        target_compile_options(logdesk_hardening INTERFACE
            $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
    endif()
endif()

# The memory manager of the window. The receiving thread, of high priority, allocates what the worker
# frees; the system's own manager has them wait for one lock, and whoever holds it may not get to run
# for a while. This one keeps pieces for each thread. Without it the program works, and may lose a few
# messages under load. The sanitizers bring their own.
add_library(logdesk_allocator INTERFACE)
find_library(LOGDESK_JEMALLOC jemalloc)
mark_as_advanced(LOGDESK_JEMALLOC)
if(LOGDESK_JEMALLOC AND NOT LOGDESK_SANITIZE)
    # No function of it is called by name.
    target_link_libraries(logdesk_allocator INTERFACE
        -Wl,--push-state,--no-as-needed ${LOGDESK_JEMALLOC} -Wl,--pop-state)
endif()

# logdesk_library(NAME SOURCES... [LINK LIBS...]): one static library a folder.
function(logdesk_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_link_libraries(${name} PUBLIC logdesk_options ${ARG_LINK} PRIVATE logdesk_hardening)
endfunction()

# logdesk_program(NAME SOURCES... [LINK LIBS...])
function(logdesk_program name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LINK} logdesk_hardening)
endfunction()

# logdesk_test(NAME SOURCES ... LINK ... [TIMEOUT seconds] [LABELS ...] [SERIAL]): one GoogleTest
# program. LINK names logdesk_core_test_main or logdesk_gui_test_main. Every case becomes a ctest entry
# of its own, run without a display; under the sanitizers, where a process takes long to start, every
# program. SERIAL: nothing else runs meanwhile.
function(logdesk_test name)
    cmake_parse_arguments(ARG "SERIAL" "TIMEOUT" "SOURCES;LINK;LABELS" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    if(NOT ARG_SERIAL)
        set(ARG_SERIAL OFF)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LINK} logdesk_test_support GTest::gtest)
    # The cases themselves are run once: compiling them well takes longer than that.
    target_compile_options(${name} PRIVATE -O0 -g1)
    if(LOGDESK_UNITY_TESTS)
        set_target_properties(${name} PROPERTIES UNITY_BUILD ON)
        # GCC takes a source that was put together for a header.
        target_compile_options(${name} PRIVATE
            $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
    endif()
    # An empty value would not get through, and its property take the next one's name for it.
    set(properties RUN_SERIAL ${ARG_SERIAL})
    if(ARG_LABELS)
        list(APPEND properties LABELS "${ARG_LABELS}")
    endif()
    if(LOGDESK_SANITIZE)
        add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
        set_tests_properties(${name} PROPERTIES TIMEOUT 900 ${properties})
        return()
    endif()
    include(GoogleTest)
    gtest_discover_tests(${name}
        DISCOVERY_TIMEOUT 60
        DISCOVERY_MODE PRE_TEST
        PROPERTIES TIMEOUT ${ARG_TIMEOUT} ${properties})
endfunction()
