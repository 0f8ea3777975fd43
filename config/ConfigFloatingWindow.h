#pragma once

#include <QRect>
#include <QWidget>

namespace zuLogging {

/// The configuration's separate top-level window. Empty: its layout takes what is to be shown. GUI
/// thread only.
class ConfigFloatingWindow : public QWidget
{
    Q_OBJECT

public:
    ConfigFloatingWindow();

    /// Maximises the window or, after it was maximised, gives it the size back that it had before.
    /// Shows it.
    void toggleMaximized();

Q_SIGNALS:
    /// The user is about to close it.
    void closeRequested();
    /// By `toggleMaximized` or by the window's own title bar; may come again with the same value.
    void maximizedChanged(bool maximized);

protected:
    bool event(QEvent* event) override;

private:
    void setMaximized(bool maximized);

    bool maximized_ = false;
    QRect normalGeometry_; ///< while `toggleMaximized` has maximised it
};

} // namespace zuLogging
