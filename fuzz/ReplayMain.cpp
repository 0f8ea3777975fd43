// Runs a target once with each file of the given folders, for compilers that have no fuzzer: what
// was found once stays a test.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<std::filesystem::path> filesIn(const char* place)
{
    std::vector<std::filesystem::path> files;
    if (std::filesystem::is_regular_file(place))
        return {place};
    for (const auto& entry : std::filesystem::recursive_directory_iterator(place))
        if (entry.is_regular_file())
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

bool run(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
    if (!file.is_open() || file.bad())
        return false;
    // Told before: should the target end the program, this line names the input.
    std::printf("%s (%zu bytes)\n", path.filename().string().c_str(), bytes.size());
    std::fflush(stdout);
    // A copy of just that size: what is read behind its end is seen by the address sanitizer.
    std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    input.shrink_to_fit();
    LLVMFuzzerTestOneInput(input.data(), input.size());
    return true;
}

} // namespace

int main(int count, char* arguments[])
{
    try {
        LLVMFuzzerTestOneInput(nullptr, 0);
        std::size_t files = 0;
        for (int i = 1; i < count; ++i) {
            for (const std::filesystem::path& path : filesIn(arguments[i])) {
                if (!run(path)) {
                    std::fprintf(stderr, "cannot read %s\n", path.string().c_str());
                    return 1;
                }
                ++files;
            }
        }
        if (files == 0) {
            std::fprintf(stderr, "there are no inputs\n");
            return 1;
        }
        std::printf("%zu inputs\n", files);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "an exception left the target: %s\n", error.what());
        return 1;
    }
}
