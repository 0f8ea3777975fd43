#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <set>
#include <string>

namespace zuLogging::test {

/// What a program of the system did.
struct ToolOutput
{
    int status = -1; ///< stays so when it did not start, or did not end within the limit
    QString out;
    QString err;
};

/// `environment`: NAME=VALUE, added to this process's own.
ToolOutput runSystemTool(const QString& program, const QStringList& arguments,
                         const QStringList& environment = {}, int limitMs = 60000);

/// A file of the checkout.
QString sourcePath(const QString& relative);
/// One of its folder packaging.
QString packagingFile(const QString& name);

/// The whole file; empty, and the test has failed, when it cannot be read.
QString textOf(const QString& path);

/// What bash offers, sorted, with the cursor at the end of the last word. The words are as bash
/// takes a line apart: an equals sign is one of its own. `folder`: where the programs are looked
/// for first; empty: the built ones.
QStringList completionsOf(const QStringList& words, const QString& folder = {});

using Options = std::set<std::string>;

/// The names in which a help text lists options: "--long" and "-s".
Options optionsInHelp(const QString& help);

} // namespace zuLogging::test
