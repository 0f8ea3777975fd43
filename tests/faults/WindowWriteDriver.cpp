// As WriteDriver.cpp, for what needs a window: window_write_driver WRITER PATH.

#include "config/PreferencesDialog.h"
#include "store/LogContainer.h"
#include "store/LogTableModel.h"
#include "tests/app/DialogAnswerer.h"
#include "tests/faults/DriverSupport.h"
#include "view/LogMessageView.h"

#include <QApplication>
#include <QFile>
#include <QMainWindow>
#include <QSpinBox>
#include <QStatusBar>

#include <unistd.h>

#include <iostream>
#include <memory>
#include <string>

namespace zuLogging {
namespace {

// Enough that they are written in several pieces.
constexpr int messageCount = 400;

/// A user's window with a message view, answered when it asks.
class Window
{
public:
    Window()
        : store_(std::make_shared<LogContainer>())
        , view_(new LogMessageView(window_.statusBar(), &window_))
    {
        test::fillLog(*view_->fullModel(), messageCount);
        window_.setCentralWidget(view_);
    }
    LogMessageView& view() { return *view_; }

private:
    QMainWindow window_;
    std::shared_ptr<LogContainer> store_;
    LogMessageView* view_;
};

/// Says nothing, whatever happens.
bool writeTextLog(const QString& path)
{
    Window window;
    const test::DialogAnswerer answerer(path);
    window.view().messageViewSaveClicked();
    return true;
}

bool writePreferences(const QString&)
{
    PreferencesDialog dialog(nullptr);
    dialog.findChild<QSpinBox*>()->setValue(4711);
    test::DialogAnswerer answerer;
    dialog.save();
    const bool isAccepted = dialog.result() == QDialog::Accepted;
    // One or the other, never both.
    return isAccepted && answerer.boxes.isEmpty();
}

} // namespace
} // namespace zuLogging

int main(int argc, char** argv)
{
    using namespace zuLogging;
    ::alarm(test::longestRun);
    const std::string writer = argc == 3 ? argv[1] : "";
    const bool isTextLog = writer == "text-log";
    if (!isTextLog && writer != "preferences") {
        std::cerr << "window_write_driver WRITER PATH\n";
        return 2;
    }
    const QApplication application(argc, argv);
    const QString path = QFile::decodeName(argv[2]);
    return (isTextLog ? writeTextLog(path) : writePreferences(path)) ? 0 : test::refused;
}
