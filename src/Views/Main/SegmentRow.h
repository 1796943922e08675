#pragma once

#include <QColor>
#include <QList>
#include <QQuickItem>
#include <QtQml/qqml.h>

#include <atomic>
#include <memory>

namespace tessivo {

// Equal rectangles in a row, of which the first ones are lit: as many as a level reaches on a scale
// from -60 to 0 dB. It may change with each frame: one binding brings the level, no item and no
// node but those of the rectangles that change has to do with it, and as no item changes, the
// toolkit does not look again for what lies under the pointer.
class SegmentRow : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    // From left to right, as many as there are segments.
    Q_PROPERTY(QList<QColor> colors READ colors WRITE setColors NOTIFY colorsChanged FINAL)
    Q_PROPERTY(qreal spacing READ spacing WRITE setSpacing NOTIFY spacingChanged FINAL)
    // Of the segments that are not lit.
    Q_PROPERTY(
        qreal opacityUnlit READ opacityUnlit WRITE setOpacityUnlit NOTIFY opacityUnlitChanged FINAL)
    // Linear amplitude, 0 for silence.
    Q_PROPERTY(qreal level READ level WRITE setLevel NOTIFY levelChanged REQUIRED FINAL)
    Q_PROPERTY(int litCount READ litCount NOTIFY litCountChanged FINAL)

public:
    explicit SegmentRow(QQuickItem* parent = nullptr);

    const QList<QColor>& colors() const { return colors_; }
    qreal spacing() const { return spacing_; }
    qreal opacityUnlit() const { return opacityUnlit_; }
    qreal level() const { return level_; }
    int litCount() const { return *litCount_; }
    // The level, not below the scale, but perhaps above it. A screen reader is told it on demand.
    float decibels() const;

    void setColors(const QList<QColor>& colors);
    void setSpacing(qreal spacing);
    void setOpacityUnlit(qreal opacity);
    void setLevel(qreal level);

signals:
    void colorsChanged();
    void spacingChanged();
    void opacityUnlitChanged();
    void levelChanged();
    void litCountChanged();

protected:
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;

private:
    // Where on the scale, from 0 to 1, a segment begins.
    float position(qsizetype index) const;
    void light();
    void draw();

    QList<QColor> colors_;
    qreal spacing_ = 0.0;
    qreal opacityUnlit_ = 0.0;
    qreal level_ = 0.0;
    // Written by the main thread, read by the thread that draws, as it draws.
    std::shared_ptr<std::atomic<int>> litCount_ = std::make_shared<std::atomic<int>>(0);
};

} // namespace tessivo
