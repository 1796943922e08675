#include "Views/Main/ProgressLine.h"

#include <QQuickWindow>
#include <QSGRectangleNode>

#include <algorithm>
#include <utility>

namespace tessivo {

namespace {

// Belongs to the thread that draws.
class LineNode final : public QSGNode {
public:
    LineNode(QSGRectangleNode* groove, QSGRectangleNode* filled, qreal height,
             std::shared_ptr<const std::atomic<int>> filledWidth)
        : filled_(filled)
        , height_(height)
        , filledWidth_(std::move(filledWidth)) {
        setFlag(UsePreprocess);
        appendChildNode(groove);
        appendChildNode(filled);
    }

    void preprocess() override {
        const int width = *filledWidth_;
        if (std::exchange(shown_, width) != width) {
            filled_->setRect(0.0, 0.0, width, height_);
        }
    }

private:
    QSGRectangleNode* const filled_; // a child
    const qreal height_;
    const std::shared_ptr<const std::atomic<int>> filledWidth_;
    int shown_ = -1;
};

} // namespace

ProgressLine::ProgressLine(QQuickItem* parent)
    : QQuickItem(parent) {
    setFlag(ItemHasContents);
}

void ProgressLine::setProgress(qreal progress) {
    if (std::exchange(progress_, progress) != progress) {
        fill();
        emit progressChanged();
    }
}

void ProgressLine::setColor(const QColor& color) {
    if (std::exchange(color_, color) != color) {
        update();
        emit colorChanged();
    }
}

void ProgressLine::setGroove(const QColor& groove) {
    if (std::exchange(groove_, groove) != groove) {
        update();
        emit grooveChanged();
    }
}

void ProgressLine::fill() {
    const int pixels = static_cast<int>(width() * std::clamp(progress_, 0.0, 1.0));
    if (filledWidth_->exchange(pixels) != pixels) {
        // Not the item: its node finds the width itself.
        if (window() != nullptr && isVisible()) {
            window()->update();
        }
        emit filledWidthChanged();
    }
}

void ProgressLine::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    fill();
    update();
}

QSGNode* ProgressLine::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) {
    delete old;
    QSGRectangleNode* const groove = window()->createRectangleNode();
    groove->setRect(0.0, 0.0, width(), height());
    groove->setColor(groove_);
    QSGRectangleNode* const filled = window()->createRectangleNode();
    filled->setColor(color_);
    return new LineNode(groove, filled, height(), filledWidth_);
}

} // namespace tessivo
