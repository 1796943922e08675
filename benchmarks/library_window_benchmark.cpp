// The library window with many loops, as its user has it: the real window on a display of its
// own, real keys and a real pointer, and what is measured is what a frame shows.
//
//   library_window_benchmark [loops [openings]]

#include "Common.h"
#include "ContentWindow.h"
#include "SavedLoopFiles.h"

#include "Audio/MIDIManager.h"
#include "Models/LibraryFile.h"
#include "Platform/Midi/PipeWireMidi.h"
#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/LogLine.h"
#include "ViewModels/Library/LoopListModel.h"
#include "ViewModels/LoopLibraryViewModel.h"
#include "ViewModels/Main/HeldKeys.h"
#include "support/AppProcess.h"
#include "support/PrivatePipeWire.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QQuickItem>

#include <malloc.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>

using namespace tessivo;
using namespace std::chrono_literals;
using benchmark::cpuTime;
using benchmark::millisecondsBetween;
using benchmark::residentMegabytes;
using benchmark::runEventsFor;
using benchmark::runEventsUntil;
using benchmark::StallMeter;
using benchmark::Times;
using Clock = std::chrono::steady_clock;

namespace {

constexpr double kOpenLimit = 1000.0; // ms for 10,000 loops, from the key to the frame
constexpr double kStallLimit = 50.0;  // ms
constexpr double kListLimit = 16.0;   // ms of processor time, from a key to the new list
constexpr double kFrameLimit = 33.0;  // ms
constexpr int kMostDelegates = 60;    // several times those in sight
constexpr double kHeapLimit = 2.0;    // MB in use that ten openings may leave behind
constexpr double kMemoryLimit = 16.0; // MB resident, likewise, with what the heap keeps for later
constexpr auto kPatience = 30s;

struct Moment {
    Clock::time_point at = Clock::now();
    double cpu = cpuTime();
};

// A keyboard and a mouse at the display. The program that moves them is there all the time, so
// that a key does not wait for its start.
class Hands {
public:
    Hands() {
        if (pipe_ == nullptr) {
            throw std::runtime_error("no keyboard");
        }
    }
    ~Hands() { pclose(pipe_); }
    Hands(const Hands&) = delete;
    Hands& operator=(const Hands&) = delete;

    void press(const std::string& key) { command("key --delay 0 " + key); }
    void turnWheel(bool down) { command(down ? "click --delay 0 5" : "click --delay 0 4"); }
    void hold() { command("mousedown 1"); }
    void release() { command("mouseup 1"); }
    void moveTo(QPoint place) {
        command("mousemove " + std::to_string(place.x()) + ' ' + std::to_string(place.y()));
    }

private:
    void command(const std::string& line) {
        if (std::fputs((line + '\n').c_str(), pipe_) < 0 || std::fflush(pipe_) != 0) {
            throw std::runtime_error("the keyboard is gone");
        }
    }

    std::FILE* pipe_ = popen("xdotool -", "w");
};

// Sees when a key arrives here, and when a window has shown a frame.
class Witness : public QObject {
public:
    Witness() { QCoreApplication::instance()->installEventFilter(this); }

    std::optional<Moment> key; // the first since this was empty
    // Is told the window, if anything is there to be told.
    std::function<void(const QQuickWindow*)> onFrame = [](const QQuickWindow*) {
    };

    bool eventFilter(QObject* watched, QEvent* event) override {
        const auto type = event->type();
        if ((type == QEvent::KeyPress || type == QEvent::ShortcutOverride) && !key &&
            static_cast<QKeyEvent*>(event)->key() != Qt::Key_Control) {
            key.emplace();
        } else if (type == QEvent::PlatformSurface) {
            if (auto* const window = qobject_cast<QQuickWindow*>(watched)) {
                // Once for each window, though it may get another surface.
                disconnect(window, &QQuickWindow::frameSwapped, this, nullptr);
                connect(window, &QQuickWindow::frameSwapped, this, [this, window] {
                    if (onFrame) {
                        onFrame(window);
                    }
                });
            }
        }
        return false;
    }
};

class LibraryWindow {
public:
    explicit LibraryWindow(const std::vector<SavedLoop>& loops)
        : loops_(loops) {}

