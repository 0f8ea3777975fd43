#pragma once

#include <QDockWidget>

namespace zuLogging {

/// A dock whose content may be elsewhere: while it is, nobody can show the empty dock.
class ConfigDock : public QDockWidget
{
public:
    using QDockWidget::QDockWidget;

    void setContentAway(bool away)
    {
        contentAway_ = away;
        if (away)
            hide();
    }

    void setVisible(bool visible) override
    {
        if (!visible || !contentAway_)
            QDockWidget::setVisible(visible);
    }

private:
    bool contentAway_ = false;
};

} // namespace zuLogging
