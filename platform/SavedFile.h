#pragma once

#include <cstdint>
#include <memory>
#include <string>

class QIODevice;
class QSaveFile;
class QString;

namespace zuLogging::platform {

/// A file that a person has chosen or owns, replaced as a whole: what is written goes to a file of
/// another name, which takes the place of the old one once it is on the disk. A crash, a full disk
/// or a failure at any moment leaves the old file or the new one. A symbolic link stays, and the
/// file to which it leads is replaced: people keep files elsewhere on purpose. A file that is
/// replaced keeps its permissions. Anything else than a regular file is refused. One thread at a
/// time.
class SavedFile
{
public:
    /// What a new file may be used for, and by whom.
    enum class Rights
    {
        AsMasked, ///< as this process's mask has it: a file that the user hands to others
        OwnerOnly
    };

    explicit SavedFile(const QString& path, Rights rights = Rights::AsMasked);
    /// Without a commit that succeeded the old file is in place and nothing else is left.
    ~SavedFile();
    SavedFile(const SavedFile&) = delete;
    SavedFile& operator=(const SavedFile&) = delete;

    /// To be called first. False, with `error` filled, when nothing can be written there.
    bool open();
    /// Where the new content goes. Valid once open.
    QIODevice& device();
    /// To be called now and then between writes: the disk begins with what was written, so that a
    /// commit of a large file has less to wait for.
    void hastenCommit();
    /// Puts the new file in the place of the old one. False, with `error` filled and the old file
    /// in place, also when a write failed before. To be called once.
    bool commit();
    const std::string& error() const { return error_; }

private:
    bool fail(std::string error);

    std::unique_ptr<QSaveFile> file_;
    const Rights rights_;
    std::int64_t hastened_ = 0; ///< bytes that the disk has been asked for
    std::string error_;
};

} // namespace zuLogging::platform
