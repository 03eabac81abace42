// The clip panel on the screen with the real panel on the real host; the player is a fake.

#include "app/clippanelrecords.h"
#include "desktop/actions/actionset.h"
#include "desktop/actions/commands.h"
#include "desktop/clips/clippanelwidget.h"
#include "desktop/clips/cliptablemodel.h"
#include "desktop/look/theme.h"
#include "desktop/session/session.h"
#include "host/mvtheme.h"
#include "host/mvtimecontrol.h"
#include "player/mpvvideo.h"
#include "support/fakevideo.h"

#include <QApplication>
#include <QHeaderView>
#include <QInputMethodEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScrollArea>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace
{
using SavedClip = MvClipControlPanel::SavedClip;
using Rows = std::vector<int>;

const std::string Source = "/videos/holiday.mp4";

/// A window with nothing but the clip panel, and a session with one video window.
struct Stage
{
    Stage()
    {
        auto owned = std::make_unique<MvVideoWindow>();
        pVideoWindow = owned.get();
        owned->SetVideo(std::make_unique<FakeVideo>());
        p->pMovane->AddWindow(Movane::FirstVideoWindowID, std::move(owned));
        pVideoWindow->LoadVideoFile(Source, false);

        auto* const layout = new QVBoxLayout(&Window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(pWidget);
        QObject::connect(&Running, &Session::FrameDone, pWidget, &ClipPanelWidget::SyncFromHost);
        Window.resize(400, 640);
        Window.show();
        QApplication::setActiveWindow(&Window);
        Running.Frame();
        QCoreApplication::processEvents();
    }

    void Save(double StartSec, double EndSec, const std::string& Name = {})
    {
        pVideoWindow->Timeline().SetRangeSelection(StartSec, EndSec, true);
        Running.Records().NameInput.SetText(Name, true);
        Panel().SaveCurrentRangeAsClip();
        Running.Frame();
    }

    /// Fills the list without an action for each clip, which would lay it out each time.
    void Fill(int Count)
    {
        for (int i = 0; i < Count; ++i)
        {
            SavedClip clip;
            clip.Name = "Clip " + std::to_string(i);
            clip.SourcePath = Source;
            clip.SourceLabel = "holiday.mp4";
            clip.ColorName = "Amber";
            clip.StartSec = i;
            clip.EndSec = i + 1;
            Panel().Clips.push_back(clip);
        }
        Panel().RebuildTableModel();
        Running.Frame();
        QCoreApplication::processEvents();
    }

    MvClipControlPanel& Panel() { return Running.Panel(); }
    MvTable& Table() { return Running.Records().Table; }
    std::string& NameOfHost() { return Running.Records().NameInput.Text; }

    QTableView& View() { return *pWidget->findChild<QTableView*>("clipTable"); }
    QLineEdit& NameEdit() { return *pWidget->findChild<QLineEdit*>("clipName"); }
    QLabel& Label(const char* Name) { return *pWidget->findChild<QLabel*>(Name); }
    QToolButton& Button(ActionId Id)
    {
        return *pWidget->findChild<QToolButton*>(QString("clipButton%1").arg(static_cast<int>(Id)));
    }
    QString ShownCell(int Row, int Column)
    {
        return View().model()->index(Row, Column).data().toString();
    }
    int ShownRow()
    {
        const QModelIndexList rows = View().selectionModel()->selectedRows();
        return rows.isEmpty() ? -1 : rows.first().row();
    }
    QPoint MiddleOfRow(int Row)
    {
        return View().visualRect(View().model()->index(Row, 0)).center();
    }
    void ClickRow(int Row, Qt::KeyboardModifiers Modifiers = {})
    {
        QTest::mouseClick(View().viewport(), Qt::LeftButton, Modifiers, MiddleOfRow(Row));
    }
    std::vector<int> SelectedRows()
    {
        std::vector<int> rows;
        for (const QModelIndex& index : View().selectionModel()->selectedRows())
        {
            rows.push_back(index.row());
        }
        std::sort(rows.begin(), rows.end());
        return rows;
    }
    /// The rows that Export takes, as the records tell them.
    const std::vector<int>& RowsOfHost() { return Running.Records().SelectedRows; }
    void SetViewportWidth(int WidthPx)
    {
        Window.resize(Window.width() + WidthPx - View().viewport()->width(), Window.height());
        QCoreApplication::processEvents();
    }

    Session Running{[](std::string& OutError)
                    {
                        OutError = "No player here.";
                        return std::unique_ptr<MpvVideo>();
                    }};
    Commands Target{Running};
    MvVideoWindow* pVideoWindow = nullptr;
    QWidget Window;
    ActionSet Actions{Window, Target};
    ClipPanelWidget* pWidget = new ClipPanelWidget(Running, Actions, &Window);
};

/// The table's width in pixels as the records say it to the panel's column layout.
double WidthInRecordsPx(Stage& Shown)
{
    const MvClipControlPanel& panel = Shown.Panel();
    const MvWindow& parent = *panel.pParentWindow;
    const double surfacePx = p->pCoreSDL->Width;
    const double padding = panel.PaddingPx / surfacePx;
    const double left = parent.X1 + (parent.X2 - parent.X1) * panel.RelX1 + padding;
    const double right = parent.X1 + (parent.X2 - parent.X1) * panel.RelX2 - padding;
    return surfacePx * (Shown.Table().RelX2 - Shown.Table().RelX1) * (right - left) * 0.5;
}

void CompareSectionsWithFractions(Stage& Shown)
{
    const QHeaderView& header = *Shown.View().horizontalHeader();
    const int widthPx = header.length();
    const std::vector<double>& fractions = Shown.Table().ColumnFractions();
    QCOMPARE(static_cast<int>(fractions.size()), header.count());
    QVERIFY(widthPx >= Shown.View().viewport()->width());
    for (int column = 0; column < header.count(); ++column)
    {
        const double wantedPx = fractions[static_cast<std::size_t>(column)] * widthPx;
        QVERIFY2(std::abs(header.sectionSize(column) - wantedPx) <= 1.0,
                 qPrintable(QString("column %1 of %2 px: %3 instead of %4")
                                .arg(column)
                                .arg(widthPx)
                                .arg(header.sectionSize(column))
                                .arg(wantedPx)));
    }
}

void Commit(QWidget& Field, const QString& Text)
{
    QInputMethodEvent event;
    event.setCommitString(Text);
    QCoreApplication::sendEvent(&Field, &event);
}
} // namespace

class DesktopClipPanelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        MvTheme::SetTextScale(1.0);
        Theme::Apply();
    }

    void cleanup() { MvTheme::SetTextScale(1.0); }

    // -- Geometry

    void ColumnsFollowTheFractionsAtEveryWidth()
    {
        Stage stage;
        stage.Save(1.0, 2.0, "A name that is longer than its column may be");
        stage.Save(3.0, 4.0);
        for (int widthPx = 300; widthPx <= 2000; widthPx += 17)
        {
            stage.SetViewportWidth(widthPx);
            QCOMPARE(stage.View().viewport()->width(), widthPx);
            QCOMPARE(stage.View().horizontalHeader()->length(), widthPx);
            CompareSectionsWithFractions(stage);
        }
    }

    void ThePanelLaysOutForTheWidthOnTheScreen()
    {
        Stage stage;
        for (const int widthPx : {300, 384, 777, 2000})
        {
            stage.SetViewportWidth(widthPx);
            QVERIFY(std::abs(WidthInRecordsPx(stage) - widthPx) < 1e-6);
        }
    }

    void TheRecordsFollowAPanelThatStandsAside()
    {
        Stage stage;
        stage.Window.layout()->setContentsMargins(321, 45, 67, 89);
        stage.Window.resize(1100, 700);
        QCoreApplication::processEvents();
        QCOMPARE(p->pCoreSDL->Width, 1100);
        QCOMPARE(p->pCoreSDL->Height, 700);
        QCOMPARE(stage.Panel().RelX1, 321.0 / 1100.0);
        QCOMPARE(stage.Panel().RelY2, 611.0 / 700.0);
        QVERIFY(std::abs(WidthInRecordsPx(stage) - stage.View().viewport()->width()) < 1e-6);
        CompareSectionsWithFractions(stage);
    }

    void AScrollBarTakesItsWidthFromTheColumns()
    {
        Stage stage;
        const int widthPx = stage.View().viewport()->width();
        stage.Fill(200);
        QTRY_VERIFY(stage.View().viewport()->width() < widthPx);
        CompareSectionsWithFractions(stage);
    }

    void ADraggedColumnStaysUntilTheNextLayout()
    {
        Stage stage;
        stage.Save(1.0, 2.0);
        QHeaderView& header = *stage.View().horizontalHeader();
        header.resizeSection(ClipTableModel::NameColumn, 150);
        stage.Running.Frame();
        QCOMPARE(header.sectionSize(ClipTableModel::NameColumn), 150);
        stage.Save(3.0, 4.0, "A name that asks for another width");
        CompareSectionsWithFractions(stage);
    }

    void TheTextSizeOfTheRecordsIsTheOneOnTheScreen()
    {
        Stage stage;
        for (const double scale : {0.75, 1.0, 2.0, 3.0})
        {
            MvTheme::SetTextScale(scale);
            Theme::Apply();
            QCoreApplication::processEvents();
            QCOMPARE(MvTheme::ScaleTextPx(stage.Table().TextPx, 8, 220),
                     stage.View().font().pixelSize());
            CompareSectionsWithFractions(stage);
        }
    }

    void NothingIsCutOffAtAnyTextScale_data()
    {
        QTest::addColumn<double>("Scale");
        QTest::newRow("75 %") << 0.75;
        QTest::newRow("100 %") << 1.0;
        QTest::newRow("200 %") << 2.0;
        QTest::newRow("300 %") << 3.0;
    }

    void NothingIsCutOffAtAnyTextScale()
    {
        QFETCH(double, Scale);
        MvTheme::SetTextScale(Scale);
        Theme::Apply();
        Stage stage;
        stage.Save(4000.0, 8000.0, "Clip");
        QCoreApplication::processEvents();

        QCOMPARE(stage.Window.size(), QSize(400, 640));
        const QScrollArea& scroll = *stage.pWidget->findChild<QScrollArea*>();
        QVERIFY(scroll.widget()->width() <= scroll.viewport()->width());
        for (const QToolButton* const button : stage.pWidget->findChildren<QToolButton*>())
        {
            QVERIFY(button->width() >= button->sizeHint().width());
            QVERIFY(button->height() >= button->sizeHint().height());
        }
        for (const char* const name : {"clipRange", "clipMarkers", "clipStatus"})
        {
            const QLabel& label = stage.Label(name);
            QVERIFY(label.height() >= label.heightForWidth(label.width()));
            QVERIFY(label.fontMetrics().height() >= std::lround(13 * Scale));
        }
        QVERIFY(stage.NameEdit().height() > stage.NameEdit().fontMetrics().height());
        QVERIFY(stage.View().rowHeight(0) > stage.View().fontMetrics().height());
    }

    void NoTimeIsCutInItsColumn_data() { NothingIsCutOffAtAnyTextScale_data(); }

    void NoTimeIsCutInItsColumn()
    {
        QFETCH(double, Scale);
        MvTheme::SetTextScale(Scale);
        Theme::Apply();
        Stage stage;
        stage.Save(1.0, 2.0, "Clip");
        stage.Save(4000.0, 40000.0, "Long");
        QCoreApplication::processEvents();
        const QTableView& view = stage.View();
        for (int row = 0; row < 2; ++row)
        {
            for (const int column : {1, 2, 3})
            {
                const QString text = stage.ShownCell(row, column);
                const int textPx = view.fontMetrics().horizontalAdvance(text);
                // The style leaves three pixels on each side.
                QVERIFY2(view.columnWidth(column) >= textPx + 6, qPrintable(text));
            }
        }
        CompareSectionsWithFractions(stage);
    }

    // -- Rows and labels

    void TheLabelsShowTheRecords()
    {
        Stage stage;
        stage.Save(1.0, 65.0, "Intro");
        QCOMPARE(stage.Label("clipSource").text(), "Source: holiday.mp4");
        QCOMPARE(stage.Label("clipRange").text(), "Current Range: 00:01 -> 01:05   LEN 01:04");
        QCOMPARE(stage.Label("clipMarkers").text(), "Markers: 0   Current: 00:00");
        QCOMPARE(stage.Label("clipStatus").text(), "Saved Intro from holiday.mp4");
    }

    void ALongSourceIsWholeInTheTooltip()
    {
        Stage stage;
        QCOMPARE(stage.Label("clipSource").toolTip(), "");
        const std::string name = std::string(200, 'x') + "<b>.mp4";
        stage.pVideoWindow->LoadVideoFile("/videos/" + name, false);
        stage.Running.Frame();
        QVERIFY(stage.Label("clipSource")
                    .toolTip()
                    .contains(QString::fromStdString(name).toHtmlEscaped()));
    }

    void ARowHasTheSixTextsAndTheClipsColour()
    {
        Stage stage;
        stage.Save(1.0, 65.0, "Intro");
        const QStringList wanted = {"Intro", "00:01", "01:05", "01:04", "Amber", "holiday.mp4"};
        for (int column = 0; column < wanted.size(); ++column)
        {
            QCOMPARE(stage.ShownCell(0, column), wanted[column]);
        }
        const SavedClip& clip = stage.Panel().Clips[0];
        const QColor colour = QColor::fromRgbF(clip.ColorR, clip.ColorG, clip.ColorB);
        const QImage image = stage.View().viewport()->grab().toImage();
        const QRect cell =
            stage.View().visualRect(stage.View().model()->index(0, ClipTableModel::ColorColumn));
        // Left of the name, and away from the round corners.
        QCOMPARE(image.pixelColor(QPoint(cell.left(), cell.center().y())).rgb(), colour.rgb());
    }

    void ARenamedClipIsPaintedAnew()
    {
        Stage stage;
        stage.Save(1.0, 2.0, "Old");
        const QSignalSpy changed(stage.View().model(), &QAbstractItemModel::dataChanged);
        stage.NameOfHost() = "New";
        stage.Panel().RenameSelectedClip();
        stage.Running.Frame();
        QCOMPARE(stage.ShownCell(0, ClipTableModel::NameColumn), "New");
        QCOMPARE(changed.count(), 1);
    }

    void AFrameWithoutAChangeTouchesNoRow()
    {
        Stage stage;
        stage.Fill(10000);
        QCoreApplication::
            processEvents(); // long times bring a scroll bar, which takes a row's place
        stage.Running.Frame();
        const QSignalSpy changed(stage.View().model(), &QAbstractItemModel::dataChanged);
        const QSignalSpy inserted(stage.View().model(), &QAbstractItemModel::rowsInserted);
        const QSignalSpy reset(stage.View().model(), &QAbstractItemModel::modelReset);
        stage.Running.Frame();
        stage.Running.Frame();
        QCOMPARE(changed.count() + inserted.count() + reset.count(), 0);
        QCOMPARE(stage.View().model()->rowCount(), 10000);
    }

    void ASavedClipScrollsIntoView()
    {
        Stage stage;
        stage.Fill(10000);
        stage.Save(1.0, 2.0, "Last");
        QCOMPARE(stage.ShownRow(), 10000);
        QTRY_VERIFY(stage.View().viewport()->rect().contains(stage.MiddleOfRow(10000)));
        QCOMPARE(stage.ShownCell(10000, ClipTableModel::NameColumn), "Last");
    }

    void ADeletedClipLeavesTheSelectionInView()
    {
        Stage stage;
        stage.Fill(10000);
        stage.Table().SelectRow(7000);
        stage.Running.Frame();
        stage.View().scrollToTop();
        stage.Panel().DeleteSelectedClip();
        stage.Running.Frame();
        QCOMPARE(stage.ShownRow(), 7000);
        QCOMPARE(stage.ShownCell(7000, ClipTableModel::NameColumn), "Clip 7001");
        QVERIFY(stage.View().viewport()->rect().contains(stage.MiddleOfRow(7000)));
    }

    void TheSelectedRowStaysInViewWhenThePanelShrinks()
    {
        Stage stage;
        stage.Fill(100);
        const int lastRow = stage.View().rowAt(stage.View().viewport()->height() - 1) - 1;
        stage.ClickRow(lastRow);
        stage.Window.resize(400, 560);
        QCoreApplication::processEvents();
        QVERIFY(stage.View().viewport()->rect().contains(stage.MiddleOfRow(lastRow)));
    }

    void AnEmptyListSaysHowToMakeAClip()
    {
        Stage stage;
        const auto hintPixels = [&stage]
        {
            const QRect viewport = stage.View().viewport()->rect();
            const QImage image =
                stage.View().viewport()->grab(viewport.adjusted(0, 100, 0, -20)).toImage();
            int count = 0;
            for (int y = 0; y < image.height(); ++y)
            {
                for (int x = 0; x < image.width(); ++x)
                {
                    count += image.pixelColor(x, y) == Theme::TextDim ? 1 : 0;
                }
            }
            return count;
        };
        QVERIFY(hintPixels() > 20);
        stage.Save(1.0, 2.0);
        QCOMPARE(hintPixels(), 0);
    }

    // -- Selection

    void AClickedRowIsTheHostsSelection()
    {
        Stage stage;
        stage.Save(1.0, 2.0, "One");
        stage.Save(3.0, 4.0, "Two");
        stage.ClickRow(0);
        QCOMPARE(stage.Table().SelectedRow, 0);
        QCOMPARE(stage.Table().CurrentRow, 0);
        QCOMPARE(stage.NameOfHost(), "One");
        QCOMPARE(stage.NameEdit().text(), "One");
    }

    void ArrowKeysMoveTheHostsSelection()
    {
        Stage stage;
        stage.Save(1.0, 2.0, "One");
        stage.Save(3.0, 4.0, "Two");
        stage.View().setFocus();
        QTest::keyClick(&stage.View(), Qt::Key_Up);
        QCOMPARE(stage.Table().SelectedRow, 0);
        QCOMPARE(stage.NameOfHost(), "One");
    }

    void TheHostsSelectionIsShown_data()
    {
        QTest::addColumn<int>("SelectedRow");
        QTest::addColumn<int>("CurrentRow");
        QTest::addColumn<int>("ShownRow");
        QTest::newRow("selected") << 1 << 2 << 1;
        QTest::newRow("current where none is selected") << -1 << 2 << 2;
        QTest::newRow("none") << -1 << -1 << -1;
        QTest::newRow("out of range") << 5 << 0 << -1;
    }

    void TheHostsSelectionIsShown()
    {
        QFETCH(int, SelectedRow);
        QFETCH(int, CurrentRow);
        QFETCH(int, ShownRow);
        Stage stage;
        stage.Fill(3);
        stage.Table().SelectedRow = SelectedRow;
        stage.Table().CurrentRow = CurrentRow;
        stage.Running.Frame();
        QCOMPARE(stage.ShownRow(), ShownRow);
        QCOMPARE(stage.Table().SelectedRow, SelectedRow);
        QCOMPARE(stage.Table().CurrentRow, CurrentRow);
    }

    // -- Several rows

    void RowsAreAddedAndTakenOutWithControl()
    {
        Stage stage;
        stage.Fill(5);
        stage.ClickRow(3);
        QCOMPARE(stage.RowsOfHost(), Rows());
        stage.ClickRow(1, Qt::ControlModifier);
        QCOMPARE(stage.RowsOfHost(), Rows({1, 3}));
        QCOMPARE(stage.Table().SelectedRow, 1);
        QCOMPARE(stage.NameEdit().text(), "Clip 1");
        stage.ClickRow(4, Qt::ControlModifier);
        QCOMPARE(stage.RowsOfHost(), Rows({1, 3, 4}));
        stage.ClickRow(4, Qt::ControlModifier);
        QCOMPARE(stage.RowsOfHost(), Rows({1, 3}));
        QCOMPARE(stage.Table().SelectedRow, 3); // the nearest
        stage.ClickRow(3, Qt::ControlModifier);
        QCOMPARE(stage.RowsOfHost(), Rows());
        QCOMPARE(stage.Table().SelectedRow, 1);
        stage.ClickRow(1, Qt::ControlModifier);
        QCOMPARE(stage.Table().SelectedRow, -1);
        QCOMPARE(stage.SelectedRows(), Rows());
    }

    void RowsAreAddedWithShiftByMouseAndByKey()
    {
        Stage stage;
        stage.Fill(6);
        stage.ClickRow(1);
        stage.ClickRow(3, Qt::ShiftModifier);
        QCOMPARE(stage.RowsOfHost(), Rows({1, 2, 3}));
        QCOMPARE(stage.Table().SelectedRow, 3);
        stage.View().setFocus();
        QTest::keyClick(&stage.View(), Qt::Key_Down, Qt::ShiftModifier);
        QCOMPARE(stage.RowsOfHost(), Rows({1, 2, 3, 4}));
        QCOMPARE(stage.Table().SelectedRow, 4);
        QTest::keyClick(&stage.View(), Qt::Key_Up);
        QCOMPARE(stage.RowsOfHost(), Rows());
        QCOMPARE(stage.Table().SelectedRow, 3);
    }

    void AllRowsCanBeSelectedAtOnce()
    {
        Stage stage;
        stage.Fill(4);
        stage.ClickRow(2);
        stage.pWidget->SelectAll();
        QVERIFY(stage.View().hasFocus());
        QCOMPARE(stage.RowsOfHost(), Rows({0, 1, 2, 3}));
        QCOMPARE(stage.Table().SelectedRow, 2);
        stage.Running.Frame();
        QCOMPARE(stage.SelectedRows(), Rows({0, 1, 2, 3}));
    }

    void ARowThatTheHostSelectsIsSelectedAlone()
    {
        Stage stage;
        stage.Fill(4);
        stage.ClickRow(0);
        stage.ClickRow(2, Qt::ShiftModifier);
        stage.Table().SelectRow(1); // one of them
        stage.Running.Frame();
        QCOMPARE(stage.SelectedRows(), Rows({1}));
        QCOMPARE(stage.RowsOfHost(), Rows());
    }

    void ASavedAndADeletedClipLeaveOneRowSelected()
    {
        Stage stage;
        stage.Fill(4);
        stage.ClickRow(0);
        stage.ClickRow(2, Qt::ShiftModifier);
        stage.Panel().DeleteSelectedClip();
        stage.Running.Frame();
        QCOMPARE(stage.SelectedRows(), Rows({2}));
        QCOMPARE(stage.RowsOfHost(), Rows());
        stage.ClickRow(0, Qt::ControlModifier);
        QCOMPARE(stage.RowsOfHost(), Rows({0, 2}));
        stage.Save(1.0, 2.0);
        QCOMPARE(stage.SelectedRows(), Rows({3}));
        QCOMPARE(stage.RowsOfHost(), Rows());
    }

    void ARenamedClipLeavesTheOthersSelected()
    {
        Stage stage;
        stage.Fill(4);
        stage.ClickRow(0);
        stage.ClickRow(2, Qt::ShiftModifier);
        stage.NameOfHost() = "New";
        stage.Panel().RenameSelectedClip();
        stage.Running.Frame();
        QCOMPARE(stage.RowsOfHost(), Rows({0, 1, 2}));
        QCOMPARE(stage.ShownCell(2, ClipTableModel::NameColumn), "New");
        QCOMPARE(stage.SelectedRows(), Rows({0, 1, 2}));
    }

    void ARightClickOnOneOfSeveralRowsMakesItTheCurrentOne()
    {
        Stage stage;
        stage.Fill(4);
        stage.ClickRow(0);
        stage.ClickRow(2, Qt::ShiftModifier);
        QTest::mousePress(stage.View().viewport(), Qt::RightButton, {}, stage.MiddleOfRow(1));
        QCOMPARE(stage.Table().SelectedRow, 1);
        QCOMPARE(stage.RowsOfHost(), Rows({0, 1, 2}));
        QTest::mousePress(stage.View().viewport(), Qt::RightButton, {}, stage.MiddleOfRow(3));
        QCOMPARE(stage.Table().SelectedRow, 3);
        QCOMPARE(stage.RowsOfHost(), Rows());
    }

    // -- Name

    void AClipIsSavedUnderTheTypedName()
    {
        Stage stage;
        stage.pVideoWindow->Timeline().SetRangeSelection(1.0, 2.0, false);
        stage.NameEdit().setFocus();
        QTest::keyClicks(&stage.NameEdit(), "Intro+1");
        QTest::mouseClick(&stage.Button(ActionId::SaveClip), Qt::LeftButton);
        QCOMPARE(stage.Panel().Clips.at(0).Name, "Intro+1");
    }

    void AClipIsRenamedInAnyScript()
    {
        Stage stage;
        stage.Save(1.0, 2.0);
        const std::string name = "日本語 cafe\u0301";
        stage.pWidget->FocusName();
        Commit(stage.NameEdit(), QString::fromStdString(name));
        QTest::keyClick(&stage.NameEdit(), Qt::Key_Return);
        QCOMPARE(stage.Panel().Clips[0].Name, name);
        QTRY_COMPARE(stage.ShownCell(0, ClipTableModel::NameColumn), QString::fromStdString(name));
    }

    void ANameThatIsNoUtf8StaysAsItIs()
    {
        Stage stage;
        const std::string bytes = "a\xff\xfe\xc3z";
        stage.Save(1.0, 2.0, bytes);
        stage.Save(3.0, 4.0, "Other");
        stage.ClickRow(0);
        stage.Running.Frame();
        QCOMPARE(stage.NameOfHost(), bytes);
        stage.pWidget->FocusName();
        QTest::keyClick(&stage.NameEdit(), Qt::Key_Return);
        QCOMPARE(stage.Panel().Clips[0].Name, bytes);
        QVERIFY(stage.NameEdit().text().contains(QChar::ReplacementCharacter));
    }

    void TheCursorStaysWhileTheTextIsTheSame()
    {
        Stage stage;
        stage.Save(1.0, 2.0, "Intro");
        stage.NameEdit().setCursorPosition(2);
        stage.Running.Frame();
        QCOMPARE(stage.NameEdit().cursorPosition(), 2);
        stage.NameEdit().setFocus();
        QTest::keyClick(&stage.NameEdit(), Qt::Key_X);
        stage.Running.Frame();
        QCOMPARE(stage.NameEdit().text(), "Inxtro");
        QCOMPARE(stage.NameEdit().cursorPosition(), 3);
    }

    void EnterRenamesAndGivesTheFocusBack()
    {
        Stage stage;
        stage.Save(1.0, 2.0, "Intro");
        stage.Button(ActionId::LoadClip).setFocus();
        stage.pWidget->FocusName();
        QCOMPARE(stage.NameEdit().selectedText(), "Intro");
        QTest::keyClicks(&stage.NameEdit(), "Outro");
        QTest::keyClick(&stage.NameEdit(), Qt::Key_Return);
        QCOMPARE(stage.Panel().Clips[0].Name, "Outro");
        QVERIFY(stage.Button(ActionId::LoadClip).hasFocus());
    }

    void EscapeKeepsTheNameAndGivesTheFocusBack()
    {
        Stage stage;
        stage.Save(1.0, 2.0, "Intro");
        stage.View().setFocus();
        stage.pWidget->FocusName();
        QTest::keyClicks(&stage.NameEdit(), "Outro");
        QCOMPARE(stage.NameOfHost(), "Outro");
        QTest::keyClick(&stage.NameEdit(), Qt::Key_Escape);
        QCOMPARE(stage.NameOfHost(), "Intro");
        QCOMPARE(stage.NameEdit().text(), "Intro");
        QCOMPARE(stage.Panel().Clips[0].Name, "Intro");
        QVERIFY(stage.View().hasFocus());
    }

    // -- Actions

    void EachButtonRunsItsActionWhileANameIsTyped_data()
    {
        QTest::addColumn<ActionId>("Id");
        QTest::addColumn<QString>("Status");
        using enum ActionId;
        QTest::newRow("save") << SaveClip << "Set In and Out on the timeline before saving a clip.";
        QTest::newRow("rename") << RenameClip << "Select a saved clip to rename it.";
        QTest::newRow("delete") << DeleteClip << "Select a clip to delete it.";
        QTest::newRow("load") << LoadClip
                              << "Select a clip and ensure a video timeline is available.";
        QTest::newRow("in") << JumpToIn << "Select a clip and ensure a video window is available.";
        QTest::newRow("out") << JumpToOut
                             << "Select a clip and ensure a video window is available.";
        QTest::newRow("export") << ExportClip << "Select a saved clip to export it.";
        QTest::newRow("marker") << AddMarker << "Added marker at 00:00";
        QTest::newRow("clear") << ClearRange << "Cleared current In/Out range.";
    }

    void EachButtonRunsItsActionWhileANameIsTyped()
    {
        QFETCH(ActionId, Id);
        QFETCH(QString, Status);
        Stage stage;
        stage.Actions.Get(Id)->setEnabled(false);
        stage.pWidget->FocusName();
        QTest::mouseClick(&stage.Button(Id), Qt::LeftButton);
        QTRY_COMPARE(stage.Label("clipStatus").text(), Status);
        QVERIFY(stage.Button(Id).toolTip().startsWith(QString::fromUtf8(InfoOf(Id).Tooltip)));
    }

    void ADoubleClickLoadsTheClip()
    {
        Stage stage;
        stage.Save(1.0, 2.0, "One");
        stage.Save(3.0, 4.0, "Two");
        stage.ClickRow(0);
        QTest::mouseDClick(stage.View().viewport(), Qt::LeftButton, {}, stage.MiddleOfRow(0));
        QTRY_COMPARE(stage.Label("clipStatus").text(), "Loaded One onto the video timeline.");
        QCOMPARE(stage.pVideoWindow->Timeline().RangeStartSec(), 1.0);
    }

    void ARightClickOffersTheClipsActions()
    {
        Stage stage;
        stage.Save(1.0, 2.0, "One");
        stage.Save(3.0, 4.0, "Two");
        QTest::mousePress(stage.View().viewport(), Qt::RightButton, {}, stage.MiddleOfRow(0));
        QContextMenuEvent event(QContextMenuEvent::Mouse, stage.MiddleOfRow(0),
                                stage.View().viewport()->mapToGlobal(stage.MiddleOfRow(0)));
        QCoreApplication::sendEvent(stage.View().viewport(), &event);
        auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu != nullptr);
        QCOMPARE(stage.Table().SelectedRow, 0);
        for (const ActionId id : {ActionId::LoadClip, ActionId::JumpToIn, ActionId::JumpToOut,
                                  ActionId::EditName, ActionId::DeleteClip, ActionId::ExportClip})
        {
            QVERIFY(menu->actions().contains(stage.Actions.Get(id)));
        }
        menu->close();
    }
};

QTEST_MAIN(DesktopClipPanelTest)
#include "desktop_clippanel_test.moc"