    // The main window first has the keyboard.
    Moment open() {
        if (!runEventsUntil([this] { return main_.window().isActive(); }, kPatience)) {
            throw std::runtime_error("the main window does not get the keyboard");
        }
        const int count = countOf({});
        const Moment pressed;
        hands.press("ctrl+o");
        const Moment shown = awaitFrame([&] { return shows({}, count); });
        openTimes.add(millisecondsBetween(pressed.at, shown.at), shown.cpu - pressed.cpu);
        if (!runEventsUntil([this] { return sheet_->isActive(); }, kPatience)) {
            throw std::runtime_error("the library does not get the keyboard");
        }
        return shown;
    }

    void close() {
        hands.press("Escape");
        awaitClosed();
    }
    // From the search field, with the keyboard.
    void loadFirst() {
        hands.press("Down");
        runEventsFor(100ms);
        hands.press("Return");
        awaitClosed();
    }

    // One key in the search field, after which that text is in it. The new list stands when no
    // more of it changes until the frame.
    void type(const std::string& key, const QString& text) {
        const int count = countOf(text);
        StallMeter meter;
        listed_.reset();
        witness_.key.reset();
        const Moment pressed;
        hands.press(key);
        const Moment shown = awaitFrame([&] { return shows(text, count); });
        const Moment arrived = witness_.key.value();
        keyToList.add(millisecondsBetween(arrived.at, listed_.value().at),
                      listed_->cpu - arrived.cpu);
        keyToFrame.add(millisecondsBetween(pressed.at, shown.at), shown.cpu - pressed.cpu);
        runEventsFor(20ms);
        keyStalls.add(meter.longest(), meter.workOfLongest());
    }

    void choose(SortOrder order) {
        const int count = countOf({});
        const Moment begin;
        model_->setSortOrder(order);
        const Moment listed;
        const Moment shown = awaitFrame([&] { return shows({}, count); });
        orderToList.add(millisecondsBetween(begin.at, listed.at), listed.cpu - begin.cpu);
        orderToFrame.add(millisecondsBetween(begin.at, shown.at), shown.cpu - begin.cpu);
        runEventsFor(20ms);
    }

    // Calls `move` every ten milliseconds until it returns false, and reports the frames that
    // came meanwhile. True when the main thread never worked too long for one.
    template <typename Move> bool scroll(const char* what, Move&& move) {
        Times frames;
        std::optional<Moment> last;
        double lastY = contentY();
        const double from = lastY;
        int late = 0;
        int most = 0;
        witness_.onFrame = [&](const QQuickWindow* window) {
            if (window != sheet_) {
                return;
            }
            const Moment now;
            const double y = contentY();
            // From one frame that moved the list to the next that does.
            if (y == lastY) {
                return;
            }
            if (last) {
                const double time = millisecondsBetween(last->at, now.at);
                frames.add(time, now.cpu - last->cpu);
                late += time > kFrameLimit ? 1 : 0;
            }
            last = now;
            lastY = y;
            most = std::max(most, delegates());
        };
        const auto begin = Clock::now();
        StallMeter meter;
        while (move()) {
            runEventsFor(10ms);
        }
        runEventsFor(300ms);
        witness_.onFrame = nullptr;
        const double seconds = millisecondsBetween(begin, Clock::now()) / 1000.0;
        std::printf("%s: row %.0f to %.0f in %.1f s, %zu frames, %d of them later than %.0f ms; at "
                    "most %d row delegates alive; ",
                    what, from / rowHeight(), contentY() / rowHeight(), seconds,
                    frames.clock.size(), late, kFrameLimit, most);
        const bool quiet = reportStall(meter);
        return frames.report("  from frame to frame", kFrameLimit) && quiet &&
               most <= kMostDelegates;
    }

    static bool reportStall(StallMeter& meter) {
        const double longest = meter.longest();
        std::printf("longest stall of the main thread %.1f ms (%.1f ms of processor time)\n",
                    longest, meter.workOfLongest());
        return longest <= kStallLimit;
    }

    // From the list's top, which is 0, to its bottom, which is 1.
    double position() const { return contentY() / (contentHeight() - list_->height()); }
    QPoint placeInList(double fromLeft, double fromTop) const {
        return list_->mapToGlobal(QPointF(fromLeft, fromTop)).toPoint();
    }
    QSizeF listSize() const { return list_->size(); }
    LoopLibraryViewModel& model() { return *model_; }

