#pragma once

#include <QFileDialog>
#include <QMessageBox>
#include <QString>

class QWidget;

namespace zuLogging {

// Questions to the user, modal, which wait for the answer. Unlike those of Qt's static functions
// the boxes are not on the stack: whoever closes the window under an open one deletes the box with
// its parent, and the caller too may be gone when these return. GUI thread.

/// The button that was pressed; NoButton when the box went with its parent. The text is never taken
/// for markup, whatever came in from outside.
QMessageBox::StandardButton showBox(QWidget* parent, QMessageBox::Icon icon, const QString& title,
                                    const QString& text,
                                    QMessageBox::StandardButtons buttons = QMessageBox::Ok);

/// A tool tip of `widget` where the mouse is; never markup either, even where it looks like it.
/// None for an empty text.
void showTip(QWidget* widget, const QString& text);

/// The path of a file to be read (one that is there) or written. `proposed` is its name to begin
/// with, may be empty. Empty when no file was chosen, or the dialog went with its parent.
QString askForFile(QWidget* parent, QFileDialog::AcceptMode mode, const QString& caption,
                   const QString& proposed, const QString& filter,
                   QFileDialog::Options options = {});

} // namespace zuLogging
