#pragma once

#include "config/LogConfigControl.h"

#include <QCoreApplication>
#include <QString>
#include <QStringList>

#include <memory>

namespace zuLogging {

class TableModel;
class TreeModel;

/// The process's one configuration object: what the service was told to log, as the two models that
/// the configuration view shows, and whether it was changed here since. GUI thread only.
class LogConfigData : public LogConfigControl
{
    Q_DECLARE_TR_FUNCTIONS(zuLogging::LogConfigData)

public:
    /// Made on first use and kept until the process ends. Throws what the base's constructor
    /// throws; the next call then tries again.
    static LogConfigData* instance();

    LogConfigData();
    ~LogConfigData() override;

    /// Replaces both models by those of the document at `path`, or of the service when `path` is
    /// empty (and then refreshes the module list). Returns an empty text on success, else what to
    /// tell the user; both models are empty then. Leaves the modified flag as it is. Never throws.
    ///
    /// Bytes of a text that are no UTF-8 become U+FFFD or, where the reader refuses them, an error.
    QString loadConfiguration(const QString& path);
    /// Sends what the tree model holds to the service. Returns an empty text on success (and clears
    /// the modified flag), else what to tell the user. What this loses of a document: the kind of a
    /// value (all become strings; an empty list or object an empty string), the keys of the members
    /// of a list, and the list form of objects in a list with any other name.
    QString saveConfiguration();

    /// Asks the service and adds the fixed module names that it does not report. Throws
    /// LogSvcError.
    QStringList moduleNames();
    /// The list of the last `moduleNames` call.
    const QStringList& lastModuleNames() const { return moduleNames_; }

    // What the dialogs offer, most restrictive first.
    static QStringList levelNames();
    static QStringList destinationNames();
    static QStringList attributeIds();
    static QStringList attributeOps();

    /// Never null. Replaced, and the old ones deleted, by every load.
    TreeModel* treeModel() const { return treeModel_.get(); }
    TableModel* tableModel() const { return tableModel_.get(); }

    /// Edited in the view and not saved since.
    bool isModified() const { return modified_; }
    void setModified(bool modified) { modified_ = modified; }

private:
    void replaceModels();

    std::unique_ptr<TreeModel> treeModel_;
    std::unique_ptr<TableModel> tableModel_; ///< goes before the tree model it points into
    QStringList moduleNames_;
    bool modified_ = false;
};

} // namespace zuLogging
