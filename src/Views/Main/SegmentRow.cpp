#include "Views/Main/SegmentRow.h"

#include <QAccessibleObject>
#include <QCoreApplication>
#include <QEvent>
#include <QQmlContext>
#include <QQmlProperty>
#include <QQuickWindow>
#include <QSGRectangleNode>
#include <QSGRendererInterface>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

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

// What assistive technology reads of a row: the name and description that QML gives it, and the
// level as a value, in decibels, which the toolkit grants QML items only where it can be set.
// Changes are not told, so that a level costs nothing: it changes too often to be spoken, and is
// there when it is asked for.
class LevelReading final : public QAccessibleObject, public QAccessibleValueInterface {
public:
    // For all rows, from now on.
    static void install() { QAccessible::installFactory(make); }

    QWindow* window() const override { return row().window(); }

    QRect rect() const override {
        const QRectF inScene = row().mapRectToScene(row().boundingRect());
        return window() != nullptr
                   ? inScene.translated(window()->mapToGlobal(QPointF())).toAlignedRect()
                   : QRect();
    }

    // Items that are only there to arrange others have no interface.
    QAccessibleInterface* parent() const override {
        for (auto* item = row().parentItem(); item != nullptr; item = item->parentItem()) {
            if (auto* const found = QAccessible::queryAccessibleInterface(item)) {
                return found;
            }
        }
        return QAccessible::queryAccessibleInterface(window());
    }

    QAccessibleInterface* child(int /*index*/) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface* /*child*/) const override { return -1; }

    QString text(QAccessible::Text kind) const override {
        const QString property = kind == QAccessible::Name          ? u"Accessible.name"_s
                                 : kind == QAccessible::Description ? u"Accessible.description"_s
                                                                    : QString();
        return QQmlProperty::read(&row(), property, qmlContext(&row())).toString();
    }

    QAccessible::Role role() const override { return QAccessible::ProgressBar; }

    QAccessible::State state() const override {
        QAccessible::State state;
        state.readOnly = true;
        state.invisible = !row().isVisible();
        return state;
    }

    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ValueInterface ? static_cast<QAccessibleValueInterface*>(this)
                                                   : nullptr;
    }

    QVariant currentValue() const override { return std::min(row().decibels(), 0.0F); }
    void setCurrentValue(const QVariant& /*value*/) override {}
    QVariant minimumValue() const override { return kLowestDecibels; }
    QVariant maximumValue() const override { return 0.0F; }
    QVariant minimumStepSize() const override { return 0.0F; }

private:
    using QAccessibleObject::QAccessibleObject;

    static QAccessibleInterface* make(const QString& className, QObject* object) {
        const bool isRow = className == QLatin1String(SegmentRow::staticMetaObject.className());
        return isRow ? new LevelReading(object) : nullptr;
    }

    SegmentRow& row() const { return *static_cast<SegmentRow*>(object()); }
};

} // namespace

SegmentRow::SegmentRow(QQuickItem* parent)
    : QQuickItem(parent) {
    setFlag(ItemHasContents);
    static const bool readable = (LevelReading::install(), true);
    Q_UNUSED(readable)
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

float SegmentRow::decibels() const {
    return level_ > 0.0 ? std::max(20.0F * static_cast<float>(std::log10(level_)), kLowestDecibels)
                        : kLowestDecibels;
}

void SegmentRow::light() {
    const float reached = (decibels() - kLowestDecibels) / -kLowestDecibels;
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
