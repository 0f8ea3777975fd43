// What can be read on which colours, in a light and in a dark theme: contrasts as the Web Content
// Accessibility Guidelines compute them, taken from what is painted.

#include "tests/app/Contrast.h"
#include "tests/app/EveryWindow.h"

#include <QCheckBox>
#include <QFile>
#include <QHash>
#include <QImage>
#include <QLabel>
#include <QPalette>
#include <QToolBar>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <algorithm>

namespace zuLogging::test {
namespace {

/// What the most pixels of a picture have.
QRgb commonest(const QImage& image)
{
    QHash<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            ++counts[image.pixel(x, y) | 0xFF000000U];
    QRgb best = 0;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        if (counts.value(best) < it.value())
            best = it.key();
    return best;
}

/// The largest contrast of a pixel with the background: that of the middle of a letter's strokes.
double textContrast(const QImage& image)
{
    const QRgb background = commonest(image);
    double best = 1;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            best = std::max(best, contrast(image.pixel(x, y), background));
    return best;
}

QPalette darkPalette()
{
    QPalette palette(QColor(53, 53, 53), QColor(35, 35, 35));
    palette.setColor(QPalette::Base, QColor(25, 25, 25));
    palette.setColor(QPalette::Text, Qt::white);
    palette.setColor(QPalette::WindowText, Qt::white);
    palette.setColor(QPalette::ButtonText, Qt::white);
    return palette;
}

class AccessibleColours : public EveryWindow, public ::testing::WithParamInterface<bool>
{
protected:
    void SetUp() override
    {
        before_ = QApplication::palette();
        if (GetParam())
            QApplication::setPalette(darkPalette());
        EveryWindow::SetUp();
    }
    void TearDown() override
    {
        EveryWindow::TearDown();
        QApplication::setPalette(before_);
    }

    static QImage cell(const MainView& window, int row, int column)
    {
        LogTableView* table = window.messageView()->table();
        const QModelIndex index = window.messageView()->fullModel()->index(row, column);
        table->scrollTo(index);
        QApplication::processEvents();
        // Without the focus frame of a current cell.
        return table->viewport()->grab(table->visualRect(index).adjusted(2, 2, -2, -2)).toImage();
    }

private:
    QPalette before_;
};

constexpr double enoughForText = 4.5;
constexpr int textColumn = 11;

TEST_P(AccessibleColours, TheRowsAreWhiteAndTheirTextsHaveTheColoursOfTheirLevels)
{
    MainView& window = openFilledWindow();
    // The levels' colours are fixed; two of them are light for a white row. Their names stand in a
    // column of their own, so that nothing is told by the colour alone.
    const QRgb black = qRgb(0, 0, 0);
    const QRgb colours[] = {black, qRgb(255, 128, 0), qRgb(255, 0, 0), qRgb(153, 0, 0), black,
                            black};
    for (int row = 0; row < 6; ++row) {
        const QImage image = cell(window, row, textColumn);
        EXPECT_EQ(commonest(image), qRgb(255, 255, 255)) << row;
        EXPECT_NEAR(textContrast(image), contrast(colours[row], qRgb(255, 255, 255)), 1.0) << row;
    }
}

TEST_P(AccessibleColours, AFoundTextIsReadable)
{
    MainView& window = openFilledWindow();
    window.messageStore()->setHighlightText(QStringLiteral("text"));
    window.messageStore()->setHighlight(true);
    const QImage image = cell(window, 0, textColumn);
    EXPECT_NE(commonest(image), qRgb(255, 255, 255)) << "it is marked";
    EXPECT_GE(textContrast(image), enoughForText);
    EXPECT_GE(luminance(commonest(image)), 0.7) << "in every theme on the same light colour";
}

TEST_P(AccessibleColours, AMessageOfAnUnknownLevelIsReadable)
{
    MainView& window = openFilledWindow();
    window.messageView()->fullModel()->addMessage(message(7, static_cast<LogLevel>(64)));
    window.messageView()->updateView();
    EXPECT_GE(textContrast(cell(window, 6, textColumn)), enoughForText);
}

TEST_P(AccessibleColours, ASelectedRowIsReadable)
{
    MainView& window = openFilledWindow();
    window.messageView()->table()->selectRow(0);
    EXPECT_GE(textContrast(cell(window, 0, textColumn)), 3.0) << "in the theme's own two colours";
}

TEST_P(AccessibleColours, WhatStandsOnTheToolbarsIsReadable)
{
    ViewSettings::instance().configurationEnabled = true;
    MainView& window = openFilledWindow();
    window.resize(1700, 700);
    QApplication::processEvents();
    for (const char* name : {"loggingLabel", "countTitle", "countLabel", "filteredTitle",
                             "queuedLabel", "serviceTitle", "configTitle"}) {
        auto* label = window.findChild<QLabel*>(QLatin1String(name));
        QToolBar* bar = qobject_cast<QToolBar*>(label->parentWidget());
        ASSERT_NE(bar, nullptr) << name;
        const QImage image = bar->grab(label->geometry()).toImage();
        EXPECT_LE(contrast(commonest(image), qRgb(211, 211, 211)), 1.05)
            << name << " is not on light gray";
        EXPECT_GE(textContrast(image), enoughForText) << name;
    }
    auto* box = window.findChild<QCheckBox*>(QStringLiteral("filterBox"));
    const int indicator = 20;
    EXPECT_GE(
        textContrast(
            box->parentWidget()->grab(box->geometry().adjusted(indicator, 0, 0, 0)).toImage()),
        enoughForText);
}

TEST_P(AccessibleColours, TheConfigurationIsReadable)
{
    ViewSettings::instance().configurationEnabled = true;
    MainView& window = openFilledWindow();
    QTableView* table = window.configView()->tableView();
    const QModelIndex index = table->model()->index(1, 0);
    EXPECT_GE(textContrast(table->viewport()->grab(table->visualRect(index)).toImage()),
              enoughForText);
}

INSTANTIATE_TEST_SUITE_P(LightAndDark, AccessibleColours, ::testing::Bool(),
                         [](const auto& param) { return param.param ? "Dark" : "Light"; });

/// The colours of a picture that cover at least a twentieth of what is opaque, the main ones.
QList<QRgb> mainColours(const QImage& image)
{
    QHash<QRgb, int> counts;
    int opaque = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(image.pixel(x, y)) == 255) {
                ++counts[image.pixel(x, y)];
                ++opaque;
            }
    QList<QRgb> colours;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        if (it.value() * 20 >= opaque)
            colours << it.key();
    return colours;
}

/// How bright the shape's edge is, where the icon meets what it lies on: the mean of the opaque
/// pixels near a transparent one or the end of the picture.
double outlineLuminance(const QImage& image)
{
    const int reach = 2;
    double sum = 0;
    int count = 0;
    const auto isOutside = [&image](int x, int y) {
        return !image.rect().contains(x, y) || qAlpha(image.pixel(x, y)) == 0;
    };
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) < 255 ||
                !(isOutside(x - reach, y) || isOutside(x + reach, y) || isOutside(x, y - reach) ||
                  isOutside(x, y + reach)))
                continue;
            sum += luminance(image.pixel(x, y));
            ++count;
        }
    EXPECT_GE(count, 10);
    return count == 0 ? 0 : sum / count;
}

