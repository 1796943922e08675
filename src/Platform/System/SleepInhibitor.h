#pragma once

#include <QObject>
#include <QString>

#include <cstdint>

namespace tessivo {

// Keeps the machine from sleeping, and its screen from going dark, by the desktop's portal while
// there is a reason. Never waits for the portal; without one nothing happens, which one line tells.
// Main thread only.
class SleepInhibitor : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(SleepInhibitor)

public:
    explicit SleepInhibitor(QObject* parent = nullptr);
    ~SleepInhibitor() override;

    // What the desktop may tell the user; empty when there is none any more. One reason follows
    // another without a gap.
    void setReason(const QString& reason);

private:
    void ask();
    void granted(std::uint64_t request, const QString& handle);
    void release();

    QString reason_;
    std::uint64_t asked_ = 0; // requests, so far
    std::uint64_t held_ = 0;  // the one that the handle is of
    QString handle_;          // empty: none is held
};

} // namespace tessivo
