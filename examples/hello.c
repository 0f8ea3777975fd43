#include <zulog/zulog.h>

int main(void)
{
    zulog_logger* logger = zulog_logger_create("HelloC", "greetings");
    ZULOG_INFO(logger, "Hello from C%d", 11);
    zulog_logger_destroy(logger);
    return 0;
}
