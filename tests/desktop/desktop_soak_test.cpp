// A person at the application who does anything: random keys, texts, clicks, drags, wheels, menus, dialogs,
// dropped files and windows on three videos, one of which comes and goes, with an ffmpeg that does anything.
//
// Input goes the way of real input: to a window of the toolkit, which finds the widget, the open menu or the
// dialog in its way. After each few acts the widgets must show what the records say, there must be no window
// that nobody opened, and nothing may have been warned of; when the application has gone, so must its
// windows, threads, descriptors and processes.
//
// MOVANE_SOAK_SECONDS says how long (8 without it), MOVANE_SOAK_SEED which acts. The same seed gives the same
// choices, as far as the players' and the encoder's time allows. With MOVANE_SOAK_TRACE set each act is told.

#include "desktop/actions/actiontable.h"
#include "desktop/actions/keyspage.h"
#include "desktop/actions/widgetkeys.h"
#include "desktop/desktopstage.h"
#include "process/processsetup.h"

#include <QContextMenuEvent>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QInputMethodEvent>
#include <QPixmapCache>
#include <QTimer>
#include <QWheelEvent>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <functional>
#include <iostream>
#include <mutex>
#include <random>
#include <utility>

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr int ActsBetweenChecks = 10;
constexpr int ActsOfAnApplication = 500; // on average, then it is ended from outside
constexpr int AgreeWithinMs = 20000;
constexpr qint64 AnswersWithinMs = 10000;
constexpr unsigned HangsAfterSec = 120;
constexpr int NestedMs = 50;
constexpr std::size_t MostWindows = 4;
constexpr std::ptrdiff_t MostThreadsAfter = 10;
constexpr std::ptrdiff_t MostDescriptorsAfter = 20;
constexpr std::size_t MostCachedKib = 4096; // letters and texts, which the toolkit keeps for later

long long NumberFrom(const char* Variable, long long Otherwise)
{
    const char* value = std::getenv(Variable); // NOLINT(concurrency-mt-unsafe)
    return value == nullptr ? Otherwise : std::atoll(value);
}

// -- What the process holds

long long ResidentKib()
{
    long long pages = 0;
    std::ifstream statm("/proc/self/statm");
    statm >> pages >> pages;
    return pages * sysconf(_SC_PAGESIZE) / 1024;
}

/// What was allocated and not freed. The memory of the process says little of that: the allocator keeps
/// what the players' threads have freed. 0 under a sanitizer, which looks for leaks itself.
std::size_t HeapInUseKib()
{
    const struct mallinfo2 heap = mallinfo2();
    return (heap.uordblks + heap.hblkhd) / 1024;
}

std::ptrdiff_t CountIn(const char* Folder)
{
    const std::filesystem::directory_iterator entries(Folder);
    return std::distance(begin(entries), end(entries));
}

// -- Warnings

std::mutex warningsMutex; // the player's threads may warn, too
QStringList warnings;
QtMessageHandler earlierHandler = nullptr;

void KeepWarning(QtMsgType Type, const QMessageLogContext& Context, const QString& Text)
{
    // What the platform without a screen can't do.
    const bool bKnown = Text.startsWith("This plugin does not support ");
    if (Type != QtDebugMsg && Type != QtInfoMsg && !bKnown)
    {
        const std::lock_guard lock(warningsMutex);
        warnings.append(Text);
    }
    else if (!bKnown)
    {
        earlierHandler(Type, Context, Text);
    }
}

// -- The person

class Person
{
public:
    explicit Person(std::uint64_t Seed)
        : Random(Seed)
    {
        WriteFile(Tools.Path() / "ffmpeg",
                  // By its own number, so that each run differs.
                  "#!/bin/sh\n"
                  "for out do :; done\n"
                  "case $(($$ % 8)) in\n"
                  "0) echo 'no such codec' >&2; exit 1 ;;\n"
                  "1) exit 0 ;;\n"
                  "2) : > \"$out\"; sleep 0.$(($$ % 10)) ;;\n"
                  "3) : > \"$out\"; kill -9 $$ ;;\n"
                  "4) printf '\\000\\377' >&2; exit 255 ;;\n"
                  "5) : > \"$out\"; sleep 2 ;;\n"
                  "*) : > \"$out\" ;;\n"
                  "esac\n");
        WriteFile(Tools.Path() / "bin" / "xdg-open", "#!/bin/sh\n"); // no file manager
        for (const char* const tool : {"ffmpeg", "bin/xdg-open"})
        {
            std::filesystem::permissions(Tools.Path() / tool, std::filesystem::perms::owner_all);
        }
        MakeNumberedVideo(Kept(), 1);
        std::filesystem::copy_file(Kept(), Coming());
    }