    Hands hands;
    Times openTimes;
    Times keyToList;
    Times keyToFrame;
    Times keyStalls;
    Times orderToList;
    Times orderToFrame;

private:
    void awaitClosed() {
        if (!runEventsUntil([this] { return findSheet() == nullptr; }, kPatience)) {
            throw std::runtime_error("the library does not close");
        }
        runEventsFor(300ms);
    }

    QQuickWindow* findSheet() {
        return qobject_cast<QQuickWindow*>(
            main_.window().property("librarySheet").value<QObject*>());
    }

    static QQuickItem* findList(QQuickItem* in) {
        for (QQuickItem* const child : in->childItems()) {
            if (child->inherits("QQuickListView")) {
                return child;
            }
            if (auto* const found = findList(child)) {
                return found;
            }
        }
        return nullptr;
    }

    // Whether the frame that has just been drawn shows that many rows for that text, beginning with
    // the right one.
    bool shows(const QString& text, int expected) {
        if (auto* const sheet = findSheet(); sheet != sheet_) {
            sheet_ = sheet;
            list_ = sheet != nullptr ? findList(sheet->contentItem()) : nullptr;
            model_ = sheet != nullptr ? sheet->property("viewModel").value<LoopLibraryViewModel*>()
                                      : nullptr;
            if (model_ != nullptr) {
                noteChanges();
            }
        }
        if (list_ == nullptr || !list_->isVisible() || model_->searchText() != text) {
            return false;
        }
        const auto* const rows = model_->loops();
        if (rows->rowCount() != expected || count() != rows->rowCount()) {
            return false;
        }
        if (count() == 0) {
            return true;
        }
        QQuickItem* first = nullptr;
        QMetaObject::invokeMethod(list_, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, first),
                                  Q_ARG(int, 0));
        return first != nullptr && first->isVisible() && contentY() == 0.0 &&
               first->property("loop") == rows->data(rows->index(0, 0), LoopListModel::loopRole);
    }

    void noteChanges() {
        const auto note = [this] {
            listed_.emplace();
        };
        const auto* const rows = model_->loops();
        QObject::connect(rows, &QAbstractItemModel::rowsInserted, &witness_, note);
        QObject::connect(rows, &QAbstractItemModel::rowsRemoved, &witness_, note);
        QObject::connect(rows, &QAbstractItemModel::rowsMoved, &witness_, note);
        QObject::connect(rows, &QAbstractItemModel::dataChanged, &witness_, note);
        QObject::connect(model_, &LoopLibraryViewModel::searchTextChanged, &witness_, [this, note] {
            if (!listed_) {
                note(); // the same rows
            }
        });
    }

    int countOf(const QString& text) const {
        if (text.isEmpty()) {
            return static_cast<int>(loops_.size());
        }
        return static_cast<int>(
            std::count_if(loops_.begin(), loops_.end(), [&](const SavedLoop& loop) {
                return loop.name().contains(text, Qt::CaseInsensitive);
            }));
    }

    template <typename Condition> Moment awaitFrame(Condition&& condition) {
        std::optional<Moment> shown;
        witness_.onFrame = [&](const QQuickWindow* window) {
            if (!shown && window == findSheet() && condition()) {
                shown.emplace();
            }
        };
        const bool came = runEventsUntil([&] { return shown.has_value(); }, kPatience);
        witness_.onFrame = nullptr;
        if (!came) {
            throw std::runtime_error("the list does not show");
        }
        return *shown;
    }

    int count() const { return list_->property("count").toInt(); }
    double contentY() const { return list_->property("contentY").toDouble(); }
    double contentHeight() const { return list_->property("contentHeight").toDouble(); }
    double rowHeight() const { return contentHeight() / count(); }

    int delegates() const {
        const auto items = list_->property("contentItem").value<QQuickItem*>()->childItems();
        return static_cast<int>(std::count_if(items.begin(), items.end(), [](const auto* item) {
            return item->property("isCurrentlyPreviewing").isValid();
        }));
    }

    const std::vector<SavedLoop>& loops_;
    Witness witness_;
    benchmark::ContentWindow main_;
    std::optional<Moment> listed_; // the latest change of the list since this was empty
    QQuickWindow* sheet_ = nullptr;
    QQuickItem* list_ = nullptr;
    LoopLibraryViewModel* model_ = nullptr;
};

