#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/DocumentsDirectory.h"
#include "Platform/System/MainQueue.h"
#include "support/QtTestSupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThreadPool>

#include <fstream>
#include <future>
#include <memory>
#include <thread>

using namespace tessivo;
using namespace tessivo::test;
using std::chrono::milliseconds;

TEST(MainQueueTest, RunsTasksOfAllThreadsLaterInTheOrderOfTheirPosts) {
    QObject context;
    std::vector<int> order;
    MainQueue::post([&] { order.push_back(1); });
    MainQueue::post(&context, [&] {
        MainQueue::post([&] { order.push_back(4); });
        order.push_back(2);
    });
    std::thread([&] {
        MainQueue::post([&] {
            EXPECT_EQ(QThread::currentThread(), qApp->thread());
            order.push_back(3);
        });
    }).join();
    EXPECT_TRUE(order.empty());
    runPosted();
    EXPECT_EQ(order, (std::vector{1, 2, 3, 4}));
}

TEST(MainQueueTest, TaskWithoutItsContextDoesNothing) {
    bool ran = false;
    {
        QObject context;
        MainQueue::post(&context, [&] { ran = true; });
        MainQueue::postAfter(milliseconds(1), &context, [&] { ran = true; });
    }
    auto late = std::make_unique<QObject>();
    MainQueue::postAfter(milliseconds(30), late.get(), [&] { ran = true; });
    runPosted();
    late.reset();
    runFor(milliseconds(60));
    EXPECT_FALSE(ran);
}

TEST(MainQueueTest, DelayedTaskComesAfterWhatWasPostedBefore) {
    QObject context;
    std::vector<std::string> order;
    const auto begin = std::chrono::steady_clock::now();
    MainQueue::post([&] { order.emplace_back("write"); });
    MainQueue::postAfter(milliseconds(20), &context, [&] { order.emplace_back("deferred"); });
    MainQueue::post([&] { order.emplace_back("write"); });
    std::this_thread::sleep_for(milliseconds(60)); // a busy main thread
    EXPECT_TRUE(runUntil([&] { return order.size() == 3; }));
    EXPECT_EQ(order.back(), "deferred");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(80));
}

TEST(BackgroundQueueTest, WhatTheUserWaitsForGoesFirst) {
    using Priority = BackgroundQueue::Priority;
    auto* pool = QThreadPool::globalInstance();
    std::promise<void> gate;
    const std::shared_future<void> opened(gate.get_future());
    for (int i = 0; i < pool->maxThreadCount(); ++i) {
        BackgroundQueue::post(Priority::userInitiated, [opened] { opened.wait(); });
    }
    std::mutex mutex;
    std::vector<std::string> started;
    const auto note = [&](const char* name) {
        const std::scoped_lock lock(mutex);
        started.emplace_back(name);
    };
    for (int i = 0; i < 4; ++i) {
        BackgroundQueue::post(Priority::utility, [&] { note("utility"); });
    }
    const auto mainThread = std::this_thread::get_id();
    BackgroundQueue::post(Priority::userInitiated, [&, mainThread] {
        EXPECT_NE(std::this_thread::get_id(), mainThread);
        note("user");
    });
    gate.set_value();
    pool->waitForDone();
    ASSERT_EQ(started.size(), 5U);
    // Another worker may have noted first what it took second.
    EXPECT_TRUE(started[0] == "user" || started[1] == "user");
}

TEST(DocumentsDirectoryTest, IsWhatTheDesktopSaysNow) {
    const TemporaryHome home;
    EXPECT_EQ(documentsDirectory().toStdString(), (home.path() / "Documents").string());
    std::filesystem::create_directories(home.path() / ".config");
    std::ofstream(home.path() / ".config" / "user-dirs.dirs")
        << "XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n";
    EXPECT_EQ(documentsDirectory().toStdString(), (home.path() / "Dokumente").string());
}