    void Start()
    {
        std::error_code ec;
        std::filesystem::remove_all(Environment().ClipsFolder(), ec);
        pStage = std::make_unique<DesktopStage>();
        QObject::connect(&pStage->Acts, &Commands::NewWindowRequested, &pStage->Main(),
                         [this] { ++WindowsAskedFor; });
        for (VideoWindow* const window : pStage->Program.Windows())
        {
            pStage->Program.OpenFiles({RandomFile()}, window);
        }
        WindowsAskedFor = 1;
        ++Starts;
    }

    /// As at a signal: whatever is open or under way.
    void End()
    {
        pStage.reset();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }

    bool HasClosed() { return !pStage->Main().isVisible(); }
    bool Choose(int OneOf) { return Choice(OneOf) == 0; }

    void Act()
    {
        ++Count;
        FreeNested(Count);
        using Deed = void (Person::*)();
        constexpr std::array<Deed, 20> deeds = {
            &Person::PressActionKey, &Person::PressActionKey, &Person::PressActionKey,
            &Person::PressAnyKey,    &Person::PressAnyKey,    &Person::ClickSomewhere,
            &Person::ClickSomewhere, &Person::ClickSomewhere, &Person::DoubleClick,
            &Person::Drag,           &Person::Drag,           &Person::Wheel,
            &Person::AskForMenu,     &Person::TypeText,       &Person::TypeText,
            &Person::MarkAndSave,    &Person::Resize,         &Person::DropFiles,
            &Person::Rest,           &Person::ChangeWindows};
        if (auto* const dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget()))
        {
            AnswerFileDialog(*dialog);
        }
        else if (QApplication::activeModalWidget() != nullptr && Choose(6))
        {
            Press(Choose(2) ? Qt::Key_Escape : Qt::Key_Return);
        }
        else if (pStage->Program.Windows().size() > MostWindows)
        {
            Tell("close a window");
            pStage->Program.Windows().back()->close();
        }
        else
        {
            (this->*deeds.at(static_cast<std::size_t>(Choice(deeds.size()))))();
        }
    }

    /// Where a widget and a record disagree; empty where they agree.
    QString Disagreement()
    {
        const auto& clips = pStage->Clips();
        const auto& rows = pStage->Panel().TableModel->GetRows();
        const QAbstractItemModel& shown = *pStage->Table().model();
        if (rows.size() != clips.size() || shown.rowCount() != static_cast<int>(clips.size()))
        {
            return QString("%1 clips, %2 rows, %3 shown")
                .arg(clips.size())
                .arg(rows.size())
                .arg(shown.rowCount());
        }
        for (std::size_t i = 0; i < clips.size(); ++i)
        {
            if (rows[i].at(0) != clips[i].Name ||
                rows[i].at(1) != MvClipControlPanel::FormatTimeLabel(clips[i].StartSec) ||
                rows[i].at(2) != MvClipControlPanel::FormatTimeLabel(clips[i].EndSec) ||
                rows[i].at(5) != clips[i].SourceLabel)
            {
                return QString("row %1 is not its clip").arg(i);
            }
        }
        std::vector<int> selected;
        for (const QModelIndex& index : pStage->Table().selectionModel()->selectedRows())
        {
            selected.push_back(index.row());
        }
        std::ranges::sort(selected);
        const int row = pStage->Panel().SelectedClipIndex();
        if (row < 0 ? !selected.empty() : std::ranges::count(selected, row) != 1)
        {
            return "the panel's row is not selected";
        }
        if (pStage->Running.Records().SelectedRows !=
            (selected.size() > 1 ? selected : std::vector<int>()))
        {
            return "other rows are selected than Export takes";
        }
        const std::string& status = pStage->Panel().StatusText;
        if (pStage->Running.Records().StatusLabel.Text != status ||
            pStage->Status() != QString::fromStdString(status))
        {
            return "the status shown is " + pStage->Status() + ", not " +
                   QString::fromStdString(status);
        }
        const std::size_t windows = pStage->Program.Windows().size();
        if (windows > WindowsAskedFor || pStage->Running.Documents().size() != windows)
        {
            return QString("%1 windows of %2 documents, asked for were %3")
                .arg(windows)
                .arg(pStage->Running.Documents().size())
                .arg(WindowsAskedFor);
        }
        return StrangeWindow();
    }

    std::unique_ptr<DesktopStage> pStage;
    long long Count = 0;
    long long Starts = 0;

