// How the library behaves when it is large, and when what it holds is long.
//
//   library_benchmark list [loops]   loading after start-up, and a save of the metadata
//   library_benchmark browse [loops] the library window's model: from its construction to the
//                                    list, each key stroke of a search, each order
//   library_benchmark take [hours]   saving a long take while the main thread stays alive

#include "Common.h"
#include "SavedLoopFiles.h"

#include "Audio/LoopPreviewEngine.h"
#include "Models/LibraryFile.h"
#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/LogLine.h"
#include "ViewModels/LoopLibraryViewModel.h"
#include "ViewModels/SimpleLooperViewModel.h"
#include "support/OfflineDevice.h"

#include <cstdio>
#include <fstream>
#include <functional>
#include <string>

using namespace tessivo;
using benchmark::cpuTime;
using benchmark::folder;
using benchmark::kRate;
using benchmark::loopsWithNames;
using benchmark::millisecondsBetween;
using benchmark::StallMeter;
using benchmark::Times;
using benchmark::writeAudio;
using Clock = std::chrono::steady_clock;

namespace {

constexpr double kStallLimit = 50.0;  // ms
constexpr double kListLimit = 1000.0; // for 10,000 loops
constexpr double kKeystrokeLimit = 16.0;
constexpr auto kPatience = std::chrono::seconds(60);

double listLimit(std::size_t loops) {
    return kListLimit * std::max(1.0, static_cast<double>(loops) / 1e4);
}

std::vector<SavedLoop> manyLoops(int count) {
    std::vector<SavedLoop> loops;
    for (int i = 0; i < count; ++i) {
        const QString name = QStringLiteral("Loop number %1").arg(i);
        const auto path = folder() / (name.toStdString() + ".wav");
        writeAudio(path, 480);
        loops.emplace_back(name, name + ".wav", SecondsSince2001(7e8 + i * 61.25), 0.01,
                           static_cast<qint64>(std::filesystem::file_size(path)));
    }
    return loops;
}

// The time until a new store has published its list, and the longest stall meanwhile.
struct Loading {
    double list = 0.0;
    double stall = 0.0;
    std::size_t loops = 0;
};

Loading load() {
    StallMeter meter;
    benchmark::runEventsFor(std::chrono::milliseconds(20));
    Loading result;
    const auto begin = Clock::now();
    LoopLibrary library;
    QObject::connect(&library, &LoopLibrary::savedLoopsChanged,
                     [&] { result.list = millisecondsBetween(begin, Clock::now()); });
    benchmark::runEventsUntil([&] { return result.list > 0.0; }, kPatience);
    benchmark::runEventsFor(std::chrono::milliseconds(20));
    result.stall = meter.longest();
    result.loops = library.savedLoops().size();
    return result;
}

bool report(const char* what, const std::vector<Loading>& runs, std::size_t expected) {
    std::vector<double> lists;
    std::vector<double> stalls;
    bool complete = true;
    for (const Loading& run : runs) {
        lists.push_back(run.list);
        stalls.push_back(run.stall);
        complete = complete && run.loops == expected;
    }
    const auto list = benchmark::spreadOf(lists);
    const auto stall = benchmark::spreadOf(stalls);
    std::printf("%s: list published after %.0f ms (worst of %zu: %.0f ms), longest stall of the "
                "main thread %.1f ms (worst %.1f ms)%s\n",
                what, list.median, runs.size(), list.worst, stall.median, stall.worst,
                complete ? "" : ", LOOPS MISSING");
    return complete && list.worst <= listLimit(expected) && stall.worst <= kStallLimit;
}

int list(int count) {
    const auto loops = manyLoops(count);
    LibraryFile::write(loops);
    std::vector<double> saves;
    for (int i = 0; i < 9; ++i) {
        const auto begin = Clock::now();
        LibraryFile::write(loops);
        saves.push_back(millisecondsBetween(begin, Clock::now()));
    }
    const auto save = benchmark::spreadOf(saves);
    std::printf(
        "%d loops, %lld KB of metadata, saved in %.0f ms (worst of 9: %.0f ms)\n", count,
        static_cast<long long>(std::filesystem::file_size(folder() / "library.json") / 1000),
        save.median, save.worst);

    const auto expected = static_cast<std::size_t>(count);
    std::vector<Loading> runs;
    for (int i = 0; i < 9; ++i) {
        runs.push_back(load());
    }
    bool good = report("load", runs, expected);
    // An orphan makes the load write the file back.
    std::filesystem::remove(folder() / "Loop number 0.wav");
    good = report("load that drops an orphan", {load()}, expected - 1) && good;
    BackgroundQueue::waitForAll();
    std::ofstream(folder() / "library.json") << "[";
    good = report("rebuild", {load()}, expected - 1) && good;
    return good ? 0 : 1;
}

struct Browsing {
    double list = 0.0;
    double stall = 0.0;
    double earlyStall = 0.0;
};

// A view's own work is left out of these.
Browsing browse(int foundEarly, Times& keystrokes, Times& orders, Times& early) {
    Browsing result;
    StallMeter meter;
    benchmark::runEventsFor(std::chrono::milliseconds(20));
    const auto begin = Clock::now();
    const auto makeEngine = [] {
        return std::make_unique<LoopPreviewEngine>(
            std::make_unique<sound::OfflineDevice>(sound::AudioDevice::Formats{
                sound::AudioFormat(kRate, 2), sound::AudioFormat(kRate, 2), kRate}));
    };
    LoopLibraryViewModel model(makeEngine());
    const auto* const rows = model.loops();
    benchmark::runEventsUntil([&] { return rows->rowCount() > 0; }, kPatience);
    result.list = millisecondsBetween(begin, Clock::now());
    benchmark::runEventsFor(std::chrono::milliseconds(200)); // the keys come meanwhile
    result.stall = meter.longest();

    const auto change = [&](Times& times, const std::function<void()>& by) {
        times.measure(by);
        benchmark::runEventsFor(std::chrono::milliseconds(5)); // as between two strokes
    };
    for (const auto order : {SortOrder::dateDescending, SortOrder::nameAscending}) {
        model.setSortOrder(order);
        for (const QString& search :
             {QStringLiteral("beat dr"), QStringLiteral("GROSSE"), QStringLiteral("1234"),
              QStringLiteral("e 9"), QStringLiteral("\u03a6\u03a9\u03a3"), QStringLiteral("zzz")}) {
            for (qsizetype length = 1; length <= search.size(); ++length) {
                change(keystrokes, [&] { model.setSearchText(search.left(length)); });
            }
            for (qsizetype length = search.size() - 1; length > 0; --length) {
                change(keystrokes, [&] { model.setSearchText(search.left(length)); });
            }
            change(keystrokes, [&] { model.clearSearch(); });
        }
    }
    for (int round = 0; round < 2; ++round) {
        for (const auto order : {SortOrder::dateAscending, SortOrder::nameAscending,
                                 SortOrder::nameDescending, SortOrder::durationAscending,
                                 SortOrder::durationDescending, SortOrder::dateDescending}) {
            change(orders, [&] { model.setSortOrder(order); });
        }
    }

    // A search in the turn in which the list comes.
    LoopLibraryViewModel other(makeEngine());
    StallMeter earlyMeter;
    auto searched = begin;
    double cpu = 0.0;
    QObject::connect(&other, &LoopLibraryViewModel::libraryStatsChanged, &other, [&] {
        searched = Clock::now();
        cpu = cpuTime();
        other.setSearchText(QStringLiteral("b"));
    });
    benchmark::runEventsUntil([&] { return cpu > 0.0 && other.loops()->rowCount() == foundEarly; },
                              kPatience);
    early.add(millisecondsBetween(searched, Clock::now()), cpuTime() - cpu);
    result.earlyStall = earlyMeter.longest();
    return result;
}

int browse(int count) {
    const auto loops = loopsWithNames(count);
    LibraryFile::write(loops);
    const auto foundEarly =
        static_cast<int>(std::count_if(loops.begin(), loops.end(), [](auto& loop) {
            return loop.name().contains(u'b', Qt::CaseInsensitive);
        }));
    std::vector<double> lists;
    std::vector<double> stalls;
    std::vector<double> earlyStalls;
    Times keystrokes;
    Times orders;
    Times early;
    for (int run = 0; run < 5; ++run) {
        const Browsing result = browse(foundEarly, keystrokes, orders, early);
        lists.push_back(result.list);
        stalls.push_back(result.stall);
        earlyStalls.push_back(result.earlyStall);
    }
    const auto list = benchmark::spreadOf(lists);
    const auto stall = benchmark::spreadOf(stalls);
    const auto earlyStall = benchmark::spreadOf(earlyStalls);
    std::printf("%d loops: rows after %.0f ms (worst of 5: %.0f ms), longest stall of the main "
                "thread from the start until the keys are made %.1f ms (worst %.1f ms)\n",
                count, list.median, list.worst, stall.median, stall.worst);
    bool good = list.worst <= listLimit(loops.size()) && stall.worst <= kStallLimit &&
                earlyStall.worst <= kStallLimit;
    good = keystrokes.report("key stroke to new list", kKeystrokeLimit) && good;
    good = orders.report("another order", kStallLimit) && good;
    good =
        early.report("search in the turn in which the list comes, to its list", kListLimit) && good;
    std::printf("  longest stall of the main thread %.1f ms (worst %.1f ms)\n", earlyStall.median,
                earlyStall.worst);
    return good ? 0 : 1;
}

int take(int hours) {
    SimpleLooperViewModel controller(
        std::make_unique<sound::OfflineDevice>(sound::AudioDevice::Formats{
            sound::AudioFormat(kRate, 2), sound::AudioFormat(kRate, 2), kRate}));
    controller.recordButtonPressed();
    benchmark::runEventsFor(std::chrono::milliseconds(10));
    controller.stopButtonPressed();
    benchmark::runEventsFor(std::chrono::milliseconds(10));
    const std::filesystem::path path =
        controller.loopState()->fileURL().toLocalFile().toStdString();
    // The take's own file is exchanged for a long one.
    std::filesystem::remove(path);
    writeAudio(path, std::int64_t{48000} * 3600 * hours);

    StallMeter meter;
    const auto begin = Clock::now();
    BackgroundQueue::post(BackgroundQueue::Priority::userInitiated, [&controller] {
        try {
            controller.saveCurrentLoop(QStringLiteral("Long"));
        } catch (const std::exception& error) {
            std::printf("%s\n", error.what()); // and no record comes
        }
    });
    const bool saved = benchmark::runEventsUntil(
        [&] { return controller.loopState()->currentSavedLoop().has_value(); },
        std::chrono::minutes(5));
    const double seconds = millisecondsBetween(begin, Clock::now()) / 1000.0;
    const double stall = meter.longest();
    std::printf(
        "take of %d h (%lld MB): %s after %.1f s, longest stall of the main thread %.1f ms\n",
        hours, static_cast<long long>(std::filesystem::file_size(path) / 1'000'000),
        saved ? "saved" : "NOT saved", seconds, stall);
    return saved && stall <= kStallLimit ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    const benchmark::PrivateHome home;
    QCoreApplication application(argc, argv);
    setLogSink([](std::string_view) {});
    const std::string command = argc > 1 ? argv[1] : "";
    const int number = argc > 2 ? std::atoi(argv[2]) : 0;
    if (command == "list") {
        return list(number > 0 ? number : 10'000);
    }
    if (command == "browse") {
        return browse(number > 0 ? number : 10'000);
    }
    if (command == "take") {
        return take(number > 0 ? number : 1);
    }
    std::puts("usage: library_benchmark list [loops] | browse [loops] | take [hours]");
    return 2;
}
