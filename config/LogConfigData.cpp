#include "config/LogConfigData.h"

#include "config/TableModel.h"
#include "config/TreeModel.h"
#include "logging/LogSvcError.h"

#include <QFile>

#include <exception>
#include <utility>

namespace zuLogging {

namespace {

constexpr const char* fixedModuleNames[] = {"ARZ",     "Brisket", "Corvane",
                                            "Dunmore", "Estrel",  "Fenwick"};

QString loadFailure(const char* cause)
{
    return LogConfigData::tr("Failed to load the configuration file and modules (%1)")
        .arg(QString::fromUtf8(cause));
}

} // namespace

LogConfigData* LogConfigData::instance()
{
    static LogConfigData* const theInstance = new LogConfigData;
    return theInstance;
}

LogConfigData::LogConfigData()
{
    replaceModels();
}

LogConfigData::~LogConfigData() = default;

void LogConfigData::replaceModels()
{
    tableModel_.reset();
    treeModel_ = std::make_unique<TreeModel>();
    tableModel_ = std::make_unique<TableModel>(treeModel_.get());
}

QString LogConfigData::loadConfiguration(const QString& path)
{
    replaceModels();
    QString failure;
    try {
        if (path.isEmpty()) {
            downloadConfiguration();
            moduleNames();
            treeModel_->setupModelData(configurationTree(), tableModel_.get());
        } else {
            treeModel_->setupModelData(
                readPropertyTreeObjectFile(QFile::encodeName(path).toStdString()),
                tableModel_.get());
        }
        return QString();
    } catch (const std::exception& error) {
        failure = loadFailure(error.what());
    } catch (...) {
        failure = loadFailure("Unknown exception");
    }
    if (treeModel_->rowCount() != 0 || tableModel_->rowCount() != 0)
        replaceModels();
    return path.isEmpty() ? failure
                          : tr("Failed to load the configuration from file '%1'").arg(path);
}

QString LogConfigData::saveConfiguration()
{
    PropertyTree tree;
    treeModel_->toPropertyTree(treeModel_->root(), tree);
    setConfigurationTree(std::move(tree));
    try {
        uploadConfiguration();
    } catch (const LogSvcError& error) {
        return tr("Failed to save the configuration file (%1)")
            .arg(QString::fromUtf8(error.what()));
    }
    modified_ = false;
    return QString();
}

QStringList LogConfigData::moduleNames()
{
    const std::set<std::string> reported = downloadModuleNames();
    moduleNames_.clear();
    for (const std::string& name : reported)
        moduleNames_.append(QString::fromStdString(name));
    for (const char* name : fixedModuleNames)
        if (!moduleNames_.contains(QLatin1String(name), Qt::CaseInsensitive))
            moduleNames_.append(QLatin1String(name));
    return moduleNames_;
}

QStringList LogConfigData::levelNames()
{
    return {QStringLiteral("none"), QStringLiteral("fatal"), QStringLiteral("err"),
            QStringLiteral("warn"), QStringLiteral("info"),  QStringLiteral("trace"),
            QStringLiteral("debug")};
}

QStringList LogConfigData::destinationNames()
{
    return {QStringLiteral("none"), QStringLiteral("logsvc"), QStringLiteral("file")};
}

QStringList LogConfigData::attributeIds()
{
    return {QStringLiteral("module"), QStringLiteral("process")};
}

QStringList LogConfigData::attributeOps()
{
    return {QStringLiteral("in"), QStringLiteral("sub"), QStringLiteral("eq")};
}

} // namespace zuLogging
