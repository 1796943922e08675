#pragma once

#include "Utils/MIDIUtils.h"

#include <QAbstractListModel>

#include <vector>

namespace tessivo {

class MIDIManager;

// The MIDI sources that can be connected, one row each, in the manager's order. A row stands for a
// position, not for a device: when a source comes or goes, rows are added or removed at the end and
// the others show the device that is now at their position. So the focused row keeps the focus.
class MIDIDevices : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    enum Role { nameRole = Qt::UserRole, isCurrentRole };

    using QAbstractListModel::QAbstractListModel;

    // Called once. The manager must outlive this.
    void follow(MIDIManager& manager);

    int count() const { return static_cast<int>(devices_.size()); }
    int rowCount(const QModelIndex& parent) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Also reconnects the source that is connected already.
    Q_INVOKABLE void connectTo(int row);

signals:
    void countChanged();

private:
    void replace(const std::vector<MIDISource>& devices);

    MIDIManager* manager_ = nullptr;
    std::vector<MIDISource> devices_;
};

} // namespace tessivo
