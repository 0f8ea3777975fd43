#pragma once

#include <QWidget>

class QDockWidget;

namespace zuLogging {

/// The widget in the dock on the window's right side that will show the service's configuration.
/// It is empty so far; what stands is the dock itself. GUI thread only.
class LogConfigView : public QWidget
{
    Q_OBJECT

public:
    enum Mode
    {
        User = 0,
        Expert = 1
    };

    /// Makes the dock as a child of `window`, puts this widget into it and so gives the dock the
    /// ownership of it. The window adds the dock to its right dock area.
    explicit LogConfigView(QWidget* window);

    QDockWidget* dock() const { return dock_; }

    /// The separate top-level window that the view lives in while it is undocked; else null.
    QWidget* floatingWindow() const;
    /// Closes the separate window, if there is one, because the program ends: no `closeRequested`.
    void closeFloatingWindow();

    /// Expert (1) or User (0).
    void setMode(int mode) { mode_ = mode; }
    int mode() const { return mode_; }

    /// Offers to save what was edited in the view. Nothing can be edited yet, so it asks nothing.
    void askToSaveIfChanged() {}

    /// Wide enough for the dock's title, though there is nothing in it to show.
    QSize sizeHint() const override { return {250, 400}; }
    QSize minimumSizeHint() const override { return {150, 100}; }

Q_SIGNALS:
    /// The user closed the dock by its own button.
    void closeRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QDockWidget* dock_;
    int mode_ = User;
};

} // namespace zuLogging
