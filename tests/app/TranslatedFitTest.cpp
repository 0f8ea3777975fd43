// Texts of other languages are longer. Nothing may be cut off, in any window.

#include "app/Translations.h"
#include "tests/app/EveryWindow.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QStyle>
#include <QStyleOptionGroupBox>
#include <QToolBar>

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace zuLogging::test {
namespace {

std::string nameOf(const QWidget& widget)
{
    return widget.metaObject()->className() + std::string(" ") + widget.objectName().toStdString();
}

void expectWidth(const std::string& window, const QWidget& widget, int wanted)
{
    EXPECT_GE(widget.width(), wanted) << window << ": " << nameOf(widget) << " is cut off";
}

void expectTextsToFit(const std::string& window, const QWidget& root)
{
    for (const auto* widget : root.findChildren<QWidget*>()) {
        if (!widget->isVisible() || widget->window() != &root)
            continue;
        if (const auto* label = qobject_cast<const QLabel*>(widget)) {
            if (label->wordWrap())
                EXPECT_GE(label->height(), label->heightForWidth(label->width())) << window;
            else
                expectWidth(window, *label, label->sizeHint().width());
        } else if (qobject_cast<const QAbstractButton*>(widget) != nullptr ||
                   qobject_cast<const QSpinBox*>(widget) != nullptr ||
                   qobject_cast<const QComboBox*>(widget) != nullptr) {
            expectWidth(window, *widget, widget->sizeHint().width());
        } else if (const auto* group = qobject_cast<const QGroupBox*>(widget)) {
            expectWidth(window, *group, group->minimumSizeHint().width());
        } else if (const auto* edit = qobject_cast<const QLineEdit*>(widget)) {
            constexpr int frames = 12;
            expectWidth(window, *edit,
                        edit->fontMetrics().horizontalAdvance(edit->placeholderText()) + frames);
        } else if (const auto* header = qobject_cast<const QHeaderView*>(widget)) {
            // The columns of the log have the same names in every language.
            if (header->orientation() == Qt::Horizontal && root.objectName() != "MainView") {
                for (int section = 0; section < header->count(); ++section)
                    EXPECT_GE(header->sectionSize(section), header->sectionSizeHint(section))
                        << window << ": column " << section;
            }
        }
    }
}

class TranslatedFit : public EveryWindow, public ::testing::WithParamInterface<const char*>
{
protected:
    void SetUp() override
    {
        EveryWindow::SetUp();
        translations_.emplace(QStringList{QLatin1String(GetParam())});
        ASSERT_EQ(translations_->language(), QLatin1String(GetParam()));
    }

    /// Pictures for who wants to see them, where LOGDESK_PICTURES names a folder.
    static void look(const std::string& name, QWidget& window)
    {
        expectTextsToFit(name, window);
        const QString folder = QString::fromLocal8Bit(qgetenv("LOGDESK_PICTURES"));
        if (!folder.isEmpty())
            window.grab().save(QDir(folder).filePath(
                QString::fromStdString(name).replace(QLatin1Char(' '), QLatin1Char('-')) +
                QLatin1Char('-') + QLatin1String(GetParam()) + QStringLiteral(".png")));
    }

private:
    std::optional<Translations> translations_;
};

TEST_P(TranslatedFit, NothingIsCutOffInTheMainWindow)
{
    visitMainWindow(&TranslatedFit::look);
}

TEST_P(TranslatedFit, NothingIsCutOffInTheDialogs)
{
    visitDialogs(&TranslatedFit::look);
}

INSTANTIATE_TEST_SUITE_P(Languages, TranslatedFit, ::testing::Values("en", "de"));

} // namespace
} // namespace zuLogging::test
