// The bus library and Qt come without the thread sanitizer's marks, so it takes what they hand from
// their own thread to a waiting caller for a race. What is left out is those libraries, the
// one source that calls them, and its test.
#if defined(LOGDESK_THREAD_SANITIZER)
extern "C" const char* __tsan_default_suppressions();

extern "C" const char* __tsan_default_suppressions()
{
    return "race:ServiceControl.cpp\n"
           "race:ServiceControlTest.cpp\n"
           "race:libQt5Core.so.5\n"
           "race:libQt5DBus.so.5\n"
           "race:libdbus-1.so.3\n"
           "called_from_lib:libQt5DBus.so.5\n"
           "called_from_lib:libdbus-1.so.3\n";
}
#endif
