#pragma once

#include <QStringList>

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace zuLogging {

/// Exit status for arguments that cannot be used.
inline constexpr int exitStatusUsage = 2;

/// What the program's own arguments ask for: `logdesk [OPTION...] [--] [FILE...]`. Those of the
/// window system are its library's, which takes them out of the list when the application object is
/// made; so they are looked at in two steps.
class ProgramArguments
{
public:
    /// Before the application object: takes `--` and what stands behind it out of `argv`.
    ProgramArguments(int& argc, char** argv);

    /// Help and version need no display: written to `out`, and the exit status; empty when neither
    /// was asked for.
    std::optional<int> answer(std::ostream& out) const;

    /// Behind the application object, with what it left. False when there is an unknown option or
    /// a file that is not there: each is told to `err` in a line.
    bool readFiles(int argc, char** argv, std::ostream& err);

    /// The files to be opened, with absolute paths.
    const QStringList& files() const { return files_; }

private:
    bool addFile(const std::string& name, std::ostream& err);

    std::vector<std::string> options_; ///< all that stands before `--`
    std::vector<std::string> behind_;  ///< names only
    QStringList files_;
};

} // namespace zuLogging
