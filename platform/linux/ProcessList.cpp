#include "platform/linux/ProcessList.h"

#include "platform/ProcessList.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>

namespace zuLogging::platform {

namespace {

constexpr std::size_t maximumProcesses = 1024;

// What the system appends to the path of a program whose file is gone.
constexpr char deletedMark[] = " (deleted)";

struct CloseFolder
{
    void operator()(DIR* folder) const { ::closedir(folder); }
};

std::optional<std::uint64_t> numberOf(const char* text)
{
    std::uint64_t number = 0;
    const char* end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, number);
    if (error != std::errc() || stop != end || number == 0)
        return std::nullopt;
    return number;
}

/// Nothing for a process that may not be looked at, has no program (the kernel's own) or is gone.
std::optional<std::string> programName(const std::string& link)
{
    std::array<char, PATH_MAX> buffer{};
    const ssize_t length = ::readlink(link.c_str(), buffer.data(), buffer.size());
    if (length <= 0)
        return std::nullopt;
    std::string path(buffer.data(), static_cast<std::size_t>(length));
    constexpr std::size_t markLength = sizeof deletedMark - 1;
    if (path.size() > markLength &&
        path.compare(path.size() - markLength, markLength, deletedMark) == 0)
        path.resize(path.size() - markLength);
    std::string name = path.substr(path.rfind('/') + 1);
    return name.empty() ? std::nullopt : std::make_optional(std::move(name));
}

} // namespace

std::vector<std::string> programNamesIn(const std::string& processFolder, std::size_t limit)
{
    const std::unique_ptr<DIR, CloseFolder> folder(::opendir(processFolder.c_str()));
    if (!folder)
        return {};
    std::vector<std::uint64_t> processes;
    while (const dirent* entry = ::readdir(folder.get()))
        if (const std::optional<std::uint64_t> number = numberOf(entry->d_name))
            processes.push_back(*number);
    std::sort(processes.begin(), processes.end());
    processes.resize(std::min(processes.size(), limit));

    std::vector<std::string> names;
    for (const std::uint64_t process : processes)
        if (std::optional<std::string> name =
                programName(processFolder + '/' + std::to_string(process) + "/exe"))
            names.push_back(std::move(*name));
    return names;
}

std::vector<std::string> runningProgramNames()
{
    return programNamesIn("/proc", maximumProcesses);
}

} // namespace zuLogging::platform
