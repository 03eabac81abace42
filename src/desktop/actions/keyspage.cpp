#include "desktop/actions/keyspage.h"

#include "desktop/actions/actiontable.h"
#include "desktop/look/theme.h"

#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QScreen>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextCursor>
#include <QTextFrame>
#include <QTextTable>
#include <QVBoxLayout>

namespace
{
void AddRoomAboveHeadings(const QTextDocument& Page)
{
    for (QTextBlock block = Page.begin(); block.isValid(); block = block.next())
    {
        if (block.blockFormat().headingLevel() > 1)
        {
            QTextBlockFormat format = block.blockFormat();
            format.setTopMargin(Theme::ScaledPx(14));
            QTextCursor(block).setBlockFormat(format);
        }
    }
}

// Plain columns in place of a grid, of one width in all tables.
void TidyTables(const QTextDocument& Page)
{
    for (QTextFrame* const frame : Page.rootFrame()->childFrames())
    {
        auto* const table = qobject_cast<QTextTable*>(frame);
        if (table == nullptr)
        {
            continue;
        }
        table->removeRows(0, 1); // the heads
        QTextTableFormat format = table->format();
        format.setBorder(0);
        format.setCellSpacing(0);
        format.setCellPadding(Theme::ScaledPx(3));
        format.setWidth(QTextLength(QTextLength::PercentageLength, 98));
        format.setColumnWidthConstraints({QTextLength(QTextLength::PercentageLength, 25),
                                          QTextLength(QTextLength::PercentageLength, 25),
                                          QTextLength(QTextLength::PercentageLength, 50)});
        table->setFormat(format);
    }
}
} // namespace

KeysPageDialog::KeysPageDialog(QWidget* pParent)
    : QDialog(pParent)
{
    setWindowTitle("Keys");
    auto* const text = new QTextBrowser;
    text->setMarkdown(KeysPage());
    text->setFrameShape(QFrame::NoFrame);
    text->document()->setDocumentMargin(Theme::ScaledPx(12));
    AddRoomAboveHeadings(*text->document());
    TidyTables(*text->document());
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(text);
    layout->addWidget(buttons);
    const QSize room = QGuiApplication::primaryScreen()->availableSize() * 9 / 10;
    resize(QSize(Theme::ScaledPx(680), Theme::ScaledPx(560)).boundedTo(room));
}
