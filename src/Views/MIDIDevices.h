#pragma once

#include "Utils/MIDIUtils.h"

#include <QAbstractListModel>
#include <QtQml/qqml.h>

#include <vector>

namespace tessivo {

class MIDIManager;

// The sources that can be connected, as a list to pick from. A row is a place in the manager's
// list: a source that comes or goes changes what the rows after it show, and a row that still
// has something to show stays, with the keyboard's focus if it has it.
class MIDIDevices : public QAbstractListModel {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    enum Role { nameRole = Qt::UserRole, isCurrentRole };

    using QAbstractListModel::QAbstractListModel;

    // Once. It must outlive this.
    void follow(MIDIManager& manager);

    int count() const { return static_cast<int>(devices_.size()); }
    int rowCount(const QModelIndex& parent) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Also the one that is connected already: that connects it anew.
    Q_INVOKABLE void connectTo(int row);

signals:
    void countChanged();

private:
    void replace(const std::vector<MIDISource>& devices);

    MIDIManager* manager_ = nullptr;
    std::vector<MIDISource> devices_;
};

} // namespace tessivo
