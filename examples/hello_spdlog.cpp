#include <zulog/SpdlogSink.h>

#include <spdlog/spdlog.h>

int main()
{
    spdlog::logger log("greetings", std::make_shared<zulog::SpdlogSink>("HelloSpdlog"));
    log.info("Hello from {}", "spdlog");
}
