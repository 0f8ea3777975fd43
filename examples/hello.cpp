#include <zulog/Logger.h>

int main()
{
    zulog::Logger log("HelloCpp", "greetings");
    log.info("Hello from C++");
}
