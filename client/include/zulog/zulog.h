#ifndef ZULOG_ZULOG_H
#define ZULOG_ZULOG_H

/*
 * Messages to this machine's log service, from C or from any language that can call C.
 *
 *     zulog_logger* logger = zulog_logger_create("module", "group");
 *     ZULOG_INFO(logger, "%d devices found", count);
 *     zulog_logger_destroy(logger);
 *
 * No function waits for the service, except zulog_flush, which is told how long. Messages go into a
 * queue in memory; a thread of the library sends them from there. Every function may be called on
 * any thread, before main and after it, and in a child process after fork. zulog_logger_destroy
 * alone must not run beside other calls with the same logger.
 *
 * Texts are UTF-8. Bytes that are not are shown as U+FFFD by whoever reads the log.
 */

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define ZULOG_API __attribute__((visibility("default")))
#define ZULOG_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define ZULOG_API
#define ZULOG_PRINTF(text, first)
#endif

#ifdef __cplusplus
#define ZULOG_NOEXCEPT noexcept
extern "C" {
#else
#define ZULOG_NOEXCEPT
#endif

/* Single bits, from the most severe to the most verbose. A message has one of the last six; a
 * logger whose level is "none" lets nothing through. */
typedef enum zulog_level
#ifdef __cplusplus
    : unsigned int /* a caller may pass any number; those that are no level are refused */
#endif
{
    ZULOG_LEVEL_NONE = 0,
    ZULOG_LEVEL_FATAL = 1,
    ZULOG_LEVEL_ERR = 2,
    ZULOG_LEVEL_WARN = 4,
    ZULOG_LEVEL_INFO = 8,
    ZULOG_LEVEL_TRACE = 16,
    ZULOG_LEVEL_DEBUG = 32
} zulog_level;

typedef enum zulog_result
{
    ZULOG_RESULT_OK = 0,
    ZULOG_RESULT_FILTERED = 1,         /* the logger's level does not let the message through */
    ZULOG_RESULT_DROPPED = 2,          /* the queue is full, or the process ends; it was counted */
    ZULOG_RESULT_TIMED_OUT = 3,        /* the time was over first */
    ZULOG_RESULT_INVALID_ARGUMENT = 4, /* nothing was done */
    ZULOG_RESULT_TOO_LATE = 5          /* the first message has come already; nothing was done */
} zulog_result;

/* As the length of a text: it ends at its first NUL. */
#define ZULOG_NUL_TERMINATED ((size_t)-1)

/* A logger of one module and group. Its member is for zulog_enabled alone. */
typedef struct zulog_logger
{
    unsigned threshold;
} zulog_logger;

/* Names are cut to 255 bytes; NULL is taken for "". The logger's level follows the service's
 * configuration until zulog_logger_set_level is called. NULL only if there is no memory, which the
 * other functions put up with: nothing is enabled then. */
ZULOG_API zulog_logger* zulog_logger_create(const char* module, const char* group) ZULOG_NOEXCEPT;

/* What the logger has taken is still sent. NULL is allowed. */
ZULOG_API void zulog_logger_destroy(zulog_logger* logger) ZULOG_NOEXCEPT;

/* 1 if a message of this level would be taken, else 0. */
ZULOG_API int zulog_logger_is_enabled(const zulog_logger* logger, zulog_level level) ZULOG_NOEXCEPT;

/* The same without a call: one load from memory. */
static inline int zulog_enabled(const zulog_logger* logger, zulog_level level) ZULOG_NOEXCEPT
{
#if defined(__GNUC__)
    return logger != NULL &&
           (unsigned)level * 2U - 1U < __atomic_load_n(&logger->threshold, __ATOMIC_RELAXED);
#else
    return zulog_logger_is_enabled(logger, level);
#endif
}

/* `file` (NULL: none) and `line` are where the call stands in the source; they become the message's
 * position "file:line". A text too long for its packet (about 1,300 bytes fit) ends in "...". */
ZULOG_API zulog_result zulog_logger_log(const zulog_logger* logger, zulog_level level,
                                        const char* file, int line, const char* text,
                                        size_t length) ZULOG_NOEXCEPT;

/* The same with a text put together as printf does it. */
ZULOG_API zulog_result zulog_logger_logf(const zulog_logger* logger, zulog_level level,
                                         const char* file, int line, const char* format,
                                         ...) ZULOG_NOEXCEPT ZULOG_PRINTF(5, 6);

/* A format as for printf, and what it asks for, which is looked at only if the level is enabled. */
#define ZULOG_LOG(logger, level, ...)                                                              \
    (zulog_enabled((logger), (level))                                                              \
         ? zulog_logger_logf((logger), (level), __FILE__, __LINE__, __VA_ARGS__)                   \
         : ZULOG_RESULT_FILTERED)
#define ZULOG_FATAL(logger, ...) ZULOG_LOG(logger, ZULOG_LEVEL_FATAL, __VA_ARGS__)
#define ZULOG_ERR(logger, ...) ZULOG_LOG(logger, ZULOG_LEVEL_ERR, __VA_ARGS__)
#define ZULOG_WARN(logger, ...) ZULOG_LOG(logger, ZULOG_LEVEL_WARN, __VA_ARGS__)
#define ZULOG_INFO(logger, ...) ZULOG_LOG(logger, ZULOG_LEVEL_INFO, __VA_ARGS__)
#define ZULOG_TRACE(logger, ...) ZULOG_LOG(logger, ZULOG_LEVEL_TRACE, __VA_ARGS__)
#define ZULOG_DEBUG(logger, ...) ZULOG_LOG(logger, ZULOG_LEVEL_DEBUG, __VA_ARGS__)

/* A message on behalf of somebody else, such as another logging library. Set all of it to zero,
 * then `size`, then what is known. */
typedef struct zulog_message
{
    size_t size; /* sizeof(zulog_message) */
    zulog_level level;
    int line;
    const char* file; /* NULL: no position */
    size_t file_length;
    const char* group; /* NULL: the logger's group */
    size_t group_length;
    const char* text;
    size_t text_length;
    uint64_t thread; /* 0: the calling thread's number */
    uint64_t time;   /* microseconds since 1970-01-01 00:00 UTC; 0: now */
} zulog_message;

ZULOG_API zulog_result zulog_logger_log_message(const zulog_logger* logger,
                                                const zulog_message* message) ZULOG_NOEXCEPT;

/* From now on this level counts and not the configuration's (which the service still applies to
 * what it is sent). */
ZULOG_API zulog_result zulog_logger_set_level(zulog_logger* logger,
                                              zulog_level level) ZULOG_NOEXCEPT;

/* The configuration's level counts again, from the next look at it on. */
ZULOG_API zulog_result zulog_logger_follow_service(zulog_logger* logger) ZULOG_NOEXCEPT;

/* The level in force; ZULOG_LEVEL_NONE also for NULL. Before the service was looked for it is
 * ZULOG_LEVEL_DEBUG: what is not wanted will be sorted out behind the queue. */
ZULOG_API zulog_level zulog_logger_level(const zulog_logger* logger) ZULOG_NOEXCEPT;

/* Messages of this process that were thrown away: there was no room in the queue, or the process
 * was ending. */
ZULOG_API uint64_t zulog_dropped_messages(void) ZULOG_NOEXCEPT;

/* Waits until the service has taken everything that this thread logged before, at most so long.
 * ZULOG_RESULT_TIMED_OUT: it has not, and the library goes on trying. */
ZULOG_API zulog_result zulog_flush(unsigned milliseconds) ZULOG_NOEXCEPT;

/* Set all of it to zero, then `size`, then what is not to be the default. */
typedef struct zulog_options
{
    size_t size; /* sizeof(zulog_options) */
    /* Memory of the queue, 65,536 to 1,073,741,824, rounded up to a power of two. A message takes
     * its texts and about 50 bytes. 0: 4,194,304. */
    size_t queue_bytes;
    /* How long the end of the process may wait for the service to take what is queued, 1 to 60,000.
     * 0: 1,000. */
    unsigned exit_milliseconds;
    /* How often the service's configuration is looked at, 10 to 3,600,000. 0: 2,000. */
    unsigned configuration_milliseconds;
} zulog_options;

/* Before the process's first message. */
ZULOG_API zulog_result zulog_configure(const zulog_options* options) ZULOG_NOEXCEPT;

#define ZULOG_VERSION "1.0.0"
/* That of the library in use. */
ZULOG_API const char* zulog_version(void) ZULOG_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
