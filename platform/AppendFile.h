#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zuLogging::platform {

/// A regular file to whose end text is written, or one that is written anew. It is never opened
/// through a symbolic link in its own name; a pipe or a device in its place is refused without
/// waiting for it, and so is a file that has more than one name. A new one may be read by its group
/// and by nobody else.
class AppendFile
{
public:
    enum class Mode
    {
        Append, ///< for `append`
        Rewrite ///< for `writeAt`; opening it empties it
    };

    AppendFile() = default;
    ~AppendFile();
    AppendFile(AppendFile&& other) noexcept;
    AppendFile& operator=(AppendFile&& other) noexcept;
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;

    /// Opens, or makes, the file `relative` (parts separated by /) below `folder`. No part of
    /// `relative` may be ".." or a symbolic link; the folders on the way must be there. False, with
    /// `error` filled, on failure.
    bool openInside(const std::string& folder, const std::string& relative, std::string& error,
                    Mode mode = Mode::Append);
    /// The same for a path whose folders may be symbolic links.
    bool open(const std::string& path, std::string& error, Mode mode = Mode::Append);
    bool isOpen() const noexcept { return handle_ >= 0; }
    void close() noexcept;

    /// Writes all of `text`, or says in `error` why not; `written` then tells how much of it is
    /// there.
    bool append(std::string_view text, std::size_t& written, std::string& error);

    /// Writes all of `text` from the byte `position` on, over what is there, or says in `error` why
    /// not; a part of it may then be there.
    bool writeAt(std::uint64_t position, std::string_view text, std::string& error);

private:
    bool take(int handle, Mode mode, std::string& error);

    int handle_ = -1;
};

} // namespace zuLogging::platform
