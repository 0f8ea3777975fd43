#include "config/PreferencesDialog.h"

#include "logging/LogSvcError.h"
#include "platform/DataDirectory.h"
#include "platform/SavedFile.h"
#include "widgets/Boxes.h"

#include <QFile>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace zuLogging {

namespace {

constexpr int highestRecordLines = 100000000;

const std::string sinksKey = "startup_sinks";
const std::string typeKey = "type";
const std::string recordType = "record";
const std::string sizeKey = "media_size";

// Not get() and put(): they take a dot in a key for a path.
template <class Tree>
auto* memberOf(Tree& tree, const std::string& key)
{
    const auto found = std::find_if(tree.begin(), tree.end(),
                                    [&](const auto& member) { return member.first == key; });
    return found == tree.end() ? nullptr : &found->second;
}

bool isRecordSink(const PropertyTree& sink)
{
    const PropertyTree* type = memberOf(sink, typeKey);
    return type != nullptr && type->data() == recordType;
}

void setMember(PropertyTree& tree, const std::string& key, const std::string& value)
{
    if (PropertyTree* member = memberOf(tree, key))
        *member = PropertyTree(value);
    else
        tree.push_back({key, PropertyTree(value)});
}

std::uint64_t numberIn(const std::string& text)
{
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end)
        throw LogSvcError("'" + text.substr(0, 40) + "' is not a valid number of record lines");
    return number;
}

} // namespace

PreferencesDialog::PreferencesDialog(QWidget* parent)
    : QDialog(parent)
    , path_(QFile::decodeName(platform::dataFilePath("log\\LogSvcConf.json").c_str()))
    , file_(path_)
    , recordLines_(new QSpinBox)
    , group_(new QGroupBox(tr("Service Preferences"), this))
    , okButton_(new QPushButton(tr("OK"), this))
    , cancelButton_(new QPushButton(tr("Cancel"), this))
{
    buildWidgets();
    load();
}

void PreferencesDialog::buildWidgets()
{
    setObjectName(QStringLiteral("preferencesDialog"));
    setWindowTitle(tr("Preferences"));
    setWindowIcon(QIcon(QStringLiteral(":/logging.png")));
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    setModal(true);

    group_->setObjectName(QStringLiteral("preferencesGroup"));
    recordLines_->setObjectName(QStringLiteral("preferencesRecordLines"));
    recordLines_->setRange(0, highestRecordLines);
    auto* label = new QLabel(tr("Number of record lines"));
    label->setObjectName(QStringLiteral("preferencesRecordLinesLabel"));
    label->setBuddy(recordLines_);
    auto* grid = new QGridLayout(group_);
    grid->addWidget(label, 0, 0);
    grid->addWidget(recordLines_, 0, 1);

    okButton_->setObjectName(QStringLiteral("preferencesOk"));
    okButton_->setDefault(true);
    cancelButton_->setObjectName(QStringLiteral("preferencesCancel"));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(okButton_);
    buttons->addWidget(cancelButton_);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(group_);
    layout->addLayout(buttons);
    layout->activate();
    setMinimumSize(layout->sizeHint());
    setMaximumSize(layout->sizeHint());

    setTabOrder(recordLines_, okButton_);
    setTabOrder(okButton_, cancelButton_);
    recordLines_->setFocus();

    connect(cancelButton_, SIGNAL(pressed()), this, SLOT(reject()));
    connect(okButton_, SIGNAL(pressed()), this, SLOT(save()));
}

void PreferencesDialog::load()
{
    if (path_.isEmpty() || !file_.exists()) {
        disableEditing();
        showBox(this, QMessageBox::Critical, windowTitle(),
                tr("Configuration file '%1' does not exist.").arg(path_));
        return;
    }
    QString error;
    try {
        tree_ = readPropertyTreeObjectFile(QFile::encodeName(path_).toStdString());
    } catch (const std::exception& failure) {
        // Writing back what could not be read would lose it.
        disableEditing();
        error = QString::fromUtf8(failure.what());
    }
    if (error.isEmpty()) {
        try {
            showRecordLines();
        } catch (const std::exception& failure) {
            error = QString::fromUtf8(failure.what());
        }
    }
    if (!error.isEmpty())
        showBox(this, QMessageBox::Warning, windowTitle(),
                tr("Failed to load the configuration from file '%1': %2").arg(path_, error));
}

void PreferencesDialog::disableEditing()
{
    group_->setEnabled(false);
    okButton_->setEnabled(false);
    cancelButton_->setFocus();
}

void PreferencesDialog::showRecordLines()
{
    const PropertyTree* sinks = memberOf(tree_, sinksKey);
    if (sinks == nullptr)
        return;
    const auto record = std::find_if(sinks->begin(), sinks->end(),
                                     [](const auto& sink) { return isRecordSink(sink.second); });
    if (record == sinks->end())
        return;
    if (const PropertyTree* size = memberOf(record->second, sizeKey))
        recordLines_->setValue(
            static_cast<int>(std::min<std::uint64_t>(numberIn(size->data()), highestRecordLines)));
}

void PreferencesDialog::setRecordLines(const std::string& value)
{
    PropertyTree sinks;
    PropertyTree* const present = memberOf(tree_, sinksKey);
    if (present != nullptr)
        sinks = *present;
    bool found = false;
    for (auto& sink : sinks)
        if (isRecordSink(sink.second)) {
            setMember(sink.second, sizeKey, value);
            found = true;
        }
    if (!found) {
        PropertyTree record;
        setMember(record, typeKey, recordType);
        setMember(record, sizeKey, value);
        sinks.push_back({std::string(), record});
        sinks.data().clear(); // a text in the list's place leaves no room for elements
    }
    if (present != nullptr)
        *present = std::move(sinks);
    else
        tree_.push_back({sinksKey, std::move(sinks)});
}

void PreferencesDialog::writeFile() const
{
    const QByteArray text = QByteArray::fromStdString(writePropertyTree(tree_, JsonForm::Indented));
    // The service may run as another user and read it as a member of the file's group: its
    // permissions stay.
    platform::SavedFile file(path_);
    if (!file.open() || file.device().write(text) != text.size() || !file.commit())
        throw LogSvcError(file.error().empty() ? file.device().errorString().toStdString()
                                               : file.error());
}

void PreferencesDialog::save()
{
    const std::string value = std::to_string(recordLines_->value());
    try {
        setRecordLines(value);
    } catch (const std::exception& error) {
        showBox(this, QMessageBox::Warning, windowTitle(),
                tr("Failed to write the value '%1': %2")
                    .arg(QString::fromStdString(value), QString::fromUtf8(error.what())));
        return;
    }
    try {
        writeFile();
    } catch (const std::exception& error) {
        showBox(this, QMessageBox::Warning, windowTitle(),
                tr("Failed to write the configuration to file '%1': %2")
                    .arg(path_, QString::fromUtf8(error.what())));
        return;
    }
    accept();
}

} // namespace zuLogging
