#include "benchmarks/Peers.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>

namespace zuLogging::benchmarks {

std::optional<double> peerSeconds(const std::string& name)
{
    const char* path = std::getenv("LOGDESK_BENCHMARK_PEERS");
    if (!path)
        return std::nullopt;
    std::ifstream figures(path);
    std::string found;
    double seconds = 0;
    while (figures >> found >> seconds) {
        if (found == name)
            return seconds;
    }
    return std::nullopt;
}

bool writeTextLog(const std::string& path, int lines)
{
    constexpr const char* texts[] = {"Order accepted and passed on to the next one in line",
                                     "Client refused the offer and was told to come again later",
                                     "Drive ready after waiting for the axis to be in position",
                                     "Timeout while waiting for an answer of the other side"};
    constexpr const char* levels[] = {"INFO", "INFO", "INFO", "WARN", "DEBUG", "ERROR"};
    std::ofstream file(path, std::ios::binary);
    std::mt19937 random(1);
    char line[256];
    for (int number = 1; number <= lines; ++number) {
        const int length = std::snprintf(
            line, sizeof line,
            "2026-03-04 17:%02d:%02d.%06d %s OrderService%u Network %s (number %09d, request %08x, "
            "session %08x) after %u ms",
            number / 60 / 1000 % 60, number / 1000 % 60, number % 1000 * 1000, levels[random() % 6],
            static_cast<unsigned>(random() % 10), texts[random() % 4], number,
            static_cast<unsigned>(random()), static_cast<unsigned>(random()),
            static_cast<unsigned>(random() % 1000));
        std::string text(line, static_cast<std::size_t>(length));
        text.resize(179, '.');
        file << text << '\n';
    }
    file.close();
    return file.good();
}

} // namespace zuLogging::benchmarks