private:
    std::string Coming() const { return (Tools.Path() / "三つ目 it's & 100%.mp4").native(); }
    std::string Kept() const { return (Tools.Path() / "kept.mp4").native(); }

    int Choice(std::size_t Of)
    {
        return std::uniform_int_distribution<int>(0, static_cast<int>(Of) - 1)(Random);
    }
    template <typename Values> auto OneOf(const Values& Of)
    {
        return *(std::begin(Of) + Choice(std::size(Of)));
    }
    QString RandomFile()
    {
        const std::array files = {Environment().One(), Environment().Two(), Coming()};
        return QFile::decodeName(OneOf(files).c_str());
    }
    void Tell(const QString& Deed) const
    {
        if (qEnvironmentVariableIsSet("MOVANE_SOAK_TRACE"))
        {
            std::cerr << Count << ": " << Deed.toStdString() << std::endl;
        }
    }

    // A menu or a drag of text runs an event loop of its own, in which the act stays until it ends.
    void FreeNested(long long Act)
    {
        QTimer::singleShot(NestedMs, &pStage->Main(),
                           [this, Act]
                           {
                               if (Count != Act || QThread::currentThread()->loopLevel() == 0)
                               {
                                   return;
                               }
                               FreeNested(Act); // first, for what follows may nest, too
                               Tell("within");
                               Choose(2) ? ClickSomewhere() : Press(Qt::Key_Escape);
                           });
    }

    QString StrangeWindow()
    {
        const auto windows = pStage->Program.Windows();
        for (QWidget* const widget : QApplication::topLevelWidgets())
        {
            auto* const window = qobject_cast<VideoWindow*>(widget);
            const bool bOfTheProgram =
                std::find(windows.begin(), windows.end(), window) != windows.end();
            if (window != nullptr && (!bOfTheProgram || !window->isVisible()))
            {
                return "a window that is not of the program, or hidden: " + window->windowTitle();
            }
            if (qobject_cast<QDialog*>(widget) != nullptr && !widget->isVisible())
            {
                return "a dialog was left: " + widget->windowTitle();
            }
        }
        return {};
    }

    // -- Where input goes

    /// The open menu, else the dialog, else a window, mostly the one with the keyboard; at times another,
    /// for a person also clicks beside a menu.
    QWidget& Top()
    {
        QWidget* const popup = QApplication::activePopupWidget();
        QWidget* const dialog = QApplication::activeModalWidget();
        if (popup != nullptr && !Choose(4))
        {
            return *popup;
        }
        if (dialog != nullptr)
        {
            return *dialog;
        }
        std::vector<QWidget*> windows;
        for (VideoWindow* const window : pStage->Program.Windows())
        {
            windows.push_back(window);
        }
        if (auto* const keys = pStage->Open<KeysPageDialog>())
        {
            windows.push_back(keys);
        }
        QWidget* const active = QApplication::activeWindow();
        if (active != nullptr && !Choose(5) &&
            std::find(windows.begin(), windows.end(), active) != windows.end())
        {
            return *active;
        }
        QWidget* const window = OneOf(windows);
        if (popup == nullptr && window->isVisible())
        {
            window->activateWindow(); // as a window manager does at a click
        }
        return *window;
    }

    /// A point of a window in one of its widgets, each as likely as the other, or in one of the large ones.
    QPoint PointIn(QWidget& Window)
    {
        QList<QWidget*> places;
        QList<QWidget*> largePlaces;
        for (QWidget* const child : Window.findChildren<QWidget*>())
        {
            if (child->window() != &Window || child->visibleRegion().isEmpty())
            {
                continue;
            }
            places.append(child);
            const QString name = child->parentWidget()->objectName();
            if (qobject_cast<TimelineWidget*>(child) != nullptr || name == "clipTable")
            {
                largePlaces.append(child);
            }
        }
        if (!largePlaces.isEmpty() && Choose(2))
        {
            places = largePlaces;
        }
        QWidget* const place = places.isEmpty() ? &Window : OneOf(places);
        const QRect rect = place->visibleRegion().boundingRect();
        if (rect.isEmpty())
        {
            return Window.rect().center();
        }
        const QPoint inside(rect.x() + Choice(static_cast<std::size_t>(rect.width())),
                            rect.y() + Choice(static_cast<std::size_t>(rect.height())));
        // A window's place on the screen may be news that its widget has not heard yet.
        const QSize size = Window.windowHandle()->size().boundedTo(Window.size());
        const QPoint inWindow = place->mapTo(&Window, inside);
        const QPoint point(std::min(inWindow.x(), size.width() - 1),
                           std::min(inWindow.y(), size.height() - 1));
        Tell(QString("  in %1 %2 of %3 at %4, %5")
                 .arg(place->metaObject()->className(), place->objectName(),
                      Window.metaObject()->className())
                 .arg(point.x())
                 .arg(point.y()));
        return point;
    }

    void Press(Qt::Key Key, Qt::KeyboardModifiers Modifiers = {}, const QString& Text = {})
    {
        QPointer<QWindow> window = QGuiApplication::focusWindow();
        if (window == nullptr)
        {
            window = Top().windowHandle();
        }
        // The file dialog could also delete files.
        const bool bAsksForFiles =
            qobject_cast<QFileDialog*>(QApplication::activeModalWidget()) != nullptr;
        if (window == nullptr || (bAsksForFiles && Key != Qt::Key_Escape && Key != Qt::Key_Return))
        {
            return;
        }
        Tell("  key " + QKeySequence(QKeyCombination(Modifiers, Key)).toString());
        QTest::simulateEvent(window, true, Key, Modifiers, Text, false);
        if (window != nullptr)
        {
            QTest::simulateEvent(window, false, Key, Modifiers, Text, false);
        }
    }
    /// With the text that a keyboard gives for it.
    void PressKey(const QKeySequence& Keys)
    {
        const Qt::Key key = Keys[0].key();
        const Qt::KeyboardModifiers modifiers = Keys[0].keyboardModifiers();
        const bool bText = key < Qt::Key_Escape && !(modifiers & ~int(Qt::ShiftModifier));
        const QChar sign(bText ? key : 0);
        Press(key, modifiers, !bText ? QString() : QString(modifiers == 0 ? sign.toLower() : sign));
    }

    // -- What they do

    void PressActionKey()
    {
        const ActionInfo& info =
            ActionTable()[static_cast<std::size_t>(Choice(ActionTable().size()))];
        const bool bEnds = info.Id == ActionId::Quit || info.Id == ActionId::CloseWindow;
        if (KeysOf(info).isEmpty() || (bEnds && !Choose(4)))
        {
            return;
        }
        Tell(QString("action ") + info.Name);
        PressKey(OneOf(KeysOf(info)));
    }

    void PressAnyKey()
    {
        constexpr std::array keys = {
            Qt::Key_Tab,   Qt::Key_Backtab, Qt::Key_Escape, Qt::Key_Return,  Qt::Key_Enter,
            Qt::Key_Space, Qt::Key_Left,    Qt::Key_Right,  Qt::Key_Up,      Qt::Key_Down,
            Qt::Key_Home,  Qt::Key_End,     Qt::Key_PageUp, Qt::Key_Delete,  Qt::Key_F10,
            Qt::Key_Menu,  Qt::Key_A,       Qt::Key_C,      Qt::Key_V,       Qt::Key_X,
            Qt::Key_Z,     Qt::Key_F,       Qt::Key_Alt,    Qt::Key_Question};
        const std::array<Qt::KeyboardModifiers, 7> modifiers = {Qt::NoModifier,
                                                                Qt::NoModifier,
                                                                Qt::NoModifier,
                                                                Qt::ShiftModifier,
                                                                Qt::ControlModifier,
                                                                Qt::AltModifier,
                                                                Qt::ControlModifier |
                                                                    Qt::ShiftModifier};
        Tell("any key");
        const Qt::Key key = OneOf(keys);
        PressKey(QKeyCombination(OneOf(modifiers), key));
    }

    void ClickSomewhere()
    {
        Tell("click");
        constexpr std::array buttons = {Qt::LeftButton, Qt::LeftButton, Qt::LeftButton,
                                        Qt::RightButton, Qt::MiddleButton};
        WithWindow(
            [&](QWindow& window, QWidget& widget)
            { QTest::mouseClick(&window, OneOf(buttons), RandomModifiers(), PointIn(widget)); });
    }

    void DoubleClick()
    {
        Tell("double click");
        WithWindow([&](QWindow& window, QWidget& widget)
                   { QTest::mouseDClick(&window, Qt::LeftButton, {}, PointIn(widget)); });
    }

    void Drag()
    {
        Tell("drag");
        WithWindow(
            [&](QWindow& window, QWidget& widget)
            {
                const Qt::MouseButton button = Choose(5) ? Qt::MiddleButton : Qt::LeftButton;
                QPointer<QWindow> held = &window;
                QPointer<QWidget> place = &widget;
                QTest::mousePress(&window, button, {}, PointIn(widget));
                for (int moves = Choice(6); moves > 0 && held != nullptr && place != nullptr;
                     --moves)
                {
                    QTest::mouseMove(held, PointIn(*place));
                    if (Choose(15))
                    {
                        Press(Qt::Key_Escape);
                    }
                }
                QWindow* const last = held != nullptr ? held.data() : pStage->Main().windowHandle();
                QTest::mouseRelease(last, button, {}, {1, 1});
            });
    }

    void Wheel()
    {
        Tell("wheel");
        WithWindow(
            [&](QWindow& window, QWidget& widget)
            {
                const QPoint point = PointIn(widget);
                const int turn = 120 * (Choice(7) - 3);
                const QPoint delta = Choose(4) ? QPoint(turn, 0) : QPoint(0, turn);
                QWheelEvent event(point, window.mapToGlobal(point), {}, delta, {},
                                  RandomModifiers(), Qt::NoScrollPhase, false);
                QCoreApplication::sendEvent(&window, &event);
            });
    }

    /// The menu key.
    void AskForMenu()
    {
        Tell("menu key");
        WithWindow(
            [&](QWindow& window, QWidget& widget)
            {
                const QPoint point = PointIn(widget);
                QContextMenuEvent event(QContextMenuEvent::Keyboard, point,
                                        window.mapToGlobal(point));
                QCoreApplication::sendEvent(&window, &event);
            });
    }

    /// By an input method, into whatever takes text, mostly the name field; then with Return or Escape.
    void TypeText()
    {
        Tell("text");
        const std::array<QString, 6> texts = {"Intro",  "日本語", "it's \"$(x)\" 100 %",
                                              "1:02.5", " ",      QString(300, QChar(0x6f22))};
        if (Choose(2))
        {
            Press(Qt::Key_F2);
        }
        const QString text = OneOf(texts);
        if (QObject* const field = QGuiApplication::focusObject();
            field != nullptr && field->inherits("QLineEdit"))
        {
            QInputMethodEvent composing(text.left(2), {});
            QCoreApplication::sendEvent(field, &composing);
            QInputMethodEvent done;
            done.setCommitString(text);
            QPointer<QObject> still = QGuiApplication::focusObject();
            if (still == field && !Choose(10))
            {
                QCoreApplication::sendEvent(still, &done);
            }
        }
        Press(OneOf(std::array{Qt::Key_Return, Qt::Key_Escape, Qt::Key_Tab}));
    }

    /// What random keys seldom do in this order.
    void MarkAndSave()
    {
        Tell("mark and save");
        const bool bExports = Choose(2);
        for (const char* const key : {"Home", "I", "End", "O", "+", bExports ? "E" : "Shift+Z"})
        {
            PressKey(QKeySequence(key));
        }
    }

    void Resize()
    {
        Tell("resize");
        QWidget& window = Top();
        if (window.windowType() != Qt::Popup)
        {
            window.resize(200 + Choice(1700), 150 + Choice(900));
        }
    }

    void DropFiles()
    {
        Tell("drop");
        if (Choose(3))
        {
            ComeOrGo();
        }
        const auto windows = pStage->Program.Windows();
        QWidget& onto = *OneOf(windows);
        if (QApplication::activeModalWidget() != nullptr ||
            QApplication::activePopupWidget() != nullptr)
        {
            return;
        }
        QStringList files = {RandomFile()};
        if (Choose(4))
        {
            files.append(RandomFile());
        }
        WindowsAskedFor += static_cast<std::size_t>(files.size() - 1);
        DesktopStage::Drop(onto, files);
    }

    /// The third video vanishes or is there again.
    void ComeOrGo()
    {
        std::error_code ec;
        if (!std::filesystem::remove(Coming(), ec))
        {
            std::filesystem::copy_file(Kept(), Coming(), ec);
        }
    }

    void Rest()
    {
        Tell("rest");
        QTest::qWait(Choice(40));
    }

    void ChangeWindows()
    {
        QWidget& window = Top();
        if (window.windowType() == Qt::Popup)
        {
            return;
        }
        switch (Choice(4))
        {
        case 0:
            Tell("minimise and back");
            MinimiseAndBack(window);
            break;
        case 1:
            Tell("maximise");
            window.showMaximized();
            break;
        case 2:
            Tell("normal");
            window.showNormal();
            break;
        default:
            Tell("close " + window.windowTitle());
            if (&window != &pStage->Main() || Choose(4))
            {
                window.close();
            }
            break;
        }
    }

    static void MinimiseAndBack(QWidget& Window)
    {
        const QPointer<QWidget> still = &Window;
        Window.showMinimized();
        QCoreApplication::processEvents();
        if (still != nullptr)
        {
            still->showNormal();
        }
    }

    void AnswerFileDialog(QFileDialog& Dialog)
    {
        Tell("answer the file dialog");
        if (auto* const name = Dialog.findChild<QLineEdit*>("fileNameEdit");
            name != nullptr && Choose(2))
        {
            name->setText(RandomFile());
            Press(Qt::Key_Return);
            return;
        }
        Press(Qt::Key_Escape);
    }

    Qt::KeyboardModifiers RandomModifiers()
    {
        const std::array<Qt::KeyboardModifiers, 6> modifiers = {
            Qt::NoModifier,    Qt::NoModifier,      Qt::NoModifier,
            Qt::ShiftModifier, Qt::ControlModifier, Qt::AltModifier};
        return OneOf(modifiers);
    }
    void WithWindow(const std::function<void(QWindow&, QWidget&)>& Do)
    {
        QWidget& widget = Top();
        const bool bAsksForFiles = qobject_cast<QFileDialog*>(&widget) != nullptr;
        if (widget.windowHandle() != nullptr && widget.isVisible() && !bAsksForFiles)
        {
            Do(*widget.windowHandle(), widget);
        }
    }

    std::mt19937_64 Random;
    TempFolder Tools;
    EnvironmentGuard Encoder{"MOVANE_FFMPEG_BIN", (Tools.Path() / "ffmpeg").native()};
    EnvironmentGuard Path{"PATH", Tools.Path().native() + "/bin:/usr/bin:/bin"};
    std::size_t WindowsAskedFor = 1;
};
} // namespace

class DesktopSoakTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void KeepsItsWordWhateverAPersonDoes()
    {
        const auto seed = static_cast<std::uint64_t>(NumberFrom("MOVANE_SOAK_SEED", 20261121));
        const long long seconds = NumberFrom("MOVANE_SOAK_SECONDS", 8);
        std::cout << "MOVANE_SOAK_SEED=" << seed << " for " << seconds << " s" << std::endl;
        Environment().CleanFolders();
        earlierHandler = qInstallMessageHandler(&KeepWarning);
        WidgetKeys widgetKeys;
        qApp->installEventFilter(&widgetKeys);
        Person person(seed);
        QElapsedTimer clock;
        clock.start();
        while (!clock.hasExpired(seconds * 1000))
        {
            Use(person, clock, seconds * 1000);
            if (QTest::currentTestFailed())
            {
                std::cout << "in act " << person.Count << " of MOVANE_SOAK_SEED=" << seed
                          << std::endl;
                break;
            }
        }
        alarm(0);
        qInstallMessageHandler(earlierHandler);
        std::cout << person.Count << " acts, " << person.Starts << " starts, " << Clips
                  << " clips, " << Exports << " exports seen; the longest act took " << LongestMs
                  << " ms; resident memory at most " << PeakOfFirstTenthKib
                  << " KiB in the first tenth, " << PeakOfLastTenthKib << " KiB in the last; "
                  << HeapAfterFirstKib << " KiB of the heap in use after the first end, "
                  << HeapAfterKib << " KiB, " << ThreadsAfter << " threads and " << DescriptorsAfter
                  << " descriptors after the last" << std::endl;
    }

