#pragma once

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QMap>
#include <QString>
#include <QThread>
#include <QVariantMap>

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

namespace tessivo::test {

// A desktop's portal on the session bus of this process's environment, with a thread of its own:
// settings, file dialogs whose user takes what is proposed, and the promise not to sleep. Called by
// one thread.
class MockPortal : public QDBusVirtualObject {
public:
    // Its file dialogs save into that folder. With patience, each answer comes that much later.
    explicit MockPortal(QString folder, std::chrono::milliseconds delay = {});
    ~MockPortal() override;

    // Before the program starts, or while it runs.
    void set(const QString& key, const QVariant& value);

    // Why the machine may not sleep, since the start: "+" and a reason for each promise that was
    // given, "-" and the reason for each that was given back.
    std::vector<std::string> promises() const;

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override;
    QString introspect(const QString& path) const override;

private:
    QVariant answerTo(const QDBusMessage& message);
    QDBusConnection bus() const;

    const QString folder_;
    const std::chrono::milliseconds delay_;
    QThread thread_;
    mutable std::mutex mutex_; // for all below
    QVariantMap settings_;
    int requests_ = 0;
    QMap<QString, std::string> reasons_; // by request
    std::vector<std::string> promises_;
};

} // namespace tessivo::test
