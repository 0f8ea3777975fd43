#include "app/ProgramArguments.h"

#include "platform/Desktop.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstring>
#include <ostream>

namespace zuLogging {

namespace {

/// What was typed may hold line ends, or what a terminal obeys; a message is one line all the same.
std::string quoted(std::string text)
{
    std::replace_if(
        text.begin(), text.end(),
        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, '?');
    return '\'' + text + '\'';
}

} // namespace

ProgramArguments::ProgramArguments(int& argc, char** argv)
{
    int end = 1;
    while (end < argc && std::strcmp(argv[end], "--") != 0)
        ++end;
    if (end >= argc) {
        options_.assign(argv + std::min(argc, 1), argv + argc);
        return;
    }
    options_.assign(argv + 1, argv + end);
    behind_.assign(argv + end + 1, argv + argc);
    argv[end] = nullptr;
    argc = end;
}

std::optional<int> ProgramArguments::answer(std::ostream& out) const
{
    for (const std::string& option : options_) {
        if (option == "--help" || option == "-h") {
            out << "Usage: logdesk [OPTION...] [--] [FILE...]\n\n"
                   "Shows the messages of this machine's log service, and those of the log files\n"
                   "FILE: text, JSON as the window saves it, or what 'zulog tail --json' wrote.\n\n"
                   "  -h, --help   show this text and end\n"
                   "  --version    show the version and end\n\n"
                   "Options of the window system, such as -platform, may be given as well.\n";
            return out.flush() ? 0 : 1;
        }
        if (option == "--version") {
            out << "logdesk " << platform::productVersion() << '\n';
            return out.flush() ? 0 : 1;
        }
    }
    return std::nullopt;
}

bool ProgramArguments::readFiles(int argc, char** argv, std::ostream& err)
{
    bool good = true;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument.size() > 1 && argument.front() == '-') {
            err << "logdesk: unrecognised option " << quoted(argument)
                << "; try 'logdesk --help'\n";
            good = false;
        } else if (!addFile(argument, err)) {
            good = false;
        }
    }
    for (const std::string& name : behind_)
        good = addFile(name, err) && good;
    err.flush();
    return good;
}

bool ProgramArguments::addFile(const std::string& name, std::ostream& err)
{
    const QFileInfo file(QFile::decodeName(name.c_str()));
    if (name.empty() || !file.exists()) {
        err << "logdesk: there is no file " << quoted(name) << '\n';
        return false;
    }
    files_.append(file.absoluteFilePath());
    return true;
}

} // namespace zuLogging
