// What a program does with the library, for tests that need a process of its own. It needs nothing
// of the project but the library. Prints what the tests ask about, a word a line.

#include <zulog/Logger.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(LOGDESK_THREAD_SANITIZER)
// It would end a child that starts a thread, which is just what is to be shown to work.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options()
{
    return "die_after_fork=0";
}
#endif

namespace {

using namespace std::chrono_literals;

void configure(std::size_t queueBytes, unsigned exitMilliseconds)
{
    zulog_options options{};
    options.size = sizeof options;
    options.queue_bytes = queueBytes;
    options.exit_milliseconds = exitMilliseconds;
    options.configuration_milliseconds = 20;
    if (zulog_configure(&options) != ZULOG_RESULT_OK)
        std::exit(3);
}

void say(const std::string& word)
{
    std::printf("%s\n", word.c_str());
    std::fflush(stdout);
}

/// Until the test closes its end, or writes a line.
void waitForTheTest()
{
    while (std::getchar() > '\n') {
    }
}

int number(const char* text)
{
    return std::atoi(text);
}

/// COUNT messages, then the end at once.
int several(int count)
{
    configure(std::size_t{64} << 20, 20000);
    zulog::Logger log("Several");
    for (int i = 0; i < count; ++i)
        log.info(std::to_string(i));
    return 0;
}

/// From THREADS threads, EACH from each.
int burst(int threads, int each)
{
    configure(std::size_t{64} << 20, 60000);
    zulog::Logger log("Burst", "group");
    std::vector<std::thread> running;
    for (int thread = 0; thread < threads; ++thread)
        running.emplace_back([&, thread] {
            for (int i = 0; i < each; ++i)
                log.info(std::to_string(thread) + ' ' + std::to_string(i));
        });
    for (std::thread& thread : running)
        thread.join();
    say(std::to_string(zulog::droppedMessages()));
    return 0;
}

/// Into a small queue, with a service only when the test says so.
int drops(int count)
{
    configure(65536, 20000);
    zulog::Logger log("Drops", "group");
    for (int i = 0; i < count; ++i)
        log.info(std::to_string(i));
    say(std::to_string(zulog::droppedMessages()));
    waitForTheTest();
    if (!zulog::flush(20s))
        return 1;
    log.info("room again");
    return zulog::flush(20s) ? 0 : 1;
}

/// How long a process takes to end that logs without a service.
int alone()
{
    zulog::Logger log("Alone");
    for (int i = 0; i < 100; ++i)
        log.err("nobody listens");
    say(zulog::flush(10ms) ? "taken" : "not taken");
    return 0;
}

struct Announcer
{
    explicit Announcer(const char* name)
        : name_(name)
    {
        log().info(name_ + " begins");
    }
    ~Announcer() { log().info(name_ + " ends"); }
    static const zulog::Logger& log()
    {
        static const zulog::Logger logger("Statics");
        return logger;
    }
    std::string name_;
};

// Only made in a run that asks for it, but before main.
bool isAskedFor(const char* name)
{
    const char* wanted = std::getenv("CLIENT_PROGRAM_STATICS");
    return wanted != nullptr && std::strcmp(wanted, name) == 0;
}
const Announcer* const beforeMain = isAskedFor("before") ? new Announcer("before main") : nullptr;
struct Destroyer
{
    ~Destroyer() { delete beforeMain; }
};
const Destroyer destroyer;

int statics()
{
    Announcer::log().info("main");
    return 0;
}

int waitFor(pid_t child)
{
    int status = -1;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 99;
}

/// A child that ends by itself as soon as it has logged, and a grandchild.
int forks()
{
    configure(0, 20000);
    zulog::Logger log("Forks");
    log.info("parent before");
    if (!zulog::flush(20s))
        return 1;
    const pid_t child = ::fork();
    if (child == 0) {
        log.info("child");
        const pid_t grandchild = ::fork();
        if (grandchild == 0) {
            log.info("grandchild");
            std::exit(0);
        }
        std::exit(waitFor(grandchild));
    }
    say(std::to_string(::getpid()));
    say(std::to_string(child));
    const int status = waitFor(child);
    log.info("parent after");
    return status;
}

/// Children that are made while COUNT messages wait for a service and threads go on logging.
int forksUnderLoad(int count)
{
    configure(std::size_t{4} << 20, 20000);
    zulog::Logger log("Parent");
    for (int i = 0; i < count; ++i)
        log.info(std::to_string(i));
    std::atomic<bool> isOver{false};
    zulog::Logger noise("Noise");
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([&] {
            while (!isOver)
                noise.info("noise");
        });
    int status = 0;
    for (int i = 0; i < 20; ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            zulog::Logger own("Child");
            own.info(std::to_string(i));
            const bool isOwn = zulog::droppedMessages() == 0;
            // No static object of the threads' parent may be torn down here.
            zulog::flush(10ms);
            ::_exit(isOwn ? 0 : 1);
        }
        status |= waitFor(child);
    }
    isOver = true;
    for (std::thread& thread : threads)
        thread.join();
    say("forked");
    waitForTheTest();
    return status != 0 ? status : zulog::flush(20s) ? 0 : 1;
}

/// SIGUSR1, blocked by the only other thread, must stay pending.
int signals()
{
    zulog::Logger log("Signals");
    log.info("the thread runs");
    if (!zulog::flush(20s))
        return 1;
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGUSR1);
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    ::kill(::getpid(), SIGUSR1); // would end the process if any thread took it
    log.info("still here");
    if (!zulog::flush(20s))
        return 1;
    sigset_t pending;
    ::sigpending(&pending);
    return sigismember(&pending, SIGUSR1) == 1 ? 0 : 2;
}

/// No file can be opened, and no socket.
int poor()
{
    zulog::Logger log("Poor");
    rlimit usual{};
    ::getrlimit(RLIMIT_NOFILE, &usual);
    const rlimit none{0, usual.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &none);
    for (int i = 0; i < 1000; ++i)
        log.info("nowhere to go");
    const bool isTaken = zulog::flush(10ms);
    ::setrlimit(RLIMIT_NOFILE, &usual);
    return isTaken ? 1 : 0;
}

/// Levels are read as a program sees them, one for each line the test sends.
int levels()
{
    configure(0, 1000);
    zulog::Logger log("Levels");
    log.debug("the first message has the service looked for");
    for (;;) {
        const int c = std::getchar();
        if (c == EOF)
            return 0;
        if (c == '\n')
            say(std::to_string(static_cast<unsigned>(log.level())));
    }
}

} // namespace

int main(int argc, char** argv)
{
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "several" && argc == 3)
        return several(number(argv[2]));
    if (what == "burst" && argc == 4)
        return burst(number(argv[2]), number(argv[3]));
    if (what == "drops" && argc == 3)
        return drops(number(argv[2]));
    if (what == "alone")
        return alone();
    if (what == "statics")
        return statics();
    if (what == "forks")
        return forks();
    if (what == "forks-under-load" && argc == 3)
        return forksUnderLoad(number(argv[2]));
    if (what == "signals")
        return signals();
    if (what == "poor")
        return poor();
    if (what == "levels")
        return levels();
    return 2;
}
