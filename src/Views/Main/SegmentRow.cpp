#include "Views/Main/SegmentRow.h"

#include <QCoreApplication>
#include <QEvent>
#include <QQuickWindow>
#include <QSGRectangleNode>
#include <QSGRendererInterface>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace tessivo {

namespace {

constexpr float kLowestDecibels = -60.0F; // is position 0

// Belongs to the thread that draws.
class SegmentsNode final : public QSGNode {
public:
    SegmentsNode(std::shared_ptr<const std::atomic<int>> litCount, qreal opacityUnlit)
        : litCount_(std::move(litCount))
        , opacityUnlit_(opacityUnlit) {
        setFlag(UsePreprocess);
    }

    void append(QSGRectangleNode* segment, const QColor& color) {
        segments_.push_back({segment, color});
        appendChildNode(segment);
        paint(segments_.size() - 1, false);
    }

    void preprocess() override {
        const auto lit = static_cast<std::size_t>(std::max(0, litCount_->load()));
        for (; shown_ < std::min(lit, segments_.size()); ++shown_) {
            paint(shown_, true);
        }
        for (; shown_ > lit; --shown_) {
            paint(shown_ - 1, false);
        }
    }

private:
    struct Segment {
        QSGRectangleNode* node; // a child
        QColor color;
    };

    void paint(std::size_t index, bool isLit) {
        QColor color = segments_[index].color;
        if (!isLit) {
            color.setAlphaF(color.alphaF() * static_cast<float>(opacityUnlit_));
        }
        segments_[index].node->setColor(color);
    }

    const std::shared_ptr<const std::atomic<int>> litCount_;
    const qreal opacityUnlit_;
    std::vector<Segment> segments_;
    std::size_t shown_ = 0; // so many have been painted as lit
};

} // namespace

SegmentRow::SegmentRow(QQuickItem* parent)
    : QQuickItem(parent) {
    setFlag(ItemHasContents);
}

void SegmentRow::setColors(const QList<QColor>& colors) {
    if (colors_ != colors) {
        colors_ = colors;
        light();
        update();
        emit colorsChanged();
    }
}

void SegmentRow::setSpacing(qreal spacing) {
    if (std::exchange(spacing_, spacing) != spacing) {
        update();
        emit spacingChanged();
    }
}

void SegmentRow::setOpacityUnlit(qreal opacity) {
    if (std::exchange(opacityUnlit_, opacity) != opacity) {
        update();
        emit opacityUnlitChanged();
    }
}

void SegmentRow::setLevel(qreal level) {
    if (std::exchange(level_, level) != level) {
        light();
        emit levelChanged();
    }
}

float SegmentRow::position(qsizetype index) const {
    return static_cast<float>(index) / static_cast<float>(colors_.size());
}

void SegmentRow::light() {
    float reached = 0.0F;
    if (level_ > 0.0) {
        const float decibels = 20.0F * static_cast<float>(std::log10(level_));
        reached = (std::max(decibels, kLowestDecibels) - kLowestDecibels) / -kLowestDecibels;
    }
    // The nearest count is corrected by the rounded positions, which decide.
    auto count = static_cast<qsizetype>(reached * static_cast<float>(colors_.size()));
    count = std::min(count, colors_.size());
    while (count > 0 && position(count - 1) > reached) {
        --count;
    }
    while (count < colors_.size() && position(count) <= reached) {
        ++count;
    }
    if (litCount_->exchange(static_cast<int>(count)) != count) {
        draw();
        emit litCountChanged();
    }
}

// Not the item: its node finds the number itself. Who waits for a display's next frame does so; in
// software it is drawn at once, because to be woken once more, with cold caches, is a third of
// what a level costs.
void SegmentRow::draw() {
    if (window() == nullptr) {
        return;
    }
    if (window()->rendererInterface()->graphicsApi() == QSGRendererInterface::Software) {
        QEvent now(QEvent::UpdateRequest);
        QCoreApplication::sendEvent(window(), &now);
    } else {
        window()->update();
    }
}

void SegmentRow::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    update();
}

QSGNode* SegmentRow::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) {
    delete old;
    auto* const node = new SegmentsNode(litCount_, opacityUnlit_);
    const qreal step = (width() + spacing_) / static_cast<qreal>(colors_.size());
    for (qsizetype i = 0; i < colors_.size(); ++i) {
        QSGRectangleNode* const segment = window()->createRectangleNode();
        segment->setRect(static_cast<qreal>(i) * step, 0.0, step - spacing_, height());
        node->append(segment, colors_[i]);
    }
    return node;
}

} // namespace tessivo
