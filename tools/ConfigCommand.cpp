#include "tools/ConfigCommand.h"

#include "logging/ConnectionInfo.h"
#include "logging/LogClient.h"
#include "logging/LogSvcError.h"
#include "logging/PropertyTreeJson.h"
#include "platform/SavedFile.h"
#include "platform/StandardStreams.h"
#include "platform/StoredFile.h"
#include "tools/CommandOptions.h"
#include "tools/InputBytes.h"

#include <QFile>
#include <QIODevice>

#include <boost/property_tree/json_parser.hpp>

#include <iostream>
#include <stdexcept>
#include <string_view>

namespace zuLogging {

namespace {

namespace po = boost::program_options;

/// What the service takes at most.
constexpr std::size_t maximumSize = std::size_t{16} << 20;

/// A file name that stands for a standard stream.
constexpr char standardStreamName[] = "-";

bool isStandardOutputTerminal(const Console& console)
{
    return &console.out == &std::cout && platform::isTerminal(platform::StandardStream::Output);
}

void getConfiguration(const std::string& path, Console& console)
{
    LogClient client(readConnectionInfo());
    const std::string bytes = client.download(LogClientCommand::GetConfiguration);
    if (path == standardStreamName) {
        console.out << bytes;
        // So that the shell's next line does not begin behind it.
        if (isStandardOutputTerminal(console) && !bytes.empty() && bytes.back() != '\n')
            console.out << '\n';
        return;
    }
    platform::SavedFile file(QFile::decodeName(path.c_str()));
    const auto size = static_cast<qint64>(bytes.size());
    if (!file.open() || file.device().write(bytes.data(), size) != size || !file.commit())
        throw std::runtime_error(
            "cannot write '" + path + "': " +
            (file.error().empty() ? file.device().errorString().toStdString() : file.error()));
}

std::string readAll(std::istream& in)
{
    InputBytes input(in);
    std::string bytes;
    for (std::string_view piece = input.peek(); !piece.empty(); piece = input.peek()) {
        bytes += piece;
        input.take(piece.size());
        if (bytes.size() > maximumSize)
            throw std::runtime_error("standard input is longer than 16 MiB");
    }
    if (input.failed())
        throw std::runtime_error("cannot read standard input");
    return bytes;
}

std::string readFile(const std::string& path)
{
    platform::StoredFile file = platform::readStoredFile(path, maximumSize);
    if (file.status != platform::StoredFile::Status::Read)
        throw std::runtime_error("cannot read '" + path + "': " + file.error);
    return std::move(file.bytes);
}

/// `name`: of where the text comes from.
void requireJson(const std::string& bytes, const std::string& name)
{
    const std::string prefix = name + " is not a JSON object";
    try {
        readPropertyTreeObject(bytes);
    } catch (const boost::property_tree::json_parser_error& error) {
        const std::string place = error.line() > 0 ? ", line " + std::to_string(error.line()) : "";
        throw std::runtime_error(prefix + place + ": " + error.message());
    } catch (const boost::property_tree::ptree_error& error) {
        throw std::runtime_error(prefix + ": " + error.what());
    }
}

void putConfiguration(const std::string& path, Console& console)
{
    const bool isStream = path == standardStreamName;
    const std::string bytes = isStream ? readAll(console.in) : readFile(path);
    requireJson(bytes, isStream ? "standard input" : "'" + path + "'");
    LogClient client(readConnectionInfo());
    try {
        client.upload(bytes.data(), bytes.size());
    } catch (const LogSvcError& error) {
        throw std::runtime_error(std::string("the service did not take the configuration: ") +
                                 error.what());
    }
}

} // namespace

ToolExit runConfigCommand(const std::vector<std::string>& words, Console& console)
{
    po::options_description options("Options");
    options.add_options()("help,h", "show this text and end");
    po::options_description all;
    all.add(options).add_options()("verb", po::value<std::string>())("file",
                                                                     po::value<std::string>());
    po::positional_options_description positional;
    positional.add("verb", 1).add("file", 1);

    const po::variables_map values = parseCommandLine(words, all, positional);
    if (values.count("help") != 0) {
        console.out << "Usage: zulog config get [FILE]\n"
                       "       zulog config put FILE\n\n"
                       "get writes the configuration of the log service, byte for byte, to FILE,\n"
                       "which is replaced whole; without FILE, or when it is \"-\", to standard\n"
                       "output.\n\n"
                       "put reads FILE, or standard input when it is \"-\", at most 16 MiB, "
                       "checks\nthat it is a JSON object, and makes it the configuration of the "
                       "service, which\nrefuses what it does not understand.\n\n"
                    << options;
        return ToolExit::Done;
    }
    const std::string verb = values.count("verb") != 0 ? values["verb"].as<std::string>() : "";
    const bool hasFile = values.count("file") != 0;
    const std::string file = hasFile ? values["file"].as<std::string>() : standardStreamName;
    if (verb != "get" && verb != "put")
        throw UsageError(verb.empty() ? "config what: get or put?"
                                      : "there is no 'config " + verb + "', only get and put");
    if (hasFile && file.empty())
        throw UsageError("the name of the file is empty");
    if (verb == "get") {
        getConfiguration(file, console);
    } else {
        if (!hasFile)
            throw UsageError("config put needs a file");
        putConfiguration(file, console);
    }
    return ToolExit::Done;
}

} // namespace zuLogging