double heapMegabytes() {
    return static_cast<double>(mallinfo2().uordblks) / 1e6;
}

bool search(LibraryWindow& library) {
    for (const QString& text :
         {QStringLiteral("beat dr"), QStringLiteral("halle"), QStringLiteral("1234"),
          QStringLiteral("e 9"), QStringLiteral("zzz")}) {
        const auto typeAll = [&] {
            for (qsizetype i = 0; i < text.size(); ++i) {
                const QString key = text[i] == u' ' ? QStringLiteral("space") : QString(text[i]);
                library.type(key.toStdString(), text.left(i + 1));
            }
        };
        typeAll();
        for (qsizetype length = text.size() - 1; length >= 0; --length) {
            library.type("BackSpace", text.left(length));
        }
        typeAll();
        library.hands.press("ctrl+a");
        runEventsFor(50ms);
        library.type("BackSpace", {});
    }
    bool good = library.keyStalls.report("search: stall of a key", kStallLimit);
    good = library.keyToList.report("  key's arrival to the model's new list", kListLimit) && good;
    return library.keyToFrame.report("  key to the frame that shows it", kStallLimit) && good;
}

bool order(LibraryWindow& library) {
    StallMeter meter;
    for (int round = 0; round < 3; ++round) {
        for (const auto each : {SortOrder::dateAscending, SortOrder::nameAscending,
                                SortOrder::nameDescending, SortOrder::durationAscending,
                                SortOrder::durationDescending, SortOrder::dateDescending}) {
            library.choose(each);
        }
    }
    std::printf("orders: ");
    bool good = LibraryWindow::reportStall(meter);
    good = library.orderToList.report("  order to new list, followed by the view", kStallLimit) &&
           good;
    return library.orderToFrame.report("  order to the frame that shows it", kStallLimit) && good;
}

// What changes the library, and what is done with a loop. As many are added as removed.
bool change(LibraryWindow& library) {
    constexpr auto kUntilWritten = 2500ms;
    LoopLibraryViewModel& model = library.model();
    const auto loopAt = [&](int row) {
        return model.loops()->index(row, 0).data(LoopListModel::loopRole).value<SavedLoop>();
    };
    const auto middle = model.loops()->rowCount() / 2;
    bool good = true;
    const auto measure = [&](const char* what, std::chrono::milliseconds rest, auto&& action) {
        Times stalls;
        for (int turn = 0; turn < 6; ++turn) {
            model.setSortOrder(turn % 2 == 0 ? SortOrder::dateDescending
                                             : SortOrder::nameAscending);
            runEventsFor(300ms);
            StallMeter meter;
            runEventsFor(20ms);
            action(turn);
            runEventsFor(rest);
            stalls.add(meter.longest(), meter.workOfLongest());
        }
        good = stalls.report(what, kStallLimit) && good;
    };
    measure("stall of a save", kUntilWritten, [&](int turn) {
        const QString name = QStringLiteral("Neu \u00fcber %1").arg(turn);
        benchmark::writeAudio(benchmark::folder() / (name.toStdString() + ".wav"), 480);
        model.loopLibrary().saveLoop({name, name + ".wav", secondsSince2001Now(), 0.01, 4000});
    });
    measure("stall of a rename", kUntilWritten, [&](int turn) {
        model.renameLoop(loopAt(middle));
        model.setNewLoopName(QStringLiteral("Renamed \u00fc %1").arg(turn));
        model.confirmRename();
    });
    measure("stall of a delete", kUntilWritten, [&](int turn) {
        model.deleteLoop(loopAt(middle + turn));
        model.confirmDelete();
    });
    measure("stall of an audition", 300ms, [&](int turn) {
        model.previewLoop(loopAt(turn));
        runEventsFor(300ms);
        model.stopPreview();
    });
    measure("stall of a refresh", 500ms, [&](int) {
        model.refreshLibrary();
        runEventsUntil([&] { return !model.isLoading(); }, kPatience);
    });
    if (model.showingError()) {
        std::printf("  AN OPERATION FAILED: %s\n", qPrintable(model.errorMessage()));
        return false;
    }
    return good;
}

bool load(LibraryWindow& library) {
    StallMeter meter;
    library.loadFirst();
    std::printf("load, which closes the library: ");
    return LibraryWindow::reportStall(meter);
}

