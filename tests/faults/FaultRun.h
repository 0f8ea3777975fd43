#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <string>
#include <vector>

namespace zuLogging::test {

/// At which call for a file something happens to a program, and what (FileFaults.cpp has the
/// rules).
struct Fault
{
    const char* mode = "fail";
    int code = 0; ///< an errno
    int call = 0; ///< from 1 on; 0: none, and the names of all calls are kept

    bool kills() const;
};

/// What became of the program.
struct FaultRun
{
    int status = -1; ///< -1: it was killed, or did not run
    int signal = 0;
    /// The name of the call at which it happened; empty when the program made fewer calls. Without
    /// a fault the names of all calls.
    QStringList calls;
    std::string err; ///< what it wrote to standard error
};

/// Every way in which a call may fail.
const std::vector<Fault>& everyFault();

/// Runs a built program to its end with the fault, which concerns what lies below `watched`.
/// `environment`: NAME=VALUE, before this process's own. `whileRunning`, if given, is called with
/// the process's number once it runs, and again until it says false or the process has ended.
FaultRun runWithFault(const QString& program, const QStringList& arguments,
                      const QStringList& watched, const Fault& fault,
                      const QStringList& environment = {},
                      const std::function<bool(int)>& whileRunning = {});

/// For messages of a failed check.
std::string describe(const Fault& fault, const FaultRun& run);

} // namespace zuLogging::test
