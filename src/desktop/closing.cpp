#include "desktop/closing.h"

#include "desktop/export/clipexports.h"

#include <QMessageBox>
#include <QPushButton>

namespace
{
QString RunningText(bool bRuns, std::size_t WaitingCount)
{
    if (!bRuns)
    {
        return QString("%1 export%2.")
            .arg(WaitingCount)
            .arg(WaitingCount == 1 ? " waits" : "s wait");
    }
    return WaitingCount == 0 ? QString("An export is running.")
                             : QString("An export is running and %1 more %2.")
                                   .arg(WaitingCount)
                                   .arg(WaitingCount == 1 ? "waits" : "wait");
}

QString LossText(int Count, const QString& Kind)
{
    return QString("%1 %2 not exported and will be lost")
        .arg(Count)
        .arg(Kind + (Count == 1 ? " was" : "s were"));
}
} // namespace

Closing::Closing(QWidget& ClosedWindow, ClipExports& PanelExports)
    : QObject(&ClosedWindow)
    , Window(ClosedWindow)
    , Exports(PanelExports)
{
    connect(&Exports, &ClipExports::Idle, this, &Closing::TakeIdle);
}

void Closing::TakeIdle(bool bAllExported)
{
    if (pQuestion != nullptr)
    {
        pQuestion->reject();
    }
    const bool bCloses =
        Then == AfterExports::Close || (Then == AfterExports::CloseWithFiles && bAllExported);
    if (bCloses && Window.close())
    {
        return; // what was accepted stays so: the end of the program asks its windows once more
    }
    SetAfterExports(AfterExports::Stay, 0);
}

void Closing::SetAfterExports(AfterExports Wanted, int LossCount)
{
    Then = Wanted;
    AcceptedLossCount = LossCount;
    Q_EMIT WaitChanged(Wanted == AfterExports::CloseWithFiles);
}

bool Closing::MayClose()
{
    if (Exports.IsRunning())
    {
        AskAboutExports();
        return false;
    }
    if (Exports.States().CountMissing() > AcceptedLossCount)
    {
        AskAboutClips();
        return false;
    }
    return true;
}

void Closing::AskAboutExports()
{
    if (pQuestion != nullptr)
    {
        return;
    }
    pQuestion = new QMessageBox(QMessageBox::NoIcon, "Movane",
                                RunningText(Exports.Running() != nullptr, Exports.WaitingCount()),
                                QMessageBox::NoButton, &Window);
    // Told here, for whoever answers is not asked again.
    const int otherCount = Exports.States().CountMissingAfterExports();
    const QString loss =
        otherCount == 0 ? QString() : ' ' + LossText(otherCount, "other clip") + '.';
    pQuestion->setInformativeText("A file is finished only when its export ends." + loss);
    QPushButton* const wait = pQuestion->addButton("Wait, then close", QMessageBox::AcceptRole);
    QPushButton* const stop = pQuestion->addButton("Stop and close", QMessageBox::DestructiveRole);
    QPushButton* const stay = pQuestion->addButton("Stay", QMessageBox::RejectRole);
    pQuestion->setDefaultButton(wait);
    connect(wait, &QPushButton::clicked, this,
            [this, otherCount] { SetAfterExports(AfterExports::CloseWithFiles, otherCount); });
    connect(stop, &QPushButton::clicked, this,
            [this]
            {
                SetAfterExports(AfterExports::Close, Exports.States().CountMissing());
                Exports.StopAll();
            });
    connect(stay, &QPushButton::clicked, this, [this] { SetAfterExports(AfterExports::Stay, 0); });
    OpenQuestion(stay);
}

void Closing::AskAboutClips()
{
    if (pQuestion != nullptr)
    {
        return;
    }
    const int count = Exports.States().CountMissing();
    pQuestion =
        new QMessageBox(QMessageBox::NoIcon, "Movane", LossText(count, "clip") + ": close anyway?",
                        QMessageBox::NoButton, &Window);
    QPushButton* const closeAnyway = pQuestion->addButton("Close", QMessageBox::DestructiveRole);
    QPushButton* const stay = pQuestion->addButton("Stay", QMessageBox::RejectRole);
    pQuestion->setDefaultButton(stay);
    // When the question has gone: a window does not close under its own dialog.
    connect(
        closeAnyway, &QPushButton::clicked, this,
        [this, count]
        {
            AcceptedLossCount = count;
            if (!Window.close())
            {
                AcceptedLossCount = 0;
            }
        },
        Qt::QueuedConnection);
    OpenQuestion(stay);
}

void Closing::OpenQuestion(QAbstractButton* pStay)
{
    pQuestion->setAttribute(Qt::WA_DeleteOnClose);
    pQuestion->setEscapeButton(pStay);
    connect(pQuestion, &QMessageBox::finished, this, [this] { pQuestion = nullptr; });
    Window.raise(); // it may have been asked for from another window
    pQuestion->open();
}
