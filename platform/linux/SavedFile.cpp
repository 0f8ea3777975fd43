#include "platform/SavedFile.h"

#include "platform/linux/DiskSync.h"
#include "platform/linux/ErrorText.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <sys/stat.h>

#include <cerrno>
#include <utility>

namespace zuLogging::platform {

SavedFile::SavedFile(const QString& path, Rights rights)
    : file_(std::make_unique<QSaveFile>(path))
    , rights_(rights)
{
}

SavedFile::~SavedFile() = default;

bool SavedFile::open()
{
    const QFileInfo present(file_->fileName());
    const bool isNew = !present.exists();
    // The name of a device or a pipe would be taken from it by the renaming.
    if (!isNew && !present.isFile())
        return fail("not a regular file");
    if (!file_->open(QIODevice::WriteOnly))
        return fail(file_->errorString().toStdString());
    if (isNew && rights_ == Rights::OwnerOnly &&
        ::fchmod(file_->handle(), S_IRUSR | S_IWUSR) != 0) {
        const int code = errno;
        file_->cancelWriting();
        return fail(errorText(code));
    }
    return true;
}

QIODevice& SavedFile::device()
{
    return *file_;
}

void SavedFile::hastenCommit()
{
    constexpr std::int64_t worthAsking = 8 * 1024 * 1024;
    const std::int64_t written = file_->pos();
    if (written - hastened_ < worthAsking)
        return;
    beginSync(file_->handle(), hastened_, written - hastened_);
    hastened_ = written;
}

bool SavedFile::commit()
{
    // Asked for here: the file class passes over what the system says to it.
    if (file_->flush() && !syncToDisk(file_->handle())) {
        const int code = errno;
        file_->cancelWriting();
        file_->commit();
        return fail(errorText(code));
    }
    const QFileInfo named(file_->fileName());
    if (!file_->commit())
        return fail(file_->errorString().toStdString());
    const QString target = named.canonicalFilePath();
    syncFolderOf(QFile::encodeName(target.isEmpty() ? named.filePath() : target).toStdString());
    return true;
}

bool SavedFile::fail(std::string error)
{
    error_ = std::move(error);
    return false;
}

} // namespace zuLogging::platform
