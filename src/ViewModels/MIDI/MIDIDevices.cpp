#include "ViewModels/MIDI/MIDIDevices.h"

#include "Audio/MIDIManager.h"

#include <algorithm>
#include <cstddef>

namespace tessivo {

void MIDIDevices::follow(MIDIManager& manager) {
    manager_ = &manager;
    connect(&manager, &MIDIManager::availableDevicesChanged, this,
            [this] { replace(manager_->availableDevices()); });
    connect(&manager, &MIDIManager::deviceNameChanged, this, [this] {
        if (!devices_.empty())
            emit dataChanged(index(0), index(count() - 1), {isCurrentRole});
    });
    replace(manager.availableDevices());
}

int MIDIDevices::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
}

QVariant MIDIDevices::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const MIDISource& device = devices_[static_cast<std::size_t>(index.row())];
    switch (role) {
    case nameRole:
        return device.name;
    case isCurrentRole:
        return manager_->deviceName() == device.name;
    default:
        return {};
    }
}

QHash<int, QByteArray> MIDIDevices::roleNames() const {
    return {{nameRole, "name"}, {isCurrentRole, "isCurrent"}};
}

void MIDIDevices::connectTo(int row) {
    if (row < 0 || row >= count())
        return;
    // A copy: connecting may renew the list.
    const MIDISource device = devices_[static_cast<std::size_t>(row)];
    manager_->connectToDevice(device.source, device.name);
}

void MIDIDevices::replace(const std::vector<MIDISource>& devices) {
    const int before = count();
    const int after = static_cast<int>(devices.size());
    if (after < before) {
        beginRemoveRows({}, after, before - 1);
        devices_ = devices;
        endRemoveRows();
    } else if (after > before) {
        beginInsertRows({}, before, after - 1);
        devices_ = devices;
        endInsertRows();
    } else {
        devices_ = devices;
    }
    if (const int kept = std::min(before, after); kept > 0)
        emit dataChanged(index(0), index(kept - 1));
    if (before != after)
        emit countChanged();
}

} // namespace tessivo