private:
    /// One application from its start to its end.
    void Use(Person& Person, const QElapsedTimer& Clock, qint64 WholeMs)
    {
        Person.Start();
        ExportId lastExport = 0;
        while (!Person.HasClosed() && !Clock.hasExpired(WholeMs) &&
               !Person.Choose(ActsOfAnApplication))
        {
            alarm(HangsAfterSec); // its signal ends the test
            QElapsedTimer answer;
            answer.start();
            Person.Act();
            LongestMs = std::max(LongestMs, answer.elapsed());
            QVERIFY2(answer.elapsed() < AnswersWithinMs, "the application does not answer");
            const RunningExport* const running = Person.pStage->Exports().Running();
            if (running != nullptr && std::exchange(lastExport, running->Id) != running->Id)
            {
                ++Exports;
            }
            if (Person.Count % ActsBetweenChecks == 0 && !Person.HasClosed())
            {
                Check(Person);
            }
            if (QTest::currentTestFailed())
            {
                return;
            }
            const qint64 ms = Clock.elapsed();
            qint64& peakKib = ms < WholeMs / 10 ? PeakOfFirstTenthKib : PeakOfLastTenthKib;
            if (ms < WholeMs / 10 || ms > WholeMs - WholeMs / 10)
            {
                peakKib = std::max<qint64>(peakKib, ResidentKib());
            }
        }
        Clips += static_cast<long long>(Person.pStage->Clips().size());
        Person.End();
        CheckEnd();
    }

    static void Check(Person& Person)
    {
        // The widgets follow with the next frame, and a closed window goes with the next events.
        const bool bAgrees = QTest::qWaitFor(
            [&] { return Person.HasClosed() || Person.Disagreement().isEmpty(); }, AgreeWithinMs);
        QVERIFY2(bAgrees, qPrintable(Person.Disagreement()));
        const std::lock_guard lock(warningsMutex);
        QCOMPARE(warnings.join('\n'), QString());
    }

    void CheckEnd()
    {
        for (const QWidget* const widget : QApplication::topLevelWidgets())
        {
            // The toolkit keeps the window of its tooltips.
            QVERIFY2(widget->inherits("QTipLabel"), widget->metaObject()->className());
        }
        QCOMPARE(waitpid(-1, nullptr, WNOHANG), -1);
        QCOMPARE(errno, ECHILD);
        ThreadsAfter = CountIn("/proc/self/task");
        DescriptorsAfter = CountIn("/proc/self/fd");
        // Those that the toolkit keeps for later.
        QVERIFY2(ThreadsAfter <= MostThreadsAfter, qPrintable(QString::number(ThreadsAfter)));
        QVERIFY2(DescriptorsAfter <= MostDescriptorsAfter,
                 qPrintable(QString::number(DescriptorsAfter)));
        QPixmapCache::clear(); // kept by the toolkit for all applications
        HeapAfterKib = HeapInUseKib();
        if (HeapAfterFirstKib == 0)
        {
            HeapAfterFirstKib = HeapAfterKib;
        }
        QVERIFY2(HeapAfterKib <= HeapAfterFirstKib + MostCachedKib,
                 qPrintable(QString::number(HeapAfterKib)));
        const std::lock_guard lock(warningsMutex);
        QCOMPARE(warnings.join('\n'), QString());
    }

    long long Clips = 0;
    long long Exports = 0;
    qint64 LongestMs = 0;
    qint64 PeakOfFirstTenthKib = 0;
    qint64 PeakOfLastTenthKib = 0;
    std::size_t HeapAfterFirstKib = 0;
    std::size_t HeapAfterKib = 0;
    std::ptrdiff_t ThreadsAfter = 0;
    std::ptrdiff_t DescriptorsAfter = 0;
};

int main(int ArgumentCount, char** Arguments)
{
    // The toolkit ends a test function after five minutes.
    const long long longestMs = (NumberFrom("MOVANE_SOAK_SECONDS", 8) + 300) * 1000;
    qputenv("QTEST_FUNCTION_TIMEOUT", QByteArray::number(longestMs));
    KeepFewHeaps(); // as the application does
    return RunDesktopTests<DesktopSoakTest>(ArgumentCount, Arguments);
}

#include "desktop_soak_test.moc"
