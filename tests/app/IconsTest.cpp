#include "tests/app/Contrast.h"

#include <QDir>
#include <QFile>
#include <QIcon>
#include <QImage>

#include <gtest/gtest.h>

// The macro declares a function of the global name space, where it must stand.
static void registerIcons()
{
    Q_INIT_RESOURCE(logdesk);
}

namespace zuLogging::test {
namespace {

const QStringList iconNames = {
    QStringLiteral("arrowBlue"),    QStringLiteral("arrowGreen"),    QStringLiteral("arrowYellow"),
    QStringLiteral("clearText"),    QStringLiteral("closeDock"),     QStringLiteral("config"),
    QStringLiteral("copy"),         QStringLiteral("copySelection"), QStringLiteral("deleteRow"),
    QStringLiteral("dock"),         QStringLiteral("exit"),          QStringLiteral("insertRow"),
    QStringLiteral("logging"),      QStringLiteral("maximizeDock"),  QStringLiteral("minimizeDock"),
    QStringLiteral("open"),         QStringLiteral("openJSON"),      QStringLiteral("questionmark"),
    QStringLiteral("refresh"),      QStringLiteral("replay"),        QStringLiteral("saveConfig"),
    QStringLiteral("saveJSON"),     QStringLiteral("saveText"),      QStringLiteral("search"),
    QStringLiteral("startLogging"), QStringLiteral("stopLogging"),   QStringLiteral("undock"),
};

QImage iconImage(const QString& name, const QString& suffix = QString())
{
    return QImage(QStringLiteral(":/%1%2.png").arg(name, suffix));
}

/// The share of the icon's opaque pixels that stand out from the background.
double legibleShare(const QImage& image, QRgb background)
{
    int opaque = 0;
    int legible = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            if (qAlpha(pixel) < 200)
                continue;
            ++opaque;
            legible += contrast(pixel, background) >= 2.0 ? 1 : 0;
        }
    return opaque == 0 ? 0 : static_cast<double>(legible) / opaque;
}

class Icons : public ::testing::Test
{
protected:
    void SetUp() override { registerIcons(); }
};

TEST_F(Icons, EveryNameIsThereInBothSizes)
{
    for (const QString& name : iconNames) {
        EXPECT_EQ(iconImage(name).size(), QSize(32, 32)) << name.toStdString();
        EXPECT_EQ(iconImage(name, QStringLiteral("@2x")).size(), QSize(64, 64))
            << name.toStdString();
        EXPECT_FALSE(QIcon(QStringLiteral(":/%1.png").arg(name)).pixmap(16).isNull())
            << name.toStdString();
    }
}

TEST_F(Icons, EveryOneIsMadeFromADrawingAndEveryDrawingIsUsed)
{
    QStringList drawings;
    const QDir folder(QStringLiteral(LOGDESK_SOURCE_DIR "/resources/svg"));
    for (const QFileInfo& file : folder.entryInfoList({QStringLiteral("*.svg")}))
        drawings.append(file.completeBaseName());
    drawings.sort();
    QStringList names = iconNames;
    names.sort();
    EXPECT_EQ(drawings.join(QLatin1Char(' ')), names.join(QLatin1Char(' ')));
}

TEST_F(Icons, NoTwoLookTheSameAt16Pixels)
{
    QList<QImage> small;
    for (const QString& name : iconNames)
        small.append(iconImage(name)
                         .scaled(16, 16, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                         .convertToFormat(QImage::Format_ARGB32_Premultiplied));
    for (int a = 0; a < small.size(); ++a)
        for (int b = a + 1; b < small.size(); ++b) {
            int different = 0;
            for (int y = 0; y < 16; ++y)
                for (int x = 0; x < 16; ++x) {
                    const QRgb p = small[a].pixel(x, y);
                    const QRgb q = small[b].pixel(x, y);
                    const int distance =
                        std::abs(qRed(p) - qRed(q)) + std::abs(qGreen(p) - qGreen(q)) +
                        std::abs(qBlue(p) - qBlue(q)) + std::abs(qAlpha(p) - qAlpha(q));
                    different += distance > 96 ? 1 : 0;
                }
            EXPECT_GE(different, 20)
                << iconNames[a].toStdString() << " and " << iconNames[b].toStdString();
        }
}

TEST_F(Icons, MostOfEachStandsOutOnLightAndOnDark)
{
    for (const QString& name : iconNames) {
        const QImage image = iconImage(name);
        EXPECT_GE(legibleShare(image, qRgb(255, 255, 255)), 0.45) << name.toStdString();
        EXPECT_GE(legibleShare(image, qRgb(43, 43, 43)), 0.75) << name.toStdString();
    }
}

} // namespace
} // namespace zuLogging::test