bool scroll(LibraryWindow& library) {
    Hands& hands = library.hands;
    const QSizeF size = library.listSize();
    hands.moveTo(library.placeInList(size.width() / 2, size.height() / 2));
    runEventsFor(300ms);
    const auto turn = [&](bool down) {
        return [&hands, down, end = Clock::now() + 10s]() {
            hands.turnWheel(down);
            return Clock::now() < end;
        };
    };
    bool good = library.scroll("wheel down", turn(true));
    good = library.scroll("wheel up", turn(false)) && good;

    // The bar's handle from one end to the other, a pixel or so at a time.
    const double margin = 12.0;
    const auto drag = [&](bool down, int steps) {
        return [&, down, steps, step = 0]() mutable {
            const double part = static_cast<double>(step) / steps;
            const double way = down ? part : 1.0 - part;
            hands.moveTo(library.placeInList(size.width() - 5.0,
                                             margin + way * (size.height() - 2 * margin)));
            if (step == 0) {
                hands.hold();
            }
            return step++ < steps;
        };
    };
    for (const bool down : {true, false}) {
        good =
            library.scroll(down ? "bar to the bottom" : "bar to the top", drag(down, 500)) && good;
        hands.release();
        runEventsFor(300ms);
        if (std::abs(library.position() - (down ? 1.0 : 0.0)) > 0.01) {
            std::printf("  THE END IS NOT REACHED: %.3f\n", library.position());
            good = false;
        }
    }
    return good;
}

int run(int count, int openings) {
    const auto loops = benchmark::loopsWithNames(count);
    LibraryFile::write(loops);
    LibraryWindow library(loops);
    runEventsFor(2s); // for the session manager, and what else begins late
    const double before = residentMegabytes();

    const auto openAndMeasure = [&](const char* what) {
        StallMeter meter;
        library.open();
        runEventsFor(300ms); // what is prepared for the search comes meanwhile
        std::printf("%s: frame with the list %.0f ms after the key (%.0f ms of processor time), ",
                    what, library.openTimes.clock.back(), library.openTimes.cpu.back());
        const bool quiet = LibraryWindow::reportStall(meter);
        return quiet && library.openTimes.clock.back() <= kOpenLimit * std::max(1.0, count / 1e4);
    };
    std::printf("%d loops\n", count);
    bool good = openAndMeasure("first opening");
    const double opened = residentMegabytes();
    good = search(library) && good;
    good = order(library) && good;
    good = scroll(library) && good;
    library.choose(SortOrder::dateDescending); // from the top again
    good = change(library) && good;
    const double used = residentMegabytes();
    library.choose(SortOrder::dateDescending);
    good = load(library) && good;
    const double closed = residentMegabytes();
    double afterFirst = 0.0;
    double heapAfterFirst = 0.0;
    for (int i = 0; i < openings; ++i) {
        good = openAndMeasure("another opening") && good;
        library.close();
        if (i == 0) {
            afterFirst = residentMegabytes();
            heapAfterFirst = heapMegabytes();
        }
    }
    const double after = residentMegabytes();
    const double heap = heapMegabytes();
    std::printf("resident: %.1f MB before, %.1f MB with the list, %.1f MB after all the above, "
                "%.1f MB closed; %.1f MB after another opening and %.1f MB after %d\n",
                before, opened, used, closed, afterFirst, after, openings);
    std::printf("in use of the heap: %.1f MB after another opening and %.1f MB after %d\n",
                heapAfterFirst, heap, openings);
    good = heap - heapAfterFirst <= kHeapLimit && after - afterFirst <= kMemoryLimit && good;
    return good ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    const benchmark::PrivateHome home;
    test::PrivatePipeWire server;
    const test::VirtualDisplay display;
    benchmark::useSoftwareRenderer();
    std::signal(SIGPIPE, SIG_IGN);
    setLogSink([](std::string_view) {});
    MIDIManager::setSharedSystem(std::make_shared<midi::PipeWireMidi>("Tessivo"));
    QGuiApplication application(argc, argv);
    HeldKeys heldKeys;
    application.installEventFilter(&heldKeys);
    const auto number = [&](int index, int otherwise) {
        const int value = argc > index ? std::atoi(argv[index]) : 0;
        return value > 0 ? value : otherwise;
    };
    const int result = run(number(1, 10'000), number(2, 10));
    BackgroundQueue::waitForAll();
    return result;
}