QStringList iconNames()
{
    QStringList names;
    QFile list(QStringLiteral(LOGDESK_SOURCE_DIR "/resources/logdesk.qrc"));
    EXPECT_TRUE(list.open(QIODevice::ReadOnly));
    QXmlStreamReader xml(&list);
    while (!xml.atEnd())
        if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == QLatin1String("file"))
            names << xml.attributes().value(QLatin1String("alias")).toString();
    return names;
}

TEST(AccessibleIcons, TheOutlineOfEachStandsOutThreefoldOnWhiteOnTheToolbarAndOnDarkGrey)
{
    initIconsOfEveryWindow();
    const QStringList names = iconNames();
    EXPECT_EQ(names.size(), 54);
    for (const QString& name : names) {
        const QImage image(QStringLiteral(":/") + name);
        ASSERT_FALSE(image.isNull()) << name.toStdString();
        for (const QRgb background :
             {qRgb(255, 255, 255), qRgb(211, 211, 211), qRgb(0x2b, 0x2b, 0x2b)})
            EXPECT_GE(contrastOf(outlineLuminance(image), luminance(background)), 3.0)
                << name.toStdString() << " on #" << std::hex << (background & 0xFFFFFF);
    }
}

TEST(AccessibleIcons, EachHasAMainColourThatStandsOutEverywhere)
{
    initIconsOfEveryWindow();
    for (const QString& name : iconNames()) {
        const QList<QRgb> colours = mainColours(QImage(QStringLiteral(":/") + name));
        EXPECT_TRUE(std::any_of(colours.begin(), colours.end(), [](QRgb colour) {
            return contrast(colour, qRgb(255, 255, 255)) >= 3 &&
                   contrast(colour, qRgb(211, 211, 211)) >= 3 &&
                   contrast(colour, qRgb(0x2b, 0x2b, 0x2b)) >= 3;
        })) << name.toStdString();
    }
}

} // namespace
} // namespace zuLogging::test
