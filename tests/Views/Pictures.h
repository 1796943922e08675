#pragma once

#include <QDir>
#include <QImage>
#include <QQuickWindow>
#include <QtQml/qqml.h>

#include <algorithm>
#include <cstdlib>
#include <set>

namespace tessivo {

// Pictures of windows, compared with those that somebody has looked at and found right. Where the
// run is to renew those, each is written instead.
class Pictures : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool renewing READ renewing CONSTANT)

public:
    bool renewing() const { return !renewed().isEmpty(); }
    Q_INVOKABLE void renew(QQuickWindow* window, const QString& name) {
        take(window);
        save(reduced(actual_), renewed(), name);
    }

    Q_INVOKABLE bool matches(QQuickWindow* window, const QString& name) {
        take(window);
        const QImage expected = QImage(references() + u'/' + name + QStringLiteral(".png"))
                                    .convertToFormat(QImage::Format_RGB32);
        // Gray, and red where it differs.
        difference_ = actual_.convertToFormat(QImage::Format_Grayscale8)
                          .convertToFormat(QImage::Format_RGB32);
        if (expected.size() != actual_.size())
            return false;
        bool same = true;
        for (int y = 0; y < actual_.height(); ++y) {
            for (int x = 0; x < actual_.width(); ++x) {
                if (isClose(actual_.pixel(x, y), expected.pixel(x, y)))
                    continue;
                difference_.setPixel(x, y, qRgb(255, 0, 0));
                same = false;
            }
        }
        return same;
    }
    // Of the last comparison. Returns where they are.
    Q_INVOKABLE QString keepDifference(const QString& name) {
        const QString folder = QDir::current().filePath(QStringLiteral("pictures"));
        return QStringLiteral("not as tests/Views/pictures/%1.png: see %2 and %3")
            .arg(name, save(actual_, folder, name + QStringLiteral(".actual")),
                 save(difference_, folder, name + QStringLiteral(".difference")));
    }

private:
    static QString references() { return QStringLiteral(QUICK_TEST_SOURCE_DIR "/pictures"); }
    static QString renewed() { return qEnvironmentVariable("TESSIVO_RENEW_PICTURES"); }
    // The picture with at most 256 colours, none of them more than 4 off, for a small file.
    static QImage reduced(const QImage& original) {
        QImage picture = original;
        for (const int step : {1, 2, 4, 8}) {
            const auto rounded = [step](int channel) {
                return std::min((channel + step / 2) / step * step, 255);
            };
            std::set<QRgb> colors;
            for (int y = 0; y < picture.height(); ++y) {
                for (int x = 0; x < picture.width(); ++x) {
                    const QRgb pixel = original.pixel(x, y);
                    picture.setPixel(
                        x, y,
                        qRgb(rounded(qRed(pixel)), rounded(qGreen(pixel)), rounded(qBlue(pixel))));
                    colors.insert(picture.pixel(x, y));
                }
            }
            if (colors.size() <= 256)
                return picture.convertToFormat(QImage::Format_Indexed8,
                                               QList<QRgb>(colors.begin(), colors.end()));
        }
        return picture;
    }
    // References have fewer colours, and processors round differently when they blend them.
    static bool isClose(QRgb a, QRgb b) {
        constexpr int kTolerance = 6;
        return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                         std::abs(qBlue(a) - qBlue(b))}) <= kTolerance;
    }
    static QString save(const QImage& picture, const QString& folder, const QString& name) {
        const QString path = folder + u'/' + name + QStringLiteral(".png");
        if (!QDir().mkpath(folder) || !picture.save(path, "PNG", 0)) // 0: as small as can be
            qFatal("%s cannot be written", qPrintable(path));
        return path;
    }

    void take(QQuickWindow* window) {
        actual_ = window->grabWindow().convertToFormat(QImage::Format_RGB32);
    }

    QImage actual_;
    QImage difference_;
};

} // namespace tessivo
