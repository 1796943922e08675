#pragma once

#include <QColor>
#include <QQuickItem>
#include <QtQml/qqml.h>

#include <atomic>
#include <memory>

namespace tessivo {

// A line that fills from the left, in whole pixels. As with the segments of the meter, its progress
// changes no item, and nothing is drawn before a pixel changes.
class ProgressLine : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    // From 0 to 1.
    Q_PROPERTY(qreal progress READ progress WRITE setProgress NOTIFY progressChanged REQUIRED FINAL)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged FINAL)
    // Of the part that is not filled.
    Q_PROPERTY(QColor groove READ groove WRITE setGroove NOTIFY grooveChanged FINAL)
    Q_PROPERTY(int filledWidth READ filledWidth NOTIFY filledWidthChanged FINAL)

public:
    explicit ProgressLine(QQuickItem* parent = nullptr);

    qreal progress() const { return progress_; }
    const QColor& color() const { return color_; }
    const QColor& groove() const { return groove_; }
    int filledWidth() const { return *filledWidth_; } // pixels

    void setProgress(qreal progress);
    void setColor(const QColor& color);
    void setGroove(const QColor& groove);

signals:
    void progressChanged();
    void colorChanged();
    void grooveChanged();
    void filledWidthChanged();

protected:
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;

private:
    void fill();

    qreal progress_ = 0.0;
    QColor color_;
    QColor groove_;
    // Written by the main thread, read by the thread that draws, as it draws.
    std::shared_ptr<std::atomic<int>> filledWidth_ = std::make_shared<std::atomic<int>>(0);
};

} // namespace tessivo
