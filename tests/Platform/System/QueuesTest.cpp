#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/MainQueue.h"
#include "support/QtTestSupport.h"

#include <QObject>

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>

using namespace tessivo;
using namespace tessivo::test;
using std::chrono::milliseconds;

TEST(MainQueueTest, RunsTasksOfAllThreadsLaterInTheOrderOfTheirPosts) {
    QObject context;
    const auto mainThread = std::this_thread::get_id();
    std::vector<int> order;
    MainQueue::post([&] { order.push_back(1); });
    MainQueue::post(&context, [&] {
        MainQueue::post([&] { order.push_back(4); });
        order.push_back(2);
    });
    std::thread([&] {
        MainQueue::post(
            [&] { order.push_back(std::this_thread::get_id() == mainThread ? 3 : -1); });
    }).join();
    EXPECT_TRUE(order.empty());
    runPosted();
    EXPECT_EQ(order, (std::vector{1, 2, 3, 4}));
}

TEST(MainQueueTest, DelayBeginsAfterEarlierTasksAndTasksEndWithTheirContext) {
    auto gone = std::make_unique<QObject>();
    QObject context;
    std::vector<int> order;
    MainQueue::postAfter(milliseconds(1), gone.get(), [&] { order.push_back(-1); });
    runPosted(); // its delay has begun
    MainQueue::post(gone.get(), [&] { order.push_back(-2); });
    MainQueue::postAfter(milliseconds(1), gone.get(), [&] { order.push_back(-3); });
    gone.reset();
    MainQueue::postAfter(milliseconds(20), &context, [&] { order.push_back(2); });
    MainQueue::post([&] { order.push_back(1); });
    std::this_thread::sleep_for(milliseconds(60)); // a busy main thread
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(runUntil([&] { return !order.empty() && order.back() == 2; }));
    EXPECT_EQ(order, (std::vector{1, 2}));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(20));
}

TEST(BackgroundQueueTest, WhatTheUserWaitsForGoesFirst) {
    using Priority = BackgroundQueue::Priority;
    std::promise<void> gate;
    const std::shared_future<void> opened(gate.get_future());
    for (int i = 0; i < 64; ++i) { // more than there are threads
        BackgroundQueue::post(Priority::userInitiated, [opened] { opened.wait(); });
    }
    std::promise<void> served;
    const std::shared_future<void> isServed(served.get_future());
    std::atomic<int> started = 0;
    std::atomic<int> place = 0;
    for (int i = 0; i < 20; ++i) {
        BackgroundQueue::post(Priority::utility, [&started, isServed] {
            ++started;
            isServed.wait_for(kPatience / 10); // in vain only if the user has to wait
        });
    }
    BackgroundQueue::post(Priority::userInitiated, [&] {
        place = ++started;
        served.set_value();
    });
    gate.set_value();
    BackgroundQueue::waitForAll();
    EXPECT_EQ(started, 21);
    EXPECT_LE(place, 16) << "taken first, though others run beside it";
}

TEST(BackgroundQueueTest, TasksInOrderRunOneByOneAndHoldUpNoOthers) {
    constexpr int kTasks = 500;
    std::vector<std::vector<int>> order(4); // guarded by the queue alone
    std::atomic<int> running = 0;
    std::atomic<bool> overlapped = false;
    std::promise<void> othersRun;
    bool lastRan = false;
    BackgroundQueue::postInOrder([&] {
        ++running;
        othersRun.get_future().wait();
        --running;
    });
    std::vector<std::thread> threads;
    for (auto& ofThread : order) {
        threads.emplace_back([&] {
            for (int i = 0; i < kTasks; ++i) {
                BackgroundQueue::postInOrder([&, i] {
                    overlapped = overlapped || running > 0;
                    ofThread.push_back(i);
                });
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    BackgroundQueue::postInOrder([&] {
        BackgroundQueue::post(BackgroundQueue::Priority::utility, [&] { lastRan = true; });
    });
    BackgroundQueue::post(BackgroundQueue::Priority::utility, [&] { othersRun.set_value(); });
    BackgroundQueue::waitForAll();
    EXPECT_FALSE(overlapped);
    EXPECT_TRUE(lastRan) << "waited for, though it was posted by another task";
    for (const auto& ofThread : order) {
        EXPECT_EQ(ofThread.size(), static_cast<std::size_t>(kTasks));
        EXPECT_TRUE(std::is_sorted(ofThread.begin(), ofThread.end()));
    }
}

TEST(BackgroundQueueTest, ATaskThatThrowsIsALineAndNothingElse) {
    CapturedLines lines;
    int done = 0;
    BackgroundQueue::postInOrder([] { throw std::runtime_error("oh"); });
    BackgroundQueue::postInOrder([&] { ++done; });
    BackgroundQueue::waitForAll();
    EXPECT_EQ(done, 1);
    EXPECT_EQ(lines.take(), Lines{"❌ [ERROR] Background task failed: oh"});
}
