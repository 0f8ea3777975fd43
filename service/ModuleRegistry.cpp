#include "service/ModuleRegistry.h"

#include "logging/LogMessage.h"
#include "platform/StoredFile.h"
#include "platform/Trace.h"

#include <QString>

#include <algorithm>
#include <iterator>
#include <utility>

namespace zuLogging {

namespace {

constexpr std::size_t maximumFileSize =
    ModuleRegistry::maximumCount * (ModuleRegistry::maximumLength + 1);

bool isName(std::string_view text)
{
    return !text.empty() && text.size() <= ModuleRegistry::maximumLength &&
           std::all_of(text.begin(), text.end(), [](char character) {
               const auto byte = static_cast<unsigned char>(character);
               return byte >= 0x20 && byte != 0x7F;
           });
}

} // namespace

ModuleRegistry::ModuleRegistry(std::string path)
    : path_(std::move(path))
{
    isRead_ = path_.empty() || read();
    isChanged_ = false;
}

bool ModuleRegistry::read()
{
    const platform::StoredFile file =
        platform::readStoredFile(path_, maximumFileSize, platform::LinkInPlace::Refuse);
    if (file.status == platform::StoredFile::Status::Failed) {
        platform::trace("Failed to read the list of modules '" + path_ + "': " + file.error + "\n");
        return false;
    }
    const std::string_view text = file.bytes;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        // Only whole UTF-8 is served.
        add(QString::fromUtf8(text.data() + start, static_cast<int>(end - start)).toStdString());
        start = end + 1;
    }
    return true;
}

bool ModuleRegistry::note(std::u16string_view name)
{
    if (name.size() > maximumLength)
        return false;
    return add(toQString(name).toStdString());
}

bool ModuleRegistry::add(std::string name)
{
    if (!isName(name))
        return false;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (names_.size() >= maximumCount) {
        if (names_.count(name) == 0 && !std::exchange(isFullSaid_, true))
            platform::trace(std::string_view(
                "There are too many names of modules; further ones are not remembered\n"));
        return false;
    }
    const bool isNew = names_.insert(std::move(name)).second;
    isChanged_ = isChanged_ || isNew;
    return isNew;
}

std::string ModuleRegistry::list(const std::vector<std::string>& configured) const
{
    std::vector<std::string> known;
    std::copy_if(configured.begin(), configured.end(), std::back_inserter(known), isName);
    known.resize(std::min(known.size(), maximumConfiguredCount));
    std::vector<std::string> all;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        std::set_union(known.begin(), known.end(), names_.begin(), names_.end(),
                       std::back_inserter(all));
    }
    std::string bytes;
    for (const std::string& name : all)
        bytes.append(name).push_back('\0');
    return bytes;
}

void ModuleRegistry::save()
{
    if (path_.empty())
        return;
    const std::lock_guard<std::mutex> fileLock(fileMutex_);
    std::string text;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!isChanged_)
            return;
    }
    // Written now, the list would lose the names that could not be read.
    isRead_ = isRead_ || read();
    if (!isRead_)
        return;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isChanged_ = false;
        for (const std::string& name : names_)
            text.append(name).push_back('\n');
    }
    std::string error;
    if (platform::replaceStoredFile(path_, text, error))
        return;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isChanged_ = true;
    }
    platform::trace("Failed to write the list of modules '" + path_ + "': " + error + "\n");
}

} // namespace zuLogging
