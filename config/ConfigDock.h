#pragma once

#include <QDockWidget>

#include <memory>

namespace zuLogging {

class ConfigFloatingWindow;

/// The dock of the configuration, and the separate window that has its content while it is
/// undocked. Meanwhile nobody can show the empty dock. GUI thread only.
class ConfigDock : public QDockWidget
{
    Q_OBJECT

public:
    ConfigDock(const QString& title, QWidget* window);
    ~ConfigDock() override;

    /// Makes `home` the dock's widget. `content` is in its layout, and goes from there to the
    /// separate window and back.
    void setContent(QWidget* home, QWidget* content);

    void toggleDocked();
    /// Null while docked.
    ConfigFloatingWindow* floatingWindow() const;

    void setVisible(bool visible) override;

    /// Raises the dock and gives `target`, if there is one, the focus; unless it is in the dock
    /// already, or somebody goes through the window with the keyboard.
    void bringForward(QWidget* target);

Q_SIGNALS:
    /// The user is about to close the dock or the separate window.
    void closeRequested();
    /// Comes before the content is shown at its new place.
    void dockedChanged(bool docked);
    /// Of the separate window; may come again with the same value.
    void maximizedChanged(bool maximized);

protected:
    bool event(QEvent* event) override;

private:
    void undock();
    void putBack();

    std::unique_ptr<ConfigFloatingWindow> floatingWindow_;
    QWidget* content_ = nullptr; ///< goes with whichever has it
    bool docked_ = true;
    bool justShown_ = true; ///< and not brought forward since
};

} // namespace zuLogging
